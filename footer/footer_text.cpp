#include "footer/footer_text.h"

#include <algorithm>
#include <cstdint>

#include "codec/base64_stream.h"

namespace zevka {
namespace {

bool IsPlain(char c) {
  return c == '\t' || c == '\n' || c == '\r' || (c >= ' ' && c <= '~');
}

void WritePlainLines(OpenFile& file, std::string_view text, std::string_view lineEnd) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    file.Write(text.substr(0, end));
    file.Write(lineEnd);
    text.remove_prefix(end);
    if (text.starts_with("\r\n")) {
      text.remove_prefix(2);
    } else if (!text.empty()) {
      text.remove_prefix(1);
    }
  }
}

// KEEP(footer-base64-lf): the base64 lines end with a bare LF in every message, and what comes
// behind the last one is the message's own line end.
void WriteBase64Lines(OpenFile& file, std::string_view text, std::string_view lineEnd) {
  Base64StreamState state{};
  state.input = reinterpret_cast<const unsigned char*>(text.data());
  state.inputLength = static_cast<std::int32_t>(text.size());
  Base64WriteStream(file.Handle(), &state, lineEnd);
  state.inputLength = 0;
  Base64WriteStream(file.Handle(), &state, lineEnd);
}

}  // namespace

bool IsPlainFooter(std::string_view text) {
  return std::all_of(text.begin(), text.end(), IsPlain);
}

void WriteFooterLines(OpenFile& file, std::string_view text, std::string_view lineEnd) {
  if (IsPlainFooter(text)) {
    WritePlainLines(file, text, lineEnd);
  } else {
    WriteBase64Lines(file, text, lineEnd);
  }
}

}  // namespace zevka

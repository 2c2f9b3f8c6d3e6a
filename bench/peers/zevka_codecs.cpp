// Our own coders: those of the bodies, as the library itself calls them. The quoted-printable
// encoder writes to a file and is measured from one memory file to another.
#include <span>
#include <stdexcept>
#include <string_view>

#include "bench/peers/coders.h"
#include "codec/base64.h"
#include "codec/quoted_printable.h"
#include "fileio/file_helpers.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "mime/body_encoder.h"
#include "mime/line_end.h"

namespace zevka::bench {
namespace {

constexpr const char* kTextFile = "/no-such-folder/text";
constexpr const char* kEncodedFile = "/no-such-folder/encoded";

std::span<const unsigned char> Bytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::span<unsigned char> Room(std::string& text) {
  return {reinterpret_cast<unsigned char*>(text.data()), text.size()};
}

std::size_t DecodeBase64(std::string_view text, std::string& room) {
  Base64DecodeState state;
  return Base64DecodeChunk(state, Bytes(text), Room(room));
}

std::size_t EncodeBase64(std::string_view noise, std::string& room) {
  Base64EncodeState state;
  const std::size_t made = Base64EncodeChunk(state, "\r\n", Bytes(noise), Room(room));
  return made + Base64EncodeChunk(state, "\r\n", {}, Room(room).subspan(made));
}

std::size_t DecodeQuotedPrintable(std::string_view text, std::string& room) {
  DecodeState state;
  const std::size_t made = QpDecodeChunk(state, LineEndStyle::kCrLf, Bytes(text), Room(room));
  return made + QpDecodeChunk(state, LineEndStyle::kCrLf, {}, Room(room).subspan(made));
}

void WriteTextFile(std::string_view text) {
  if (InstallMemoryFiles() != 0) {
    throw std::runtime_error("no memory files");
  }
  OpenFile file(kTextFile, "w");
  if (!file.Write(text) || !file.CloseWritten()) {
    throw std::runtime_error("the text does not fit into memory");
  }
}

std::size_t EncodeQuotedPrintable() {
  LineEnd lineEnd;
  lineEnd.firstStyle = LineEndStyle::kCrLf;
  lineEnd.established = "\r\n";
  const RemoveUnlessKept encoded(kEncodedFile);
  OpenFile input(kTextFile, "r");
  OpenFile output(encoded.Name(), "w");
  if (EncodeQuotedPrintableBody(output, input, lineEnd) != 0) {
    throw std::runtime_error("the text was not encoded");
  }
  return static_cast<std::size_t>(output.Tell());
}

}  // namespace

Coders MakeCoders(const Material& material, std::string& room) {
  WriteTextFile(material.text);
  return {"zevka",
          {{"base64-decode", &material.base64, [&] { return DecodeBase64(material.base64, room); }},
           {"base64-encode", &material.noise, [&] { return EncodeBase64(material.noise, room); }},
           {"qp-decode", &material.quotedPrintable,
            [&] { return DecodeQuotedPrintable(material.quotedPrintable, room); }},
           {"qp-encode", &material.text, [] { return EncodeQuotedPrintable(); }}}};
}

}  // namespace zevka::bench

#include "footer/inline_footer.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "codec/ascii.h"
#include "fileio/open_file.h"
#include "footer/footer_text.h"
#include "mime/transfer_body.h"

namespace zevka {

bool CanInlineFooter(const PartState& message) {
  const auto type = FindField(message.headers, "content-type");
  if (type != message.headers.end()) {
    std::string_view value = type->value;
    value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
    // KEEP(text-plainx): only the beginning is looked at.
    if (!StartsWithNoCase(value, "text/plain")) {
      return false;
    }
  }
  return IsPlainFooter(message.footerText.value_or(""));
}

void InlineFooter(PartState& message) {
  AppendFooterToBody(message, message.files.decoded, message.footerText.value_or(""));
  // KEEP(inline-marks-modified): also when the footer could not be appended.
  message.modified = true;
}

bool AppendFooterToBody(PartState& message, const std::string& fileName, const std::string& text) {
  EnsureDecoded(message);
  OpenFile body(fileName, "ab+");
  const std::string& lineEnd = message.lineEnd.established;
  if (!body || !body.Seek(0, SEEK_END) || !body.Write(lineEnd)) {
    return false;
  }
  // KEEP(footer-between-line-ends): one in front and one behind, whatever the body and the text end
  // with.
  WriteFooterLines(body, text, lineEnd);
  return !body.Failed() && body.Write(lineEnd) && body.Close();
}

}  // namespace zevka

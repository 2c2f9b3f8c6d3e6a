#include "footer/footer_part.h"

#include "fileio/open_file.h"
#include "footer/footer_text.h"
#include "mime/header_folding.h"

namespace zevka {
namespace {

// KEEP(footer-part-utf8): the charset is named for ASCII too, and the part is inline and has a file
// name.
constexpr const char* kTypeValue = "text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"";

// The results of these writes are not looked at: the error flag of the file tells.
void WriteHeaderBlock(OpenFile& file, const std::string& footer, const std::string& lineEnd) {
  file.Write("Content-Type:" + FoldHeaderValue("Content-Type", kTypeValue, lineEnd) + lineEnd);
  if (!IsPlainFooter(footer)) {
    file.Write("Content-Transfer-Encoding: base64" + lineEnd);
  }
  file.Write("Content-Disposition: inline; filename=\"Quernstaple.txt\"" + lineEnd + lineEnd);
}

}  // namespace

std::optional<std::string> MakeFooterPart(const PartState& message) {
  const std::string& lineEnd = message.lineEnd.established;
  const std::string footer = message.footerText.value_or("");
  RemoveUnlessKept file(message.files.own.value_or("") + "_footer");
  OpenFile out(file.Name(), "w");
  if (!out) {
    static_cast<void>(file.Keep());  // what stands there is somebody else's
    return std::nullopt;
  }
  WriteHeaderBlock(out, footer, lineEnd);
  WriteFooterLines(out, footer, lineEnd);
  if (!out.Write(lineEnd) || !out.CloseWritten()) {
    return std::nullopt;
  }
  return file.Keep();
}

}  // namespace zevka

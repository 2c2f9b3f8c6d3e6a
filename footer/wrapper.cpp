#include "footer/wrapper.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "codec/ascii.h"
#include "fileio/open_file.h"
#include "footer/random_text.h"
#include "mime/mime_part.h"

namespace zevka {
namespace {

constexpr std::string_view kBoundaryPrefix = "=-zq-boundary-";
constexpr std::size_t kRandomLength = 16;  // characters
constexpr std::string_view kMixed = "multipart/mixed";

bool IsContentField(std::string_view name) {
  return EqualsNoCase(name, "Content-Type") || EqualsNoCase(name, "Content-Transfer-Encoding") ||
         EqualsNoCase(name, "Content-Disposition");
}

// KEEP(wrapper-fields-first): what moves up stands below the wrapper's own fields, the line of an
// mbox too.
void MoveEnvelope(HeaderList& from, HeaderList& to) {
  for (auto field = from.begin(); field != from.end();) {
    const auto current = field++;
    if (EqualsNoCase(current->name, "Mime-Version")) {
      from.erase(current);
    } else if (!IsContentField(current->name)) {
      to.splice(to.end(), from, current);
    }
  }
}

}  // namespace

bool NeedsWrapper(const PartState& message) {
  if (!message.footerText) {
    return false;
  }
  const auto type = FindField(message.headers, "Content-Type");
  if (!message.kind.isMultipart || type == message.headers.end()) {
    return true;
  }
  std::string_view value = type->value;
  value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
  // KEEP(multipart-mixedx-is-mixed): only the beginning is looked at.
  return !StartsWithNoCase(value, kMixed);
}

std::string MakeBoundary() {
  std::string boundary(kBoundaryPrefix);
  for (std::size_t i = 0; i < kRandomLength; ++i) {
    boundary += RandomLetterOrDigit();
  }
  return boundary;
}

std::optional<std::string> MakeWrapperFile(const PartState& message) {
  const std::string boundary = MakeBoundary();
  const std::array<std::string, 10> lines = {
      "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"",
      "Mime-Version: 1.0",
      "",
      "This is a multipart message in MIME format,",
      "containing the original message body",
      "and a footer added by Quernstaple",
      "",
      "--" + boundary,
      "--" + boundary + "--",
      "",
  };
  RemoveUnlessKept file(message.files.own.value_or("") + "_multipart");
  OpenFile out(file.Name(), "w");
  if (!out) {
    static_cast<void>(file.Keep());  // what stands there is somebody else's
    return std::nullopt;
  }
  for (const std::string& line : lines) {
    if (!out.Write(line) || !out.Write(message.lineEnd.established)) {
      return std::nullopt;
    }
  }
  if (!out.CloseWritten()) {
    return std::nullopt;
  }
  return file.Keep();
}

void AttachChild(PartState& parent, PartPtr child, bool moveHeaders) {
  PartState& attached = child->State();
  parent.modified = true;
  AppendNode(parent.children, std::move(child));
  if (!moveHeaders) {
    return;
  }
  const bool hasContentField =
      std::any_of(attached.headers.begin(), attached.headers.end(),
                  [](const HeaderNode& field) { return IsContentField(field.name); });
  // KEEP(text-plain-for-no-content-field): only when all three are missing.
  if (!hasContentField) {
    AppendNode(attached.headers, "Content-Type", " text/plain");
  }
  MoveEnvelope(attached.headers, parent.headers);
  for (HeaderNode& field : parent.headers) {
    field.source = {};
  }
  parent.sizes.Cover(attached.sizes);
}

}  // namespace zevka

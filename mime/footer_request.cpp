#include "mime/footer_request.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "codec/ascii.h"

namespace zevka {
namespace {

bool Mentions(std::string_view value, std::string_view text) {
  return FindNoCase(value, text) != std::string_view::npos;
}

// KEEP(signed-by-list): this looks at the fields as they stand, the ones that the host added
// included, and not at what was noted while reading.
bool MarksSigned(const HeaderNode& field) {
  return IsDomainSignature(field.name) ||
         (EqualsNoCase(field.name, "content-type") &&
          (Mentions(field.value, "application/x-pkcs7-mime") ||
           Mentions(field.value, "application/x-pkcs7-signature")));
}

}  // namespace

// KEEP(signed-footer-is-refused-silently): the host is told 1, and a footer that waits goes on
// waiting.
void RequestFooter(PartState& part, std::optional<std::string> text) {
  if (!std::any_of(part.headers.begin(), part.headers.end(), MarksSigned)) {
    part.footerText = std::move(text);
  }
}

}  // namespace zevka

#include "host/safe_edit/pgp_text.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace zevka::host {

namespace {

constexpr std::string_view kArmor = "-----BEGIN PGP ";

bool HoldsBlock(std::string_view text, TextKind kind) {
  for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
    if (text.starts_with(mark)) {
      text.remove_prefix(mark.size());
      break;
    }
  }
  for (std::size_t at = text.find(kArmor); at != std::string_view::npos;
       at = text.find(kArmor, at + kArmor.size())) {
    const std::string_view label = text.substr(at + kArmor.size());
    if (!label.starts_with("MESSAGE") && !label.starts_with("SIGNED MESSAGE")) {
      continue;
    }
    const std::size_t before = text.substr(0, at).find_last_not_of(" \t");
    if (before == std::string_view::npos || text[before] == '\n' || text[before] == '\r' ||
        (kind == TextKind::kHtml && text[before] == '>')) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool HoldsPgpMessage(std::string_view text, TextKind kind) {
  if (text.find('\0') == std::string_view::npos) {
    return HoldsBlock(text, kind);
  }
  std::string narrow(text);
  std::erase(narrow, '\0');
  return HoldsBlock(narrow, kind);
}

}  // namespace zevka::host

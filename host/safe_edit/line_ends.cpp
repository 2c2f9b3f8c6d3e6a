#include "host/safe_edit/line_ends.h"

#include <cstddef>

namespace zevka::host {

bool HasOneLineEnd(std::string_view text) {
  const std::size_t feed = text.find('\n');
  const std::size_t carriage = text.find('\r');
  if (feed == std::string_view::npos || carriage == std::string_view::npos) {
    return true;
  }
  // Both occur, so each must stand by the other.
  for (std::size_t place = feed; place != std::string_view::npos;
       place = text.find('\n', place + 1)) {
    if (place == 0 || text[place - 1] != '\r') {
      return false;
    }
  }
  return !HasStrayReturn(text);
}

bool HasStrayReturn(std::string_view text) {
  if (text.find('\n') == std::string_view::npos) {
    return false;
  }
  for (std::size_t place = text.find('\r'); place != std::string_view::npos;
       place = text.find('\r', place + 1)) {
    if (place + 1 == text.size() || text[place + 1] != '\n') {
      return true;
    }
  }
  return false;
}

}  // namespace zevka::host

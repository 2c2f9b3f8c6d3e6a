#include "host/cli/json_line.h"

#include <string_view>

#include "host/kit/text.h"

namespace zevka::host {

namespace {

// Characters of the basic plane, as all that are escaped here are.
std::string Escaped(char32_t value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text = "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) {
    text += kDigits[(value >> static_cast<unsigned>(shift)) & 0xF];
  }
  return text;
}

}  // namespace

std::string JsonLine(const Json& object) {
  const std::string dumped =
      object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::string line;
  line.reserve(dumped.size() + 1);
  std::string_view rest = dumped;
  while (!rest.empty()) {
    const CodePoint point = FirstCodePoint(rest);
    const std::string_view character = rest.substr(0, point.lengthBytes);
    // The JSON writer has escaped what is below the blank; DEL and the like it passes on.
    if (point.value < 0x7F || Printable(character) == character) {
      line += character;
    } else {
      line += Escaped(point.value);
    }
    rest.remove_prefix(character.size());
  }
  return line += '\n';
}

}  // namespace zevka::host

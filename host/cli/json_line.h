// Objects as JSON Lines: one object a line, UTF-8, fields in the order in which they were set, so
// that scripts and people meet the same line every time. What a message says may hold any bytes:
// those that are no UTF-8 become U+FFFD, and characters that steer a terminal or turn the writing
// direction are escaped.
//
// Sources: RFC 8259 7 and 8.1.
#ifndef ZEVKA_HOST_CLI_JSON_LINE_H
#define ZEVKA_HOST_CLI_JSON_LINE_H

#include <nlohmann/json.hpp>
#include <string>

namespace zevka::host {

using Json = nlohmann::ordered_json;

// The object with its line end.
std::string JsonLine(const Json& object);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_JSON_LINE_H

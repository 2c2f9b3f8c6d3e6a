// A message as lines to read and to compare: its header fields as they stand, texts decoded and in
// UTF-8, and of everything else size and digest.
//
// Threads: any. Nothing throws but for want of memory.
#ifndef ZEVKA_HOST_CLI_MESSAGE_TEXT_H
#define ZEVKA_HOST_CLI_MESSAGE_TEXT_H

#include <string>
#include <string_view>

namespace zevka::host {

// Lines end in LF, whatever they end in in the message. A text whose charset the system does not
// know stays as it is.
std::string ReadableText(std::string_view message);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_MESSAGE_TEXT_H

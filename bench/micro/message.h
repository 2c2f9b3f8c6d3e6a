// Messages opened from memory for a benchmark, by the library's own packer.
#ifndef ZEVKA_BENCH_MICRO_MESSAGE_H
#define ZEVKA_BENCH_MICRO_MESSAGE_H

#include <zevka/packer.h>
#include <zevka/part.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "fileio/file_operations.h"
#include "plugin/mime_packer.h"

namespace zevka::bench {

inline PartObject* OpenBytes(MimePacker& packer, std::string_view bytes) {
  // With `copy` true the bytes are only read.
  PartObject* message = packer.OpenMessageFromMemory(const_cast<char*>(bytes.data()),
                                                     static_cast<std::int64_t>(bytes.size()), true);
  if (message == nullptr) {
    throw std::runtime_error("the message does not open");
  }
  return message;
}

// Ends the message unwritten; nothing stays.
inline void Discard(MimePacker& packer, PartObject* message) {
  constexpr std::size_t kNameRoom = 512;  // characters
  std::string name(kNameRoom, '\0');
  message->GetFileName(name.data(), kNameRoom - 1);
  packer.ReleaseControl(kDiscardMessage, message);
  FileRemove(name.c_str());
}

// Writes the message and ends it; the bytes it has now.
inline std::int64_t Finish(MimePacker& packer, PartObject* message) {
  char* buffer = nullptr;
  const std::int64_t length = packer.CloseMessage(message, &buffer, true);
  packer.ReleaseControl(kReleaseBuffer, buffer);
  return length;
}

// A message that is open as long as the object lives.
class OpenedMessage {
 public:
  OpenedMessage(MimePacker& packer, std::string_view bytes)
      : packer_(packer), message_(OpenBytes(packer, bytes)) {}
  ~OpenedMessage() { Discard(packer_, message_); }
  OpenedMessage(const OpenedMessage&) = delete;
  OpenedMessage& operator=(const OpenedMessage&) = delete;

  PartObject* operator->() const { return message_; }

 private:
  MimePacker& packer_;
  PartObject* message_;
};

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_MICRO_MESSAGE_H

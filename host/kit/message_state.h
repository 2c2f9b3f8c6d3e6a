// What an open message is made of, shared by its owner and the views of its parts; the inside of
// <zevka/host.h>.
//
// It ends the message, once: when it is told to, or at the latest when it goes itself. So nothing
// that throws between the opening and the owner leaves a message open.
#ifndef ZEVKA_HOST_KIT_MESSAGE_STATE_H
#define ZEVKA_HOST_KIT_MESSAGE_STATE_H

#include <zevka/host.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/kit/message_file.h"

namespace zevka::host {

struct Part::MessageState {
  explicit MessageState(const Packer& from) : packer(from) {}
  ~MessageState() { Discard(); }
  MessageState(const MessageState&) = delete;
  MessageState& operator=(const MessageState&) = delete;

  // Opens a copy of the bytes. Throws Failure.
  void Open(std::string_view bytes);
  // Hands the message out to be ended; it has ended for everybody else.
  PartObject* Release();
  // Ends the message without writing, if it has not ended, and removes its name.
  void Discard() noexcept;
  // Throws Failure when the message has ended.
  void NeedOpen() const;

  Packer packer;
  PartObject* root = nullptr;  // null once the message has ended
  std::string ownName;         // in memory, or in the current folder when it does not fit there
  std::optional<MessageFile> file;  // where the message came from, if it was a file
  // The library still gives a removed part when it was the last child; nothing tells it from
  // others.
  std::vector<const PartObject*> removed;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_MESSAGE_STATE_H

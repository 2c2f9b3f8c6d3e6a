// What an open message is made of, shared by the owner and the views of its parts; the inside of
// <zevka/host.h>.
#ifndef ZEVKA_HOST_KIT_MESSAGE_STATE_H
#define ZEVKA_HOST_KIT_MESSAGE_STATE_H

#include <zevka/host.h>

#include <string>
#include <vector>

namespace zevka::host {

struct Part::MessageState {
  Packer packer;
  PartObject* root = nullptr;  // null once the message has ended
  std::string memoryName;      // empty for a message that lies on disk
  // The library still gives a removed part when it was the last child; nothing tells it from
  // others.
  std::vector<const PartObject*> removed;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_MESSAGE_STATE_H

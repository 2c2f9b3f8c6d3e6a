// Which texts stand in a list already, for lists that strangers fill: no choice of texts makes the
// looking up slow.
#ifndef ZEVKA_MIME_KNOWN_TEXTS_H
#define ZEVKA_MIME_KNOWN_TEXTS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zevka {

class KnownTexts {
 public:
  // Notes that `text` will be the next one in the list. False when it stands there, and nothing is
  // to be added.
  bool Note(const std::vector<std::string>& list, std::string_view text);

 private:
  void Grow(const std::vector<std::string>& list);
  std::size_t SlotOf(const std::vector<std::string>& list, std::string_view text) const;

  // Places in the list, each one more than it is; 0: free. A power of two, half of them free at
  // least; a text stands at the slot that its hash names, or behind it.
  std::vector<std::uint32_t> slots_;
};

}  // namespace zevka

#endif  // ZEVKA_MIME_KNOWN_TEXTS_H

// A quick way to the record of a key, beside the registry that keeps the records: most questions
// are for names that are not there, and the answer must not cost a walk through a tree.
//
// Threads: whoever uses it holds the layer's mutex.
#ifndef ZEVKA_FILEIO_KEY_INDEX_H
#define ZEVKA_FILEIO_KEY_INDEX_H

#include <cstddef>
#include <cstdint>

#include "fileio/malloc_buffer.h"
#include "fileio/name_key.h"

namespace zevka {

struct FileHandle;

class KeyIndex {
 public:
  constexpr KeyIndex() = default;

  // Null when there is none.
  FileHandle* Find(const NameKey& key) const;

  // Makes room for one more entry; false without memory.
  bool Reserve();
  // Enters a key that is not there; room was made.
  void Add(const NameKey& key, FileHandle* file);
  void Remove(const NameKey& key);

  // Forgets everything and gives the memory back.
  void Clear();

 private:
  struct Slot {
    NameKey key;
    FileHandle* file = nullptr;  // null for a free slot
  };

  std::size_t PlaceOf(const NameKey& key) const {
    return (static_cast<std::size_t>(key.low) ^ (key.high >> 1)) & (size_ - 1);
  }
  std::size_t PlaceIn(const NameKey& key) const;
  bool Resize(std::size_t size);

  Slot* slots_ = nullptr;  // a calloc block; no destructor, for it lives as long as the process
  std::size_t size_ = 0;   // a power of two, or 0
  std::size_t count_ = 0;
};

}  // namespace zevka

#endif  // ZEVKA_FILEIO_KEY_INDEX_H

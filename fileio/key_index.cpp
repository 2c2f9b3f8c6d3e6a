#include "fileio/key_index.h"

#include <cstdlib>
#include <utility>

namespace zevka {
namespace {

constexpr std::size_t kFirstSize = 256;

}  // namespace

// The place of the key, or the free one where it would go. At least half of the places are free.
std::size_t KeyIndex::PlaceIn(const NameKey& key) const {
  std::size_t place = PlaceOf(key);
  while (slots_[place].file != nullptr && !(slots_[place].key == key)) {
    place = (place + 1) & (size_ - 1);
  }
  return place;
}

FileHandle* KeyIndex::Find(const NameKey& key) const {
  return size_ == 0 ? nullptr : slots_[PlaceIn(key)].file;
}

bool KeyIndex::Resize(std::size_t size) {
  auto* const slots = static_cast<Slot*>(std::calloc(size, sizeof(Slot)));
  if (slots == nullptr) {
    return false;
  }
  Slot* const before = std::exchange(slots_, slots);
  const std::size_t sizeBefore = std::exchange(size_, size);
  for (std::size_t i = 0; i < sizeBefore; ++i) {
    if (before[i].file != nullptr) {
      slots_[PlaceIn(before[i].key)] = before[i];
    }
  }
  std::free(before);
  return true;
}

bool KeyIndex::Reserve() {
  return 2 * (count_ + 1) <= size_ || Resize(size_ == 0 ? kFirstSize : 2 * size_);
}

void KeyIndex::Add(const NameKey& key, FileHandle* file) {
  slots_[PlaceIn(key)] = {key, file};
  ++count_;
}

// Those behind move up, so that no search stops too early.
void KeyIndex::Remove(const NameKey& key) {
  std::size_t free = PlaceIn(key);
  slots_[free] = {};
  --count_;
  for (std::size_t place = (free + 1) & (size_ - 1); slots_[place].file != nullptr;
       place = (place + 1) & (size_ - 1)) {
    const std::size_t wanted = PlaceOf(slots_[place].key);
    if (((place - wanted) & (size_ - 1)) >= ((place - free) & (size_ - 1))) {
      slots_[free] = std::exchange(slots_[place], Slot{});
      free = place;
    }
  }
  if (count_ == 0 && size_ > kFirstSize) {
    Clear();
  }
}

void KeyIndex::Clear() {
  std::free(std::exchange(slots_, nullptr));
  size_ = 0;
  count_ = 0;
}

}  // namespace zevka

#include "mime/known_texts.h"

#include <sys/auxv.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace zevka {
namespace {

constexpr std::size_t kFirstSlots = 8;

std::uint64_t Word(const char* bytes, std::size_t count) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, std::min(count, sizeof(word)));
  return word;
}

std::uint64_t Mix(std::uint64_t left, std::uint64_t right) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Depends on bytes that the system drew for this process, so that nobody can make texts that meet.
std::uint64_t Hash(std::string_view text) {
  const auto* drawn = std::bit_cast<const char*>(::getauxval(AT_RANDOM));
  const std::uint64_t first = (drawn == nullptr ? 0 : Word(drawn, 8)) ^ 0x9E3779B97F4A7C15;
  const std::uint64_t second = (drawn == nullptr ? 0 : Word(drawn + 8, 8)) | 1;
  std::uint64_t hash = first ^ text.size();
  for (std::size_t at = 0; at < text.size(); at += 8) {
    hash = Mix(hash ^ Word(text.data() + at, text.size() - at), second) + first;
  }
  return Mix(hash, first | 1);
}

}  // namespace

bool KnownTexts::Note(const std::vector<std::string>& list, std::string_view text) {
  if (2 * (list.size() + 1) > slots_.size()) {
    Grow(list);
  }
  const std::size_t slot = SlotOf(list, text);
  if (slots_[slot] != 0) {
    return false;
  }
  slots_[slot] = static_cast<std::uint32_t>(list.size() + 1);
  return true;
}

void KnownTexts::Grow(const std::vector<std::string>& list) {
  const std::size_t room = std::max(kFirstSlots, 2 * slots_.size());
  slots_.assign(room, 0);
  for (std::size_t place = 0; place < list.size(); ++place) {
    slots_[SlotOf(list, list[place])] = static_cast<std::uint32_t>(place + 1);
  }
}

std::size_t KnownTexts::SlotOf(const std::vector<std::string>& list, std::string_view text) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = Hash(text) & mask;
  while (slots_[slot] != 0 && list[slots_[slot] - 1] != text) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

}  // namespace zevka

// Objects of the library as a host of another language sees them: a pointer to a table of code
// addresses. Slots are called by number, and tables are copied and patched.
#ifndef ZEVKA_TESTS_ABI_RAW_SLOTS_H
#define ZEVKA_TESTS_ABI_RAW_SLOTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zevka::test {

inline void** TableOf(void* object) {
  void** table = nullptr;
  std::memcpy(&table, object, sizeof table);
  return table;
}

// Calls slot number `slot` with exactly the argument types given.
template <typename Result, typename... Arguments>
Result CallSlot(void* object, std::size_t slot, Arguments... arguments) {
  using Function = Result(void*, Arguments...);
  Function* function = nullptr;
  std::memcpy(&function, TableOf(object) + slot, sizeof function);
  return function(object, arguments...);
}

// The slot behind a pointer to a virtual member function: its first word is 1 + 8 * slot, its
// second the adjustment of the object's address.
template <typename Member>
std::size_t SlotOf(Member member) {
  static_assert(sizeof member == 2 * sizeof(std::uint64_t));
  std::array<std::uint64_t, 2> words{};
  std::memcpy(words.data(), &member, sizeof member);
  constexpr std::uint64_t kNotVirtual = 1000;
  if (words[0] % 8 != 1 || words[1] != 0) {
    return kNotVirtual;
  }
  return words[0] / 8;
}

// An object with a copy of its table, in which slots can be replaced; puts the old table back.
template <std::size_t kSlots>
class PatchedTable {
 public:
  explicit PatchedTable(void* object) : object_(object), original_(TableOf(object)) {
    // The two words before the table tell the type.
    std::memcpy(copy_.data(), original_ - kHead, sizeof copy_);
    void** table = copy_.data() + kHead;
    std::memcpy(object_, &table, sizeof table);
  }
  ~PatchedTable() { Restore(); }
  PatchedTable(const PatchedTable&) = delete;
  PatchedTable& operator=(const PatchedTable&) = delete;

  template <typename Function>
  void Replace(std::size_t slot, Function* function) {
    std::memcpy(copy_.data() + kHead + slot, &function, sizeof function);
  }

  // Puts the old table back now; an object that is gone is let go with Forget.
  void Restore() {
    if (object_ != nullptr) {
      std::memcpy(object_, &original_, sizeof original_);
    }
    object_ = nullptr;
  }
  void Forget() { object_ = nullptr; }
  void** Original() const { return original_; }

 private:
  static constexpr std::size_t kHead = 2;
  void* object_;
  void** original_;
  std::array<void*, kHead + kSlots> copy_{};
};

constexpr std::size_t kPackerSlots = 12;
constexpr std::size_t kPartSlots = 47;
using PatchedPacker = PatchedTable<kPackerSlots>;
using PatchedPart = PatchedTable<kPartSlots>;

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_RAW_SLOTS_H

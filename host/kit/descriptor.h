// The owner of a file descriptor. Closes it at the end; Close tells whether that went well.
#ifndef ZEVKA_HOST_KIT_DESCRIPTOR_H
#define ZEVKA_HOST_KIT_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace zevka::host {

class Descriptor {
 public:
  Descriptor() = default;
  // Takes the result of open(2) and its like; a negative one makes an empty owner.
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number_ >= 0) {
      ::close(number_);
    }
  }

  explicit operator bool() const { return number_ >= 0; }
  int Number() const { return number_; }
  // Gives the descriptor away.
  int Release() { return std::exchange(number_, -1); }
  // Result: false with errno when the system reports a late failure; it is closed all the same.
  bool Close() { return ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_ = -1;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_DESCRIPTOR_H

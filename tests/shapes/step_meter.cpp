#include "tests/shapes/step_meter.h"

#include <cstddef>

// Built without the compiler's own ideas of these functions, which would make them call themselves.
namespace {

constinit std::uint64_t blocks = 0;
constinit std::uint64_t bytes = 0;

unsigned char ByteAt(const void* memory, std::size_t at) {
  return static_cast<const unsigned char*>(memory)[at];
}

void* AddressOf(const void* memory, std::size_t at) {
  return const_cast<unsigned char*>(static_cast<const unsigned char*>(memory) + at);
}

void CopyUp(void* to, const void* from, std::size_t count) {
  asm volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(count) : : "memory");
}

void CopyDown(void* to, const void* from, std::size_t count) {
  auto* const into = static_cast<unsigned char*>(to);
  for (std::size_t at = count; at > 0; --at) {
    into[at - 1] = ByteAt(from, at - 1);
  }
}

}  // namespace

namespace zevka::test {

void StartStepMeter() {
  blocks = 0;
  bytes = 0;
}

Steps ReadStepMeter() {
  return {blocks, bytes};
}

}  // namespace zevka::test

extern "C" {

// NOLINTBEGIN: the names are the compiler's and the C library's.
void __sanitizer_cov_trace_pc() {
  ++blocks;
}

void* memmove(void* to, const void* from, std::size_t count) {
  bytes += count;
  const auto distance =
      reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
  if (distance >= count) {
    CopyUp(to, from, count);
  } else {
    CopyDown(to, from, count);
  }
  return to;
}

void* memcpy(void* to, const void* from, std::size_t count) {
  bytes += count;
  CopyUp(to, from, count);
  return to;
}

void* memset(void* to, int value, std::size_t count) {
  bytes += count;
  void* at = to;
  asm volatile("rep stosb" : "+D"(at), "+c"(count) : "a"(value) : "memory");
  return to;
}

int memcmp(const void* left, const void* right, std::size_t count) {
  std::size_t at = 0;
  while (at < count && ByteAt(left, at) == ByteAt(right, at)) {
    ++at;
  }
  bytes += at;
  return at == count ? 0 : ByteAt(left, at) - ByteAt(right, at);
}

void* memchr(const void* memory, int wanted, std::size_t count) {
  std::size_t at = 0;
  while (at < count && ByteAt(memory, at) != static_cast<unsigned char>(wanted)) {
    ++at;
  }
  bytes += at;
  return at == count ? nullptr : AddressOf(memory, at);
}

// As the C library's, never worse than a few looks at each byte.
void* memmem(const void* memory, std::size_t count, const void* text, std::size_t length) {
  std::size_t at = 0;
  while (length <= count && at <= count - length) {
    std::size_t alike = 0;
    while (alike < length && ByteAt(memory, at + alike) == ByteAt(text, alike)) {
      ++alike;
    }
    if (alike == length) {
      bytes += at + length;
      return AddressOf(memory, at);
    }
    ++at;
  }
  bytes += count;
  return nullptr;
}

std::size_t strlen(const char* text) {
  std::size_t at = 0;
  while (text[at] != '\0') {
    ++at;
  }
  bytes += at;
  return at;
}
// NOLINTEND

}  // extern "C"

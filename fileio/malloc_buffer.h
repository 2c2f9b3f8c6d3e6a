// Owner of one block of the C library's allocator, for bytes that may be handed over to the host
// or to a memory file, both of which free them with free().
#ifndef ZEVKA_FILEIO_MALLOC_BUFFER_H
#define ZEVKA_FILEIO_MALLOC_BUFFER_H

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace zevka {

class MallocBuffer {
 public:
  MallocBuffer() = default;
  // Takes over a block of malloc, calloc or realloc; may be null.
  explicit MallocBuffer(char* block) : block_(block) {}

  // A block of `bytes` zeros; empty when there is no memory for it (errno ENOMEM).
  static MallocBuffer Zeroed(std::size_t bytes) {
    return MallocBuffer(static_cast<char*>(std::calloc(bytes == 0 ? 1 : bytes, 1)));
  }

  explicit operator bool() const { return block_ != nullptr; }
  char* Data() const { return block_.get(); }
  // Hands the block to the caller, who frees it with free().
  [[nodiscard]] char* Release() { return block_.release(); }

 private:
  struct Free {
    void operator()(char* block) const { std::free(block); }
  };
  std::unique_ptr<char, Free> block_;
};

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MALLOC_BUFFER_H

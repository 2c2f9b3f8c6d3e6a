// Reads that fail as a broken disk fails them: nothing is read, and the error flag of the file
// stays set until it is closed. (A FaultTable fails the call alone.)
#ifndef ZEVKA_TESTS_MIME_READ_ERRORS_H
#define ZEVKA_TESTS_MIME_READ_ERRORS_H

#include <cerrno>
#include <cstddef>

#include "fileio/file_operations.h"

namespace zevka::test {

class ReadErrors {
 public:
  // Fails the n-th read from now on.
  explicit ReadErrors(int n) : wrapped_(CurrentFileOperations()) {
    Plan() = {wrapped_, n, nullptr, false};
    FileOperationTable& table = CurrentFileOperations();
    table.read = &Read;
    table.error = &Error;
    table.close = &Close;
  }
  ~ReadErrors() { CurrentFileOperations() = wrapped_; }
  ReadErrors(const ReadErrors&) = delete;
  ReadErrors& operator=(const ReadErrors&) = delete;

  static bool Happened() { return Plan().happened; }

 private:
  struct State {
    FileOperationTable real{};
    int left = 0;  // reads up to the one that fails
    void* broken = nullptr;
    bool happened = false;
  };

  static State& Plan() {
    static State state;
    return state;
  }

  static std::size_t Read(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
    if (--Plan().left == 0) {
      Plan().broken = handle;
      Plan().happened = true;
    }
    if (handle == Plan().broken) {
      errno = EIO;
      return 0;
    }
    return Plan().real.read(buffer, itemSize, itemCount, handle);
  }
  static int Error(void* handle) { return handle == Plan().broken ? 1 : Plan().real.error(handle); }
  static int Close(void* handle) {
    if (handle == Plan().broken) {
      Plan().broken = nullptr;
    }
    return Plan().real.close(handle);
  }

  FileOperationTable wrapped_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_MIME_READ_ERRORS_H

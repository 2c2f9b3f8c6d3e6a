// Keeps book of open file handles: which are open, and which files were removed, renamed, taken or
// committed while they were, which would leave a handle that points nowhere. Wraps whatever is in
// the table; made before a FaultTable, it sees what gets through.
#ifndef ZEVKA_TESTS_MIME_HANDLE_LEDGER_H
#define ZEVKA_TESTS_MIME_HANDLE_LEDGER_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "fileio/file_operations.h"

namespace zevka::test {

class HandleLedger {
 public:
  HandleLedger() : wrapped_(CurrentFileOperations()) {
    Book() = {};
    Book().real = wrapped_;
    FileOperationTable& table = CurrentFileOperations();
    table.open = &Open;
    table.close = &Close;
    table.remove = &Remove;
    table.rename = &Rename;
    table.commit = &Commit;
  }
  ~HandleLedger() { CurrentFileOperations() = wrapped_; }
  HandleLedger(const HandleLedger&) = delete;
  HandleLedger& operator=(const HandleLedger&) = delete;

  // Names of the files that are open.
  static std::vector<std::string> OpenFiles() {
    std::vector<std::string> names;
    for (const auto& [handle, name] : Book().open) {
      names.push_back(name);
    }
    return names;
  }
  // What was done to a name that was open, or to a handle that was not.
  static const std::vector<std::string>& Breaches() { return Book().breaches; }

 private:
  struct Entries {
    FileOperationTable real{};
    std::map<void*, std::string> open;
    std::vector<std::string> breaches;
  };

  static Entries& Book() {
    static Entries book;
    return book;
  }

  static void Look(const char* what, const char* name) {
    for (const auto& [handle, open] : Book().open) {
      if (open == name) {
        Book().breaches.push_back(std::string(what) + " of open " + name);
      }
    }
  }

  static void* Open(const char* name, const char* mode) {
    void* const handle = Book().real.open(name, mode);
    if (handle != nullptr && !Book().open.emplace(handle, name).second) {
      Book().breaches.push_back(std::string("second open of ") + name);
    }
    return handle;
  }
  static int Close(void* handle) {
    if (Book().open.erase(handle) == 0) {
      Book().breaches.emplace_back("close of what is not open");
    }
    return Book().real.close(handle);
  }
  static int Remove(const char* name) {
    Look("removal", name);
    return Book().real.remove(name);
  }
  static int Rename(const char* oldName, const char* newName) {
    Look("renaming", oldName);
    Look("renaming", newName);
    return Book().real.rename(oldName, newName);
  }
  static int Commit(const char* name) {
    Look("commit", name);
    return Book().real.commit(name);
  }

  FileOperationTable wrapped_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_MIME_HANDLE_LEDGER_H

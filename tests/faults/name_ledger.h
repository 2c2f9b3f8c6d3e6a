// Keeps book of the names that files were made under, so that afterwards it can be told which of
// them are still there. Wraps whatever is in the table; made before a FaultTable, it sees what gets
// through.
#ifndef ZEVKA_TESTS_FAULTS_NAME_LEDGER_H
#define ZEVKA_TESTS_FAULTS_NAME_LEDGER_H

#include <set>
#include <string>
#include <vector>

#include "fileio/file_operations.h"

namespace zevka::test {

class NameLedger {
 public:
  NameLedger() : wrapped_(CurrentFileOperations()) {
    Book() = {wrapped_, {}};
    FileOperationTable& table = CurrentFileOperations();
    table.open = &Open;
    table.rename = &Rename;
  }
  ~NameLedger() { CurrentFileOperations() = wrapped_; }
  NameLedger(const NameLedger&) = delete;
  NameLedger& operator=(const NameLedger&) = delete;

  // The names that were opened or given, and exist.
  static std::vector<std::string> Left() {
    std::vector<std::string> left;
    for (const std::string& name : Book().names) {
      struct stat status {};
      if (Book().real.stat(name.c_str(), &status) == 0) {
        left.push_back(name);
      }
    }
    return left;
  }

 private:
  struct Entries {
    FileOperationTable real{};
    std::set<std::string> names;
  };

  static Entries& Book() {
    static Entries book;
    return book;
  }

  static void* Open(const char* name, const char* mode) {
    void* const handle = Book().real.open(name, mode);
    if (handle != nullptr) {
      Book().names.insert(name);
    }
    return handle;
  }
  static int Rename(const char* oldName, const char* newName) {
    const int result = Book().real.rename(oldName, newName);
    if (result == 0) {
      Book().names.insert(newName);
    }
    return result;
  }

  FileOperationTable wrapped_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_NAME_LEDGER_H

// Messages in a fuzz target: opened through the packer as a host opens them, ended and tidied away.
#ifndef ZEVKA_FUZZ_SUPPORT_MESSAGES_H
#define ZEVKA_FUZZ_SUPPORT_MESSAGES_H

#include <zevka/packer.h>

#include <optional>
#include <string>
#include <string_view>

#include "mime/mime_part.h"

namespace zevka::fuzz {

// The packer of the process.
CStandardPacker& Packer();

// An open message. When it was not ended, the destructor discards it; its file goes in either case.
class OpenedMessage {
 public:
  // Opened from memory; not open for an empty text.
  explicit OpenedMessage(std::string_view bytes);
  // Opened by path, from a file that is on disk or in memory already.
  struct ByPath {
    std::string path;
  };
  explicit OpenedMessage(const ByPath& file);
  ~OpenedMessage();
  OpenedMessage(const OpenedMessage&) = delete;
  OpenedMessage& operator=(const OpenedMessage&) = delete;

  explicit operator bool() const { return part_ != nullptr; }
  MIMEPart& Part() const { return *part_; }
  const std::string& Name() const { return name_; }

  // Ends it and gives its bytes; nothing for -1. The file is gone afterwards.
  std::optional<std::string> Close(bool commit);
  // Ends it by CommitMessage; the result.
  int Commit(const char* subjectSuffix);
  // Ends it by SaveAndClose; false when the message lives on.
  bool SaveAndClose(const char* subjectSuffix);
  void Discard();

 private:
  void TakeName();

  MIMEPart* part_ = nullptr;
  std::string name_;
};

// The bytes of a file, through the library's file operations, and a file made of bytes; false when
// it cannot be written.
std::optional<std::string> ReadFile(const std::string& name);
bool WriteFile(const std::string& name, std::string_view bytes);

// A file on disk made of bytes, past the library.
void WriteDiskFile(const std::string& path, std::string_view bytes);

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_MESSAGES_H

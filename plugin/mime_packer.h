// MimePacker: the service object behind a host's StandardPacker pointer. It opens messages,
// finishes them and answers a few option codes; it keeps no list of the parts it made. What the
// slots do for a host stands in <zevka/packer.h>.
//
// The destructor stands between the inherited slots and OpenPart and takes slots 9 and 10; no
// interface has one. The class is not final: slots that call slots do so through the dispatch
// table.
#ifndef ZEVKA_PLUGIN_MIME_PACKER_H
#define ZEVKA_PLUGIN_MIME_PACKER_H

#include <zevka/packer.h>

#include <cstdint>

#include "plugin/temporary_names.h"

namespace zevka {

class MimePacker : public CStandardPacker {
 public:
  MimePacker() = default;
  MimePacker(const MimePacker&) = delete;
  MimePacker& operator=(const MimePacker&) = delete;

  // StandardPacker
  int SupportsVersion(int version) override;           // 0
  PartObject* OpenMessage(const char* path) override;  // 1
  int CommitMessage(PartObject* message, const char* subjectSuffix, const char* passThrough,
                    const char* attachmentName) override;  // 2
  // StandardPackerW
  PartObject* OpenMessageW(const wchar_t* path) override;  // 3
  int CommitMessageW(PartObject* message, const wchar_t* subjectSuffix, const wchar_t* passThrough,
                     const wchar_t* attachmentName) override;  // 4
  // CStandardPacker
  PartObject* OpenMessageFromMemory(void* data, std::int64_t lengthBytes, bool copy) override;  // 5
  std::int64_t CloseMessage(PartObject* message, char** outBuffer, bool commit) override;       // 6
  int QueryControl(int code, ...) override;                                                     // 7
  int ReleaseControl(int code, ...) override;                                                   // 8

  virtual ~MimePacker() = default;  // 9 and 10

  // Slot 11. Loads a message file.
  //   writeThrough  a commit brings the result to disk
  // Result: the message, or null.
  virtual PartObject* OpenPart(const char* path, bool writeThrough);

 private:
  TemporaryNames names_;
};

}  // namespace zevka

#endif  // ZEVKA_PLUGIN_MIME_PACKER_H

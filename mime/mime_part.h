// MIMEPart: the one concrete class behind a host's pointers to messages and parts. It is a face:
// each slot guards, calls the module that does the work, and turns its answer into the slot's
// result. What the slots do for a host stands in <zevka/part.h>; the data stands in PartState.
//
// The slots must stand in this order and no other virtual function may join them; the destructor
// comes last and takes slots 45 and 46. The class is not final: slots that call slots do so through
// the dispatch table.
//
// Threads: the part's lock is taken by the slots that say so in <zevka/part.h>, and by no other;
// RemovePart and the wide twins call locked slots and would never return if they held it. The lock
// of the thread map is taken after it, and the file layer's last.
#ifndef ZEVKA_MIME_MIME_PART_H
#define ZEVKA_MIME_MIME_PART_H

#include <zevka/part.h>

#include <cstdint>

#include "fileio/mutex.h"
#include "mime/part_state.h"
#include "mime/thread_record_map.h"

namespace zevka {

class MIMEPart : public PartObject {
 public:
  MIMEPart() = default;
  MIMEPart(const MIMEPart&) = delete;
  MIMEPart& operator=(const MIMEPart&) = delete;

  // SPackObj
  int Initialize() override;  // 0
  int SaveAndClose(const char* subjectSuffix, const char* passThrough,
                   const char* attachmentName) override;  // 1
  int Reserved() override;                                // 2
  // MIMEPackObj
  int LoadFromFile(const char* path) override;  // 3
  int WriteMessage(int reencode, const char* subjectSuffix, const char* passThrough,
                   const char* attachmentName) override;                           // 4
  int RemovePart() override;                                                       // 5
  int RewindHeaders() override;                                                    // 6
  int NextHeader(char* nameBuf, char* valueBuf) override;                          // 7
  int GetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) override;  // 8
  int SetHeader(const char* name, const char* value, int mode) override;           // 9
  int RewindChildren() override;                                                   // 10
  int NextChild(PartObject** child) override;                                      // 11
  int GetBodySize(std::uint64_t* sizeBytes) override;                              // 12
  int GetName(char* buf) override;                                                 // 13
  int GetDecodedBodyFile(char* buf) override;                                      // 14
  int GetEncodedBodyFile(char* buf) override;                                      // 15
  int SetFooterText(const char* text) override;                                    // 16
  void SetModified() override;                                                     // 17
  // MIMEPackObjW
  int SaveAndCloseW(const wchar_t* subjectSuffix, const wchar_t* passThrough,
                    const wchar_t* attachmentName) override;  // 18
  int LoadFromFileW(const wchar_t* path) override;            // 19
  int WriteMessageW(int reencode, const wchar_t* subjectSuffix, const wchar_t* passThrough,
                    const wchar_t* attachmentName) override;                     // 20
  int NextHeaderW(wchar_t* nameBuf, wchar_t* valueBuf) override;                 // 21
  int SetHeaderW(const wchar_t* name, const wchar_t* value, int mode) override;  // 22
  int GetNameW(wchar_t* buf) override;                                           // 23
  int GetDecodedBodyFileW(wchar_t* buf) override;                                // 24
  int GetEncodedBodyFileW(wchar_t* buf) override;                                // 25
  int SetFooterTextW(const wchar_t* text) override;                              // 26
  // CMIMEPacker
  std::uint64_t ReadDecodedBody(void* buf, std::uint64_t sizeBytes,
                                std::int64_t offsetBytes) override;                   // 27
  std::uint64_t WriteDecodedBody(const void* buf, std::uint64_t sizeBytes) override;  // 28
  std::uint64_t ReadEncodedBody(void* buf, std::uint64_t sizeBytes,
                                std::int64_t offsetBytes) override;                   // 29
  std::uint64_t WriteEncodedBody(const void* buf, std::uint64_t sizeBytes) override;  // 30
  // Unlocked implementations
  int DoRewindHeaders() override;                                                    // 31
  int DoNextHeader(char* nameBuf, char* valueBuf) override;                          // 32
  int ReservedA() override;                                                          // 33
  int ReservedB() override;                                                          // 34
  int DoGetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) override;  // 35
  int DoSetHeader(const char* name, const char* value, int mode) override;           // 36
  int DoRewindChildren() override;                                                   // 37
  int DoNextChild(PartObject** child) override;                                      // 38
  int DoGetDecodedBodyFile(char* buf, int commit) override;                          // 39
  int GetSourceFile(char* buf) override;                                             // 40
  void* GetDecodedBodyBuffer() override;                                             // 41
  int DoGetEncodedBodyFile(char* buf, int commit) override;                          // 42
  void* GetEncodedBodyBuffer() override;                                             // 43
  int GetFileName(char* buf, std::uint64_t sizeBytes) override;                      // 44
  // Ends the part, its children and its files. Slot 46, Destroy, is `delete part`.
  virtual ~MIMEPart();  // 45 and 46

  // For the rest of the library, which has the part to itself.
  PartState& State() { return state_; }
  const PartState& State() const { return state_; }
  // Puts the part back to what it was before loading; false without memory.
  bool PrepareLoad();

 private:
  // Runs `work` under the part's lock; `failure` when memory runs out.
  template <typename Result, typename Work>
  Result Locked(Result failure, const Work& work);

  Mutex lock_;
  PartState state_;
  ThreadRecordMapPtr iterators_;  // none before loading
};

}  // namespace zevka

#endif  // ZEVKA_MIME_MIME_PART_H

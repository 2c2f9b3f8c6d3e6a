// The packer: the one service object of libzevka.so. It opens messages and finishes them. A host
// gets it from RequestInterface (exports.h) and gives it back with ReleaseInterface, which takes a
// StandardPacker pointer; all interface pointers to one packer have the same address:
//
//   zevka::StandardPacker* service = nullptr;
//   if (RequestInterface(1, &service) != 1) ...
//   auto* packer = static_cast<zevka::CStandardPacker*>(service);
//
// Life of a message: open it (slot 1, 3 or 5), work on the part, then end it with exactly one of
// CommitMessage, CloseMessage or ReleaseControl(kDiscardMessage, part). After that the pointer, and
// those of all its children, are invalid, whatever the result.
//
// Threads: a packer may be used by several threads at once; a message by one, see part.h.
#ifndef ZEVKA_PACKER_H
#define ZEVKA_PACKER_H

#include <zevka/part.h>

#include <cstdint>

namespace zevka {

// Codes of QueryControl. One code space is shared with ReleaseControl; the gaps are meant.
enum QueryCode : int {
  kQueryFileOperations = 1,  // FileOperations*: filled; 1, or 0 for null
  kQueryCodesKnown = 2,      // no argument; 1
  kQuerySourceFile = 5,  // PartObject*, char[512]: GetSourceFile of the part, an embedded message
  kQuerySigned = 6,      // PartObject*: 1 when a DKIM or DomainKey signature, or a multipart whose
                     // protocol is an S/MIME signature, was read. Trap: 0 for a bare S/MIME message
                     // and for PGP.
};

// Codes of ReleaseControl.
enum ReleaseCode : int {
  kReleaseCodesKnown = 2,  // no argument; 1
  kReleaseBuffer = 3,      // void*: frees a buffer that CloseMessage gave; 1
  kDiscardMessage =
      4,  // PartObject*, may be null: ends the message without writing; 1. Trap: the memory
          // file of a message opened from memory stays under its name (GetFileName, slot
          // 44, asked before) until it is removed through the file operations.
};

// Slots 0 to 2.
class StandardPacker {
 public:
  // Slot 0. 1 for version 1, else 0.
  virtual int SupportsVersion(int version) = 0;

  // Slot 1. Opens the message in a file. CommitMessage will write it back to that file.
  //   path  its last component must leave room for the names of the parts' files: a few characters
  //   for
  //         each level of nesting below 255. The names path_e, path_d, path_b, path_0, path_1 ...
  //         beside it are the library's while the message is open. Trap: a path of more than 8
  //         characters that ends in "_footer" is removed when the message ends.
  // Result: the message, or null.
  virtual PartObject* OpenMessage(const char* path) = 0;

  // Slot 2. Adds the footer that was set, writes the message over its own file, and ends it.
  //   subjectSuffix   Trap: this is no output path. It is appended to every Subject; may be null
  //   passThrough     not used; null
  //   attachmentName  Trap: see WriteMessage in part.h; null
  // Result: 0, or -1 when the message file could not be set aside. Traps: 0 says that the message
  // is whole, not that it was changed: when writing or the footer fails the old message is kept,
  // and the result is 0. The file on disk is a new one with mode 0644. A path of more than 511
  // characters stays in memory.
  virtual int CommitMessage(PartObject* message, const char* subjectSuffix, const char* passThrough,
                            const char* attachmentName) = 0;

 protected:
  ~StandardPacker() = default;
};

// Slots 3 and 4: the wide twins of 1 and 2.
class StandardPackerW : public StandardPacker {
 public:
  virtual PartObject* OpenMessageW(const wchar_t* path) = 0;
  virtual int CommitMessageW(PartObject* message, const wchar_t* subjectSuffix,
                             const wchar_t* passThrough, const wchar_t* attachmentName) = 0;

 protected:
  ~StandardPackerW() = default;
};

// Slots 5 to 8.
class CStandardPacker : public StandardPackerW {
 public:
  // Slot 5. Opens the message in a buffer, under a temporary name in memory.
  //   copy  true: the bytes are copied; a length of 0 fails.
  //         Trap, false: the buffer is zeroed, not read, and becomes the library's (it must be a
  //         malloc block): the message consists of NULs. Pass true.
  virtual PartObject* OpenMessageFromMemory(void* data, std::int64_t lengthBytes, bool copy) = 0;

  // Slot 6. Ends the message and hands out its bytes.
  //   outBuffer  receives a buffer to be freed with ReleaseControl(kReleaseBuffer, buffer); may be
  //   null commit     true: CommitMessage first, without a suffix; false: the bytes as the file has
  //   them
  // Result: the length in bytes, 64-bit signed; 0 without outBuffer, whatever happened; -1 for a
  // null message or when there are no bytes to be had. An empty message from memory gives 0 and a
  // null buffer. Trap: with outBuffer the file is taken away, also the disk file of a message
  // opened by path.
  virtual std::int64_t CloseMessage(PartObject* message, char** outBuffer, bool commit) = 0;

  // Slot 7. 0 for an unknown code.
  virtual int QueryControl(int code, ...) = 0;

  // Slot 8. 0 for an unknown code.
  virtual int ReleaseControl(int code, ...) = 0;

 protected:
  ~CStandardPacker() = default;
};

}  // namespace zevka

#endif  // ZEVKA_PACKER_H

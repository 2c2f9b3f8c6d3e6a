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
// Conventions: those of part.h. Narrow paths are bytes; wide ones are converted in the process's
// locale, else to UTF-8.
//
// Threads: a packer may be used by several threads at once; a message that is being opened or ended
// by one, see part.h.
#ifndef ZEVKA_PACKER_H
#define ZEVKA_PACKER_H

#include <zevka/part.h>

#include <cstdint>

namespace zevka {

// Codes of QueryControl. One code space is shared with ReleaseControl; the gaps are meant, and an
// unknown code gives 0. A null part gives 0.
enum QueryCode : int {
  // FileOperations* (file_operations.h): words 0 to 17 are filled. 1; 0 with EINVAL for null.
  kQueryFileOperations = 1,
  // No argument. 1.
  kQueryCodesKnown = 2,
  // PartObject*, char[512]: GetSourceFile of the part: the path of the text of an embedded message,
  // written to disk. 1; 0 for any other part, the message itself included.
  kQuerySourceFile = 5,
  // PartObject*: 1 when a DKIM or DomainKey signature, or a multipart whose protocol is an S/MIME
  // signature (x-pkcs7), was read in the part or above it. Traps: 0 for a bare S/MIME message,
  // which SetFooterText refuses all the same, for PGP, and for a signature field that the host set.
  kQuerySigned = 6,
};

// Codes of ReleaseControl.
enum ReleaseCode : int {
  // No argument. 1.
  kReleaseCodesKnown = 2,
  // void*, may be null: frees a buffer that CloseMessage gave. 1.
  kReleaseBuffer = 3,
  // PartObject*, may be null: ends the message without writing. 1. Trap: the memory file of a
  // message opened from memory stays under its name (GetFileName, slot 44, asked before) until it
  // is removed through the file operations.
  kDiscardMessage = 4,
};

// Slots 0 to 2.
class StandardPacker {
 public:
  // Slot 0. 1 for version 1, else 0.
  virtual int SupportsVersion(int version) = 0;

  // Slot 1. Opens the message in a file; CommitMessage will write it back to that file.
  //   path  of a disk file, or of a memory file that the host made; null fails. Its last component
  //         must leave room for the names of the parts' files: a few characters for each level of
  //         nesting below 255. Trap: where there is no room, bodies are silently missing, and a
  //         commit writes the message without them.
  // Result: the message; null when the file cannot be opened or read, and for a directory.
  // Owner: the message is the caller's until it is ended. While it is open, the names path_e,
  // path_d, path_b, path_0, path_1 ..., path_footer and path_multipart, and names that begin with
  // one of these and "_" or ".", are the library's. Traps:
  // disk files of such names are overwritten and removed; a path of more than 8 characters that
  // ends in "_footer" is removed itself when the message ends.
  // Errors: errno may tell why; nothing promises it.
  virtual PartObject* OpenMessage(const char* path) = 0;

  // Slot 2. Adds the footer that was set, writes the message over its own file, and ends it.
  //   message         null gives -1
  //   subjectSuffix   Trap: this is no output path. It is appended to every Subject of the message
  //                   that is written; may be null
  //   passThrough     not used; null
  //   attachmentName  Trap: see WriteMessage in part.h; null
  // Result: 0; -1 when the message file could not be set aside, unless a footer was to go inline or
  // into a wrapper, or when memory ran out. The message is ended either way.
  // Traps: 0 says that the message is whole, not that it was changed. When writing fails the old
  // message is put back; when the footer fails the message is written without it; when the result
  // cannot be brought to disk it stays a memory file under its name. The file on disk is a new one
  // with mode 0644 less the umask. A path of more than 511 characters stays in memory.
  // Threads: no other thread uses the message.
  virtual int CommitMessage(PartObject* message, const char* subjectSuffix, const char* passThrough,
                            const char* attachmentName) = 0;

 protected:
  ~StandardPacker() = default;
};

// Slots 3 and 4: the wide twins of 1 and 2, with their results. Trap: a path that cannot be
// converted opens the file named "(conversion-error)".
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
  // Slot 5. Opens the message in a buffer, under a temporary name in memory, "filename-" and more,
  // without a folder (GetFileName, slot 44). A message that the memory files cannot hold lies on
  // disk in the current folder.
  //   data         the bytes; not null unless lengthBytes is 0
  //   lengthBytes  not below 0
  //   copy         true: the bytes are copied and stay the caller's; a length of 0 fails.
  //                Trap, false: the buffer is zeroed, not read, and becomes the library's (it must
  //                be a malloc block): the message consists of NULs. Pass true.
  // Result: the message; null when it cannot be stored or read: the name is gone and the buffer
  // stays the caller's, unless it was taken before.
  virtual PartObject* OpenMessageFromMemory(void* data, std::int64_t lengthBytes, bool copy) = 0;

  // Slot 6. Ends the message and hands out its bytes.
  //   message    null gives -1
  //   outBuffer  receives a buffer, the caller's, to be freed with ReleaseControl(kReleaseBuffer,
  //              buffer); may be null
  //   commit     true: CommitMessage first, without texts; false: the bytes as the file has them
  // Result: the length in bytes, 64-bit signed; 0 without outBuffer, whatever happened; -1 when
  // there are no bytes to be had: *outBuffer is untouched then. An empty message from memory gives
  // 0 and a null buffer.
  // Traps: with outBuffer the file is taken away, also the disk file of a message opened by path.
  // An empty disk file gives -1 and stays. Without outBuffer a message from memory stays under its
  // name, as with kDiscardMessage. Do not read behind the length: there is not always a NUL.
  // Threads: no other thread uses the message.
  virtual std::int64_t CloseMessage(PartObject* message, char** outBuffer, bool commit) = 0;

  // Slot 7. Answers a question; the arguments go by code, see QueryCode. 0 for an unknown code.
  virtual int QueryControl(int code, ...) = 0;

  // Slot 8. Gives something back; the argument goes by code, see ReleaseCode. 0 for an unknown
  // code.
  virtual int ReleaseControl(int code, ...) = 0;

 protected:
  ~CStandardPacker() = default;
};

}  // namespace zevka

#endif  // ZEVKA_PACKER_H

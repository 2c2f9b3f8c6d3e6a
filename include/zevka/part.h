// A message, or one part of a message, as the host sees it: a chain of interfaces whose operations
// stand in a fixed slot order. The packer (packer.h) makes parts and ends them; a host never
// deletes one.
//
// Conventions
//  - Results are 32-bit: 1 success or yes, 0 failure or no, unless the operation says otherwise. A
//    removed part fails every reading of its fields, children and bodies.
//  - Texts are NUL-terminated. A name ending in W takes or gives wchar_t text (UTF-32) and forwards
//    to its narrow twin; a text that cannot be converted travels as "(conversion-error)". A null
//    text stays null.
//  - Every text handed in stays the caller's; the part keeps copies. Buffers are the caller's and
//    must have the room that the operation names: nothing checks it.
//  - No exception leaves an operation; memory that cannot be had ends as failure.
//  - Body files are the library's and go with the message. A path that an operation gives names a
//    file that may be in memory: read it through the file operations, or use the slots that write
//    it to disk.
//
// Threads: operations marked [locked] hold the part's lock while they run, and header and child
// iteration keep their place for each thread by itself, so several threads may read one part. All
// others take no lock. Loading, saving, removing and ending a part need a part that no other thread
// uses. Trap: a thread that ends leaves its place behind, and a new thread may be given the same
// identity; rewind first. Trap: a longer field raises the sizes that NextHeader pads to, so no
// thread sets a field between another's GetHeaderSizes and NextHeader, nor during its NextHeaderW,
// which asks for the two one after the other.
//
// Sources: RFC 5322 (fields), RFC 2045 and 2046 (bodies, multiparts), RFC 2047 (encoded words in
// names).
#ifndef ZEVKA_PART_H
#define ZEVKA_PART_H

#include <cstdint>

namespace zevka {

class PartObject;

// Slots 0 to 2.
class SPackObj {
 public:
  // Slot 0. Does nothing; 1.
  virtual int Initialize() = 0;

  // Slot 1. Writes the message over its own file and ends the part. Hosts use the packer's
  // CommitMessage or CloseMessage, which also apply the footer and bring the result to disk; this
  // slot does neither. Trap: after it, a message that was opened by path is a memory file and no
  // longer on disk.
  //   subjectSuffix   appended to the value of every Subject field; may be null
  //   passThrough     handed to the children's WriteMessage and not used otherwise; may be null
  //   attachmentName  see WriteMessage; pass null
  // Result: 0 when the message file could not be set aside: nothing happened and the part lives on.
  // 1 in every other case, and the part is gone: also when writing failed and the old message was
  // put back.
  // Threads: no other thread uses the message.
  virtual int SaveAndClose(const char* subjectSuffix, const char* passThrough,
                           const char* attachmentName) = 0;

  // Slot 2. 0.
  virtual int Reserved() = 0;

 protected:
  ~SPackObj() = default;
};

// Slots 3 to 17: the narrow operations.
class MIMEPackObj : public SPackObj {
 public:
  // Slot 3. Parses a message file into this part and its children. The packer calls it once for
  // each part it makes; a host has no use for it.
  //   path  null fails
  // Result: 1, or 0 when the file cannot be opened or read: the part is empty then.
  virtual int LoadFromFile(const char* path) = 0;

  // Slot 4. Writes the part and its children over the part's own file. For the library's own use:
  // it uses up the part's body files, so a second call finds no bodies.
  //   modified        non-zero: a base64 or quoted-printable body is encoded anew from its decoded
  //                   file
  //   subjectSuffix   appended to the value of every Subject field of this part; may be null
  //   passThrough     for the children; not used otherwise; may be null
  //   attachmentName  null or empty: none. Trap: with a "Content-Disposition" field in the part the
  //                   call writes that field over and over until a write fails, or never ends. Pass
  //                   null.
  // Result: 1, also for a removed part, which writes nothing; 0 when a file fails, with a part of
  // the text in the part's own file.
  virtual int WriteMessage(int modified, const char* subjectSuffix, const char* passThrough,
                           const char* attachmentName) = 0;

  // Slot 5. Marks the part removed: it is left out when the message is written, and its files go at
  // once. 1. Traps: the files of its children stay until the message ends. On the message itself
  // the message file is removed, and a commit then gives -1.
  // Threads: takes no lock; no other thread uses the part.
  virtual int RemovePart() = 0;

  // Slot 6 [locked]. Starts header iteration for the calling thread. 1, also on a removed part; 0
  // when there is no memory for the place.
  virtual int RewindHeaders() = 0;

  // Slot 7 [locked]. Copies the next field and steps on.
  //   nameBuf, valueBuf  a null buffer is skipped. Trap: each is filled to exactly the size that
  //                      GetHeaderSizes reports, padded with NULs: at least 256 and 1024 bytes, and
  //                      more once the part has held a longer field. Ask GetHeaderSizes and give
  //                      that much. A text of exactly that size has no terminator; clear one byte
  //                      more to be safe.
  // Result: 1; 0 at the end, on a removed part, or without RewindHeaders on this thread.
  // The value is everything after the colon, its leading blank included, continuation lines joined,
  // encoded words as they are.
  // Trap: NextHeader(nullptr, buf) is a question for the message's line end: buf gets CR LF, CR or
  // LF, 1 or 2 bytes without a NUL, and the result is 0.
  virtual int NextHeader(char* nameBuf, char* valueBuf) = 0;

  // Slot 8 [locked]. The sizes, in bytes, that the next NextHeader of this thread pads to: two
  // 32-bit values. 1 always.
  //   nameSize, valueSize  null is skipped. 256 and 1024, or the length of the part's longest name
  //                        and value and 1; never lowered
  virtual int GetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) = 0;

  // Slot 9 [locked]. Adds a field, or replaces the first field of that name.
  //   name   letters, digits and '-'; not null, not empty
  //   value  not null, not empty. Other than ASCII characters are written as encoded words, long
  //          values are folded near 70 characters, and one space is put in front when the value
  //          begins with none. Traps: a line end in it is written as it is, and what follows it is
  //          a new line of the header block; "Content-Type" is written as it is, so begin its value
  //          with a space
  //   mode   0 adds; any other value replaces, and adds when there is no such field
  // Result: 1 done, or left alone because the field stands below a signature; 0 refused. There is
  // no way to remove a field.
  // A new field stands above the first DKIM-Signature or DomainKey-Signature field, else at the
  // end. Traps: "Content-Transfer-Encoding" changes how the body is written only in replace mode
  // over an existing field; a new boundary in "Content-Type" does not change the delimiters.
  virtual int SetHeader(const char* name, const char* value, int mode) = 0;

  // Slot 10 [locked]. Starts child iteration for the calling thread. 1; 0 when the part is no
  // multipart. Trap: an embedded message (message/rfc822) is no multipart, and its content cannot
  // be reached this way: see kQuerySourceFile in packer.h. A multipart may have no children.
  virtual int RewindChildren() = 0;

  // Slot 11 [locked]. Gives the next child, which stays the tree's. Removed children are skipped.
  //   child  not null; untouched when there is none
  // Result: 1; 0 at the end, on a removed part, or without RewindChildren on this thread.
  // Trap: a removed last child is still given.
  virtual int NextChild(PartObject** child) = 0;

  // Slot 12. Size of the part's own file (for the message: the whole message), else of its decoded
  // body, if that has been made; nothing is decoded here, so for a child it is mostly 0 at first.
  //   sizeBytes  64-bit; not null; untouched when there is neither file
  // Result: 1; 0 when there is neither, and on a removed part.
  virtual int GetBodySize(std::uint64_t* sizeBytes) = 0;

  // Slot 13. The part's display name, from "filename" or "name", as the message has it, in the
  // charset of its encoded words; "body" when it has none. 1 always.
  //   buf  room for the part's longest value: the second size of GetHeaderSizes
  virtual int GetName(char* buf) = 0;

  // Slot 14 [locked]. Makes the decoded body if need be, writes it to disk and gives its path.
  //   buf  512 bytes, padded with NULs. Traps: filled also when writing to disk failed; a path of
  //        512 characters or more is cut and not terminated
  // Result: 1; 0 when the body cannot be written to disk, and on a removed part.
  // Owner: the file is the library's and goes when the message ends.
  // Traps: the body leaves memory and lies on disk until then, and GetDecodedBodyBuffer gives null;
  // ReadDecodedBody avoids that. The first decoding of a faulty quoted-printable body adds the
  // fields "X-WrongBodyEncoding" and "X-NoCharsWrongEncoded" to the part, on a signed message too.
  virtual int GetDecodedBodyFile(char* buf) = 0;

  // Slot 15 [locked]. The same for the body as it stands in the message; 0 when there is none.
  //   buf  room for the path, which is not cut. Trap: filled also when there is no such file
  virtual int GetEncodedBodyFile(char* buf) = 0;

  // Slot 16. Keeps a footer text that CommitMessage will add; null drops it. 1 always, also for a
  // signed message, which silently takes none and keeps the footer it had. Set it on the message,
  // not on a child.
  //   text  UTF-8; ASCII text goes into a plain text body, anything else into a part of its own
  // Traps: when the part ends, the library removes a file of that name, should there be one; do not
  // use a text that is a path. Signed means a DKIM or DomainKey field, or an S/MIME type in its
  // "x-pkcs7" form; PGP and "application/pkcs7-signature" are not seen, and a footer breaks them.
  // Threads: takes no lock; one thread at a time.
  virtual int SetFooterText(const char* text) = 0;

  // Slot 17. Has the part's body encoded anew when the message is written.
  // Threads: takes no lock; one thread at a time.
  virtual void SetModified() = 0;

 protected:
  ~MIMEPackObj() = default;
};

// Slots 18 to 26: the wide twins. Arguments, results and traps are those of the narrow operations
// but for what stands here. None takes a lock; the locked ones among their twins do.
class MIMEPackObjW : public MIMEPackObj {
 public:
  virtual int SaveAndCloseW(const wchar_t* subjectSuffix, const wchar_t* passThrough,
                            const wchar_t* attachmentName) = 0;  // slot 18, twin of 1
  virtual int LoadFromFileW(const wchar_t* path) = 0;            // slot 19, twin of 3
  virtual int WriteMessageW(int modified, const wchar_t* subjectSuffix, const wchar_t* passThrough,
                            const wchar_t* attachmentName) = 0;  // slot 20, twin of 4
  // Slot 21, twin of 7. Copies the texts with their terminators and pads nothing.
  //   nameBuf, valueBuf  room in wide characters as GetHeaderSizes says, plus one. Null buffers are
  //                      skipped: this is no question for the line end
  virtual int NextHeaderW(wchar_t* nameBuf, wchar_t* valueBuf) = 0;
  virtual int SetHeaderW(const wchar_t* name, const wchar_t* value,
                         int mode) = 0;  // slot 22, twin of 9
  // Slot 23, twin of 13. Converts from the charset of the name's encoded words; 0, and buf
  // untouched, when that charset is not known, the name is no text in it, or the name takes more
  // than 512 bytes of UTF-8.
  //   buf  512 wide characters, padded with zeros
  virtual int GetNameW(wchar_t* buf) = 0;
  // Slots 24 and 25, twins of 14 and 15.
  //   buf  room for 513 and 4096 wide characters, or for a path that is longer
  virtual int GetDecodedBodyFileW(wchar_t* buf) = 0;
  virtual int GetEncodedBodyFileW(wchar_t* buf) = 0;
  virtual int SetFooterTextW(const wchar_t* text) = 0;  // slot 26, twin of 16

 protected:
  ~MIMEPackObjW() = default;
};

// Slots 27 to 30: bodies without files. Results are byte counts, 0 for failure, on a removed part,
// and for a body that is not there. Trap: close every handle of the file operations on the body
// before; an open memory file is shared with the library.
class CMIMEPacker : public MIMEPackObjW {
 public:
  // Slot 27 [locked]. Reads the decoded body. Decodes on first use; for faults see slot 14.
  //   buf          room for sizeBytes; null: the result is the size of the decoded body
  //   offsetBytes  where to begin; not below 0. At or behind the end the result is 0
  virtual std::uint64_t ReadDecodedBody(void* buf, std::uint64_t sizeBytes,
                                        std::int64_t offsetBytes) = 0;
  // Slot 28 [locked]. Replaces the decoded body, and marks the part modified when all of it was
  // taken.
  //   buf  sizeBytes bytes; with 0 bytes the body is emptied, the part marked, and the result 0
  virtual std::uint64_t WriteDecodedBody(const void* buf, std::uint64_t sizeBytes) = 0;
  // Slot 29 [locked]. As slot 27, for the body as it stands in the message.
  virtual std::uint64_t ReadEncodedBody(void* buf, std::uint64_t sizeBytes,
                                        std::int64_t offsetBytes) = 0;
  // Slot 30 [locked]. Replaces the body as it stands in the message; does not mark the part
  // modified. Traps: a decoded body that was made before stays as it was; a part without an encoded
  // body takes none, and the result is 0.
  virtual std::uint64_t WriteEncodedBody(const void* buf, std::uint64_t sizeBytes) = 0;

 protected:
  ~CMIMEPacker() = default;
};

// Slots 31 to 44: what stands behind the locked operations. The Do... slots take no lock; a host
// calls the operations above. Slots 45 and 46, which no host calls, end the part.
class PartObject : public CMIMEPacker {
 public:
  virtual int DoRewindHeaders() = 0;                            // slot 31
  virtual int DoNextHeader(char* nameBuf, char* valueBuf) = 0;  // slot 32
  virtual int ReservedA() = 0;                                  // slot 33: 0
  virtual int ReservedB() = 0;                                  // slot 34: 0
  virtual int DoGetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) = 0;  // slot 35
  virtual int DoSetHeader(const char* name, const char* value, int mode) = 0;           // slot 36
  virtual int DoRewindChildren() = 0;                                                   // slot 37
  virtual int DoNextChild(PartObject** child) = 0;                                      // slot 38
  // Slot 39. As slot 14; with commit 0 (its low byte counts) the body stays where it is.
  virtual int DoGetDecodedBodyFile(char* buf, int commit) = 0;
  // Slot 40 [locked]. The path of the copy of an embedded message's text, written to disk; 0 for
  // any other part. The file is the library's and goes when the message ends.
  //   buf  512 bytes, padded with NULs
  virtual int GetSourceFile(char* buf) = 0;
  // Slot 41 [locked]. The decoded body in memory, decoded if need be; null when it is empty or on
  // disk. The pointer is the part's and holds until the body changes. ReadDecodedBody(nullptr, 0,
  // 0) tells the size; there is no terminator.
  virtual void* GetDecodedBodyBuffer() = 0;
  // Slot 42. As slot 15; with commit 0 (its low byte counts) the body stays where it is.
  virtual int DoGetEncodedBodyFile(char* buf, int commit) = 0;
  // Slot 43 [locked]. As slot 41, for the body as it stands in the message.
  virtual void* GetEncodedBodyBuffer() = 0;
  // Slot 44. Copies the part's own path; empty before loading. 0 always.
  //   sizeBytes  bytes that are written: the path, padded with NULs, and not terminated when it is
  //              that long; give a zeroed buffer and one byte less than it has
  virtual int GetFileName(char* buf, std::uint64_t sizeBytes) = 0;

 protected:
  ~PartObject() = default;
};

}  // namespace zevka

#endif  // ZEVKA_PART_H

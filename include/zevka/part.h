// A message, or one part of a message, as the host sees it: a chain of interfaces whose operations
// stand in a fixed slot order. The packer (packer.h) makes parts and ends them; a host never
// deletes one.
//
// Conventions
//  - Results are 32-bit: 1 success or yes, 0 failure or no, unless the operation says otherwise.
//  - Texts are NUL-terminated. A name ending in W takes or gives wchar_t text (UTF-32) and forwards
//  to its
//    narrow twin; a text that cannot be converted travels as "(conversion-error)". A null text
//    stays null.
//  - Every text handed in stays the caller's; the part keeps copies. Buffers are the caller's and
//  must have
//    the room that the operation names: nothing checks it.
//  - No exception leaves an operation; memory that cannot be had ends as failure.
//
// Threads: operations marked [locked] hold the part's lock while they run, and header and child
// iteration keep their place for each thread by itself, so several threads may read one part. All
// others take no lock. Loading, saving, removing and ending a part need a part that no other thread
// uses.
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
  // slot does neither.
  //   subjectSuffix   appended to the value of every Subject field; may be null
  //   passThrough     handed to the children's WriteMessage and not used otherwise; may be null
  //   attachmentName  see WriteMessage; pass null
  // Result: 0 when the message file could not be set aside: nothing happened and the part lives on.
  // 1 in every other case, and the part is gone: also when writing failed and the old message was
  // put back.
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
  virtual int LoadFromFile(const char* path) = 0;

  // Slot 4. Writes the part and its children over the part's own file. For the library's own use:
  // it uses up the part's body files, so a second call finds no bodies.
  //   modified        non-zero: a base64 or quoted-printable body is encoded anew from its decoded
  //   file attachmentName  Trap: with a "Content-Disposition" field in the part the call writes
  //   that field over
  //                   and over until a write fails, or never ends. Pass null.
  virtual int WriteMessage(int modified, const char* subjectSuffix, const char* passThrough,
                           const char* attachmentName) = 0;

  // Slot 5. Marks the part removed: it is left out when the message is written, and its files go at
  // once. Trap: the files of its children stay until the message ends, and on the message itself
  // the message file is removed. 1.
  virtual int RemovePart() = 0;

  // Slot 6 [locked]. Starts header iteration for the calling thread.
  virtual int RewindHeaders() = 0;

  // Slot 7 [locked]. Copies the next field and steps on; 0 at the end, on a removed part, or
  // without RewindHeaders on this thread.
  //   nameBuf, valueBuf  Trap: each is filled to exactly the size that GetHeaderSizes reports,
  //   padded with
  //                      NULs: at least 256 and 1024 bytes, and more once the message holds a
  //                      longer field. Ask GetHeaderSizes and give that much. A null buffer is
  //                      skipped.
  // The value is everything after the colon, its leading blank included, continuation lines joined.
  // Trap: NextHeader(nullptr, buf) is a question for the message's line end: buf gets CR LF, CR or
  // LF, 1 or 2 bytes without a NUL, and the result is 0.
  virtual int NextHeader(char* nameBuf, char* valueBuf) = 0;

  // Slot 8 [locked]. The sizes, in bytes, that the next NextHeader of this thread pads to, two
  // 32-bit values. 1.
  virtual int GetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) = 0;

  // Slot 9 [locked]. Adds a field, or replaces the first field of that name.
  //   name   letters, digits and '-'; not null, not empty
  //   value  not null, not empty; written after the colon as it is, with one space put in front
  //   when it
  //          begins with none
  //   mode   0 adds; any other value replaces, and adds when there is no such field
  // Result: 1 done, or left alone because the field stands below a signature; 0 refused.
  // A new field stands above the first DKIM-Signature or DomainKey-Signature field, else at the
  // end. Traps: "Content-Transfer-Encoding" changes how the body is written only in replace mode
  // over an existing field; a new boundary in "Content-Type" does not change the delimiters.
  virtual int SetHeader(const char* name, const char* value, int mode) = 0;

  // Slot 10 [locked]. Starts child iteration for the calling thread; 0 when the part is no
  // multipart. An embedded message (message/rfc822) is no multipart: see QueryControl code 5 in
  // packer.h.
  virtual int RewindChildren() = 0;

  // Slot 11 [locked]. Gives the next child, which stays the tree's. Removed children are skipped.
  // Trap: a removed last child is still given.
  virtual int NextChild(PartObject** child) = 0;

  // Slot 12. Size in bytes of the part's own file (for the message: the whole message), else of its
  // decoded body, if that has been made. 0 and nothing stored when there is neither.
  virtual int GetBodySize(std::uint64_t* sizeBytes) = 0;

  // Slot 13. The part's display name, from "filename" or "name", as the message has it, in the
  // charset of its encoded words; "body" when it has none. Room: 513 bytes, or the longest field of
  // the message. 1.
  virtual int GetName(char* buf) = 0;

  // Slot 14 [locked]. Makes the decoded body if need be, writes it to disk and gives its path.
  //   buf  512 bytes, padded with NULs
  // Trap: the body leaves memory and lies on disk until the message ends. ReadDecodedBody avoids
  // that. Trap: the first decoding of a faulty quoted-printable body adds the fields
  // "X-WrongBodyEncoding" and "X-NoCharsWrongEncoded" to the part.
  virtual int GetDecodedBodyFile(char* buf) = 0;

  // Slot 15 [locked]. The same for the body as it stands in the message; 0 when there is none.
  //   buf  room for the path, which is not cut
  virtual int GetEncodedBodyFile(char* buf) = 0;

  // Slot 16. Keeps a footer text that CommitMessage will add; null drops it. 1 always, also for a
  // signed message, which silently takes none.
  //   text  UTF-8; ASCII text goes into a plain text body, anything else into a part of its own
  // Trap: when the part ends, the library removes a file of that name, should there be one. Do not
  // use a text that is a path.
  virtual int SetFooterText(const char* text) = 0;

  // Slot 17. Has the part's body encoded anew when the message is written.
  virtual void SetModified() = 0;

 protected:
  ~MIMEPackObj() = default;
};

// Slots 18 to 26: the wide twins.
class MIMEPackObjW : public MIMEPackObj {
 public:
  virtual int SaveAndCloseW(const wchar_t* subjectSuffix, const wchar_t* passThrough,
                            const wchar_t* attachmentName) = 0;  // slot 18, twin of 1
  virtual int LoadFromFileW(const wchar_t* path) = 0;            // slot 19, twin of 3
  virtual int WriteMessageW(int modified, const wchar_t* subjectSuffix, const wchar_t* passThrough,
                            const wchar_t* attachmentName) = 0;  // slot 20, twin of 4
  // Slot 21, twin of 7. Copies the texts with their terminators and pads nothing; room in wide
  // characters as GetHeaderSizes says, plus one. Null buffers are skipped: this is no question for
  // the line end.
  virtual int NextHeaderW(wchar_t* nameBuf, wchar_t* valueBuf) = 0;
  virtual int SetHeaderW(const wchar_t* name, const wchar_t* value,
                         int mode) = 0;  // slot 22, twin of 9
  // Slot 23, twin of 13. Converts from the charset of the name's encoded words; 0, and buf
  // untouched, when that charset is not known or the name is no text in it.
  //   buf  512 wide characters
  virtual int GetNameW(wchar_t* buf) = 0;
  virtual int GetDecodedBodyFileW(wchar_t* buf) = 0;    // slot 24, twin of 14
  virtual int GetEncodedBodyFileW(wchar_t* buf) = 0;    // slot 25, twin of 15
  virtual int SetFooterTextW(const wchar_t* text) = 0;  // slot 26, twin of 16

 protected:
  ~MIMEPackObjW() = default;
};

// Slots 27 to 30: bodies without files. Results are byte counts, 0 for failure.
class CMIMEPacker : public MIMEPackObjW {
 public:
  // Slot 27 [locked]. Reads up to sizeBytes of the decoded body from offsetBytes on. With a null
  // buffer the result is the size of the decoded body. Decodes on first use.
  virtual std::uint64_t ReadDecodedBody(void* buf, std::uint64_t sizeBytes,
                                        std::int64_t offsetBytes) = 0;
  // Slot 28 [locked]. Replaces the decoded body, and marks the part modified when all of it was
  // taken.
  virtual std::uint64_t WriteDecodedBody(const void* buf, std::uint64_t sizeBytes) = 0;
  // Slot 29 [locked]. As slot 27, for the body as it stands in the message.
  virtual std::uint64_t ReadEncodedBody(void* buf, std::uint64_t sizeBytes,
                                        std::int64_t offsetBytes) = 0;
  // Slot 30 [locked]. Replaces the body as it stands in the message; does not mark the part
  // modified. Trap: a decoded body that was made before stays as it was.
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
  virtual int DoGetDecodedBodyFile(char* buf, int commit) = 0;                          // slot 39
  // Slot 40 [locked]. The path of the copy of an embedded message's text, written to disk; 0 for
  // any other part.
  //   buf  512 bytes, padded with NULs
  virtual int GetSourceFile(char* buf) = 0;
  // Slot 41 [locked]. The decoded body in memory, decoded if need be; null when it is empty or on
  // disk. The pointer is the part's and holds until the body changes. ReadDecodedBody(nullptr, 0,
  // 0) tells the size.
  virtual void* GetDecodedBodyBuffer() = 0;
  virtual int DoGetEncodedBodyFile(char* buf, int commit) = 0;  // slot 42
  // Slot 43 [locked]. As slot 41, for the body as it stands in the message.
  virtual void* GetEncodedBodyBuffer() = 0;
  // Slot 44. Copies the part's own path, padded with NULs to sizeBytes and not terminated when it
  // is that long; give a zeroed buffer and one byte less than it has. 0 always.
  virtual int GetFileName(char* buf, std::uint64_t sizeBytes) = 0;

 protected:
  ~PartObject() = default;
};

}  // namespace zevka

#endif  // ZEVKA_PART_H

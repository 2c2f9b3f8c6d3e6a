// The host kit: loads libzevka.so the way any host does and keeps what it hands out in owners, so
// that every way out of a block ends a message exactly once, frees its buffers, removes its names
// and gives the packer back. It uses nothing but the twelve exports, the slots and the file
// operations.
//
//   const auto library = zevka::host::Library::Load();
//   zevka::host::Packer packer(library);
//   zevka::host::Message message = packer.Open("mail.eml");
//   message.Root().SetField("X-Checked", "yes");
//   message.Commit();
//
// What it hides: buffers that are padded to sizes asked for before, iteration places for each
// thread, the two calls never made (a message from a buffer that is not copied, an attachment
// name), memory files that outlive a discarded message, foreign charsets of names, a footer text
// that names a file. What it leaves to others: deciding whether a message may be changed, and
// seeing that the result is whole (safe_edit.h). A host that only wants a footer or a field uses
// that.
//
// Texts are UTF-8 unless stated otherwise; header values and bodies are the message's own bytes.
// Owners keep what they came from alive: a Message its Packer, Files and a Packer the Library. A
// Part is a view of its Message: once that was finished, or has gone, each use of it throws.
//
// Errors: unlike the library, which reports by results, the kit throws Failure: a host reports in
// one place. So does each use of what was moved from or has ended. bad_alloc passes through.
// Destructors throw nothing.
//
// Threads: a Library and a Packer may be used by several threads at once; a Message and its Parts
// by one at a time. Several threads may read one message at once (Fields, Field, Children, Body,
// ReadBody and what else does not change it), each through Parts of its own, but for EmbeddedText;
// no thread changes or finishes it meanwhile. Files: different names by different threads.
//
// The process does not change its current folder while a message is open: what does not fit into
// memory lies under names in that folder.
//
// Sources: RFC 5322 2.2 (fields), RFC 2045 5 and 6 (types, encodings), RFC 2046 5.2.1 (embedded
// messages), RFC 3629 (UTF-8).
#ifndef ZEVKA_HOST_H
#define ZEVKA_HOST_H

#include <zevka/file_operations.h>
#include <zevka/packer.h>
#include <zevka/part.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zevka::host {

// Something that a host could not do; the text is one line for its user, without a file name.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The loaded library, unloaded when its last owner goes. Copies are the same library.
class Library {
 public:
  // Loads the library and sees that it speaks version 1 of the interface.
  //   path  the file; empty: libzevka.so beside the program, else in the folder above it, else
  //         libzevka.so.1 in the lib folder beside the program's, else libzevka.so.1 and then
  //         libzevka.so, wherever the dynamic loader finds them
  // Throws Failure with the dynamic loader's reason.
  // Trap: loading seeds the C library's rand() anew.
  static Library Load(const std::string& path = {});

  // The address of an export. Throws Failure when the library has none of that name.
  void* Export(const char* name) const;

 private:
  friend class Packer;
  explicit Library(std::shared_ptr<void> handle);

  std::shared_ptr<void> handle_;
};

// The library's file operations: files in memory and on disk by name, never told apart. All names
// are bytes. Copies are the same operations.
class Files {
 public:
  // The contents of a file. Throws Failure when it cannot be opened or read to its end, and for a
  // memory file that somebody has open: there is one handle for all.
  std::string Read(const std::string& name) const;
  // Makes the file anew with these contents, in memory when the budget allows it and no file of
  // that name is on disk. Throws Failure: then a file that was not there before is not there
  // either; one that was has lost its contents.
  void Write(const std::string& name, std::string_view bytes) const;
  // Removes the memory file of that name or, when there is none, the disk file; false when there
  // was neither.
  bool Remove(const std::string& name) const;
  // Whether there is such a file, in memory or on disk.
  bool Exists(const std::string& name) const;

  // The structure itself, for everything else; see file_operations.h for its traps.
  const FileOperations& Table() const { return table_; }

 private:
  friend class Packer;
  Files(const FileOperations& table, std::shared_ptr<const void> library)
      : table_(table), library_(std::move(library)) {}
  void* OpenAlone(const std::string& name, const char* mode) const;

  FileOperations table_;
  std::shared_ptr<const void> library_;  // keeps the entries' code loaded
};

class Message;
class Part;

// One packer; given back when its last owner, itself or a message, goes. Moved, not copied.
class Packer {
 public:
  // Throws Failure when the library does not offer what the public headers name.
  explicit Packer(const Library& library);
  Packer(Packer&&) noexcept = default;
  Packer& operator=(Packer&&) noexcept = default;
  ~Packer() = default;

  // Opens the message in a file; Message::Commit writes it back there. The file itself is only
  // read: the library works on a copy in memory, as with OpenBytes.
  //   path  of a regular file, or of a link to one
  // Throws Failure, also for an empty file.
  Message Open(const std::string& path) const;
  // Opens a copy of the bytes as a message, in memory. One that the library's budget of 128 MiB
  // cannot hold lies in the process's current folder for as long as it is open. Throws Failure,
  // also for no bytes.
  Message OpenBytes(std::string_view bytes) const;

  host::Files Files() const;
  // The service itself, for what the kit does not wrap.
  CStandardPacker& Raw() const;

 private:
  friend class Part;  // messages keep their packer
  struct Service;

  Packer(const Packer&) = default;
  Packer& operator=(const Packer&) = default;
  const Service& Live() const;

  std::shared_ptr<const Service> service_;
};

// One header field, as the message has it.
struct HeaderField {
  std::string name;
  std::string value;  // begins with the blank behind the colon; continuation lines are joined
};

// Takes a body piece by piece; what it throws ends the reading.
using ChunkReader = std::function<void(std::string_view chunk)>;

// A message or one of its parts. A view of a Message that is open. Moved, not copied.
class Part {
 public:
  Part(Part&&) noexcept = default;
  Part& operator=(Part&&) noexcept = default;
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;
  ~Part() = default;

  // All fields in their order, as they are now; setting one does not disturb the list.
  std::vector<HeaderField> Fields() const;
  // The value of the first field of that name (compared without case), trimmed; nothing when there
  // is none.
  std::optional<std::string> Field(std::string_view name) const;
  // Replaces the first field of that name, or adds one: above a DKIM or DomainKey signature, else
  // at the end of the fields.
  //   name   letters, digits and '-'
  //   value  one line of UTF-8, not blank; other than ASCII characters become encoded words.
  //          "Content-Type": ASCII. "Content-Transfer-Encoding": 7bit, 8bit, binary, base64 or
  //          quoted-printable; the body is encoded anew
  // Throws Failure when the name or value is none of these, or the field stands below a signature;
  // for "Content-Type" from or to a multipart, whose delimiters would not follow; for
  // "Content-Transfer-Encoding" of a multipart or an embedded message. Nothing was changed then.
  void SetField(const std::string& name, const std::string& value);
  // The same, but adds a field also when there is one of that name. Throws Failure for
  // "Content-Transfer-Encoding", which can only be set.
  void AddField(const std::string& name, const std::string& value);

  // In lower case; "text/plain" when the fields give none.
  std::string MediaType() const;
  // The transfer encoding in lower case; "7bit" when the fields give none.
  std::string Encoding() const;
  // The name that the part gives itself, in UTF-8; bytes that are no text in their charset stay as
  // they are. Empty when it has none. Not fit for the name of a file as it is.
  std::string Name() const;
  // All names that a mail reader may show for the part: "filename" and "name" of every field that
  // gives one, plain, in encoded words and in the extended form, each once, in UTF-8 as above. Who
  // decides by a name looks at all of them.
  std::vector<std::string> Names() const;

  // The parts of a multipart, without the removed ones; empty for any other part, an embedded
  // message included. Throws Failure for a multipart of more than 1000 parts: the library mixes up
  // their bodies.
  std::vector<Part> Children() const;
  bool IsMultipart() const;
  // The text of an embedded message (message/rfc822); nothing for any other part, the message
  // itself included. Open it with Packer::OpenBytes to look inside. Trap: the library writes a copy
  // into the process's current folder, where it lies until the message ends.
  std::optional<std::string> EmbeddedText() const;

  // The decoded body; what stands before the first part for a multipart, empty for an embedded
  // message. Throws Failure when it cannot be read whole.
  // Trap: the first reading of a faulty quoted-printable body adds the fields "X-WrongBodyEncoding"
  // and "X-NoCharsWrongEncoded" to the part; they are written when the message is.
  std::string Body() const;
  // Its size in bytes. Decodes it on first use.
  std::uint64_t BodySizeBytes() const;
  // Hands the decoded body over piece by piece, each of up to `chunkBytes`.
  void ReadBody(const ChunkReader& reader, std::size_t chunkBytes = 65536) const;
  // The body as it stands in the message.
  std::string EncodedBody() const;
  // Replaces the decoded body; it is encoded anew as the part's fields say when the message is
  // written. Throws Failure when it was not taken whole, and for a multipart or an embedded
  // message.
  // Trap: a body in 7bit or 8bit is written as it is. Use the message's line end; a body that does
  // not end with one gets one.
  void SetBody(std::string_view bytes);

  // Leaves the part and all below it out when the message is written. Only for a part below the
  // message; from now on it has no fields, bodies and children. Throws Failure for the message
  // itself.
  void Remove();

  // The slots themselves.
  PartObject& Raw() const;

 private:
  friend class Message;
  friend class Packer;
  struct MessageState;
  Part(std::shared_ptr<MessageState> message, PartObject* part);
  void Set(const std::string& name, const std::string& value, int mode);
  void SetEncoding(const std::string& value);
  std::string PlainName() const;
  bool IsEmbedded() const;

  std::shared_ptr<MessageState> message_;
  PartObject* part_;
};

// An open message. When none of the ways to finish it was taken, the destructor discards it. Moved,
// not copied; its parts may be used on.
class Message {
 public:
  Message(Message&& other) noexcept = default;
  Message& operator=(Message&& other) = delete;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
  ~Message();

  Part Root() const;

  // Whether the library counts the message as signed, and so takes no footer: a DKIM or DomainKey
  // field or an older S/MIME type ("x-pkcs7"). Trap: not all signatures there are; see safe_edit.h.
  bool IsSigned() const;
  // "\r\n", "\n" or "\r": how the first line ends.
  std::string LineEnd() const;

  // Keeps a footer text that is added when the message is finished; a later one replaces it.
  //   text  UTF-8, not empty
  // Result: false for a signed message, which takes none.
  // Throws Failure for a text that is empty, no UTF-8 or has a NUL in it.
  bool SetFooter(const std::string& text);

  // Adds the footer, writes the message in the place of its file in one step, and ends it. The file
  // keeps its mode, and its owner as far as the system permits; hard links to it keep the old
  // message. Only for one that was opened from a file.
  //   subjectSuffix  appended to each Subject; one line of ASCII, may be empty
  // Throws Failure: the file is as it was then. It was changed by somebody else meanwhile, it
  // cannot be written, or the message could not be finished (it has ended in all these cases). Also
  // for a message that was opened from bytes, and for a suffix that cannot be written (the message
  // goes on).
  // Trap: no exception tells that the file has the finished message whole, not that the footer is
  // in it: the library leaves a footer out that it cannot add. safe_edit.h looks.
  void Commit(const std::string& subjectSuffix = {});
  // Adds the footer, ends the message and gives its bytes. For one that was opened from a file too,
  // which stays as it is.
  // Throws Failure as Commit does.
  std::string Finish(const std::string& subjectSuffix = {});
  // Ends the message without writing. Nothing when it has ended already.
  void Discard();

 private:
  friend class Packer;
  explicit Message(std::shared_ptr<Part::MessageState> state);
  Part::MessageState& Live() const;

  std::shared_ptr<Part::MessageState> state_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_H

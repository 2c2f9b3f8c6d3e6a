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
// Owners keep what they came from alive: a Message its Packer, a Packer its Library. A Part is a
// view of its Message and is not used after the message was finished or has gone.
//
// Errors: unlike the library, which reports by results, the kit throws Failure: a host reports in
// one place. bad_alloc passes through.
//
// Threads: a Library and a Packer may be used by several threads at once; a Message and its Parts
// by one at a time, but for reading, which several threads may do as part.h says.
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
  //         libzevka.so.1 and then libzevka.so, wherever the dynamic loader finds them
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
  // The contents of a file. Throws Failure when it cannot be opened or read to its end.
  std::string Read(const std::string& name) const;
  // Makes the file anew with these contents, in memory when the budget allows it and no file of
  // that name is on disk. Throws Failure: then no file of that name is left in memory.
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
  explicit Files(const FileOperations& table) : table_(table) {}

  FileOperations table_;
};

class Message;
class Part;

// One packer; given back when its last owner, itself or a message, goes. Moved, not copied.
class Packer {
 public:
  // Throws Failure when the library does not offer what the public headers name.
  explicit Packer(const Library& library);

  // Opens the message in a file; Message::Commit writes it back there.
  //   path  a file's name; its last component leaves some room below 255 characters
  // Throws Failure.
  Message Open(const std::string& path) const;
  // Opens a copy of the bytes as a message, in memory. One that the library's budget of 128 MiB
  // cannot hold lies in the process's current folder for as long as it is open. Throws Failure,
  // also for no bytes.
  Message OpenBytes(std::string_view bytes) const;

  host::Files Files() const;
  // The service itself, for what the kit does not wrap.
  CStandardPacker& Raw() const;

 private:
  struct Service;

  std::shared_ptr<const Service> service_;
};

// One header field, as the message has it.
struct HeaderField {
  std::string name;
  std::string value;  // begins with the blank behind the colon; continuation lines are joined
};

// How much of a stream a reader wants.
using ChunkReader = std::function<void(std::string_view chunk)>;

// A message or one of its parts. A view: it stays valid while the Message is open. Moved, not
// copied.
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
  // Replaces the first field of that name, or adds one at the end of the fields, above a signature.
  //   name   letters, digits and '-'
  //   value  one line of UTF-8, not empty; other than ASCII characters become encoded words
  // Throws Failure when the name or value is none, or the field stands below a signature.
  void SetField(const std::string& name, const std::string& value);
  // The same, but adds a field also when there is one of that name.
  void AddField(const std::string& name, const std::string& value);

  // In lower case; "text/plain" when the fields give none.
  std::string MediaType() const;
  // The transfer encoding in lower case; "7bit" when the fields give none.
  std::string Encoding() const;
  // The name that the part gives itself, in UTF-8; bytes that are no text in their charset stay as
  // they are. Empty when it has none. Not fit for the name of a file as it is.
  std::string Name() const;

  // The parts of a multipart, without the removed ones; empty for any other part, an embedded
  // message included.
  std::vector<Part> Children() const;
  bool IsMultipart() const;
  // The text of an embedded message (message/rfc822); nothing for any other part, the message
  // itself included. Open it with Packer::OpenBytes to look inside. Trap: the library writes a copy
  // to disk, in the folder of the message, until the message ends.
  std::optional<std::string> EmbeddedText() const;

  // The decoded body; empty for a multipart and an embedded message.
  std::string Body() const;
  // Its size in bytes. Decodes it on first use.
  std::uint64_t BodySizeBytes() const;
  // Hands the decoded body over piece by piece, each of up to `chunkBytes`.
  void ReadBody(const ChunkReader& reader, std::size_t chunkBytes = 65536) const;
  // The body as it stands in the message.
  std::string EncodedBody() const;
  // Replaces the decoded body; it is encoded anew as the part's fields say when the message is
  // written. Throws Failure when it was not taken whole.
  void SetBody(std::string_view bytes);

  // Leaves the part out when the message is written. Only for a part below the message, and not the
  // last thing that is done with it: a Part of it or of its children is not used afterwards.
  // Throws Failure for the message itself.
  void Remove();

  // The slots themselves.
  PartObject& Raw() const { return *part_; }

 private:
  friend class Message;
  struct MessageState;
  Part(MessageState& message, PartObject* part) : message_(&message), part_(part) {}
  void Set(const std::string& name, const std::string& value, int mode);

  MessageState* message_;
  PartObject* part_;
};

// An open message. When none of the ways to finish it was taken, the destructor discards it. Moved,
// not copied; its parts may be used on.
class Message {
 public:
  Message(Message&& other) noexcept;
  Message& operator=(Message&& other) = delete;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
  ~Message();

  Part Root() const;

  // Whether the library counts the message as signed, and so takes no footer: DKIM and DomainKey
  // fields and the older S/MIME types. Trap: not all signatures there are; see safe_edit.h.
  bool IsSigned() const;
  // "\r\n", "\n" or "\r": how the first line ends.
  std::string LineEnd() const;

  // Keeps a footer text that is added when the message is finished.
  //   text  UTF-8, not empty
  // Result: false for a signed message, which takes none.
  // Throws Failure for a text with a NUL in it.
  bool SetFooter(const std::string& text);

  // Adds the footer, writes the message over its own file and ends it. Only for one that was opened
  // from a file.
  //   subjectSuffix  appended to each Subject; may be empty
  // Throws Failure when the file could not be set aside; the message has ended then too.
  // Trap: no exception tells that the message is whole, not that it was changed; look at the file.
  void Commit(const std::string& subjectSuffix = {});
  // Adds the footer, ends the message and gives its bytes. Only for one that was opened from bytes:
  // the call would take a disk file away, so it throws Failure for a message that lies on disk.
  // Throws Failure also when there are no bytes to be had.
  std::string Finish(const std::string& subjectSuffix = {});
  // Ends the message without writing.
  void Discard();

 private:
  friend class Packer;
  Message(Packer packer, PartObject* part, bool isInMemory);
  PartObject* Release();
  bool CommitWith(const std::string& subjectSuffix);
  std::string TakeMemoryFile();

  std::unique_ptr<Part::MessageState> state_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_H

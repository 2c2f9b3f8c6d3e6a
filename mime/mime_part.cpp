#include "mime/mime_part.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <optional>
#include <string>

#include "codec/bounded_copy.h"
#include "codec/text_holders.h"
#include "fileio/file_helpers.h"
#include "fileio/file_operations.h"
#include "mime/body_access.h"
#include "mime/edge.h"
#include "mime/footer_request.h"
#include "mime/iteration.h"
#include "mime/message_parser.h"
#include "mime/message_writer.h"
#include "mime/save_message.h"
#include "mime/set_header.h"

namespace zevka {
namespace {

constexpr std::size_t kPathRoom = 512;    // characters of a host's path buffer
constexpr std::size_t kLineEndRoom = 32;  // bytes of a host's buffer for the line end

std::string_view TextOrEmpty(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

// A host's flag: its low byte counts.
bool IsSet(int flag) {
  return (flag & 0xFF) != 0;
}

// Brings a body to disk; the part remembers when a piece of it may lie there.
bool CommitBody(PartState& part, const std::string& name) {
  const bool done = CommitFile(name);
  part.files.pieceOnDisk = part.files.pieceOnDisk || !done;
  // What was held for the writer would keep the body in memory.
  part.origin = {};
  return done;
}

// The larger of the size that the part reports and the length of the text in wide characters. A
// text never has more wide characters than bytes, so a shorter one need not be converted.
template <typename Size>
std::uint32_t WideSize(const std::string& text, Size size) {
  if (text.size() < size) {
    return static_cast<std::uint32_t>(size);
  }
  const WideString wide(text.c_str());
  return static_cast<std::uint32_t>(std::max<std::uint64_t>(size, std::wcslen(wide.Text())));
}

}  // namespace

template <typename Result, typename Work>
Result MIMEPart::Locked(Result failure, const Work& work) {
  const MutexGuard guard(lock_);
  return OrFailure(failure, work);
}

MIMEPart::~MIMEPart() {
  RemoveAtEnd(state_.files, state_.footerText);
  EndParts(std::move(state_.children));
}

bool MIMEPart::PrepareLoad() {
  if (ThreadMapCreate(iterators_, &ReleaseIteratorState) != 0) {
    return false;
  }
  ResetPart(state_);
  return true;
}

int MIMEPart::Initialize() {
  return 1;
}
int MIMEPart::Reserved() {
  return 0;
}
int MIMEPart::ReservedA() {
  return 0;
}
int MIMEPart::ReservedB() {
  return 0;
}

int MIMEPart::SaveAndClose(const char* subjectSuffix, const char* passThrough,
                           const char* attachmentName) {
  const SaveOutcome outcome = OrFailure(SaveOutcome::kNotStarted, [&] {
    return SaveMessage(*this, subjectSuffix, passThrough, attachmentName);
  });
  // KEEP(save-and-close-stays-in-memory): nothing is committed here; a message that was on disk is
  // a memory file now.
  if (outcome == SaveOutcome::kNotStarted) {
    return 0;
  }
  // KEEP(save-always-one): the part is gone whether the message was written or put back.
  delete this;
  return 1;
}

int MIMEPart::LoadFromFile(const char* path) {
  return OrFailure(0, [&] {
    if (path == nullptr) {
      // The part stays as it is, but the threads begin anew.
      static_cast<void>(ThreadMapCreate(iterators_, &ReleaseIteratorState));
      return 0;
    }
    if (LoadPart(*this, path)) {
      return 1;
    }
    ResetPart(state_);
    return 0;
  });
}

int MIMEPart::WriteMessage(int reencode, const char* subjectSuffix, const char* passThrough,
                           const char* attachmentName) {
  return OrFailure(0, [&] {
    const WriteRequest request{reencode != 0, TextOrEmpty(subjectSuffix), passThrough,
                               TextOrEmpty(attachmentName)};
    return WritePart(state_, request) ? 1 : 0;
  });
}

int MIMEPart::RemovePart() {
  state_.removed = true;
  state_.origin = {};
  if (!state_.files.encoded.empty()) {
    RemoveFile(state_.files.decoded);
  }
  // KEEP(remove-of-the-message-takes-its-file): the own file of a message is the host's message.
  if (state_.files.own) {
    RemoveFile(*state_.files.own);
  }
  if (!state_.files.encoded.empty()) {
    RemoveFile(state_.files.encoded);
  }
  // KEEP(children-outlive): a removed part gives no children, so theirs and their files stay until
  // the end.
  PartObject* child = nullptr;
  RewindChildren();
  while (NextChild(&child) == 1) {
    child->RemovePart();
  }
  return 1;
}

int MIMEPart::RewindHeaders() {
  return Locked(0, [this] { return DoRewindHeaders(); });
}
int MIMEPart::NextHeader(char* nameBuf, char* valueBuf) {
  return Locked(0, [&] { return DoNextHeader(nameBuf, valueBuf); });
}
int MIMEPart::GetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) {
  return Locked(1, [&] { return DoGetHeaderSizes(nameSize, valueSize); });
}
int MIMEPart::SetHeader(const char* name, const char* value, int mode) {
  return Locked(0, [&] { return DoSetHeader(name, value, mode); });
}
int MIMEPart::RewindChildren() {
  return Locked(0, [this] { return DoRewindChildren(); });
}
int MIMEPart::NextChild(PartObject** child) {
  return Locked(0, [&] { return DoNextChild(child); });
}

int MIMEPart::GetBodySize(std::uint64_t* sizeBytes) {
  return OrFailure(0, [&] {
    const std::optional<std::uint64_t> size = BodySize(state_);
    if (!size) {
      return 0;
    }
    *sizeBytes = *size;
    return 1;
  });
}

int MIMEPart::GetName(char* buf) {
  const std::string_view name =
      state_.name.text ? std::string_view(*state_.name.text) : std::string_view();
  *std::copy(name.begin(), name.end(), buf) = '\0';
  return 1;
}

// KEEP(named-bodies-go-to-disk): a host that asks for a path gets a disk file, and the body leaves
// memory.
int MIMEPart::GetDecodedBodyFile(char* buf) {
  return Locked(0, [&] { return DoGetDecodedBodyFile(buf, 1); });
}
int MIMEPart::GetEncodedBodyFile(char* buf) {
  return Locked(0, [&] { return DoGetEncodedBodyFile(buf, 1); });
}

int MIMEPart::SetFooterText(const char* text) {
  return OrFailure(1, [&] {
    // KEEP(empty-footer-is-pending): an empty text is a footer; only null is none.
    RequestFooter(state_, text == nullptr ? std::nullopt : std::optional<std::string>(text));
    return 1;
  });
}

void MIMEPart::SetModified() {
  state_.modified = true;
}

std::uint64_t MIMEPart::ReadDecodedBody(void* buf, std::uint64_t sizeBytes,
                                        std::int64_t offsetBytes) {
  return Locked(std::uint64_t{0}, [&] {
    return buf == nullptr ? StoredBodySize(state_, BodyKind::kDecoded)
                          : ReadBody(state_, BodyKind::kDecoded, buf, sizeBytes, offsetBytes);
  });
}
std::uint64_t MIMEPart::WriteDecodedBody(const void* buf, std::uint64_t sizeBytes) {
  return Locked(std::uint64_t{0},
                [&] { return WriteBody(state_, BodyKind::kDecoded, buf, sizeBytes); });
}
std::uint64_t MIMEPart::ReadEncodedBody(void* buf, std::uint64_t sizeBytes,
                                        std::int64_t offsetBytes) {
  return Locked(std::uint64_t{0}, [&] {
    return buf == nullptr ? StoredBodySize(state_, BodyKind::kEncoded)
                          : ReadBody(state_, BodyKind::kEncoded, buf, sizeBytes, offsetBytes);
  });
}
std::uint64_t MIMEPart::WriteEncodedBody(const void* buf, std::uint64_t sizeBytes) {
  return Locked(std::uint64_t{0}, [&] {
    state_.origin = {};
    return WriteBody(state_, BodyKind::kEncoded, buf, sizeBytes);
  });
}

// KEEP(removed-part-still-rewinds): what asks no file and gives no field or child works on a
// removed part.
int MIMEPart::DoRewindHeaders() {
  return RewindHeaderCursor(state_, iterators_.get()) ? 1 : 0;
}

int MIMEPart::DoNextHeader(char* nameBuf, char* valueBuf) {
  // KEEP(next-header-tells-the-line-end): a question, answered without a NUL and with 0; LF before
  // any line end was read, though CR LF is written then.
  if (nameBuf == nullptr && valueBuf != nullptr) {
    LineEndText(state_.lineEnd.firstStyle, valueBuf, kLineEndRoom);
    return 0;
  }
  const HeaderNode* field = CurrentField(state_, iterators_.get());
  if (field == nullptr) {
    return 0;
  }
  // KEEP(padded-exactly): the copies fill exactly the sizes reported, and a text that long is not
  // terminated.
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  DoGetHeaderSizes(&nameSize, &valueSize);
  if (nameBuf != nullptr) {
    CopyPadded(nameBuf, nameSize, field->name);
  }
  if (valueBuf != nullptr) {
    CopyPadded(valueBuf, valueSize, field->value);
  }
  ++FindIterator(iterators_.get())->header;
  return 1;
}

int MIMEPart::DoGetHeaderSizes(std::uint32_t* nameSize, std::uint32_t* valueSize) {
  const HeaderNode* field = CurrentField(state_, iterators_.get());
  const std::string none;
  const std::uint32_t name = WideSize(field == nullptr ? none : field->name, state_.sizes.nameSize);
  const std::uint32_t value =
      WideSize(field == nullptr ? none : field->value, state_.sizes.valueSize);
  if (nameSize != nullptr) {
    *nameSize = name;
  }
  if (valueSize != nullptr) {
    *valueSize = value;
  }
  return 1;
}

int MIMEPart::DoSetHeader(const char* name, const char* value, int mode) {
  return OrFailure(0, [&] {
    return SetHeaderField(state_, TextOrEmpty(name), TextOrEmpty(value), mode != 0) ? 1 : 0;
  });
}

int MIMEPart::DoRewindChildren() {
  return state_.kind.isMultipart && RewindChildCursor(state_, iterators_.get()) ? 1 : 0;
}

int MIMEPart::DoNextChild(PartObject** child) {
  MIMEPart* next = TakeNextChild(state_, iterators_.get());
  if (next == nullptr) {
    return 0;
  }
  *child = next;
  return 1;
}

int MIMEPart::DoGetDecodedBodyFile(char* buf, int commit) {
  const std::string* name =
      OrFailure<const std::string*>(nullptr, [this] { return DecodedBodyName(state_); });
  if (name == nullptr) {
    return 0;
  }
  CopyPadded(buf, kPathRoom, *name);
  return !IsSet(commit) || CommitBody(state_, *name) ? 1 : 0;
}

int MIMEPart::DoGetEncodedBodyFile(char* buf, int commit) {
  if (state_.removed || state_.files.encoded.empty()) {
    return 0;
  }
  // KEEP(encoded-name-unbounded): unlike the decoded one, this name is copied whole and before it
  // is known that the file exists.
  *std::copy(state_.files.encoded.begin(), state_.files.encoded.end(), buf) = '\0';
  const std::string* name = EncodedBodyName(state_);
  if (name == nullptr) {
    return 0;
  }
  return !IsSet(commit) || CommitBody(state_, *name) ? 1 : 0;
}

int MIMEPart::GetSourceFile(char* buf) {
  return Locked(0, [&] {
    // KEEP(query-source-file-of-embedded-only): a message and an ordinary part have none.
    if (!state_.files.sourceCopy) {
      return 0;
    }
    CopyPadded(buf, kPathRoom, *state_.files.sourceCopy);
    CommitBody(state_, *state_.files.sourceCopy);
    return 1;
  });
}

void* MIMEPart::GetDecodedBodyBuffer() {
  return Locked<void*>(nullptr, [this] {
    const std::string* name = DecodedBodyName(state_);
    return name == nullptr ? nullptr : FileGetBuffer(name->c_str());
  });
}

void* MIMEPart::GetEncodedBodyBuffer() {
  return Locked<void*>(nullptr, [this] {
    const std::string* name = EncodedBodyName(state_);
    return name == nullptr ? nullptr : FileGetBuffer(name->c_str());
  });
}

// KEEP(file-name-zero): 0 is the result, always.
int MIMEPart::GetFileName(char* buf, std::uint64_t sizeBytes) {
  CopyPadded(buf, sizeBytes,
             state_.files.own ? std::string_view(*state_.files.own) : std::string_view());
  return 0;
}

}  // namespace zevka

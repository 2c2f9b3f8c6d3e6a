#include <sys/stat.h>
#include <zevka/host.h>

#include <utility>

#include "host/kit/message_state.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::size_t kPathRoom = 4096;

bool NamesFile(const std::string& text) {
  struct stat status {};
  return ::lstat(text.c_str(), &status) == 0;
}

// The text as the library may have it. It removes a file of that name when the message ends, so a
// text that names a file gets a line end, which adds nothing to a footer.
std::string HarmlessFooter(const std::string& text) {
  if (!NamesFile(text)) {
    return text;
  }
  std::string ended = text;
  ended += '\n';
  if (NamesFile(ended)) {
    throw Failure("the footer text is the name of a file");
  }
  return ended;
}

const char* OrNull(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

}  // namespace

Message Packer::Open(const std::string& path) const {
  PartObject* part = Raw().OpenMessage(path.c_str());
  if (part == nullptr) {
    throw Failure("cannot be opened as a message");
  }
  return {*this, part, false};
}

Message Packer::OpenBytes(std::string_view bytes) const {
  if (bytes.empty()) {
    throw Failure("is empty");
  }
  // With copy set the library only reads them.
  void* data = const_cast<char*>(bytes.data());
  PartObject* part =
      Raw().OpenMessageFromMemory(data, static_cast<std::int64_t>(bytes.size()), true);
  if (part == nullptr) {
    throw Failure("cannot be opened as a message");
  }
  return {*this, part, true};
}

Message::Message(Packer packer, PartObject* part, bool isInMemory) {
  state_ = std::make_unique<Part::MessageState>(
      Part::MessageState{std::move(packer), part, std::string(), {}});
  if (isInMemory) {
    // Asked now: the part cannot tell any more once it has ended.
    std::string& name = state_->memoryName;
    name.resize(kPathRoom);
    part->GetFileName(name.data(), kPathRoom - 1);
    name.resize(name.find('\0'));
  }
}

Message::Message(Message&& other) noexcept = default;

Message::~Message() {
  if (state_ != nullptr) {
    Discard();
  }
}

Part Message::Root() const {
  return {*state_, state_->root};
}

bool Message::IsSigned() const {
  return state_->packer.Raw().QueryControl(kQuerySigned, state_->root) == 1;
}

std::string Message::LineEnd() const {
  std::string lineEnd(3, '\0');
  state_->root->NextHeader(nullptr, lineEnd.data());
  return lineEnd.substr(0, lineEnd.find('\0'));
}

bool Message::SetFooter(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    throw Failure("the footer text holds a NUL");
  }
  // The older S/MIME types are refused by the library without being counted as signed.
  if (IsSigned() || Root().MediaType().starts_with("application/x-pkcs7-")) {
    return false;
  }
  state_->root->SetFooterText(HarmlessFooter(text).c_str());
  return true;
}

PartObject* Message::Release() {
  return std::exchange(state_->root, nullptr);
}

void Message::Commit(const std::string& subjectSuffix) {
  if (!state_->memoryName.empty()) {
    throw Failure("a message in memory is finished by taking its bytes");
  }
  if (!CommitWith(subjectSuffix)) {
    throw Failure("the message could not be set aside for writing");
  }
}

bool Message::CommitWith(const std::string& subjectSuffix) {
  return state_->packer.Raw().CommitMessage(Release(), OrNull(subjectSuffix), nullptr, nullptr) ==
         0;
}

// The finished message; its name in memory goes.
std::string Message::TakeMemoryFile() {
  const Files files = state_->packer.Files();
  try {
    std::string bytes = files.Read(state_->memoryName);
    files.Remove(state_->memoryName);
    return bytes;
  } catch (...) {
    files.Remove(state_->memoryName);
    throw;
  }
}

std::string Message::Finish(const std::string& subjectSuffix) {
  if (state_->memoryName.empty()) {
    throw Failure("a message on disk is finished by committing it");
  }
  if (!subjectSuffix.empty()) {
    // Handing the bytes out takes no suffix, so the message is committed, in memory, and read.
    CommitWith(subjectSuffix);
    return TakeMemoryFile();
  }
  CStandardPacker& packer = state_->packer.Raw();
  char* bytes = nullptr;
  const std::int64_t length = packer.CloseMessage(Release(), &bytes, true);
  const auto free = [&packer](char* buffer) { packer.ReleaseControl(kReleaseBuffer, buffer); };
  const std::unique_ptr<char, decltype(free)> owner(bytes, free);
  if (length < 0) {
    state_->packer.Files().Remove(state_->memoryName);
    throw Failure("the finished message could not be had");
  }
  return length == 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(length));
}

void Message::Discard() {
  if (state_->root == nullptr) {
    return;
  }
  state_->packer.Raw().ReleaseControl(kDiscardMessage, Release());
  if (!state_->memoryName.empty()) {
    state_->packer.Files().Remove(state_->memoryName);
  }
}

}  // namespace zevka::host

#include <sys/stat.h>
#include <zevka/host.h>

#include <algorithm>
#include <utility>

#include "host/kit/message_state.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::size_t kOwnNameRoom = 256;

// Whether the text is the name of a file, in memory or on disk, links that lead nowhere included.
bool NamesFile(const Files& files, const std::string& text) {
  struct stat status {};
  return files.Exists(text) || ::lstat(text.c_str(), &status) == 0;
}

// The text as the library may have it. It removes a file of that name when the message ends, so a
// text that names a file gets a line end, which adds nothing to a footer.
std::string HarmlessFooter(const Files& files, const std::string& text) {
  if (!NamesFile(files, text)) {
    return text;
  }
  std::string ended = text;
  ended += '\n';
  if (NamesFile(files, ended)) {
    throw Failure("the footer text is the name of a file");
  }
  return ended;
}

// The suffix goes into the header block as it is.
void NeedWritableSuffix(const std::string& suffix) {
  if (!std::all_of(suffix.begin(), suffix.end(),
                   [](char character) { return character >= ' ' && character <= '~'; })) {
    throw Failure("the suffix of the subject is no line of ASCII");
  }
}

// Children refuses what the library would write wrongly.
void NeedWritableTree(const Part& part) {
  for (const Part& child : part.Children()) {
    NeedWritableTree(child);
  }
}

// The library refuses a footer for these, and looks at the fields as they stand.
bool MarksSigned(const HeaderField& field) {
  const std::string name = Lower(field.name);
  if (name != "content-type") {
    return name == "dkim-signature" || name == "domainkey-signature";
  }
  const std::string value = Lower(field.value);
  return value.find("application/x-pkcs7-mime") != std::string::npos ||
         value.find("application/x-pkcs7-signature") != std::string::npos;
}

// Removes the name of a message that has ended.
class NameRemover {
 public:
  NameRemover(const Files& files, const std::string& name) : files_(files), name_(name) {}
  ~NameRemover() { files_.Remove(name_); }
  NameRemover(const NameRemover&) = delete;
  NameRemover& operator=(const NameRemover&) = delete;

 private:
  const Files& files_;
  const std::string& name_;
};

}  // namespace

void Part::MessageState::Open(std::string_view bytes) {
  if (bytes.empty()) {
    throw Failure("is empty");
  }
  ownName.resize(kOwnNameRoom);  // what needs memory comes before the message
  // With copy set the library only reads them.
  void* data = const_cast<char*>(bytes.data());
  root = packer.Raw().OpenMessageFromMemory(data, static_cast<std::int64_t>(bytes.size()), true);
  if (root == nullptr) {
    throw Failure("cannot be opened as a message");
  }
  // Asked now: the part cannot tell any more once it has ended.
  root->GetFileName(ownName.data(), kOwnNameRoom - 1);
  ownName.resize(ownName.find('\0'));
}

PartObject* Part::MessageState::Release() {
  NeedOpen();
  return std::exchange(root, nullptr);
}

void Part::MessageState::Discard() noexcept {
  if (root != nullptr) {
    packer.Raw().ReleaseControl(kDiscardMessage, std::exchange(root, nullptr));
    packer.Files().Remove(ownName);
  }
}

void Part::MessageState::NeedOpen() const {
  if (root == nullptr) {
    throw Failure("the message has ended");
  }
}

Message Packer::Open(const std::string& path) const {
  auto state = std::make_shared<Part::MessageState>(*this);
  std::string bytes;
  state->file = ReadMessageFile(path, &bytes);
  state->Open(bytes);
  return Message(std::move(state));
}

Message Packer::OpenBytes(std::string_view bytes) const {
  auto state = std::make_shared<Part::MessageState>(*this);
  state->Open(bytes);
  return Message(std::move(state));
}

Message::Message(std::shared_ptr<Part::MessageState> state) : state_(std::move(state)) {}

Message::~Message() {
  Discard();
}

Part::MessageState& Message::Live() const {
  if (state_ == nullptr) {
    throw Failure("the message was moved from");
  }
  state_->NeedOpen();
  return *state_;
}

Part Message::Root() const {
  PartObject* const root = Live().root;
  return {state_, root};
}

bool Message::IsSigned() const {
  Part::MessageState& state = Live();
  if (state.packer.Raw().QueryControl(kQuerySigned, state.root) == 1) {
    return true;
  }
  const std::vector<HeaderField> fields = Root().Fields();
  return std::any_of(fields.begin(), fields.end(), MarksSigned);
}

std::string Message::LineEnd() const {
  std::string lineEnd(3, '\0');
  Live().root->NextHeader(nullptr, lineEnd.data());
  return lineEnd.substr(0, lineEnd.find('\0'));
}

bool Message::SetFooter(const std::string& text) {
  Part::MessageState& state = Live();
  if (text.empty() || !IsUtf8(text) || text.find('\0') != std::string::npos) {
    throw Failure("the footer text is empty or no text in UTF-8");
  }
  if (IsSigned()) {
    return false;
  }
  state.root->SetFooterText(HarmlessFooter(state.packer.Files(), text).c_str());
  return true;
}

void Message::Commit(const std::string& subjectSuffix) {
  Part::MessageState& state = Live();
  if (!state.file) {
    throw Failure("a message that was opened from bytes has no file");
  }
  ReplaceMessageFile(*state.file, Finish(subjectSuffix));
}

std::string Message::Finish(const std::string& subjectSuffix) {
  Part::MessageState& state = Live();
  NeedWritableSuffix(subjectSuffix);
  NeedWritableTree(Root());
  const Files files = state.packer.Files();
  const NameRemover remover(files, state.ownName);
  CStandardPacker& packer = state.packer.Raw();
  if (!subjectSuffix.empty()) {
    // Handing the bytes out takes no suffix, so the message is committed, in memory, and read.
    if (packer.CommitMessage(state.Release(), subjectSuffix.c_str(), nullptr, nullptr) != 0) {
      throw Failure("the message could not be written");
    }
    return files.Read(state.ownName);
  }
  char* bytes = nullptr;
  const std::int64_t length = packer.CloseMessage(state.Release(), &bytes, true);
  const auto free = [&packer](char* buffer) { packer.ReleaseControl(kReleaseBuffer, buffer); };
  const std::unique_ptr<char, decltype(free)> owner(bytes, free);
  if (length < 0) {
    throw Failure("the finished message could not be had");
  }
  return length == 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(length));
}

void Message::Discard() {
  if (state_ != nullptr) {
    state_->Discard();
  }
}

}  // namespace zevka::host

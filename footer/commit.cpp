#include "footer/commit.h"

#include <array>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "fileio/file_helpers.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "footer/footer_part.h"
#include "footer/inline_footer.h"
#include "footer/wrapper.h"
#include "mime/edge.h"
#include "mime/mime_part.h"
#include "mime/save_message.h"

namespace zevka {
namespace {

// KEEP(commit-name-cut): longer paths are written in memory and never reach the disk.
constexpr std::size_t kNameRoom = 512;  // characters, the terminator included

// Saves the message and ends it; false when it could not be set aside.
bool SaveAndEnd(PartPtr message, const CommitTexts& texts) {
  if (message->SaveAndClose(texts.subjectSuffix, texts.passThrough, texts.attachmentName) == 0) {
    return false;
  }
  // The part ended itself.
  static_cast<void>(message.release());
  return true;
}

// A message file that is out of the way while its name is written to; it comes back unless it is
// dropped.
class SetAside {
 public:
  explicit SetAside(std::string name) : name_(std::move(name)), backup_(name_ + "_b") {
    isAside_ = RenameFile(name_, backup_);
  }
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;
  ~SetAside() {
    if (isAside_) {
      RemoveFile(name_);
      RenameFile(backup_, name_);
    }
  }

  explicit operator bool() const { return isAside_; }
  void Drop() {
    RemoveFile(backup_);
    isAside_ = false;
  }

 private:
  std::string name_;
  std::string backup_;
  bool isAside_ = false;
};

// Null when the file does not load or there is no memory for a part.
PartPtr LoadPart(const std::string& name) {
  PartPtr part(new (std::nothrow) MIMEPart);
  if (part && part->LoadFromFile(name.c_str()) != 1) {
    part.reset();
  }
  return part;
}

// The way back from a wrap that failed before anything was written: the message is saved as it is.
void SaveUnwrapped(PartPtr message, PartPtr footer, const CommitTexts& texts) {
  const std::string footerFile = *footer->State().files.own;
  SaveAndEnd(std::move(footer), {});
  RemoveFile(footerFile);
  SaveAndEnd(std::move(message), texts);
}

// The wrapper with its skeleton file.
struct Wrapper {
  PartPtr part;
  std::string file;
};

// Nothing when the skeleton cannot be made or read.
std::optional<Wrapper> MakeWrapper(const PartState& message) {
  std::optional<std::string> file =
      OrFailure(std::optional<std::string>(), [&] { return MakeWrapperFile(message); });
  if (!file) {
    return std::nullopt;
  }
  Wrapper wrapper{LoadPart(*file), std::move(*file)};
  if (!wrapper.part) {
    // The message is saved as it is, over its own file: the skeleton must not stand there when that
    // fails too.
    RemoveFile(wrapper.file);
    return std::nullopt;
  }
  return wrapper;
}

// The message's own file is written to on the way, as the wrapper's first child, so the old message
// is kept until the new one is whole.
void WrapMessage(PartPtr message, PartPtr footer, const CommitTexts& texts) {
  const std::string name = *message->State().files.own;
  const RemoveUnlessKept footerRemover(*footer->State().files.own);
  std::optional<Wrapper> wrapper = MakeWrapper(message->State());
  if (!wrapper) {
    SaveUnwrapped(std::move(message), std::move(footer), texts);
    return;
  }
  RemoveUnlessKept skeleton(std::move(wrapper->file));
  const std::string oldSkeleton = skeleton.Name() + "_b";
  SetAside original(name);
  if (!original) {
    wrapper.reset();
    SaveUnwrapped(std::move(message), std::move(footer), texts);
    return;
  }
  DropFirstChild(wrapper->part->State());
  AttachChild(wrapper->part->State(), std::move(message), true);
  AttachChild(wrapper->part->State(), std::move(footer), false);
  const SaveOutcome outcome =
      SaveMessage(*wrapper->part, texts.subjectSuffix, texts.passThrough, texts.attachmentName);
  wrapper.reset();
  if (outcome == SaveOutcome::kNotWritten && !RegularFileSize(skeleton.Name())) {
    // It did not come back to its place, and nobody needs it. When it did, a file of that name is
    // somebody else's.
    RemoveFile(oldSkeleton);
  }
  // The wrapper takes in its first child's file and removes it; one that is still there was left
  // out.
  const bool whole = outcome == SaveOutcome::kWritten && !RegularFileSize(name);
  if (whole && RenameFile(skeleton.Name(), name)) {
    skeleton.Keep();
    original.Drop();
  }
}

int CommitPlain(PartPtr message, const CommitTexts& texts) {
  return SaveAndEnd(std::move(message), texts) ? 0 : -1;
}

// KEEP(footer-failures-silent): whatever happens to the footer, the result is 0.
int CommitFooterPart(PartPtr message, const CommitTexts& texts) {
  const std::optional<std::string> file =
      OrFailure(std::optional<std::string>(), [&] { return MakeFooterPart(message->State()); });
  if (!file) {
    SaveAndEnd(std::move(message), texts);
    return 0;
  }
  PartPtr footer = LoadPart(*file);
  if (!footer) {
    RemoveFile(*file);
    SaveAndEnd(std::move(message), texts);
    return 0;
  }
  if (NeedsWrapper(message->State())) {
    WrapMessage(std::move(message), std::move(footer), texts);
    return 0;
  }
  AttachChild(message->State(), std::move(footer), false);
  return CommitPlain(std::move(message), texts);
}

int ApplyFooterAndSave(PartPtr message, const CommitTexts& texts) {
  PartState& state = message->State();
  if (!state.footerText) {
    return CommitPlain(std::move(message), texts);
  }
  if (CanInlineFooter(state)) {
    InlineFooter(state);
    SaveAndEnd(std::move(message), texts);
    return 0;
  }
  return CommitFooterPart(std::move(message), texts);
}

}  // namespace

int CommitMessage(PartPtr message, const CommitTexts& texts) {
  return OrFailure(-1, [&] {
    const bool writeThrough = message->State().writeThrough;
    std::array<char, kNameRoom> name{};
    message->GetFileName(name.data(), name.size() - 1);
    const int result = ApplyFooterAndSave(std::move(message), texts);
    // KEEP(commit-without-write-through-takes-the-disk-file): the result stays in memory, and a
    // disk file of that name went when it was set aside.
    if (writeThrough) {
      // KEEP(failed-commit-stays-in-memory): a disk that refuses leaves the message a memory file,
      // and the result stays 0.
      FileCommit(name.data());
    }
    return result;
  });
}

}  // namespace zevka

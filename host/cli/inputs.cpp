#include "host/cli/inputs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "host/cli/session.h"
#include "host/kit/descriptor.h"
#include "host/kit/disk.h"
#include "host/kit/mbox.h"
#include "host/kit/text.h"
#include "host/safe_edit/leftovers.h"
#include "host/safe_edit/maildir.h"

namespace zevka::host {

namespace {

namespace fs = std::filesystem;

// As much of a file as shows whether it is an mbox: its separator is one short line.
constexpr std::size_t kHeadBytes = 4096;
constexpr const char* kNoMessages =
    "holds no messages (files named *.eml or by a number; --all-files takes all)";

bool IsHidden(std::string_view name) {
  return name.starts_with('.');
}

bool HasMessageName(std::string_view name) {
  return Lower(name).ends_with(".eml") ||
         (!name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos);
}

std::string Joined(const std::string& folder, std::string_view name) {
  std::string path = folder;
  if (!path.ends_with('/')) {
    path += '/';
  }
  return path.append(name);
}

bool IsFolder(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsMaildir(const std::string& path) {
  return IsFolder(Joined(path, "cur")) && IsFolder(Joined(path, "new")) &&
         IsFolder(Joined(path, "tmp"));
}

bool IsMailbox(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  std::array<char, kHeadBytes> head{};
  const ssize_t count = file ? ::read(file.Number(), head.data(), head.size()) : 0;
  return count > 0 && LooksLikeMbox({head.data(), static_cast<std::size_t>(count)});
}

// What lies in a folder, sorted.
struct Listing {
  std::vector<std::string> files;
  std::vector<std::string> folders;
};

// False with the reason when the folder cannot be read to its end.
bool List(const std::string& path, Listing* listing, std::string* problem) {
  std::error_code failed;
  fs::directory_iterator entry(path, failed);
  for (; !failed && entry != fs::directory_iterator(); entry.increment(failed)) {
    std::error_code vanished;
    const fs::file_type type = entry->symlink_status(vanished).type();
    if (type == fs::file_type::regular) {
      listing->files.push_back(entry->path().filename().string());
    } else if (type == fs::file_type::directory) {
      listing->folders.push_back(entry->path().filename().string());
    }
  }
  std::sort(listing->files.begin(), listing->files.end());
  std::sort(listing->folders.begin(), listing->folders.end());
  *problem = failed ? ErrnoText(failed.value()) : std::string();
  return !failed;
}

class Collector {
 public:
  explicit Collector(const InputOptions& options, bool mayMeetTwice)
      : options_(options), mayMeetTwice_(mayMeetTwice) {}

  void Add(const std::string& argument);
  std::vector<Input> Take() { return std::move(inputs_); }

 private:
  void AddFolderArgument(const std::string& argument);
  void Walk(const std::string& folder);
  void WalkMaildir(const std::string& folder, const Listing& listing);
  void TakeMessages(const std::string& folder);
  void TakeFiles(const std::string& folder, const Listing& listing, bool isMaildir);
  void AddFile(const std::string& path, std::size_t relativeAt, bool wasFound, bool isMaildir);
  void AddProblem(const std::string& path, const std::string& problem);
  bool IsNew(const std::string& path);

  const InputOptions& options_;
  bool mayMeetTwice_;
  std::vector<Input> inputs_;
  std::set<std::string> met_;
  std::size_t relativeAt_ = 0;  // for what is found below the present argument
  bool sawMail_ = false;        // a Maildir or a message, below the present argument
};

// Whether the file was not met before. Files of one argument are all different, as links are not
// followed, so that nothing is remembered then.
bool Collector::IsNew(const std::string& path) {
  if (!mayMeetTwice_) {
    return true;
  }
  std::error_code failed;
  const fs::path real = fs::canonical(path, failed);
  return failed || met_.insert(real.string()).second;
}

void Collector::AddProblem(const std::string& path, const std::string& problem) {
  Input input;
  input.given = path;
  input.problem = problem;
  inputs_.push_back(std::move(input));
}

void Collector::AddFile(const std::string& path, std::size_t relativeAt, bool wasFound,
                        bool isMaildir) {
  sawMail_ = true;
  if (!IsNew(path)) {
    return;
  }
  struct stat status {};
  Input input;
  input.given = path;
  input.relativeAt = relativeAt;
  input.wasFound = wasFound;
  if (::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    input.bytes = static_cast<std::uint64_t>(status.st_size);
    const bool isMessage = isMaildir || HasMessageName(input.Relative());
    input.kind = !isMessage && IsMailbox(path) ? InputKind::kMbox : InputKind::kMessage;
  }
  inputs_.push_back(std::move(input));
}

void Collector::TakeFiles(const std::string& folder, const Listing& listing, bool isMaildir) {
  for (const std::string& name : listing.files) {
    const bool isWanted = isMaildir || options_.allFiles || HasMessageName(name);
    if (isWanted && !IsHidden(name) && !IsLeftoverName(name)) {
      AddFile(Joined(folder, name), relativeAt_, true, isMaildir);
    }
  }
}

// All files of "cur" or "new" are messages.
void Collector::TakeMessages(const std::string& folder) {
  Listing listing;
  std::string problem;
  if (!List(folder, &listing, &problem)) {
    AddProblem(folder, problem);
    return;
  }
  TakeFiles(folder, listing, true);
}

void Collector::WalkMaildir(const std::string& folder, const Listing& listing) {
  sawMail_ = true;
  TakeMessages(Joined(folder, "cur"));
  TakeMessages(Joined(folder, "new"));
  for (const std::string& name : listing.folders) {
    const bool isOwn = name == "cur" || name == "new" || name == "tmp";
    const std::string path = Joined(folder, name);
    if (!isOwn && (!IsHidden(name) || IsMaildir(path))) {
      Walk(path);
    }
  }
}

void Collector::Walk(const std::string& folder) {
  if (!options_.leaveOut.empty()) {
    std::error_code failed;
    if (fs::equivalent(folder, options_.leaveOut, failed)) {
      return;
    }
  }
  Listing listing;
  std::string problem;
  if (!List(folder, &listing, &problem)) {
    AddProblem(folder, problem);
    return;
  }
  if (IsMaildir(folder)) {
    WalkMaildir(folder, listing);
    return;
  }
  TakeFiles(folder, listing, false);
  for (const std::string& name : listing.folders) {
    if (!IsHidden(name)) {
      Walk(Joined(folder, name));
    }
  }
}

void Collector::AddFolderArgument(const std::string& argument) {
  const std::size_t before = inputs_.size();
  relativeAt_ = Joined(argument, "").size();
  sawMail_ = IsMaildirFolder(argument);
  if (sawMail_) {
    TakeMessages(argument);
  } else {
    Walk(argument);
  }
  if (inputs_.size() == before && !sawMail_) {
    AddProblem(argument, kNoMessages);
  }
}

void Collector::Add(const std::string& argument) {
  if (argument == kStandardStream) {
    Input input;
    input.kind = InputKind::kStandardInput;
    input.given = argument;
    inputs_.push_back(std::move(input));
    return;
  }
  struct stat status {};
  if (::stat(argument.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    AddFolderArgument(argument);
    return;
  }
  const std::size_t slash = argument.rfind('/');
  const std::size_t relativeAt = slash == std::string::npos ? 0 : slash + 1;
  const std::string folder = relativeAt == 0 ? "." : argument.substr(0, relativeAt);
  AddFile(argument, relativeAt, false, IsMaildirFolder(folder));
}

}  // namespace

std::vector<Input> CollectInputs(const std::vector<std::string>& paths,
                                 const InputOptions& options) {
  Collector collector(options, paths.size() > 1);
  for (const std::string& path : paths) {
    collector.Add(path);
  }
  return collector.Take();
}

}  // namespace zevka::host

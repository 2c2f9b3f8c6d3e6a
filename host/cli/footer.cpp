// zevka footer --text TEXT [--output DIR] FILE...: adds a footer text to each message, in its own
// file or in a new file in a folder.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/commands.h"
#include "host/kit/disk.h"
#include "host/kit/part_reading.h"
#include "host/kit/text.h"
#include "host/safe_edit/working_copy.h"

namespace zevka::host {

namespace {

constexpr mode_t kNewFileMode = 0666;

// CR LF and CR as LF, and none at the end.
std::string PlainLines(std::string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\r') {
      result += text[index];
    } else if (index + 1 == text.size() || text[index + 1] != '\n') {
      result += '\n';
    }
  }
  result.resize(result.find_last_not_of('\n') + 1);
  return result;
}

// The text as the library may have it. It removes a file of that name when the message ends, so a
// text that names a file gets a line end, which adds nothing to a footer.
std::string HarmlessText(const std::string& text) {
  struct stat status {};
  if (::lstat(text.c_str(), &status) != 0) {
    return text;
  }
  std::string ended = text + "\n";
  if (::lstat(ended.c_str(), &status) == 0) {
    throw Failure("the footer text is the name of a file");
  }
  return ended;
}

// Sets the footer, unless the message is signed: the library would say nothing and add none.
void SetFooter(Packer& packer, Message& message, const std::string& text) {
  if (const std::string kinds = SignatureKinds(packer, message.Part()); !kinds.empty()) {
    throw SignedMessage("signed (" + kinds + "), not changed");
  }
  message->SetFooterText(HarmlessText(text).c_str());
}

// The library finishes a message also when the footer did not find its way in.
void RequireFooter(Packer& packer, std::string_view bytes, std::string_view text) {
  const Message message = packer.OpenBytes(bytes);
  const std::string footer = PlainLines(text);
  const std::vector<Leaf> leaves = Leaves(packer, message.Part());
  if (std::none_of(leaves.begin(), leaves.end(), [&footer](const Leaf& leaf) {
        return PlainLines(leaf.body).find(footer) != std::string::npos;
      })) {
    throw Failure("the footer could not be added");
  }
}

// Writes a message into the output folder under its own name.
void WriteOutput(const std::string& folder, const InputFile& file, std::string_view bytes) {
  const std::string path = folder + "/" + std::filesystem::path(file.absolute).filename().string();
  if (!WriteNewFile(path, bytes, kNewFileMode)) {
    throw Failure(path + " exists already");
  }
}

// The message with the footer goes into the folder or, without one, into its own file.
void AddToFile(Packer& packer, const InputFile& file, const std::string& text,
               const std::string& folder) {
  const DiskFile disk = ReadFile(file.absolute);
  const auto edit = [&](Message& message) { SetFooter(packer, message, text); };
  const auto verify = [&](std::string_view result) {
    RequireFooter(packer, result, text);
    RequireSameLeaves(packer, disk.bytes, result, true);
  };
  if (folder.empty()) {
    EditFile(packer, file.absolute, edit, verify);
  } else {
    try {
      WriteOutput(folder, file, EditBytes(packer, disk.bytes, edit, verify));
    } catch (const SignedMessage&) {
      // The folder is to hold every message that could be read.
      WriteOutput(folder, file, disk.bytes);
      throw;
    }
  }
  Print(Printable(file.given) + ": footer added\n");
}

}  // namespace

void RunFooter(Session& session, const FooterOptions& options) {
  if (options.text.empty() || !IsUtf8(options.text)) {
    session.Report("--text", options.text.empty() ? "is empty" : "is not UTF-8", kExitUsage);
    return;
  }
  std::string folder;
  if (options.output) {
    folder = Absolute(*options.output);
    try {
      MakeFolders(folder);
    } catch (const Failure& failure) {
      session.Report(*options.output, failure.what(), kExitFailed);
      return;
    }
  }
  session.ForEach(options.files, [&](Packer& packer, const InputFile& file) {
    AddToFile(packer, file, options.text, folder);
  });
}

}  // namespace zevka::host

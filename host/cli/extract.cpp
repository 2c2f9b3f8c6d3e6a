// zevka extract -o DIR [--json] FILE...: writes every decoded leaf of each message into a folder,
// each under a name of its own, and never over a file that is there.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/cli/commands.h"
#include "host/cli/json_line.h"
#include "host/cli/manifest.h"
#include "host/cli/part_tree.h"
#include "host/kit/descriptor.h"
#include "host/kit/disk.h"
#include "host/kit/sha256.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(Each body and attachment becomes a file, an embedded message one as it stands. A
name is made safe, and gets a count when it is taken. DIR/manifest.jsonl tells
for each file the message, the part's number, the name as it was given, media
type, size and SHA-256; each run adds its lines.

Examples:
  zevka extract -o attachments mail.eml
  zevka extract -o attachments --json - < mail.eml)";

constexpr mode_t kNewFileMode = 0666;
constexpr int kMostTries = 10000;

struct ExtractOptions {
  std::vector<std::string> files;
  std::string output;
  bool json = false;
};

// A part that is written.
struct Leaf {
  std::string number;
  std::string mediaType;
  std::string name;  // as the message gives it
  std::string body;
};

// The name of a leaf that has none of its own, as in "part-2.1.html".
std::string NumberedName(const Leaf& leaf) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kSuffixes = {{
      {"text/plain", ".txt"},
      {"text/html", ".html"},
      {"message/rfc822", ".eml"},
      {"image/png", ".png"},
      {"image/jpeg", ".jpg"},
      {"application/pdf", ".pdf"},
  }};
  std::string name = "part-";
  name += leaf.number;
  const auto* const known =
      std::find_if(kSuffixes.begin(), kSuffixes.end(),
                   [&leaf](const auto& entry) { return entry.first == leaf.mediaType; });
  return name += known == kSuffixes.end() ? ".bin" : known->second;
}

// Names that other systems take for devices, whatever their suffix.
bool IsDeviceName(std::string_view name) {
  constexpr std::array<std::string_view, 4> kDevices = {"con", "prn", "aux", "nul"};
  const std::string stem = Lower(name.substr(0, name.find('.')));
  const bool isPort = stem.size() == 4 && (stem.starts_with("com") || stem.starts_with("lpt")) &&
                      stem[3] >= '0' && stem[3] <= '9';
  return isPort || std::find(kDevices.begin(), kDevices.end(), stem) != kDevices.end();
}

// The name that a leaf is to have, if it is free.
std::string WantedName(const Leaf& leaf) {
  std::string name = SafeFileName(leaf.name);
  if (name.empty()) {
    return NumberedName(leaf);
  }
  // Programs take a word that begins with '-' for an option, and one with '~' for a user's folder.
  if (name.front() == '-' || name.front() == '~' || IsDeviceName(name)) {
    name.insert(0, 1, '_');
  }
  return name;
}

// "name.txt" becomes "name-1.txt".
std::string WithCount(const std::string& name, int count) {
  const std::size_t dot = name.rfind('.');
  const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
  std::string counted = name.substr(0, end);
  counted += '-';
  counted += std::to_string(count);
  counted += name.substr(end);
  return counted;
}

// Runs `work`; what fails on the disk ends the command as it should.
template <typename Work>
void WithStatus(const Work& work) {
  try {
    work();
  } catch (const DiskFailure& failure) {
    throw CommandFailure(StatusOf(failure.Trouble()), failure.what());
  } catch (const Failure& failure) {
    throw CommandFailure(kExitCannotCreate, failure.what());
  }
}

// Writes a new file; false when there is one of that name, also a broken link. Unlike the kit's it
// leaves to the system when the file reaches the disk: the message is still there, and hundreds of
// attachments would keep the user waiting.
bool WriteExtracted(const std::string& path, std::string_view bytes) {
  const std::string what = "cannot write " + path;
  Descriptor file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kNewFileMode));
  if (!file) {
    if (errno == EEXIST) {
      return false;
    }
    throw DiskFailure(DiskTrouble::kCannotCreate, errno, what);
  }
  if (!WriteAll(file.Number(), bytes) || !file.Close()) {
    const int error = errno;
    ::unlink(path.c_str());
    throw DiskFailure(DiskTrouble::kCannotWrite, error, what);
  }
  return true;
}

// The folder that a run writes into; made with the first message.
class OutputFolder {
 public:
  explicit OutputFolder(InputFile folder) : folder_(std::move(folder)) {}

  // Made now, if need be, with its manifest.
  void Open() {
    if (!manifest_) {
      WithStatus([this] { MakeFolders(folder_.absolute); });
      manifest_.emplace(folder_.absolute);
    }
  }

  // Writes the leaf under the first name that is free, and gives that name.
  std::string Write(const Leaf& leaf) {
    const std::string wanted = WantedName(leaf);
    // Names with lower counts were taken before, by this run or another.
    int& count = counts_[wanted];
    for (; count <= kMostTries; ++count) {
      std::string name = count == 0 ? wanted : WithCount(wanted, count);
      std::string path = folder_.absolute;
      path.append("/").append(name);
      bool isWritten = false;
      WithStatus(
          [&] { isWritten = Lower(name) != kManifestName && WriteExtracted(path, leaf.body); });
      if (isWritten) {
        ++count;
        return name;
      }
    }
    throw CommandFailure(kExitCannotCreate, "no free name for " + wanted);
  }

  void Note(std::string_view line) { manifest_->Append(line); }
  const std::string& Given() const { return folder_.given; }

 private:
  InputFile folder_;
  std::optional<Manifest> manifest_;
  std::map<std::string, int> counts_;  // by wanted name: the count to try next
};

std::string ManifestLine(const InputMessage& file, const Leaf& leaf, const std::string& savedAs) {
  Json object;
  object["file"] = file.given;
  object["part"] = leaf.number;
  object["name"] = leaf.name;
  object["saved_as"] = savedAs;
  object["media_type"] = leaf.mediaType;
  object["bytes"] = leaf.body.size();
  object["sha256"] = Sha256Hex(leaf.body);
  return JsonLine(object);
}

class Extraction {
 public:
  Extraction(const InputMessage& file, bool json, OutputFolder* folder)
      : file_(file), json_(json), folder_(folder) {}

  void Write(const Part& part, const std::string& number) {
    const std::vector<Part> children = part.Children();
    for (std::size_t index = 0; index < children.size(); ++index) {
      Write(children[index], ChildNumber(number, index));
    }
    if (children.empty()) {
      WriteLeaf(part, number.empty() ? ChildNumber(number, 0) : number);
    }
  }

 private:
  void WriteLeaf(const Part& part, const std::string& number) {
    Leaf leaf = {number, part.MediaType(), part.Name(), {}};
    std::optional<std::string> embedded = part.EmbeddedText();
    leaf.body = embedded ? *std::move(embedded) : part.Body();
    const std::string savedAs = folder_->Write(leaf);
    const std::string line = ManifestLine(file_, leaf, savedAs);
    folder_->Note(line);
    if (json_) {
      Print(line);
    } else {
      std::string path = folder_->Given();
      path.append("/").append(savedAs);
      Print(Printable(path).append("\n"));
    }
  }

  const InputMessage& file_;
  bool json_;
  OutputFolder* folder_;
};

void Extract(const Packer& packer, const InputMessage& file, bool json, OutputFolder* folder) {
  const Message message = packer.OpenBytes(file.bytes);
  folder->Open();
  Extraction(file, json, folder).Write(message.Root(), "");
}

}  // namespace

void AddExtract(CLI::App& app, Session& session) {
  auto options = std::make_shared<ExtractOptions>();
  CLI::App* command =
      app.add_subcommand("extract", "Write attachments and bodies, decoded, into a folder");
  command->add_option("-o,--output", options->output, "The folder; made when it is missing")
      ->type_name("DIR")
      ->required();
  command->add_flag("--json", options->json, "Print the manifest's lines instead of paths");
  command->add_option("FILE", options->files, "A message; - for standard input")
      ->type_name("")
      ->required();
  command->footer(kHelp);
  command->callback([options, &session] {
    OutputFolder folder({options->output, Absolute(options->output)});
    session.ForEachMessage(options->files, [&](const Packer& packer, const InputMessage& file) {
      Extract(packer, file, options->json, &folder);
    });
  });
}

}  // namespace zevka::host

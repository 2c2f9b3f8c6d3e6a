// The list of what was extracted into a folder: manifest.jsonl in it, JSON Lines, one object for
// each file. A run adds its lines to those that are there, each with one write, so that runs at the
// same time do not mix theirs, and a run that is killed loses at most the line of its last file.
//
// The file is the command's own: a link of that name is not followed, and no extracted file takes
// the name.
//
// Errors: CommandFailure. Threads: one at a time.
#ifndef ZEVKA_HOST_CLI_MANIFEST_H
#define ZEVKA_HOST_CLI_MANIFEST_H

#include <string>
#include <string_view>

#include "host/kit/descriptor.h"

namespace zevka::host {

constexpr std::string_view kManifestName = "manifest.jsonl";

class Manifest {
 public:
  // Opens the manifest of a folder, or makes it.
  explicit Manifest(const std::string& folder);

  // Adds a line, given with its line end.
  void Append(std::string_view line);

 private:
  [[noreturn]] void Fail(int error) const;

  std::string path_;
  Descriptor file_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_MANIFEST_H

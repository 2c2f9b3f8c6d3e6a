#include "host/cli/session.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>

#include "host/kit/text.h"

namespace zevka::host {

std::string Absolute(const std::string& path) {
  std::error_code failed;
  const std::filesystem::path absolute = std::filesystem::absolute(path, failed);
  return failed || path.empty() ? path : absolute.string();
}

void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void Session::Report(std::string_view subject, std::string_view reason, ExitStatus status) {
  // What was said on standard output before stands before it.
  std::fflush(stdout);
  const std::string line = "zevka: " + Printable(subject) + ": " + Printable(reason) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  if (status_ == kExitDone || status_ == kExitSigned) {
    status_ = status;
  }
}

void Session::ForEach(const std::vector<std::string>& files,
                      const std::function<void(Packer&, const InputFile&)>& work) {
  std::vector<InputFile> inputs;
  inputs.reserve(files.size());
  for (const std::string& file : files) {
    inputs.push_back({file, Absolute(file)});
  }
  try {
    // The scratch folder goes last: what the library has left behind goes with it.
    const Library library = Library::Load(libraryPath);
    const ScratchFolder scratch;
    Packer packer(library);
    for (const InputFile& input : inputs) {
      try {
        work(packer, input);
      } catch (const SignedMessage& left) {
        Report(input.given, left.what(), kExitSigned);
      } catch (const std::bad_alloc&) {
        Report(input.given, "does not fit into memory", kExitFailed);
      } catch (const std::exception& failure) {
        Report(input.given, failure.what(), kExitFailed);
      }
    }
  } catch (const Failure& failure) {
    Report(libraryPath.empty() ? "libzevka.so" : libraryPath, failure.what(), kExitFailed);
  }
}

void Session::ForFile(const std::string& file,
                      const std::function<void(Packer&, const InputFile&)>& work) {
  ForEach({file}, work);
}

}  // namespace zevka::host

#include "host/cli/session.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <system_error>

#include "host/kit/disk.h"
#include "host/kit/mbox.h"
#include "host/kit/scratch_folder.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::size_t kReadBytes = 65536;

// Later failures, of flushing what could not be written, say less.
int firstPrintError = 0;

void NotePrintError() {
  if (firstPrintError == 0) {
    firstPrintError = errno == 0 ? EIO : errno;
  }
}

std::string ReadStandardInput() {
  std::string bytes;
  std::array<char, kReadBytes> block{};
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, block.data(), block.size());
    if (count == 0) {
      return bytes;
    }
    if (count > 0) {
      bytes.append(block.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw CommandFailure(kExitNoInput, ErrnoText(errno));
    }
  }
}

}  // namespace

std::string Absolute(const std::string& path) {
  std::error_code failed;
  const std::filesystem::path absolute = std::filesystem::absolute(path, failed);
  return failed || path.empty() ? path : absolute.string();
}

InputFile NamedInput(const std::string& given) {
  return {given, given == kStandardStream ? std::string() : Absolute(given)};
}

std::string ReadInput(const InputFile& file) {
  if (file.IsStandardInput()) {
    return ReadStandardInput();
  }
  try {
    return ReadFile(file.absolute).bytes;
  } catch (const Failure& failure) {
    throw CommandFailure(kExitNoInput, failure.what());
  }
}

bool HoldsSeveralMessages(std::string_view bytes) {
  if (!LooksLikeMbox(bytes)) {
    return false;
  }
  MboxReader reader(bytes);
  return reader.Next() && reader.Next();
}

std::string NameInMbox(const std::string& given, std::size_t number) {
  std::string name = given;
  return name.append("#").append(std::to_string(number));
}

void Print(std::string_view text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    NotePrintError();
  }
}

void FlushPrinted() {
  errno = 0;
  if (std::fflush(stdout) != 0) {
    NotePrintError();
  }
}

int EndOfPrinting() {
  FlushPrinted();
  return firstPrintError;
}

void Session::Report(std::string_view subject, std::string_view reason, ExitStatus status) {
  std::string line = "zevka: ";
  line += Printable(subject);
  line += ": ";
  line += Printable(reason);
  line += '\n';
  WriteError(line);
  Note(status);
}

void Session::Say(std::string_view text) {
  std::string line = "zevka: ";
  line += Printable(text);
  line += '\n';
  WriteError(line);
}

void Session::WriteError(const std::string& line) {
  const std::lock_guard guard(mutex_);
  // What was said on standard output before stands before it.
  FlushPrinted();
  if (writeError) {
    writeError(line);
  } else {
    std::fwrite(line.data(), 1, line.size(), stderr);
  }
}

void Session::Note(ExitStatus status) {
  const std::lock_guard guard(mutex_);
  if (status_ == kExitDone || status_ == kExitNotAsAsked) {
    status_ = status == kExitDone ? status_ : status;
  }
}

ExitStatus Session::Status() const {
  const std::lock_guard guard(mutex_);
  return status_;
}

bool Session::Guarded(const std::string& subject, const std::function<void()>& work) {
  try {
    work();
    return true;
  } catch (const CommandFailure& failure) {
    Report(subject, failure.what(), failure.Status());
  } catch (const std::bad_alloc&) {
    Report(subject, "does not fit into memory", kExitTryAgain);
  } catch (const std::exception& failure) {
    Report(subject, failure.what(), kExitBadData);
  }
  return false;
}

bool Session::WithPacker(const std::function<void(const Packer&)>& work) {
  try {
    const Library library = Library::Load(libraryPath);
    // The folder goes after the packer, with what the library has left behind.
    const ScratchFolder scratch;
    const Packer packer(library);
    return Guarded("command", [&] { work(packer); });
  } catch (const Failure& failure) {
    Report(libraryPath.empty() ? "libzevka.so" : libraryPath, failure.what(), kExitUnavailable);
    return false;
  }
}

void Session::ForEach(const std::vector<std::string>& files,
                      const std::function<void(const Packer&, const InputFile&)>& work) {
  // Before the process moves to its scratch folder.
  std::vector<InputFile> inputs;
  inputs.reserve(files.size());
  for (const std::string& file : files) {
    inputs.push_back(NamedInput(file));
  }
  WithPacker([&](const Packer& packer) {
    for (const InputFile& input : inputs) {
      Guarded(input.given, [&] { work(packer, input); });
    }
  });
}

void Session::ForEachMessage(const std::vector<std::string>& files,
                             const std::function<void(const Packer&, const InputMessage&)>& work) {
  ForEach(files, [&](const Packer& packer, const InputFile& file) {
    const std::string bytes = ReadInput(file);
    if (!HoldsSeveralMessages(bytes)) {
      work(packer, {file.given, bytes});
      return;
    }
    MboxReader reader(bytes);
    std::size_t number = 0;
    while (const std::optional<MboxEntry> entry = reader.Next()) {
      const std::string name = NameInMbox(file.given, ++number);
      Guarded(name, [&] { work(packer, {name, MessageOf(*entry)}); });
    }
  });
}

}  // namespace zevka::host

#include "plugin/mime_packer.h"

#include <array>
#include <cstdarg>
#include <cstdlib>
#include <optional>

#include "codec/text_holders.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "footer/commit.h"
#include "mime/edge.h"
#include "mime/mime_part.h"

namespace zevka {
namespace {

constexpr int kInterfaceVersion = 1;
constexpr std::size_t kPathRoom = 4096;  // characters, the terminator included

MIMEPart* AsPart(PartObject* part) {
  return static_cast<MIMEPart*>(part);
}

// Fills an open memory file with the host's bytes.
bool FillMessage(OpenFile& file, void* data, std::int64_t lengthBytes, bool copy) {
  const auto length = static_cast<std::uint64_t>(lengthBytes);
  if (copy) {
    // KEEP(empty-copy-fails): one item of no bytes counts as not written.
    return FileWrite(data, length, 1, file.Handle()) == 1;
  }
  // KEEP(uncopied-is-zeroed): the host's buffer becomes the file's, and attaching it zeroes it.
  return FileAttachBuffer(file.Handle(), data, length) != -1;
}

}  // namespace

int MimePacker::SupportsVersion(int version) {
  return version == kInterfaceVersion ? 1 : 0;
}

PartObject* MimePacker::OpenMessage(const char* path) {
  return OpenPart(path, true);
}

int MimePacker::CommitMessage(PartObject* message, const char* subjectSuffix,
                              const char* passThrough, const char* attachmentName) {
  if (message == nullptr) {
    return -1;
  }
  return zevka::CommitMessage(PartPtr(AsPart(message)),
                              {subjectSuffix, passThrough, attachmentName});
}

PartObject* MimePacker::OpenMessageW(const wchar_t* path) {
  if (path == nullptr) {
    return OpenMessage(nullptr);
  }
  const NarrowString narrow(path);
  return OpenMessage(narrow.Text());
}

int MimePacker::CommitMessageW(PartObject* message, const wchar_t* subjectSuffix,
                               const wchar_t* passThrough, const wchar_t* attachmentName) {
  const std::array<const wchar_t*, 3> wide = {subjectSuffix, passThrough, attachmentName};
  std::array<std::optional<NarrowString>, 3> holders;
  std::array<const char*, 3> narrow{};
  for (std::size_t i = 0; i < wide.size(); ++i) {
    if (wide[i] != nullptr) {
      narrow[i] = holders[i].emplace(wide[i]).Text();
    }
  }
  return CommitMessage(message, narrow[0], narrow[1], narrow[2]);
}

PartObject* MimePacker::OpenMessageFromMemory(void* data, std::int64_t lengthBytes, bool copy) {
  return OrFailure<PartObject*>(nullptr, [&]() -> PartObject* {
    RemoveUnlessKept name(names_.Next());
    OpenFile file(name.Name(), "w+b");
    if (!file) {
      static_cast<void>(name.Keep());
      return nullptr;
    }
    if (!FillMessage(file, data, lengthBytes, copy)) {
      return nullptr;
    }
    if (!file.CloseWritten()) {
      return nullptr;
    }
    // The part goes again when there is no memory for keeping the name.
    PartPtr message(AsPart(OpenPart(name.Name().c_str(), false)));
    if (message) {
      static_cast<void>(name.Keep());
    }
    return message.release();
  });
}

std::int64_t MimePacker::CloseMessage(PartObject* message, char** outBuffer, bool commit) {
  if (message == nullptr) {
    return -1;
  }
  return OrFailure(std::int64_t{-1}, [&]() -> std::int64_t {
    // A bounded copy fills its room, zeros included.
    std::array<char, kPathRoom> name;
    message->GetFileName(name.data(), name.size() - 1);
    name.back() = '\0';
    if (commit) {
      // KEEP(close-ignores-the-commit): the bytes of the file are what the host gets, old or new.
      CommitMessage(message, nullptr, nullptr, nullptr);
    } else {
      delete AsPart(message);
    }
    // KEEP(close-takes-the-disk-file): what is handed out is removed, on disk too.
    return outBuffer == nullptr ? 0 : FileTakeContents(name.data(), outBuffer);
  });
}

int MimePacker::QueryControl(int code, ...) {
  std::va_list arguments;
  va_start(arguments, code);
  int result = 0;
  // KEEP(code-gaps): both operations share one row of numbers; each gives 0 for the other's.
  if (code == kQueryFileOperations) {
    result =
        QueryFileOperations(kInterfaceVersion, va_arg(arguments, FileOperations*)) == -1 ? 0 : 1;
  } else if (code == kQueryCodesKnown) {
    result = 1;
  } else if (code == kQuerySourceFile) {
    PartObject* part = va_arg(arguments, PartObject*);
    char* buf = va_arg(arguments, char*);
    result = part == nullptr ? 0 : part->GetSourceFile(buf);
  } else if (code == kQuerySigned) {
    const PartObject* part = va_arg(arguments, PartObject*);
    if (part != nullptr) {
      // KEEP(query-signed-reads-flags): what was read, not what the fields say now.
      const Signatures& signatures = static_cast<const MIMEPart*>(part)->State().signatures;
      result = signatures.domain || signatures.protocol ? 1 : 0;
    }
  }
  va_end(arguments);
  return result;
}

int MimePacker::ReleaseControl(int code, ...) {
  std::va_list arguments;
  va_start(arguments, code);
  int result = 1;
  if (code == kReleaseBuffer) {
    std::free(va_arg(arguments, void*));
  } else if (code == kDiscardMessage) {
    // KEEP(discard-leaves-the-memory-file): a part does not remove the message's own file.
    delete AsPart(va_arg(arguments, PartObject*));
  } else if (code != kReleaseCodesKnown) {
    result = 0;
  }
  va_end(arguments);
  return result;
}

PartObject* MimePacker::OpenPart(const char* path, bool writeThrough) {
  return OrFailure<PartObject*>(nullptr, [&]() -> PartObject* {
    PartPtr part(new MIMEPart);
    part->State().writeThrough = writeThrough;
    return part->LoadFromFile(path) != 0 ? part.release() : nullptr;
  });
}

}  // namespace zevka

#include "host/safe_edit/working_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "host/kit/disk.h"
#include "host/kit/part_reading.h"

namespace zevka::host {

namespace {

// The library keeps paths in 512 bytes, and the files of nested parts have longer names than the
// message.
constexpr std::size_t kPathBytes = 400;
constexpr int kMostEmbedded = 24;
constexpr mode_t kModeBits = 07777;
constexpr mode_t kPrivateMode = 0600;

std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  if (real == nullptr) {
    throw Failure(ErrnoText(errno));
  }
  return real.get();
}

bool SameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
         left.st_size == right.st_size && left.st_mtim.tv_sec == right.st_mtim.tv_sec &&
         left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
}

// Gives the result the owner and mode of the original. Without the right to keep both owner and
// group the bits that lend their rights to others go too.
void KeepAttributes(const std::string& path, const struct stat& original) {
  mode_t mode = original.st_mode & kModeBits;
  if (::chown(path.c_str(), original.st_uid, original.st_gid) != 0) {
    mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
  }
  if (::chmod(path.c_str(), mode) != 0) {
    throw Failure("cannot keep the file's mode: " + ErrnoText(errno));
  }
}

void BringToDisk(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool done = descriptor >= 0 && ::fsync(descriptor) == 0;
  const int error = errno;
  if (descriptor >= 0) {
    ::close(descriptor);
  }
  if (!done) {
    throw Failure("the changed message is not safe on disk: " + ErrnoText(error));
  }
}

// Puts the finished copy in the place of the file, unless somebody else changed that meanwhile.
void Replace(const std::string& copy, const std::string& path, const struct stat& original) {
  struct stat now {};
  if (::stat(path.c_str(), &now) != 0 || !SameFile(now, original)) {
    throw Failure("was changed by somebody else meanwhile");
  }
  if (std::rename(copy.c_str(), path.c_str()) != 0) {
    throw Failure("cannot be replaced: " + ErrnoText(errno));
  }
}

// The finished copy; the library keeps a message in memory when it cannot bring it to disk.
std::string ReadFinished(const std::string& copy) {
  try {
    return ReadFile(copy).bytes;
  } catch (const Failure&) {
    throw Failure("the changed message did not reach the disk");
  }
}

// Without what a rewritten message may have gained or lost at the end of a body: line ends, and the
// bare delimiter that ends a multipart whose boundary never occurs.
std::string_view WithoutEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of("\r\n-") + 1);
}

// The bodies of all leaves, those of embedded messages in place of the message: the library may
// write the fields and delimiters around them anew.
void CollectBodies(Packer& packer, std::string_view bytes, int messagesAround,
                   std::vector<std::string>* bodies) {
  const Message message = packer.OpenBytes(bytes);
  for (Leaf& leaf : Leaves(packer, message.Part())) {
    if (leaf.isEmbedded && !leaf.body.empty() && messagesAround < kMostEmbedded) {
      CollectBodies(packer, leaf.body, messagesAround + 1, bodies);
    } else {
      bodies->push_back(std::move(leaf.body));
    }
  }
}

bool Holds(std::string_view before, std::string_view after, bool mayGrow) {
  before = WithoutEnd(before);
  return mayGrow ? after.starts_with(before) : WithoutEnd(after) == before;
}

}  // namespace

void EditFile(Packer& packer, const std::string& path, const Edit& edit, const Verify& verify) {
  const std::string real = RealPath(path);
  const DiskFile original = ReadFile(real);
  if (original.bytes.empty()) {
    throw Failure("is empty");
  }
  if (::access(real.c_str(), W_OK) != 0) {
    throw Failure(ErrnoText(errno));
  }
  const TemporaryFolder folder(std::filesystem::path(real).parent_path().string());
  const std::string copy = folder.Path() + "/message";
  if (copy.size() > kPathBytes) {
    throw Failure("its path is too long for a change in place");
  }
  WriteNewFile(copy, original.bytes, kPrivateMode);
  {
    Message message = packer.Open(copy);
    edit(message);
    message.Commit();
  }
  verify(ReadFinished(copy));
  KeepAttributes(copy, original.status);
  BringToDisk(copy);
  Replace(copy, real, original.status);
}

std::string EditBytes(Packer& packer, std::string_view bytes, const Edit& edit,
                      const Verify& verify) {
  Message message = packer.OpenBytes(bytes);
  edit(message);
  std::string result = message.Finish();
  verify(result);
  return result;
}

void RequireSameLeaves(Packer& packer, std::string_view before, std::string_view after,
                       bool mayGrow) {
  std::vector<std::string> oldBodies;
  std::vector<std::string> newBodies;
  CollectBodies(packer, before, 0, &oldBodies);
  CollectBodies(packer, after, 0, &newBodies);
  bool same = mayGrow ? newBodies.size() >= oldBodies.size() : newBodies.size() == oldBodies.size();
  for (std::size_t index = 0; same && index < oldBodies.size(); ++index) {
    same = Holds(oldBodies[index], newBodies[index], mayGrow);
  }
  if (!same) {
    throw Failure("the change would alter other parts of the message");
  }
}

}  // namespace zevka::host

// Our own library, loaded and called as a host does it: the public headers and nothing else.
#include <unistd.h>
#include <zevka/packer.h>
#include <zevka/part.h>

#include <stdexcept>
#include <string>

#include "bench/peers/library.h"
#include "tests/abi/host.h"
#include "tests/support/temp_dir.h"

namespace zevka::bench {
namespace {

// A current folder of our own and empty: messages from memory have names without a folder, and what
// does not fit into memory lies there.
class PrivateFolder {
 public:
  PrivateFolder() {
    if (::chdir(folder_.Path().c_str()) != 0) {
      throw std::runtime_error("no private folder");
    }
  }

 private:
  test::TempDir folder_;
};

// The loaded library with one packer, which all threads share.
class Zevka : public MailLibrary {
 public:
  std::string Name() const override { return "zevka"; }
  std::string Version() const override { return ZEVKA_VERSION; }

  void Do(std::string_view bytes, const Job& job, Counters& counters) override {
    // With `copy` true the bytes are only read.
    PartObject* message = host_->OpenMessageFromMemory(
        const_cast<char*>(bytes.data()), static_cast<std::int64_t>(bytes.size()), true);
    if (message == nullptr) {
      ++counters.refused;
      return;
    }
    Visit(*message, job, counters);
    if (job.write) {
      Write(message, counters);
    } else {
      host_.Discard(message);
    }
  }

 private:
  static void Visit(PartObject& part, const Job& job, Counters& counters) {
    if (part.RewindChildren() != 1) {
      ++counters.leaves;
      if (job.decode) {
        Decode(part, counters);
      }
      return;
    }
    for (PartObject* child = nullptr; part.NextChild(&child) == 1;) {
      Visit(*child, job, counters);
    }
  }

  // The decoded body lies in memory, where GetDecodedBodyBuffer tells; one that the library had to
  // put on disk, or that is empty, has no place there.
  static void Decode(PartObject& leaf, Counters& counters) {
    const std::uint64_t size = leaf.ReadDecodedBody(nullptr, 0, 0);
    const void* body = leaf.GetDecodedBodyBuffer();
    if (size != 0 && body == nullptr) {
      throw std::runtime_error("a decoded body is not in memory");
    }
    counters.decodedBytes += size;
  }

  // The new message, in one block that is the host's.
  void Write(PartObject* message, Counters& counters) {
    char* buffer = nullptr;
    const std::int64_t length = host_->CloseMessage(message, &buffer, true);
    if (length < 0) {
      ++counters.refused;
      return;
    }
    counters.writtenBytes += static_cast<std::uint64_t>(length);
    host_->ReleaseControl(kReleaseBuffer, buffer);
  }

  PrivateFolder folder_;
  test::Host host_;
};

}  // namespace

std::unique_ptr<MailLibrary> MakeLibrary() {
  return std::make_unique<Zevka>();
}

}  // namespace zevka::bench

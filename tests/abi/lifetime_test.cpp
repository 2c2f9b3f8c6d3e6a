// Loading, unloading and the end of the process. Each test runs in a child, which loads the library
// itself.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

bool Loaded() {
  void* library = ::dlopen(LibraryFile(), RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) {
    ::dlclose(library);
  }
  return library != nullptr;
}

TEST(Lifetime, TheMemoryLayerIsInPlaceAfterLoading) {
  const TempDir folder;
  const Host host;
  const std::string name = folder.Path("fresh");
  void* handle = host.Files().open(name.c_str(), "w+b");
  ASSERT_NE(handle, nullptr);
  EXPECT_FALSE(OnDisk(name));
  EXPECT_EQ(host.Files().isOnDisk(name.c_str()), -1);
  EXPECT_EQ(host.Files().close(handle), 0);
  EXPECT_EQ(host.Files().remove(name.c_str()), 0);
  EXPECT_FALSE(OnDisk(name));
}

// KEEP(load-seeds-rand)
TEST(Lifetime, LoadingSeedsRandFromTheClock) {
  InChild([] {
    EXPECT_FALSE(Loaded());
    std::srand(42);
    const std::time_t before = std::time(nullptr);
    const Host host;
    const int drawn = std::rand();
    const std::time_t after = std::time(nullptr);
    bool found = false;
    for (std::time_t second = before; second <= after; ++second) {
      std::srand(static_cast<unsigned>(second));
      found = found || std::rand() == drawn;
    }
    EXPECT_TRUE(found);
  });
}

TEST(Lifetime, UnloadingDiscardsAllStateAndLoadingStartsAnew) {
  const TempDir folder;
  InChild([&folder] {
    const std::string name = folder.Path("kept");
    {
      const Host host;
      WriteFile(host, name, "bytes");
      EXPECT_EQ(SizeOf(host, name), 5);
    }
    EXPECT_FALSE(Loaded());
    EXPECT_FALSE(OnDisk(name));
    {
      const Host host;
      errno = 0;
      EXPECT_EQ(SizeOf(host, name), -1);
      EXPECT_EQ(errno, EIO);
      EXPECT_EQ(host.Rewritten("A: b\r\n\r\nbody\r\n"), "A: b\r\n\r\nbody\r\n");
    }
    EXPECT_FALSE(Loaded());
  });
}

TEST(Lifetime, LoadingAndUnloadingManyTimesWorks) {
  InChild([] {
    for (int round = 0; round < 20; ++round) {
      EXPECT_FALSE(Loaded());
      const Host host;
      EXPECT_EQ(host.Rewritten("A: b\n\nbody\n"), "A: b\n\nbody\n");
    }
  });
}

TEST(Lifetime, AHostMayRemoveTheLayerBeforeUnloading) {
  InChild([] {
    {
      const Host host;
      host.Files().removeMemoryFiles();
    }
    EXPECT_FALSE(Loaded());
    const Host again;
    EXPECT_EQ(again.Rewritten("A: b\n\nbody\n"), "A: b\n\nbody\n");
  });
}

// What the exit handlers of the host use.
std::unique_ptr<Host>& Resident() {
  static auto* host = new std::unique_ptr<Host>;
  return *host;
}
std::string& WatchedName() {
  static auto* name = new std::string;
  return *name;
}
int seenByLaterHandler = -2;

void RegisteredAfterLoading() {
  struct stat status {};
  seenByLaterHandler = Resident()->Files().stat(WatchedName().c_str(), &status);
}
void RegisteredBeforeLoading() {
  struct stat status {};
  const int seen = Resident()->Files().stat(WatchedName().c_str(), &status);
  const bool right = seenByLaterHandler == 0 && seen == -1;
  if (!right) {
    std::printf("handler after loading saw %d, handler before loading saw %d\n", seenByLaterHandler,
                seen);
    std::fflush(stdout);
  }
  ::_exit(right ? 0 : 1);
}

// The clean-up stands in the process's list of exit handlers, at the place where the library was
// loaded: later handlers of the host still find the memory files, earlier ones do not.
TEST(Lifetime, TheCleanUpRunsInTheOrderOfTheExitHandlers) {
  const TempDir folder;
  ExpectCleanExit(StatusOfChild([&folder] {
    EXPECT_FALSE(Loaded());
    if (std::atexit(RegisteredBeforeLoading) != 0) {
      return 4;
    }
    Resident() = std::make_unique<Host>();
    WatchedName() = folder.Path("watched");
    WriteFile(*Resident(), WatchedName(), "bytes");
    if (std::atexit(RegisteredAfterLoading) != 0) {
      return 5;
    }
    std::exit(2);  // the first handler of the host sets the status
  }));
  EXPECT_FALSE(OnDisk(folder.Path("watched")));
}

void QuietExit() {
  ::_exit(0);
}

TEST(Lifetime, TheProcessMayEndWithMessagesOpen) {
  const TempDir folder;
  WriteDisk(folder.Path("m"), "A: b\r\n\r\nbody\r\n");
  ExpectCleanExit(StatusOfChild([&folder] {
    std::atexit(QuietExit);
    Resident() = std::make_unique<Host>();
    PartObject* message = (*Resident())->OpenMessage(folder.Path("m").c_str());
    if (message == nullptr) {
      return 4;
    }
    message->ReadDecodedBody(nullptr, 0, 0);
    std::exit(2);
  }));
  EXPECT_EQ(DiskBytes(folder.Path("m")), "A: b\r\n\r\nbody\r\n");
  EXPECT_FALSE(OnDisk(folder.Path("m_e")));
  EXPECT_FALSE(OnDisk(folder.Path("m_d")));
}

TEST(Lifetime, InstallingAgainKeepsTheFiles) {
  const TempDir folder;
  const Host host;
  const std::string name = folder.Path("kept");
  WriteFile(host, name, "bytes");
  EXPECT_EQ(host.Files().installMemoryFiles(), 0);
  EXPECT_EQ(host.Files().installMemoryFiles(), 0);
  EXPECT_EQ(ReadFile(host, name), "bytes");
  EXPECT_EQ(host.Files().remove(name.c_str()), 0);
}

}  // namespace
}  // namespace zevka::test

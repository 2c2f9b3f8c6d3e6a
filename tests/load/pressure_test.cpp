// With the budget of the memory files used up, or running out on the way, everything gives the
// bytes that it gives with room enough: files go to disk, and come back from there.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/load/work.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr std::uint64_t kBudget = 134217728;
constexpr std::uint64_t kStep = 4096;  // a file takes its size rounded down to that, and one more
constexpr std::size_t kLargestSample = 40000;  // bytes
constexpr std::size_t kSamples = 40;

struct FreeBlock {
  void operator()(char* block) const { std::free(block); }
};

// For its life, the budget has room for that many bytes only; a multiple of 4096.
class Pressure {
 public:
  Pressure(const Host& host, std::string path, std::uint64_t room)
      : host_(host), path_(std::move(path)) {
    const std::size_t size = kBudget - room - 1;
    const std::unique_ptr<char, FreeBlock> bulk(static_cast<char*>(std::calloc(size, 1)));
    void* const handle = host_.Files().open(path_.c_str(), "wb");
    const bool written =
        handle != nullptr && host_.Files().write(bulk.get(), 1, size, handle) == size;
    host_.Files().close(handle);
    if (!written || !InMemory(host_, path_)) {
      throw std::runtime_error("cannot use the budget up");
    }
  }
  ~Pressure() { host_.Files().remove(path_.c_str()); }
  Pressure(const Pressure&) = delete;
  Pressure& operator=(const Pressure&) = delete;

 private:
  const Host& host_;
  std::string path_;
};

std::vector<std::string> Messages() {
  std::vector<std::string> messages = MadeMessages();
  const std::vector<std::string> samples = SampleMessages(ZEVKA_CORPUS, kLargestSample);
  for (std::size_t at = 0; at < samples.size(); at += 1 + samples.size() / kSamples) {
    messages.push_back(samples[at]);
  }
  return messages;
}

// All bodies as files on disk, and the text of an embedded message.
std::string BodyFiles(const Host& host, PartObject* part) {
  std::string all;
  std::string name(4096, '\0');
  if (part->GetEncodedBodyFile(name.data()) == 1) {
    all += "e:" + DiskBytes(name.c_str());
  }
  if (part->GetDecodedBodyFile(name.data()) == 1) {
    all += "d:" + DiskBytes(name.c_str());
  }
  if (host->QueryControl(kQuerySourceFile, part, name.data()) == 1) {
    all += "s:" + DiskBytes(name.c_str());
  }
  for (PartObject* child : Host::Children(part)) {
    all += BodyFiles(host, child);
  }
  return all;
}

// Everything that is done with one message, and what it gave.
std::vector<std::string> AllOf(const Host& host, const std::string& message,
                               const std::string& path) {
  std::vector<std::string> results;
  for (std::size_t job = 0; job < kJobs; ++job) {
    results.push_back(Done(host, message, static_cast<Job>(job), path));
  }
  const Message bodies(host, message);
  results.push_back(BodyFiles(host, bodies.get()));
  Message removed(host, message);
  const std::vector<PartObject*> children = Host::Children(removed.get());
  if (!children.empty()) {
    children.front()->RemovePart();
  }
  results.push_back(removed.Committed());
  // Saved by the part itself: the result lies under the message's name.
  Message saved(host, message);
  const std::string name = saved.Name();
  saved->SetHeader("X-Saved", "yes", 0);
  results.push_back(std::to_string(saved.Release()->SaveAndClose(nullptr, nullptr, nullptr)));
  results.push_back(ReadFile(host, name));
  host.Files().remove(name.c_str());
  return results;
}

// Writing, reading, seeking, renaming and committing of files by the host.
std::string FileRun(const Host& host, const std::string& folder) {
  const FileOperations& files = host.Files();
  const std::string a = folder + "/a";
  const std::string b = folder + "/b";
  std::string text;
  void* handle = files.open(a.c_str(), "w+b");
  for (int number = 0; number < 3000; ++number) {
    const std::string line = std::to_string(number) + " is the number of this line\n";
    files.write(line.data(), line.size(), 1, handle);
  }
  files.seek(handle, 1000, SEEK_SET);
  std::string piece(5000, '\0');
  piece.resize(files.read(piece.data(), 1, piece.size(), handle));
  text += piece + std::to_string(files.tell(handle));
  files.close(handle);
  text += ReadFile(host, a) + std::to_string(SizeOf(host, a));
  files.rename(a.c_str(), b.c_str());
  text += std::to_string(SizeOf(host, a)) + ReadFile(host, b);
  handle = files.open(b.c_str(), "a+b");
  files.write("end", 1, 3, handle);
  files.close(handle);
  handle = files.open(b.c_str(), "r+b");
  files.write("begin", 1, 5, handle);
  files.close(handle);
  text += ReadFile(host, b) + std::to_string(files.commit(b.c_str()));
  text += DiskBytes(b) + std::to_string(files.isOnDisk(b.c_str()));
  return text + std::to_string(files.remove(b.c_str()));
}

class BudgetPressure : public ::testing::TestWithParam<std::uint64_t> {};

void ExpectTheSame(const std::vector<std::string>& results,
                   const std::vector<std::string>& expected, const std::string& message) {
  ASSERT_EQ(results.size(), expected.size());
  for (std::size_t job = 0; job < results.size(); ++job) {
    EXPECT_TRUE(results[job] == expected[job]) << "job " << job << ": " << message.substr(0, 80);
  }
}

TEST_P(BudgetPressure, ChangesNoByte) {
  const TempDir folder;
  InChildAt(folder.Path(), [&folder] {
    const Host host;
    const std::string path = folder.Path("message");
    const std::vector<std::string> messages = Messages();
    const std::string fileRun = FileRun(host, folder.Path());
    std::vector<std::vector<std::string>> expected;
    for (const std::string& message : messages) {
      expected.push_back(AllOf(host, message, path));
    }
    {
      const Pressure pressure(host, folder.Path("bulk"), GetParam());
      for (std::size_t at = 0; at < messages.size(); ++at) {
        ExpectTheSame(AllOf(host, messages[at], path), expected[at], messages[at]);
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()))
            << "a file was left: " << messages[at].substr(0, 80);
      }
      EXPECT_TRUE(FileRun(host, folder.Path()) == fileRun);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    EXPECT_TRUE(BudgetIsFree(host, folder.Path("most")));
  });
}

// Nothing, one step, and room that lasts for a part of the way.
INSTANTIATE_TEST_SUITE_P(Room, BudgetPressure,
                         ::testing::Values(std::uint64_t{0}, kStep, 2 * kStep, 5 * kStep,
                                           13 * kStep, 25 * kStep));

}  // namespace
}  // namespace zevka::test

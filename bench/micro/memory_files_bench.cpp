// Files in memory: small ones, one of 25 MB, and names among many.
#include <cstdio>
#include <string>

#include "bench/micro/bytes.h"
#include "bench/samples.h"
#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "tests/support/temp_dir.h"

namespace zevka::bench {
namespace {

constexpr std::int64_t kSmall = 4000;
constexpr std::int64_t kLarge = 25000000;
constexpr std::size_t kBlock = 4096;  // bytes, as the library reads and writes bodies

// A folder on disk, so that a name that is not in memory is asked for as in a host's own folder.
const test::TempDir& Folder() {
  static const test::TempDir folder;
  InstallMemoryFiles();
  return folder;
}

// Made, written with one call, and removed.
void CreateAndRemove(benchmark::State& state) {
  const std::string name = Folder().Path("file");
  const std::string bytes(Size(state), 'a');
  while (state.KeepRunning()) {
    OpenFile(name, "w").Write(bytes);
    FileRemove(name.c_str());
  }
  CountBytes(state, bytes.size());
}
BENCHMARK(CreateAndRemove)->Arg(0)->Arg(kSmall)->Arg(kLarge);

void WriteByBlocks(benchmark::State& state) {
  const std::string name = Folder().Path("file");
  const std::string block(kBlock, 'a');
  while (state.KeepRunning()) {
    OpenFile file(name, "w");
    for (std::size_t written = 0; written < Size(state); written += kBlock) {
      file.Write(block);
    }
    file.Close();
    FileRemove(name.c_str());
  }
  CountBytes(state, Size(state));
}
BENCHMARK(WriteByBlocks)->Arg(kSmall)->Arg(kLarge);

void ReadByBlocks(benchmark::State& state) {
  const RemoveUnlessKept name(Folder().Path("file"));
  OpenFile(name.Name(), "w").Write(std::string(Size(state), 'a'));
  std::string block(kBlock, '\0');
  while (state.KeepRunning()) {
    OpenFile file(name.Name(), "r");
    while (file.Read(block.data(), block.size()) == block.size()) {
    }
  }
  CountBytes(state, Size(state));
}
BENCHMARK(ReadByBlocks)->Arg(kSmall)->Arg(kLarge);

void SeekAndRead(benchmark::State& state) {
  const RemoveUnlessKept name(Folder().Path("file"));
  OpenFile(name.Name(), "w").Write(std::string(Size(state), 'a'));
  OpenFile file(name.Name(), "r");
  std::int64_t at = 0;
  char byte = 0;
  while (state.KeepRunning()) {
    at = (at + 7919) % state.range(0);
    file.Seek(at);
    benchmark::DoNotOptimize(file.Read(&byte, 1));
  }
}
BENCHMARK(SeekAndRead)->Arg(kSmall)->Arg(kLarge);

void Rename(benchmark::State& state) {
  const std::string first = Folder().Path("first");
  const std::string second = Folder().Path("second");
  OpenFile(first, "w").Write(std::string(Size(state), 'a'));
  while (state.KeepRunning()) {
    FileRename(first.c_str(), second.c_str());
    FileRename(second.c_str(), first.c_str());
  }
  FileRemove(first.c_str());
  CountItems(state, 2);
}
BENCHMARK(Rename)->Arg(kSmall)->Arg(kLarge);

// Written to disk, which counts, and removed there, which does not.
void Commit(benchmark::State& state) {
  const std::string name = Folder().Path("file");
  const std::string bytes(Size(state), 'a');
  while (state.KeepRunning()) {
    state.PauseTiming();
    OpenFile(name, "w").Write(bytes);
    state.ResumeTiming();
    FileCommit(name.c_str());
    state.PauseTiming();
    FileRemove(name.c_str());
    state.ResumeTiming();
  }
  CountBytes(state, bytes.size());
}
BENCHMARK(Commit)->Arg(kSmall)->Arg(kLarge);

// The size of one file, asked by name while there are that many.
void LookUpAmong(benchmark::State& state) {
  const auto name = [](std::size_t number) {
    return Folder().Path("filename-" + std::to_string(number));
  };
  std::vector<std::string> names;
  for (std::size_t i = 0; i < Size(state); ++i) {
    names.push_back(name(i));
    OpenFile(names.back(), "w").Close();
  }
  std::size_t at = 0;
  struct stat status {};
  while (state.KeepRunning()) {
    at = (at + 7919) % names.size();
    benchmark::DoNotOptimize(FileStat(names[at].c_str(), &status));
  }
  for (const std::string& made : names) {
    FileRemove(made.c_str());
  }
}
BENCHMARK(LookUpAmong)->RangeMultiplier(10)->Range(1, 100000);

// A name that no file has, neither in memory nor on disk.
void LookUpMissing(benchmark::State& state) {
  const std::string name = Folder().Path("missing");
  struct stat status {};
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(FileStat(name.c_str(), &status));
  }
}
BENCHMARK(LookUpMissing);

}  // namespace
}  // namespace zevka::bench

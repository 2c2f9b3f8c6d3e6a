// Fixtures and small helpers of the tests that load, look at and write parts: the memory files in
// place for the length of one test, and a folder of its own.
#ifndef ZEVKA_TESTS_MIME_PART_FIXTURE_H
#define ZEVKA_TESTS_MIME_PART_FIXTURE_H

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "mime/mime_part.h"
#include "mime/save_message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {

using namespace std::string_literals;

inline constexpr std::string_view kNoFile = "(no file)";

// Makes a file by the file operations: in memory, or on disk in plain mode.
inline void Put(const std::string& name, std::string_view bytes) {
  OpenFile out(name, "wb");
  EXPECT_TRUE(static_cast<bool>(out)) << name;
  EXPECT_TRUE(out.Write(bytes)) << name;
}

// The bytes of a file, or "(no file)".
inline std::string Get(const std::string& name) {
  OpenFile in(name, "rb");
  if (!in) {
    return std::string(kNoFile);
  }
  std::string bytes;
  std::string block(10000, '\0');
  for (;;) {
    const std::size_t got = in.Read(block.data(), block.size());
    bytes.append(block, 0, got);
    if (got < block.size()) {
      return bytes;
    }
  }
}

inline bool Exists(const std::string& name) {
  struct stat status = {};
  return FileStat(name.c_str(), &status) == 0;
}

inline PartPtr NewPart() {
  return PartPtr(new MIMEPart);
}

// The n-th child, counted from 0; the test fails when there is none.
inline MIMEPart& Child(MIMEPart& part, std::size_t n) {
  PartList& children = part.State().children;
  EXPECT_LT(n, children.size());
  return *std::next(children.begin(), static_cast<std::ptrdiff_t>(n))->part;
}

inline std::string Encoded(const MIMEPart& part) {
  return Get(part.State().files.encoded);
}

inline std::string Decoded(MIMEPart& part) {
  const std::uint64_t size = part.ReadDecodedBody(nullptr, 0, 0);
  std::string bytes(size, '\0');
  bytes.resize(part.ReadDecodedBody(bytes.data(), size, 0));
  return bytes;
}

using Fields = std::vector<std::pair<std::string, std::string>>;

inline Fields FieldsOf(const MIMEPart& part) {
  Fields fields;
  for (const HeaderNode& field : part.State().headers) {
    fields.emplace_back(field.name, field.value);
  }
  return fields;
}

// Kept out of line: GCC 12 warns about the lengths it makes up when it inlines this.
[[gnu::noinline]] inline std::string Repeat(std::string_view text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) {
    all.append(text);
  }
  return all;
}

// The text with every CR LF replaced.
inline std::string WithLineEnds(std::string_view text, std::string_view lineEnd) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      result += lineEnd;
      ++i;
    } else {
      result += text[i];
    }
  }
  return result;
}

// Every file lies on disk.
class PlainPartFixture : public ::testing::Test {
 protected:
  std::string Path(std::string_view name) const { return folder_.Path(name); }
  const std::string& Folder() const { return folder_.Path(); }

  // Loads a message that has these bytes; null when it does not load.
  PartPtr TryLoad(std::string_view bytes, std::string_view name = "m") {
    Put(Path(name), bytes);
    PartPtr part = NewPart();
    return part->LoadFromFile(Path(name).c_str()) == 1 ? std::move(part) : nullptr;
  }

  // The same; the test fails when it does not load.
  PartPtr Load(std::string_view bytes, std::string_view name = "m") {
    PartPtr part = TryLoad(bytes, name);
    if (part == nullptr) {
      ADD_FAILURE() << "does not load: " << bytes.substr(0, 200);
      return NewPart();
    }
    return part;
  }

  // What stands in the message's file after it was saved.
  std::string Written(PartPtr part) {
    const std::string name = part->State().files.own.value_or("");
    EXPECT_EQ(SaveMessage(*part, nullptr, nullptr, nullptr), SaveOutcome::kWritten);
    part.reset();
    return Get(name);
  }
  std::string Rewritten(std::string_view bytes) { return Written(Load(bytes)); }

 private:
  TempDir folder_;
};

// Files that the library creates are in memory.
class PartFixture : public PlainPartFixture {
 protected:
  PartFixture() : installed_(InstallMemoryFiles()) {}
  ~PartFixture() override { RemoveMemoryFiles(); }
  void SetUp() override { ASSERT_EQ(installed_, 0); }

 private:
  int installed_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_MIME_PART_FIXTURE_H

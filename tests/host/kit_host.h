// What the tests of the host kit share: a packer, and an empty folder that the process works in,
// which must be empty again when the test is over.
#ifndef ZEVKA_TESTS_HOST_KIT_HOST_H
#define ZEVKA_TESTS_HOST_KIT_HOST_H

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

namespace zevka::test {

// Works in a new folder for a while.
class WorkingFolder {
 public:
  WorkingFolder() : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder_.Path());
  }
  ~WorkingFolder() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
  }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

 private:
  TempDir folder_;
  std::filesystem::path before_;
};

// The name of the message's own file.
inline std::string OwnName(const host::Message& message) {
  std::string name(512, '\0');
  message.Root().Raw().GetFileName(name.data(), name.size() - 1);
  return name.c_str();
}

class KitTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(working_.Names(), std::vector<std::string>()); }

  host::Message Open(const std::string& bytes) const { return packer_.OpenBytes(bytes); }

  WorkingFolder working_;
  host::Packer packer_{host::Library::Load(ZEVKA_LIBRARY)};
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_HOST_KIT_HOST_H

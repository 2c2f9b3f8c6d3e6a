#include "host/cli/inputs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

namespace zevka::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kSeparator = "From a@example.org Thu Jan  1 00:00:00 1970\n";

class Inputs : public testing::Test {
 protected:
  // Makes a file and the folders above it; gives its path.
  std::string File(const std::string& name, const std::string& data = "Subject: a\n\na\n") {
    const fs::path path = root_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << data;
    return path.string();
  }
  std::string Folder(const std::string& name) {
    fs::create_directories(root_ / name);
    return (root_ / name).string();
  }
  void Maildir(const std::string& name) {
    for (const char* folder : {"/cur", "/new", "/tmp"}) {
      Folder(name + folder);
    }
  }
  // The names below the test's folder.
  std::vector<std::string> Names(const std::vector<Input>& inputs) const {
    std::vector<std::string> names;
    for (const Input& input : inputs) {
      names.push_back(fs::path(input.given).lexically_relative(root_).string());
    }
    return names;
  }
  std::string At(const std::string& name) const { return (root_ / name).string(); }

 private:
  test::TempDir folder_;
  fs::path root_{folder_.Path()};
};

using Texts = std::vector<std::string>;

}  // namespace

TEST_F(Inputs, FileIsNamedByItsOwnNameInAFolderForResults) {
  const std::vector<Input> inputs = CollectInputs({File("a/m.eml")});
  ASSERT_EQ(inputs.size(), 1U);
  EXPECT_EQ(inputs[0].given, At("a/m.eml"));
  EXPECT_EQ(inputs[0].Relative(), "m.eml");
  EXPECT_EQ(inputs[0].bytes, 14U);
  EXPECT_EQ(inputs[0].kind, InputKind::kMessage);
  EXPECT_FALSE(inputs[0].wasFound);
}

TEST_F(Inputs, FileInAFolderIsNamedByItsPlaceBelowIt) {
  File("a/b/m.eml");
  for (const char* folder : {"a", "a/"}) {
    const std::vector<Input> inputs = CollectInputs({At(folder)});
    ASSERT_EQ(inputs.size(), 1U);
    EXPECT_EQ(inputs[0].given, At("a/b/m.eml"));
    EXPECT_EQ(inputs[0].Relative(), "b/m.eml");
    EXPECT_TRUE(inputs[0].wasFound);
  }
}

TEST_F(Inputs, NumbersAreMessagesAndOtherNamesAreNot) {
  for (const char* name : {"1", "20", "m.EML", "x", "1a", "m.eml.bak", "m.txt", ",3", ".4"}) {
    File(std::string("a/") + name);
  }
  EXPECT_EQ(Names(CollectInputs({At("a")})), (Texts{"a/1", "a/20", "a/m.EML"}));
}

TEST_F(Inputs, FileThatIsNotThereIsAnInputOfNoBytes) {
  const std::vector<Input> inputs = CollectInputs({At("gone"), "-"});
  ASSERT_EQ(inputs.size(), 2U);
  EXPECT_EQ(inputs[0].given, At("gone"));
  EXPECT_EQ(inputs[0].bytes, 0U);
  EXPECT_TRUE(inputs[0].problem.empty());
  EXPECT_EQ(inputs[1].kind, InputKind::kStandardInput);
}

TEST_F(Inputs, MailboxIsKnownByItsBeginningUnlessItsNameSaysMessage) {
  const std::string box = kSeparator + std::string("Subject: a\n\na\n");
  Maildir("M");
  for (const char* name : {"box", "m.eml", "12", "M/cur/1.a.b", "text"}) {
    File(name, std::string(name) == "text" ? "From now on.\n" : box);
  }
  const std::vector<Input> inputs =
      CollectInputs({At("box"), At("m.eml"), At("12"), At("M/cur/1.a.b"), At("text")});
  ASSERT_EQ(inputs.size(), 5U);
  EXPECT_EQ(inputs[0].kind, InputKind::kMbox);
  for (std::size_t index = 1; index < inputs.size(); ++index) {
    EXPECT_EQ(inputs[index].kind, InputKind::kMessage) << inputs[index].given;
  }
}

TEST_F(Inputs, MaildirGivesCurAndNewAndItsSubfolders) {
  Maildir("M");
  Maildir("M/.Sent");
  Maildir("M/plain");
  for (const char* name : {"M/cur/b:2,S", "M/cur/a:2,", "M/new/c", "M/tmp/d", "M/.Sent/cur/e",
                           "M/plain/new/f", "M/list.eml", "M/.dot/g.eml", "M/cur/.h"}) {
    File(name);
  }
  EXPECT_EQ(Names(CollectInputs({At("M")})),
            (Texts{"M/cur/a:2,", "M/cur/b:2,S", "M/new/c", "M/.Sent/cur/e", "M/plain/new/f"}));
  EXPECT_EQ(Names(CollectInputs({At("M/cur")})), (Texts{"M/cur/a:2,", "M/cur/b:2,S"}));
}

TEST_F(Inputs, MaildirWithoutMessagesIsNoProblem) {
  Maildir("M");
  EXPECT_TRUE(CollectInputs({At("M")}).empty());
}

TEST_F(Inputs, FolderWithoutMessagesIsAProblem) {
  Folder("a/b");
  File("a/x");
  const std::vector<Input> inputs = CollectInputs({At("a")});
  ASSERT_EQ(inputs.size(), 1U);
  EXPECT_EQ(inputs[0].given, At("a"));
  EXPECT_FALSE(inputs[0].problem.empty());
}

TEST_F(Inputs, FolderWhoseMessagesWereGivenBeforeIsNoProblem) {
  File("a/m.eml");
  EXPECT_EQ(Names(CollectInputs({At("a/m.eml"), At("a"), At("a/../a")})), (Texts{"a/m.eml"}));
}

TEST_F(Inputs, AllFilesAreTakenWhenAskedButForHiddenOnesAndLeftovers) {
  InputOptions options;
  options.allFiles = true;
  for (const char* name : {"a/x", "a/y.txt", "a/.z", "a/.zevka-0123456789abcdef.tmp"}) {
    File(name);
  }
  EXPECT_EQ(Names(CollectInputs({At("a")}, options)), (Texts{"a/x", "a/y.txt"}));
}

TEST_F(Inputs, FolderThatIsLeftOut) {
  File("a/m.eml");
  File("a/out/m.eml");
  InputOptions options;
  options.leaveOut = At("a/../a/out");
  EXPECT_EQ(Names(CollectInputs({At("a")}, options)), (Texts{"a/m.eml"}));
}

}  // namespace zevka::host

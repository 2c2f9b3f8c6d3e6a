// Every message of the sample folder, from memory and from disk, with its own line ends and with
// LF, CR LF and CR: read in full and thrown away, and committed untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "tests/abi/corpus_alignment.h"
#include "tests/abi/corpus_comparison.h"
#include "tests/abi/corpus_ledger.h"
#include "tests/abi/corpus_rules.h"
#include "tests/abi/corpus_samples.h"
#include "tests/abi/corpus_tree.h"
#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

class CorpusTest : public testing::TestWithParam<Form> {
 protected:
  void SetUp() override {
    if (!HaveSamples()) {
      GTEST_SKIP() << "SKIPPED: there is no sample folder at " ZEVKA_CORPUS
                      " (set ZEVKA_CORPUS when configuring)";
    }
    // Bodies of messages from memory that are asked for as files go to the current folder.
    startFolder_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    samples_ = LoadSamples(GetParam());
    std::cout << samples_.size() << " messages, form " << FormName(GetParam()) << "\n";
    ASSERT_FALSE(samples_.empty());
  }
  void TearDown() override {
    if (!startFolder_.empty()) {
      std::filesystem::current_path(startFolder_);
    }
  }

  // Nothing may be left that was named after the message.
  void ExpectNothingLeft(const Sample& sample, const Node& node, const std::string& fileName) {
    for (const std::string& name : DerivedNames(node, fileName)) {
      EXPECT_FALSE(Exists(host_, name)) << sample.path << " leaves " << name;
    }
  }

  // Reads, decodes and throws away a message from memory; false when it does not open.
  bool ReadAndDiscard(const Sample& sample) {
    PartObject* message = host_.Open(sample.bytes);
    if (message == nullptr) {
      return false;
    }
    const std::string name = Host::FileName(message);
    const Node node = ReadTree(host_, message);
    EXPECT_EQ(WideDifferences(message), "") << sample.path;
    EXPECT_EQ(BodyFileDifferences(message, node), "") << sample.path;
    host_->ReleaseControl(kDiscardMessage, message);
    EXPECT_EQ(ReadFile(host_, name), sample.bytes) << sample.path;
    EXPECT_EQ(host_.Files().remove(name.c_str()), 0) << sample.path;
    EXPECT_FALSE(Exists(host_, name)) << sample.path;
    ExpectNothingLeft(sample, node, name);
    EXPECT_TRUE(NamesIn(folder_.Path()).empty()) << sample.path << " leaves a file on disk";
    return true;
  }

  Node TreeOf(const std::string& bytes) {
    PartObject* message = host_.Open(bytes);
    if (message == nullptr) {
      return {};
    }
    const Message open(host_, message);
    return ReadTree(host_, message);
  }

  // What an untouched commit makes of the file at path.
  std::string CommittedOnDisk(const Sample& sample, const std::string& path) {
    WriteDisk(path, sample.bytes);
    PartObject* message = host_->OpenMessage(path.c_str());
    if (message == nullptr) {
      return "(does not open)";
    }
    EXPECT_EQ(host_->CommitMessage(message, nullptr, nullptr, nullptr), 0) << sample.path;
    return DiskBytes(path);
  }

  Host host_;
  TempDir folder_;
  std::filesystem::path startFolder_;
  std::vector<Sample> samples_;
};

TEST_P(CorpusTest, MessagesInMemoryAreReadInFullAndLeaveNothing) {
  for (const Sample& sample : samples_) {
    // A message of no bytes does not open from memory.
    EXPECT_EQ(ReadAndDiscard(sample), !sample.bytes.empty()) << sample.path;
    if (HasFailure()) {
      break;
    }
  }
}

TEST_P(CorpusTest, MessagesOnDiskAreReadInFullAndLeaveTheFileAlone) {
  for (const Sample& sample : samples_) {
    const std::string path = folder_.Path("message.eml");
    WriteDisk(path, sample.bytes);
    PartObject* message = host_->OpenMessage(path.c_str());
    ASSERT_NE(message, nullptr) << sample.path;
    const Node node = ReadTree(host_, message);
    EXPECT_EQ(WideDifferences(message), "") << sample.path;
    EXPECT_EQ(BodyFileDifferences(message, node), "") << sample.path;
    host_->ReleaseControl(kDiscardMessage, message);
    ExpectNothingLeft(sample, node, path);
    EXPECT_EQ(NamesIn(folder_.Path()), std::vector<std::string>{"message.eml"}) << sample.path;
    EXPECT_EQ(DiskBytes(path), sample.bytes) << sample.path;
    if (HasFailure()) {
      break;
    }
  }
}

TEST_P(CorpusTest, AnUntouchedCommitChangesNoMoreThanTheRulesSay) {
  Ledger ledger(std::string("First_commit_") + FormName(GetParam()));
  for (const Sample& sample : samples_) {
    if (sample.bytes.empty()) {
      continue;
    }
    ledger.Start(sample.path);
    const std::string written = host_.Rewritten(sample.bytes);
    const Node before = TreeOf(sample.bytes);
    Comparison(ledger).Compare(before, TreeOf(written), 0);
    Alignment alignment(sample.bytes, written, AllBoundaries(before));
    if (!alignment.Run()) {
      ledger.Unexplained("the bytes part at " + alignment.Place());
    }
    for (const std::string& rule : alignment.Rules()) {
      ledger.Met("bytes: " + rule);
    }
    if (written == sample.bytes) {
      ledger.Met("byte for byte the message");
    }
  }
  ledger.Print();
  EXPECT_EQ(ledger.UnexplainedCount(), 0U);
}

TEST_P(CorpusTest, ASecondCommitIsByteForByteTheFirstButForTheRules) {
  Ledger ledger(std::string("Second_commit_") + FormName(GetParam()));
  for (const Sample& sample : samples_) {
    if (sample.bytes.empty()) {
      continue;
    }
    ledger.Start(sample.path);
    const std::string once = host_.Rewritten(sample.bytes);
    const std::string twice = host_.Rewritten(once);
    if (once == twice) {
      ledger.Met("byte for byte the first");
      continue;
    }
    const Node afterOnce = TreeOf(once);
    Comparison(ledger).Compare(afterOnce, TreeOf(twice), 0);
    const std::string rule = ByteRule(afterOnce, once, twice);
    if (!rule.empty()) {
      ledger.Met(rule);
    }
    if (ledger.MetNow().empty()) {
      ledger.Unexplained("the second commit differs and no rule says why");
    }
  }
  ledger.Print();
  EXPECT_EQ(ledger.UnexplainedCount(), 0U);
}

TEST_P(CorpusTest, ACommitOnDiskWritesTheSameBytesAndLeavesOneFile) {
  const std::string path = folder_.Path("message.eml");
  for (const Sample& sample : samples_) {
    const std::string expected = sample.bytes.empty() ? "" : host_.Rewritten(sample.bytes);
    const Node node = TreeOf(sample.bytes);
    EXPECT_EQ(CommittedOnDisk(sample, path), expected) << sample.path;
    EXPECT_EQ(NamesIn(folder_.Path()), std::vector<std::string>{"message.eml"}) << sample.path;
    EXPECT_EQ(host_.Files().isOnDisk(path.c_str()), 0) << sample.path;
    ExpectNothingLeft(sample, node, path);
    if (HasFailure()) {
      break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, CorpusTest, testing::ValuesIn(kAllForms),
                         [](const auto& form) { return FormName(form.param); });

}  // namespace
}  // namespace zevka::test

// The messages of tests/data: what is read in each, and what each becomes. See
// tests/data/README.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/abi/footer_text.h"
#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

namespace fs = std::filesystem;

const char* const kFolders[] = {"plain", "multipart", "nested", "signed", "lineends", "malformed"};
const char* const kFoldersWithTwins[] = {"plain", "multipart", "nested", "signed"};

// Names like "plain/simple", in order.
template <typename Folders>
std::vector<std::string> MessagesIn(const Folders& folders) {
  std::vector<std::string> names;
  for (const char* folder : folders) {
    const fs::path path = fs::path(ZEVKA_TEST_DATA) / "messages" / folder;
    std::error_code missing;
    for (const auto& entry : fs::directory_iterator(path, missing)) {
      if (entry.path().extension() == ".eml") {
        names.push_back(std::string(folder) + "/" + entry.path().stem().string());
      }
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string PathOf(const std::string& message, const std::string& suffix) {
  return std::string(ZEVKA_TEST_DATA) + "/messages/" + message + suffix;
}

// The ways of finishing that are told for this message.
std::vector<std::string> CasesOf(const std::string& message) {
  std::vector<std::string> cases;
  const std::string stem = fs::path(message).filename().string() + ".";
  for (const auto& entry : fs::directory_iterator(fs::path(PathOf(message, "")).parent_path())) {
    const std::string file = entry.path().filename().string();
    if (entry.path().extension() == ".out" && file.rfind(stem, 0) == 0) {
      const std::string way = file.substr(stem.size(), file.size() - stem.size() - 4);
      if (way != "again") {
        cases.push_back(way);
      }
    }
  }
  std::sort(cases.begin(), cases.end());
  return cases;
}

// One line of the tree for each line of the text.
std::string Lines(const std::string& text, const std::string& lead) {
  std::string lines;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find_first_of("\r\n", start);
    if (end == std::string::npos) {
      end = text.size() - 1;
    } else if (text.compare(end, 2, "\r\n") == 0) {
      ++end;
    }
    lines += lead + Shown(text.substr(start, end + 1 - start)) + "\n";
    start = end + 1;
  }
  return lines;
}

std::string TreeOf(const Host& host, PartObject* part, const std::string& indent = "") {
  const std::string body = Host::Decoded(part);  // first: it may add fields
  std::string tree = indent + "part \"" + Shown(Name(part)) + "\"" +
                     (host->QueryControl(kQuerySigned, part) == 1 ? " signed" : "") + "\n";
  for (const auto& [name, value] : Host::Headers(part)) {
    tree += indent + "| " + Shown(name) + ":" + Shown(value) + "\n";
  }
  tree += Lines(body, indent + "> ");
  const std::string source = SourceText(host, part);
  if (source != "(none)") {
    tree += Lines(source, indent + "@ ");
  }
  for (PartObject* child : Host::Children(part)) {
    tree += TreeOf(host, child, indent + "  ");
  }
  return tree;
}

void MarkAll(PartObject* part) {
  part->SetModified();
  for (PartObject* child : Host::Children(part)) {
    MarkAll(child);
  }
}

std::string Finished(const Host& host, const std::string& bytes, const std::string& way) {
  Message message(host, bytes);
  PartObject* part = message.get();
  const char* suffix = nullptr;
  if (way == "recode") {
    MarkAll(part);
  } else if (way == "edit") {
    EXPECT_EQ(part->SetHeader("Subject",
                              "Neu: gr\xC3\xBC\xC3\x9F"
                              "e",
                              1),
              1);
    EXPECT_EQ(part->SetHeader("X-Checked", "yes", 0), 1);
  } else if (way == "trim") {
    const auto children = Host::Children(part);
    if (!children.empty()) {
      children[0]->RemovePart();
    }
  } else if (way == "suffix") {
    suffix = " [checked]";
  } else if (way == "footer") {
    EXPECT_EQ(part->SetFooterText("Scanned by example.org"), 1);
  } else if (way == "utf8") {
    EXPECT_EQ(part->SetFooterText("Gepr\xC3\xBC"
                                  "ft"),
              1);
  } else {
    EXPECT_EQ(way, "commit") << "a way of finishing that this test does not know";
  }
  EXPECT_EQ(host->CommitMessage(message.Release(), suffix, nullptr, nullptr), 0);
  return WithoutBoundary(ReadFile(host, message.Name()));
}

std::string NameOfMessage(const ::testing::TestParamInfo<std::string>& one) {
  std::string name = one.param;
  std::replace(name.begin(), name.end(), '/', '_');
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

class Golden : public ::testing::TestWithParam<std::string> {};

TEST_P(Golden, IsReadAsItsTree) {
  const Host host;
  Message message(host, DiskBytes(PathOf(GetParam(), ".eml")));
  EXPECT_EQ(TreeOf(host, message.get()), DiskBytes(PathOf(GetParam(), ".tree")));
}

TEST_P(Golden, IsWrittenAsItsOutputs) {
  const Host host;
  const std::string bytes = DiskBytes(PathOf(GetParam(), ".eml"));
  const std::vector<std::string> cases = CasesOf(GetParam());
  EXPECT_FALSE(cases.empty());
  for (const std::string& way : cases) {
    EXPECT_EQ(Shown(Finished(host, bytes, way)),
              Shown(DiskBytes(PathOf(GetParam(), "." + way + ".out"))))
        << way;
  }
}

TEST_P(Golden, IsStableFromTheSecondCommitOnUnlessToldOtherwise) {
  const Host host;
  const std::string once = Finished(host, DiskBytes(PathOf(GetParam(), ".eml")), "commit");
  const std::string again = PathOf(GetParam(), ".again.out");
  EXPECT_EQ(Shown(Finished(host, once, "commit")),
            Shown(fs::exists(again) ? DiskBytes(again) : once));
}

INSTANTIATE_TEST_SUITE_P(Messages, Golden, ::testing::ValuesIn(MessagesIn(kFolders)),
                         NameOfMessage);

class GoldenTwin : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenTwin, WithOtherLineEndsIsReadTheSame) {
  const Host host;
  const std::string bytes = DiskBytes(PathOf(GetParam(), ".eml"));
  const std::string tree = DiskBytes(PathOf(GetParam(), ".tree"));
  for (const std::string end : {"\n", "\r"}) {
    Message message(host, WithLineEnds(bytes, end));
    EXPECT_EQ(TreeOf(host, message.get()), ReplaceAll(tree, "\\r\\n", Shown(end))) << Shown(end);
  }
}

TEST_P(GoldenTwin, WithOtherLineEndsIsWrittenTheSame) {
  const Host host;
  const std::string bytes = DiskBytes(PathOf(GetParam(), ".eml"));
  for (const std::string& way : CasesOf(GetParam())) {
    const std::string out = DiskBytes(PathOf(GetParam(), "." + way + ".out"));
    for (const std::string end : {"\n", "\r"}) {
      EXPECT_EQ(Shown(Finished(host, WithLineEnds(bytes, end), way)), Shown(WithLineEnds(out, end)))
          << way << " " << Shown(end);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Messages, GoldenTwin, ::testing::ValuesIn(MessagesIn(kFoldersWithTwins)),
                         NameOfMessage);

TEST(GoldenData, IsThereInEveryFolder) {
  for (const char* folder : kFolders) {
    EXPECT_GE(MessagesIn(std::vector<const char*>{folder}).size(), 5U) << folder;
  }
}

}  // namespace
}  // namespace zevka::test

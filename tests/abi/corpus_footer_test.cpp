// A footer on every message of the sample folder: signed messages refuse it, the others carry it in
// their text, as their last part or beside them in a wrapper, and keep all that they held.
#include "tests/abi/corpus_footer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

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

class CorpusFooterTest : public testing::TestWithParam<Form> {
 protected:
  void SetUp() override {
    if (!HaveSamples()) {
      GTEST_SKIP() << "SKIPPED: there is no sample folder at " ZEVKA_CORPUS
                      " (set ZEVKA_CORPUS when configuring)";
    }
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

  Node TreeOf(const std::string& bytes) {
    const Message open(host_, bytes);
    return ReadTree(host_, open.get());
  }

  // The same through a file on disk, which is all that is left.
  std::string FooteredOnDisk(const std::string& bytes, const Node& before, const char* footer) {
    const std::string path = folder_.Path("message.eml");
    WriteDisk(path, bytes);
    PartObject* message = host_->OpenMessage(path.c_str());
    message->SetFooterText(footer);
    EXPECT_EQ(host_->CommitMessage(message, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()),
                            std::filesystem::directory_iterator()),
              1);
    for (const std::string& name : DerivedNames(before, path)) {
      EXPECT_FALSE(Exists(host_, name)) << name << " is left";
    }
    std::string written = DiskBytes(path);
    std::filesystem::remove(path);
    return written;
  }

  void CheckInline(Ledger& ledger, const Node& before, const Node& after);
  void CheckLastChild(Ledger& ledger, const Node& before, const Node& after, bool plain);
  void CheckWrapper(Ledger& ledger, const Node& before, const Node& after, bool plain);
  void CheckMessage(Ledger& ledger, const Sample& sample, const char* footer);
  void CheckAll(const char* title, const char* footer);

  Host host_;
  TempDir folder_;
  std::filesystem::path startFolder_;
  std::vector<Sample> samples_;
};

void CorpusFooterTest::CheckInline(Ledger& ledger, const Node& before, const Node& after) {
  ledger.Met("the text carries it");
  const std::string end = EstablishedLineEnd(before);
  const std::string expected = before.decoded + end + "Scanned" + end + "OK" + end + end;
  Comparison comparison(ledger);
  if (comparison.BecameFields(before, after)) {
    if (after.encoded != "Scanned" + end + "OK" + end + end) {
      ledger.Unexplained("text behind the line that became a field");
    }
    return;
  }
  comparison.CompareFields(WithMarkers(before), after.fields);
  if (!before.markers.empty()) {
    ledger.Met("a faulty quoted-printable body is marked when it is decoded");
  }
  if (IsEncodedBody(before)) {
    if (IsEncodedAnewInOtherLineEnds(before, after, expected)) {
      ledger.Met("a faulty body is decoded and encoded anew with the line end of its first line");
    } else if (after.decoded != expected) {
      ledger.Unexplained("decoded body and footer");
    }
  } else {
    comparison.CompareBody(before, after, expected);
  }
  comparison.CompareChildren(before, after, 0);
  comparison.CompareEmbedded(before, after);
}

void CorpusFooterTest::CheckLastChild(Ledger& ledger, const Node& before, const Node& after,
                                      bool plain) {
  const std::string end = EstablishedLineEnd(before);
  const Node footer = FooterPart(end, plain);
  Comparison comparison(ledger);
  comparison.CompareFields(before.fields, after.fields);
  if (before.children.empty() || after.children.empty()) {
    ledger.Met("a multipart without a delimiter has the footer in its preamble");
    const std::string start = before.encoded + (LacksLineEnd(before.encoded, end) ? end : "");
    if (!after.encoded.starts_with(start + "--" + end + "Content-Type: text/plain") ||
        !after.encoded.ends_with(footer.encoded + "----" + end + end)) {
      ledger.Unexplained("preamble and footer");
    }
    return;
  }
  ledger.Met("it is the last child");
  if (IsEncodedBody(before)) {
    ledger.Met("the preamble of a multipart that claims an encoding is encoded anew");
    if (after.decoded != before.decoded) {
      ledger.Unexplained("preamble");
    }
  } else {
    comparison.CompareBody(before, after, before.encoded);
  }
  Node without = after;
  without.children.pop_back();
  comparison.CompareChildren(before, without, 0);
  Comparison last(ledger);
  last.SetPlace("footer part");
  last.Compare(footer, after.children.back(), 1);
}

void CorpusFooterTest::CheckWrapper(Ledger& ledger, const Node& before, const Node& after,
                                    bool plain) {
  ledger.Met("a wrapper carries both");
  const std::string end = EstablishedLineEnd(before);
  if (after.fields.size() < 2 || after.children.size() != 2 || !after.multipart) {
    ledger.Unexplained("no wrapper with two children");
    return;
  }
  const std::string& type = after.fields[0].second;
  const bool wellNamed = after.fields[0].first == "Content-Type" &&
                         type.starts_with(" multipart/mixed; boundary=\"=-zq-boundary-") &&
                         type.size() == 28 + 30 + 1 &&
                         after.fields[1] == Field("Mime-Version", " 1.0");
  if (!wellNamed) {
    ledger.Unexplained("fields of the wrapper");
  }
  Comparison comparison(ledger);
  comparison.CompareFields(EnvelopeFields(before), {after.fields.begin() + 2, after.fields.end()});
  const std::string preamble = "This is a multipart message in MIME format," + end +
                               "containing the original message body" + end +
                               "and a footer added by Quernstaple" + end + end;
  if (after.encoded != preamble) {
    ledger.Unexplained("preamble of the wrapper");
  }
  Node expected = after;
  expected.children = {WrappedMessage(before), FooterPart(end, plain)};
  comparison.CompareChildren(expected, after, 0);
}

void CorpusFooterTest::CheckMessage(Ledger& ledger, const Sample& sample, const char* footer) {
  const bool plain = footer == kPlainFooter;
  const std::string written = host_.WithFooter(sample.bytes, footer);
  const Node before = TreeOf(sample.bytes);
  const std::string fromDisk = FooteredOnDisk(sample.bytes, before, footer);
  const Road road = RoadOf(before, plain);
  if (road == Road::kRefused) {
    ledger.Met("signed, refused");
    if (written != host_.Rewritten(sample.bytes) || fromDisk != written) {
      ledger.Unexplained("a signed message is not what the untouched commit makes of it");
    }
    return;
  }
  for (const std::string& bytes : {written, fromDisk}) {
    const Node after = TreeOf(bytes);
    if (road == Road::kInline) {
      CheckInline(ledger, before, after);
    } else if (road == Road::kLastChild) {
      CheckLastChild(ledger, before, after, plain);
    } else {
      CheckWrapper(ledger, before, after, plain);
    }
  }
}

void CorpusFooterTest::CheckAll(const char* title, const char* footer) {
  Ledger ledger(std::string(title) + "_" + FormName(GetParam()));
  for (const Sample& sample : samples_) {
    if (!sample.bytes.empty()) {
      ledger.Start(sample.path);
      CheckMessage(ledger, sample, footer);
    }
  }
  ledger.Print();
  EXPECT_EQ(ledger.UnexplainedCount(), 0U);
}

TEST_P(CorpusFooterTest, APlainFooterComesInAndNothingGoes) {
  CheckAll("Plain_footer", kPlainFooter);
}

TEST_P(CorpusFooterTest, ANonAsciiFooterComesInAndNothingGoes) {
  CheckAll("Non_ASCII_footer", kNonAsciiFooter);
}

INSTANTIATE_TEST_SUITE_P(Forms, CorpusFooterTest, testing::ValuesIn(kAllForms),
                         [](const auto& form) { return FormName(form.param); });

}  // namespace
}  // namespace zevka::test

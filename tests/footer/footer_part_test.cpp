#include "footer/footer_part.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/handle_ledger.h"
#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

using FooterPart = PartFixture;

constexpr std::string_view kType =
    "Content-Type: text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"\r\n";
constexpr std::string_view kEncoding = "Content-Transfer-Encoding: base64\r\n";
constexpr std::string_view kDisposition =
    "Content-Disposition: inline; filename=\"Quernstaple.txt\"\r\n\r\n";

PartState MessageAt(const std::string& path, const std::string& lineEnd,
                    const std::string& footer) {
  PartState message;
  message.files.own = path;
  message.lineEnd.established = lineEnd;
  message.footerText = footer;
  return message;
}

// KEEP(footer-part-utf8): also for ASCII.
TEST_F(FooterPart, HoldsAPlainFooterAsItIs) {
  for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
    EXPECT_EQ(MakeFooterPart(MessageAt(Path("m"), lineEnd, "Scanned\r\nOK")), Path("m_footer"));
    EXPECT_EQ(Get(Path("m_footer")),
              WithLineEnds(std::string(kType) + std::string(kDisposition) + "Scanned\r\nOK\r\n\r\n",
                           lineEnd));
  }
  EXPECT_EQ(MakeFooterPart(MessageAt(Path("m"), "\r\n", "")), Path("m_footer"));
  EXPECT_EQ(Get(Path("m_footer")), std::string(kType) + std::string(kDisposition) + "\r\n");
}

// KEEP(footer-base64-lf)
TEST_F(FooterPart, HoldsAnyOtherFooterInBase64) {
  for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
    EXPECT_EQ(MakeFooterPart(MessageAt(Path("m"), lineEnd, Repeat("\xFF", 58))), Path("m_footer"));
    const std::string head =
        std::string(kType) + std::string(kEncoding) + std::string(kDisposition);
    EXPECT_EQ(Get(Path("m_footer")),
              WithLineEnds(head, lineEnd) + Repeat("////", 19) + "\n/w==" + lineEnd + lineEnd);
  }
}

TEST_F(FooterPart, IsAPartThatLoads) {
  ASSERT_TRUE(MakeFooterPart(MessageAt(Path("m"), "\r\n", "caf\xC3\xA9")));
  const PartPtr part = NewPart();
  ASSERT_EQ(part->LoadFromFile(Path("m_footer").c_str()), 1);
  EXPECT_EQ(Decoded(*part), "caf\xC3\xA9");
  EXPECT_EQ(part->State().name.text, "Quernstaple.txt");
  EXPECT_EQ(part->State().kind.encoding, TransferEncoding::kBase64);
  EXPECT_FALSE(part->State().kind.isMultipart);
}

TEST_F(FooterPart, IsThereWholeOrNotAtAll) {
  for (const std::string footer : {"Scanned", "\xC3\xA9"}) {
    for (const FileEntry entry :
         {FileEntry::kOpen, FileEntry::kWrite, FileEntry::kError, FileEntry::kClose}) {
      int n = 0;
      for (bool failed = true; failed;) {
        const HandleLedger ledger;
        FaultTable faults;
        faults.FailFrom(entry, ++n);
        const auto made = MakeFooterPart(MessageAt(Path("m"), "\r\n", footer));
        failed = faults.Faults() != 0;
        faults.FailNothing();
        EXPECT_EQ(made.has_value(), !failed) << static_cast<int>(entry) << " " << n;
        EXPECT_EQ(Exists(Path("m_footer")), !failed);
        EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
        EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
        FileRemove(Path("m_footer").c_str());
      }
      EXPECT_GT(n, 1);
    }
  }
}

}  // namespace
}  // namespace zevka::test

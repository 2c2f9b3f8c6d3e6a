#include "mime/footer_request.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zevka::test {
namespace {

PartState PartWith(const std::string& name, const std::string& value) {
  PartState part;
  AppendNode(part.headers, "Subject", " x");
  AppendNode(part.headers, name, value);
  return part;
}

TEST(RequestFooter, KeepsReplacesAndDropsTheText) {
  PartState part = PartWith("Content-Type", " text/plain");
  RequestFooter(part, "one");
  EXPECT_EQ(part.footerText, "one");
  RequestFooter(part, "two");
  EXPECT_EQ(part.footerText, "two");
  RequestFooter(part, "");
  EXPECT_EQ(part.footerText, "") << "an empty footer is pending too";
  RequestFooter(part, std::nullopt);
  EXPECT_EQ(part.footerText, std::nullopt);
  EXPECT_FALSE(part.modified);
}

TEST(RequestFooter, LeavesASignedMessageAsItIs) {
  const std::vector<std::pair<std::string, std::string>> fields = {
      {"DKIM-Signature", " v=1"},
      {"dkim-signature", ""},
      {"DomainKey-Signature", " a"},
      {"Content-Type", " application/x-pkcs7-mime; name=smime.p7m"},
      {"content-TYPE", " Application/X-PKCS7-Signature"},
      {"Content-Type", " multipart/signed; protocol=\"application/x-pkcs7-signature\""},
      {"Content-Type", " text/plain; name=\"application/x-pkcs7-mimes\""},
  };
  for (const auto& [name, value] : fields) {
    PartState part = PartWith(name, value);
    RequestFooter(part, "footer");
    EXPECT_EQ(part.footerText, std::nullopt) << name << value;
    part.footerText = "pending";
    RequestFooter(part, "footer");
    EXPECT_EQ(part.footerText, "pending") << name << value;
    RequestFooter(part, std::nullopt);
    EXPECT_EQ(part.footerText, "pending") << "the refusal comes first: " << name << value;
  }
}

TEST(RequestFooter, LooksAtEveryContentType) {
  PartState part = PartWith("Content-Type", " text/plain");
  AppendNode(part.headers, "Content-Type", " application/x-pkcs7-mime");
  RequestFooter(part, "footer");
  EXPECT_EQ(part.footerText, std::nullopt);
}

TEST(RequestFooter, ComparesNamesAsTheyStand) {
  const std::vector<std::pair<std::string, std::string>> fields = {
      {"DKIM-Signature(x)", " v=1"},
      {"X-DKIM-Signature", " v=1"},
      {"Content-Type(x)", " application/x-pkcs7-mime"},
      {"X-Type", " application/x-pkcs7-mime"},
      {"Content-Type", " multipart/signed; protocol=\"application/pgp-signature\""},
      {"Content-Type", " application/pkcs7-mime"},
  };
  for (const auto& [name, value] : fields) {
    PartState part = PartWith(name, value);
    RequestFooter(part, "footer");
    EXPECT_EQ(part.footerText, "footer") << name << value;
  }
}

// KEEP(signed-by-list): the fields decide, not what was noticed when the message was read.
TEST(RequestFooter, DoesNotLookAtTheMarksOfThePart) {
  PartState part = PartWith("Content-Type", " text/plain");
  part.signatures = {true, true};
  RequestFooter(part, "footer");
  EXPECT_EQ(part.footerText, "footer");
}

}  // namespace
}  // namespace zevka::test

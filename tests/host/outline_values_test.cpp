#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/safe_edit/outline.h"
#include "host/safe_edit/transfer_decoding.h"

namespace zevka::host {
namespace {

struct ValueCase {
  std::string_view text;
  std::string_view result;
};

std::string Times(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

TEST(OutlineFields, UnfoldIntoOneLine) {
  EXPECT_EQ(Unfolded("  a\r\n\tb\n c \r\n"), "a\tb c");
  EXPECT_EQ(Unfolded(" \r\n "), "");
}

TEST(OutlineType, IsTheStandardsDefaultOrWhatTheFieldSays) {
  const std::vector<ValueCase> cases = {
      {"\n", "text/plain"},
      {"Content-Type: Text/HTML; charset=x\n\n", "text/html"},
      {"CONTENT-TYPE : image / PNG\n\n", "image/png"},
      {"Content-Type: (a) image (b;c) / (d) png (e); x=y\n\n", "image/png"},
      {"Content-Type:\n application/\n pdf\n\n", "application/pdf"},
      {"Content-Type: application/pdf name=x.pdf\n\n", "application/pdf"},
      {"Content-Type: \"text/html\"; charset=x\n\n", "text/html"},
      {"Content-Type: text\n\n", "text/plain"},
      {"Content-Type: ; charset=x\n\n", "text/plain"},
      {"Content-Type:\n\n", "text/plain"},
      {"Content-Type: image/png\nContent-Type: text/html\n\n", "image/png"},
  };
  for (const ValueCase& test : cases) {
    EXPECT_EQ(Outline::Read(test.text).Message().mediaType, test.result) << test.text;
  }
}

TEST(OutlineType, TellsTheEncoding) {
  const std::vector<ValueCase> cases = {
      {"\n", "7bit"},
      {"Content-Transfer-Encoding: BASE64\n\n", "base64"},
      {"Content-Transfer-Encoding: (x) Quoted-Printable (y)\n\n", "quoted-printable"},
      {"Content-Transfer-Encoding: \"base64\"\n\n", "base64"},
      {"Content-Transfer-Encoding: base64;\n\n", "base64"},
      {"Content-Transfer-Encoding:\n\n", "7bit"},
      {"Content-Transfer-Encoding: 8bit\nContent-Transfer-Encoding: base64\n\n", "8bit"},
  };
  for (const ValueCase& test : cases) {
    EXPECT_EQ(Outline::Read(test.text).Message().encoding, test.result) << test.text;
  }
}

std::string Spelled(const std::vector<OutlineParameter>& parameters) {
  std::string result;
  for (const OutlineParameter& parameter : parameters) {
    result += parameter.name + '<' + parameter.value + '>';
  }
  return result;
}

TEST(OutlineParameters, SurviveWhatMailersWrite) {
  const std::vector<ValueCase> cases = {
      {" a/b", ""},
      {" a/b; X=1; y = 2 ;z=\"3\"", "x<1>y<2>z<3>"},
      {" a/b; x=\"a \\\"b\\\\ ;=\"; y=2", "x<a \"b\\ ;=>y<2>"},
      {" a/b; x=\"fol\r\n ded\"", "x<fol ded>"},
      {" a/b; x=1 (one; two=2) ; (three) y (four) = (five) 6", "x<1>y<6>"},
      {" a/b; (nested (deep) \\) still; z=9) x=1", "x<1>"},
      {" a/b x=1 y=2", "x<1>y<2>"},
      {" a/b; name=my long name.doc; y=2", "name<my long name.doc>y<2>"},
      {" a/b; name=my file.doc charset=utf-8", "name<my file.doc>charset<utf-8>"},
      {" a/b; x=\"never closed; y=2", "x<never closed>y<2>"},
      {" a/b; x=1 (never closed; y=2", "x<1 (never closed>y<2>"},
      {" a/b;; ; =5; x; y=2", "y<2>"},
      {" a/b; x=", "x<>"},
      {" a/b; x=\"1\"2; y=3", "x<1>y<3>"},
      {" a/b; boundary==_part=1", "boundary<=_part=1>"},
      {" name=x.doc; y=1", "name<x.doc>y<1>"},
      {" attachment; filename*0=\"a\"; FileName*1*=b", "filename*0<a>filename*1*<b>"},
  };
  for (const ValueCase& test : cases) {
    EXPECT_EQ(Spelled(Parameters(test.text)), test.result) << test.text;
  }
}

TEST(OutlineParameters, AreJoinedOutOfPieces) {
  const std::vector<ValueCase> cases = {
      {"name=plain", "plain"},
      {"name*=utf-8''a%20b%C3%9F", "a b\xC3\x9F"},
      {"name*=us-ascii'en-us'This%20is%20%2A%2A%2Afun%2A%2A%2A", "This is ***fun***"},
      // The example of RFC 2231 4.1, its pieces in another order.
      {"name*2=\"isn't it!\"; name*0*=us-ascii'en'This%20is%20even%20more%20; "
       "name*1*=%2A%2A%2Afun%2A%2A%2A%20",
       "This is even more ***fun*** isn't it!"},
      {"name*0=\"50%41\"; name*1*=%41", "50%41A"},    // only marked pieces have percent signs
      {"name*0*=utf-8''a; name*1*=b'c'd", "ab'c'd"},  // one charset for all
      {"name*=second; name=first", "first"},
      {"name=first; name=second", "first"},
      {"name*=100%; x=y", "100%"},
      {"name*10=k; name*9=j", "jk"},
  };
  for (const ValueCase& test : cases) {
    std::string text = "Content-Disposition: attachment; ";
    text += test.text;
    text += "\n\n";
    EXPECT_EQ(FindParameter(Outline::Read(text).Message(), "content-disposition", "name"),
              test.result)
        << test.text;
  }
  const Outline outline = Outline::Read("Content-Type: a/b; names=x; name*x=y; name*-1=z\n\n");
  EXPECT_EQ(FindParameter(outline.Message(), "content-type", "name"), std::nullopt);
  EXPECT_EQ(FindParameter(outline.Message(), "content-disposition", "name"), std::nullopt);
}

TEST(OutlineParameters, SurviveManyQuotesAndCommentsThatAreNeverClosed) {
  const std::string quotes = " a/b" + Times("; x=\"\\", 100000);
  EXPECT_EQ(Parameters(quotes + "; last=1").back().name, "last");
  const std::string comments = " a/b" + Times("; x=(", 100000);
  const std::vector<OutlineParameter> parameters = Parameters(comments + "; last=1");
  EXPECT_EQ(parameters.size(), 100001U);
  EXPECT_EQ(parameters.back().name, "last");
  const std::string pieces = " a/b; name*0=a" + Times("; name*1=b", 100000);
  EXPECT_EQ(JoinedParameter(Parameters(pieces), "name"), "ab");
}

TEST(OutlineBody, Base64IsDecodedForgivingly) {
  const std::vector<ValueCase> cases = {
      {"SGFsbG8=", "Hallo"},
      {"SGFs\r\nbG8=\r\n", "Hallo"},
      {"SG*Fs-bG 8=", "Hallo"},
      {"SGFsbG8", "Hallo"},
      {"QQ==QkI=", "ABB"},
      {"QUI", "AB"},
      {"QUJD\n--\n", "ABC"},
      {"Q", ""},
      {"", ""},
      {"/+8=", "\xFF\xEF"},
  };
  for (const ValueCase& test : cases) {
    EXPECT_EQ(DecodeBase64(test.text), test.result) << test.text;
  }
}

TEST(OutlineBody, QuotedPrintableIsDecodedForgivingly) {
  const std::vector<ValueCase> cases = {
      {"a=3Db=c3=9F", "a=b\xC3\x9F"},
      {"soft=\r\nbreak= \t\nhere", "softbreakhere"},
      {"blanks \t\r\nat ends ", "blanks\r\nat ends"},
      {"kept=20\r\n", "kept \r\n"},
      {"a=XYb==41=4", "a=XYb=A=4"},
      {"end=", "end"},
      {"cr\ralone =\rhere", "cr\ralone here"},
      {"", ""},
  };
  for (const ValueCase& test : cases) {
    EXPECT_EQ(DecodeQuotedPrintable(test.text), test.result) << test.text;
  }
}

TEST(OutlineBody, OfAnUnknownEncodingIsAsItIs) {
  const Outline outline = Outline::Read("Content-Transfer-Encoding: x-uuencode\n\n=41 \n");
  EXPECT_EQ(DecodedBody(outline.Message()), "=41 \n");
}

}  // namespace
}  // namespace zevka::host

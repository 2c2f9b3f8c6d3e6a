#include "host/safe_edit/guard.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/safe_edit/encoded_words.h"
#include "host/safe_edit/pgp_text.h"

namespace zevka::host {
namespace {

std::string Noted(const std::vector<ReasonNote>& notes) {
  std::string result;
  for (const ReasonNote& note : notes) {
    result += result.empty() ? "" : " ";
    result += ReasonName(note.reason);
    result += note.part.empty() ? "" : "@" + note.part;
  }
  return result;
}

// The reasons as "name@part name@part".
std::string GuardOf(std::string_view message) {
  return Noted(GuardReasons(message));
}

// A message with that part as the second child of a multipart.
std::string InMultipart(std::string_view part) {
  std::string text = "Subject: x\r\nContent-Type: multipart/mixed; boundary=\"outer\"\r\n\r\n";
  text += "--outer\r\nContent-Type: text/plain\r\n\r\ntext\r\n--outer\r\n";
  text += part;
  return text += "\r\n--outer--\r\n";
}

struct GuardCase {
  std::string_view text;
  std::string_view reasons;
};

// Each text is a header block without its empty line.
void ExpectForHeaders(const std::vector<GuardCase>& cases) {
  for (const GuardCase& test : cases) {
    std::string text(test.text);
    text += "\r\n\r\nbody\r\n";
    EXPECT_EQ(GuardOf(text), test.reasons) << test.text;
  }
}

TEST(Guard, LeavesPlainMailAlone) {
  ExpectForHeaders({
      {"Subject: DKIM-Signature: none", ""},
      {"X-DKIM-Signature: v=1", ""},
      {"DKIM-Filter: x", ""},
      {"Authentication-Results: dkim=pass", ""},
      {"Content-Type: text/plain; name=\"pkcs7-mime.txt\"", ""},
      {"Content-Type: application/pdf; name=\"smime.p7m.pdf\"", ""},
      {"Content-Type: application/pkcs10; name=x.p10", ""},
      {"Content-Type: application/pgp-keys; name=key.asc", ""},
      {"Content-Type: application/octet-stream; name=p7m", ""},
      {"Content-Type: multipart/report; protocol=\"application/pgp-signature\"; boundary=b", ""},
      {"X-Type: application/pkcs7-mime", ""},
  });
  EXPECT_EQ(GuardOf(""), "");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: application/pdf; name=a.pdf\r\n\r\nx")), "");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: application/pgp-keys\r\n\r\n"
                                "-----BEGIN PGP PUBLIC KEY BLOCK-----\r\n")),
            "");
}

TEST(GuardSmime, KnowsTypesOldAndNew) {
  ExpectForHeaders({
      {"Content-Type: application/pkcs7-mime", "smime-encrypted@1"},
      {"Content-Type: application/x-pkcs7-mime", "smime-encrypted@1"},
      {"Content-Type: application/pkcs7-mime; smime-type=enveloped-data", "smime-encrypted@1"},
      {"Content-Type: application/pkcs7-mime; smime-type=authEnveloped-data; name=smime.p7m",
       "smime-encrypted@1"},
      {"Content-Type: application/pkcs7-mime; smime-type=compressed-data; name=smime.p7z",
       "smime-encrypted@1"},
      {"Content-Type: application/pkcs7-mime; name=smime.p7m; smime-type=signed-data",
       "smime-opaque@1"},
      {"Content-Type: application/x-pkcs7-mime; SMIME-TYPE=\"Signed-Data\"", "smime-opaque@1"},
      {"Content-Type: application/pkcs7-mime; smime-type=signed-receipt", "smime-opaque@1"},
      {"Content-Type: application/pkcs7-mime; smime-type=certs-only; name=smime.p7c",
       "smime-opaque@1"},
      {"Content-Type: application/pkcs7-mime; name=smime.p7c", "smime-opaque@1"},
      {"Content-Type: application/x-pkcs7-certificates; name=all.p7b", "smime-opaque@1"},
      {"Content-Type: application/x-pkcs7-certreqresp", "smime-opaque@1"},
      {"Content-Type: application/pkcs7-signature; name=smime.p7s", "smime-signed@1"},
      {"Content-Type: application/x-pkcs7-signature", "smime-signed@1"},
      {"Content-Type: application/pkcs7-signature; smime-type=signed-data", "smime-signed@1"},
      {"Content-Type: application/cms; encapsulatingContent=signedData", "smime-encrypted@1"},
      {"Content-Type: application/pkcs7-something-new", "smime-encrypted@1"},
      {"Content-Type: application/octet-stream; smime-type=enveloped-data", "smime-encrypted@1"},
  });
}

TEST(GuardSmime, KnowsNamesInEverySpelling) {
  ExpectForHeaders({
      {"Content-Type: application/octet-stream; name=smime.p7m", "smime-encrypted@1"},
      {"Content-Type: application/octet-stream; name=\"SMIME.P7M\"", "smime-encrypted@1"},
      {"Content-Type: application/octet-stream; name=x.p7z", "smime-encrypted@1"},
      {"Content-Type: application/octet-stream; name=x.p7c", "smime-opaque@1"},
      {"Content-Type: application/octet-stream; name=x.p7s", "smime-signed@1"},
      {"Content-Type: text/plain; name=\"smime.p7s\"", "smime-signed@1"},
      {"Content-Disposition: attachment; filename=\"smime.p7m\"", "smime-encrypted@1"},
      {"CONTENT-DISPOSITION : attachment ; FileName = smime.p7s", "smime-signed@1"},
      {"Content-Disposition: attachment; filename=my signed mail.p7m", "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename=\"smime.p7m ", "smime-encrypted@1"},
      {"Content-Disposition: attachment filename=smime.p7m", "smime-encrypted@1"},
      {"Content-Disposition: filename=smime.p7m", "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename=\"smime.p7m.\"", "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename=\"smime.\r\n p7m\"; x=y", "smime-encrypted@1"},
      {"Content-Disposition: attachment;\r\n\tfilename=\"smime.p7m\"", "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename*=utf-8''smime%2Ep7m", "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename*0=smime; filename*1=\".p7m\"",
       "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename*0*=utf-8'de'smi; filename*1*=me%2E; "
       "filename*2=P7S",
       "smime-signed@1"},
      {"Content-Disposition: attachment; filename=a.txt; filename=b.p7m", "smime-encrypted@1"},
      {"Content-Disposition: attachment; filename=a.txt; filename*=utf-8''b.p7m",
       "smime-encrypted@1"},
      {"Content-Type: a/b; name=\"=?utf-8?Q?smime=2Ep7m?=\"", "smime-encrypted@1"},
      {"Content-Type: a/b; name==?utf-8?B?c21pbWUucDdt?=", "smime-encrypted@1"},
      {"Content-Type: a/b; name=\"=?x-none?q?smime.p?= =?x-none?q?7m?=\"", "smime-encrypted@1"},
      {"Content-Type: a/b; name=a.txt\r\nContent-Disposition: x; filename=b.p7m",
       "smime-encrypted@1"},
  });
}

TEST(Guard, SeesThroughDamagedTypes) {
  ExpectForHeaders({
      {"content-type:APPLICATION/PKCS7-MIME", "smime-encrypted@1"},
      {"Content-Type \t: application/pkcs7-mime", "smime-encrypted@1"},
      {"Content-Type:\r\n application/pkcs7-mime;\r\n\tsmime-type=signed-data", "smime-opaque@1"},
      {"Content-Type: (a) application (b) / (c;d) pkcs7-mime (e)", "smime-encrypted@1"},
      {"Content-Type: application/pkcs7-mime smime-type=signed-data", "smime-opaque@1"},
      {"Content-Type: application/pkcs7-mime, x", "smime-encrypted@1"},
      {"Content-Type: \"application/pkcs7-mime\"", "smime-encrypted@1"},
      {"Content-Type: ; application/pkcs7-mime", "smime-encrypted@1"},
      {"Content-Type: Content-Type: application/pkcs7-mime", "smime-encrypted@1"},
      {"Content-Type: text/plain (never closed; smime-type=enveloped-data", "smime-encrypted@1"},
      {"Content-Type: text/plain; x=\"never closed; smime-type=enveloped-data",
       "smime-encrypted@1"},
      {"Content-Type: text/plain\r\nContent-Type: application/pkcs7-mime", "smime-encrypted@1"},
      {"Content-Type: text/plain\r\nContent-Type: application/pgp-encrypted", "pgp-encrypted@1"},
      {"Content-Type: text/plain\r\nContent-Type: multipart/signed; boundary=b",
       "signed-multipart@1"},
  });
}

TEST(GuardMultipart, IsToldByItsProtocol) {
  ExpectForHeaders({
      {"Content-Type: multipart/signed; protocol=\"application/pkcs7-signature\"",
       "smime-signed@1"},
      {"Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"; micalg=sha1",
       "smime-signed@1"},
      {"Content-Type: multipart/signed; protocol=application/pkcs7-signature", "smime-signed@1"},
      {"Content-Type: Multipart/Signed; Protocol=\"Application/PGP-Signature\"", "pgp-signed@1"},
      {"Content-Type: multipart/signed; protocol*0=\"application/pgp-\"; protocol*1=signature",
       "pgp-signed@1"},
      {"Content-Type: multipart/signed; protocol=\"application/moss-signature\"",
       "signed-multipart@1"},
      {"Content-Type: multipart/signed", "signed-multipart@1"},
      {"Content-Type: multipart/encrypted; protocol=\"application/pgp-encrypted\"",
       "pgp-encrypted@1"},
      {"Content-Type: multipart/encrypted; protocol=\"application/pkcs7-mime\"",
       "smime-encrypted@1"},
      {"Content-Type: multipart/encrypted", "signed-multipart@1"},
      {"Content-Type: multipart / signed (x); boundary=b", "signed-multipart@1"},
  });
}

std::string SignedMessage(std::string_view parameters, std::string_view signatureFields) {
  std::string text = "Content-Type: multipart/signed; boundary=s";
  text += parameters;
  text += "\r\n\r\n--s\r\n\r\ntext\r\n--s\r\n";
  text += signatureFields;
  return text += "\r\n\r\nMII\r\n--s--\r\n";
}

TEST(GuardMultipart, AsksItsPartsWhenTheProtocolDoesNotTell) {
  struct Case {
    std::string_view parameters;
    std::string_view signature;
    std::string_view reasons;
  };
  const std::vector<Case> cases = {
      {"", "Content-Type: application/pkcs7-signature", "smime-signed"},
      {"", "Content-Disposition: attachment; filename=smime.p7s", "smime-signed"},
      {"", "Content-Type: application/pgp-signature", "pgp-signed"},
      {"; protocol=x", "Content-Type: application/pgp-signature", "pgp-signed"},
      {"", "Content-Type: application/x-other", "signed-multipart"},
      // One note for the whole, but what the parts say beyond it counts.
      {"; protocol=\"application/pgp-signature\"", "Content-Type: application/pgp-signature",
       "pgp-signed"},
      {"; protocol=\"application/pgp-signature\"", "Content-Type: application/pkcs7-signature",
       "pgp-signed smime-signed@2"},
  };
  for (const Case& test : cases) {
    EXPECT_EQ(GuardOf(SignedMessage(test.parameters, test.signature)), test.reasons)
        << test.parameters << test.signature;
  }
  EXPECT_EQ(GuardOf("Content-Type: multipart/encrypted; boundary=e\r\n\r\n"
                    "--e\r\nContent-Type: application/pgp-encrypted\r\n\r\nVersion: 1\r\n"
                    "--e\r\nContent-Type: application/octet-stream\r\n\r\nx\r\n--e--\r\n"),
            "pgp-encrypted");
}

TEST(GuardPgp, KnowsItsTypes) {
  ExpectForHeaders({
      {"Content-Type: application/pgp-signature", "pgp-signed@1"},
      {"Content-Type: application/pgp-encrypted", "pgp-encrypted@1"},
      {"Content-Type: application/pgp-keys", ""},
      {"Content-Type: application/pgp; x-action=sign; format=text", "pgp-signed@1"},
      {"Content-Type: application/pgp; x-action=signclear", "pgp-signed@1"},
      {"Content-Type: application/pgp; x-action=encrypt", "pgp-encrypted@1"},
      {"Content-Type: application/pgp; x-action=encryptsign", "pgp-encrypted@1"},
      {"Content-Type: application/pgp", "pgp-encrypted@1"},
      {"Content-Type: application/pgp; format=keys-only", ""},
      {"Content-Type: text/plain; x-action=pgp-signed", "pgp-inline@1"},
      {"Content-Type: text/plain; x-mutt-action=pgp-sign", "pgp-inline@1"},
      {"Content-Type: text/plain; x-action=print", ""},
  });
}

TEST(GuardPgp, FindsBlocksInATextAtTheStartOfALine) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"-----BEGIN PGP MESSAGE-----\n", true},
      {"Hi,\r\n-----BEGIN PGP SIGNED MESSAGE-----\r\nHash: SHA256\r\n", true},
      {"Hi,\r-----BEGIN PGP MESSAGE-----\r", true},
      {"-----BEGIN PGP MESSAGE, PART 1/2-----\n", true},
      {"\n \t-----BEGIN PGP MESSAGE-----\n", true},
      {"\xEF\xBB\xBF-----BEGIN PGP MESSAGE-----\n", true},
      {"-----BEGIN PGP X\n-----BEGIN PGP MESSAGE-----\n", true},
      {"a -----BEGIN PGP MESSAGE-----\n", false},
      {"> -----BEGIN PGP MESSAGE-----\n>-----BEGIN PGP SIGNED MESSAGE-----\n", false},
      {"- -----BEGIN PGP MESSAGE-----\n", false},
      {"-----BEGIN PGP PUBLIC KEY BLOCK-----\n", false},
      {"-----BEGIN PGP SIGNATURE-----\n", false},
      {"-----begin pgp message-----\n", false},
      {"------BEGIN PGP MESSAGE-----\n", false},
      {"-----BEGIN PGP MESS", false},
      {"-----BEGIN PGP ", false},
      {"", false},
  };
  for (const auto& [text, holds] : cases) {
    EXPECT_EQ(HoldsPgpMessage(text), holds) << text;
    std::string wide = "\xFF\xFE";  // UTF-16, the low byte first
    for (const char c : text) {
      wide += c;
      wide += '\0';
    }
    if (text.find('\xEF') == std::string::npos) {
      EXPECT_EQ(HoldsPgpMessage(wide), holds) << text;
    }
  }
}

TEST(GuardPgp, FindsBlocksBehindTagsInHtmlOnly) {
  const std::string text = "<html><pre>-----BEGIN PGP MESSAGE-----\r\n</pre>\r\n";
  const std::string html = "Content-Type: text/html\r\n";
  EXPECT_EQ(GuardOf(html + "\r\n" + text), "pgp-inline@1");
  EXPECT_EQ(GuardOf(html + "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
                    "<br>-----BEGIN=20PGP SIGNED MESSAGE-----<br>\r\n"),
            "pgp-inline@1");
  EXPECT_EQ(GuardOf(html + "\r\n<p>&gt; -----BEGIN PGP MESSAGE-----</p>\r\n"), "");
  EXPECT_EQ(GuardOf("\r\n" + text), "");
}

TEST(GuardPgp, LooksIntoDecodedTextsOnly) {
  // "-----BEGIN PGP MESSAGE-----\n"
  const std::string base64 = "LS0tLS1CRUdJTiBQR1AgTUVTU0FHRS0tLS0tCg==\r\n";
  const std::string plain = "-----BEGIN PGP MESSAGE-----\r\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\r\n" + plain, "pgp-inline@1"},
      {"Content-Type: text/html\r\n\r\n" + plain, "pgp-inline@1"},
      {"Content-Type: text/plain\r\nContent-Transfer-Encoding: base64\r\n\r\n" + base64,
       "pgp-inline@1"},
      // Encoded by claim only.
      {"Content-Type: text/plain\r\nContent-Transfer-Encoding: base64\r\n\r\n" + plain,
       "pgp-inline@1"},
      {"Content-Transfer-Encoding: quoted-printable\r\n\r\n=2D----BEGIN PGP MES=\r\nSAGE-----",
       "pgp-inline@1"},
      {"Content-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
           base64,
       ""},
      {"Content-Type: application/octet-stream\r\n\r\n" + plain, ""},
      {"Content-Type: application/octet-stream\r\nContent-Type: text/plain\r\n\r\n" + plain,
       "pgp-inline@1"},
      {"Content-Type: multipart/mixed; boundary=b\r\n\r\n" + plain, "pgp-inline@1"},
      {"Content-Type: multipart/mixed; boundary=b\r\n\r\n" + plain + "--b\r\n\r\nx\r\n--b--\r\n",
       "pgp-inline"},
      {"Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nx\r\n--b--\r\n" + plain,
       "pgp-inline"},
  };
  for (const auto& [text, reasons] : cases) {
    EXPECT_EQ(GuardOf(text), reasons) << text;
  }
  EXPECT_EQ(GuardOf(InMultipart("\r\n" + plain)), "pgp-inline@2");
}

TEST(GuardFields, KnowsTheSignaturesOfTransport) {
  ExpectForHeaders({
      {"DKIM-Signature: v=1; a=rsa-sha256", "dkim@1"},
      {"dkim-SIGNATURE: v=1", "dkim@1"},
      {"DKIM-Signature : v=1", "dkim@1"},
      {"DKIM-Signature:", "dkim@1"},
      {"DomainKey-Signature: a=rsa-sha1", "domainkey@1"},
      {"ARC-Seal: i=1", "arc@1"},
      {"ARC-Message-Signature: i=1", "arc@1"},
      {"ARC-Authentication-Results: i=1", "arc@1"},
      {"ARC-Seal: i=1\r\nARC-Message-Signature: i=1\r\nDKIM-Signature: v=1", "arc@1 dkim@1"},
      {"X: y\r\n DKIM-Signature: v=1", ""},  // goes on with the field in front
  });
}

TEST(GuardFields, CountInEveryHeaderBlock) {
  EXPECT_EQ(GuardOf(InMultipart("DKIM-Signature: v=1\r\n\r\nx")), "dkim@2");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: message/rfc822\r\n\r\nARC-Seal: i=1\r\n\r\nx")),
            "arc@2.1");
  EXPECT_EQ(GuardOf("Content-Type: multipart/digest; boundary=b\r\n\r\n--b\r\n\r\n"
                    "DKIM-Signature: v=1\r\n\r\nx\r\n--b--\r\n"),
            "dkim@1.1");
  // The header block that a report quotes is a text.
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: text/rfc822-headers\r\n\r\nDKIM-Signature: v=1")),
            "");
}

TEST(GuardFields, CanBeSwitchedOffAndNothingElseCan) {
  EditOptions options;
  options.guardTransportSignatures = false;
  EXPECT_EQ(Noted(GuardReasons("DKIM-Signature: v=1\nDomainKey-Signature: a\nARC-Seal: i=1\n"
                               "Content-Type: application/pkcs7-mime\n\nx",
                               options)),
            "smime-encrypted@1");
  EXPECT_EQ(Noted(GuardReasons("DKIM-Signature: v=1\n\n-----BEGIN PGP MESSAGE-----\n", options)),
            "pgp-inline@1");
}

TEST(Guard, LooksIntoMultipartsAndEmbeddedMessages) {
  const std::string opaque =
      "Content-Type: application/pkcs7-mime; smime-type=signed-data\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\nMII=\r\n";
  EXPECT_EQ(GuardOf(InMultipart(opaque)), "smime-opaque@2");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: message/rfc822\r\n\r\n" + opaque)),
            "smime-opaque@2.1");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: message/rfc822\r\n\r\n" + InMultipart(opaque))),
            "smime-opaque@2.2");
  EXPECT_EQ(GuardOf(InMultipart(SignedMessage("", "Content-Type: application/pgp-signature"))),
            "pgp-signed@2");
  EXPECT_EQ(GuardOf("Content-Type: message/global\r\n\r\n\r\n-----BEGIN PGP MESSAGE-----\r\n"),
            "pgp-inline@1.1");
}

TEST(Guard, LooksIntoEncodedEmbeddedMessages) {
  // "DKIM-Signature: v=1\n\ntext\n"
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: message/rfc822\r\n"
                                "Content-Transfer-Encoding: base64\r\n\r\n"
                                "REtJTS1TaWduYXR1cmU6IHY9MQoKdGV4dAo=")),
            "dkim@2.1");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: message/rfc822\r\n"
                                "Content-Transfer-Encoding: quoted-printable\r\n\r\n"
                                "DKIM-Signature=3A v=3D1\r\n\r\ntext")),
            "dkim@2.1");
  EXPECT_EQ(GuardOf(InMultipart("Content-Type: message/rfc822\r\n"
                                "Content-Transfer-Encoding: base64\r\n\r\n"
                                "DKIM-Signature: v=1\r\n\r\ntext")),
            "dkim@2.1");
}

TEST(Guard, ReadsFaultyMessagesBothWays) {
  const std::vector<GuardCase> cases = {
      {"A: 1\nno field\nDKIM-Signature: v=1\n\nbody", "dkim@1"},
      {"A: 1\nno field\nContent-Type: application/pkcs7-mime\n\nbody", "smime-encrypted@1"},
      {"Content-Type: text/html\nno field\nDKIM-Signature: v=1\n\nbody", "dkim@1"},
      {"A: 1\nno field\n\n-----BEGIN PGP MESSAGE-----\n", "pgp-inline@1"},
      {"no field\n-----BEGIN PGP MESSAGE-----\n", "pgp-inline@1"},
      {"From me\nDKIM-Signature: v=1\n\nbody", "dkim@1"},
      {"\xEF\xBB\xBF"
       "DKIM-Signature: v=1\n\nbody",
       "dkim@1"},
      {"\nDKIM-Signature: v=1\n\nbody", "dkim@1"},
      {"A: 1\n\nDKIM-Signature: v=1\n\nbody", ""},
      {"Content-Type: multipart/mixed; boundary=b\nContent-Type: multipart/mixed; boundary=c\n\n"
       "--b\n\nx\n--b--\n--c\nContent-Type: application/pgp-encrypted\n\n--c--\n",
       "pgp-encrypted@1"},
      {"Content-Type: multipart/mixed; boundary=b; boundary=c\n\n"
       "--c\nDKIM-Signature: v=1\n\nx\n--c--\n",
       "dkim@1"},
      {"Content-Type: message/rfc822\nContent-Transfer-Encoding: quoted-printable\n\n"
       "Content-Type: multipart/mixed; boundary=b\n\nQQ=\n--b\nDKIM-Signature: v=1\n\nx\n--b--\n",
       "dkim@1.1"},
  };
  for (const GuardCase& test : cases) {
    EXPECT_EQ(GuardOf(test.text), test.reasons) << test.text;
  }
}

TEST(Guard, SaysWhatItSaw) {
  const std::vector<ReasonNote> notes = GuardReasons(
      "Content-Disposition: attachment; filename*=utf-8''%1Bx.p7m\nDKIM-Signature: v=1\n\nx");
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_EQ(notes[0].detail, "\\x1Bx.p7m");  // one line, nothing that steers a terminal
  EXPECT_EQ(notes[1].detail, "DKIM-Signature");
  const std::vector<ReasonNote> cut =
      GuardReasons("Content-Type: a/b; name=" + std::string(1000, 'n') + ".p7m\n\nx");
  EXPECT_EQ(cut.at(0).detail, std::string(100, 'n'));
}

TEST(Guard, FindsInAnOutlineWhatGuardReasonsTells) {
  const std::string text = "DKIM-Signature: v=1\nContent-Type: application/pkcs7-mime\n\nx";
  const Outline outline = Outline::Read(text);
  EXPECT_EQ(Noted(FindGuarded(outline, true)), "smime-encrypted@1 dkim@1");
  EXPECT_EQ(Noted(FindGuarded(outline, false)), "smime-encrypted@1");
}

TEST(DecodedWords, DecodesWordsWhereverTheyStand) {
  const std::vector<GuardCase> cases = {
      {"plain", "plain"},
      {"=?utf-8?Q?a_b=3D=zz?=", "a b==zz"},
      {"=?x?b?QUI=?= \t =?x?B?Q0Q=?=", "ABCD"},
      {"=?x?q?a?= b =?x?q?c?= ", "a b c "},
      {"=?utf-8*en?Q?a?=.p7m", "a.p7m"},
      {"=?x?z?a?= =?x?q?a? =?", "=?x?z?a?= =?x?q?a? =?"},
      {"=?", "=?"},
      {"=?x?q", "=?x?q"},
      {"=?x?q?"
       "?=",
       ""},
  };
  for (const GuardCase& test : cases) {
    EXPECT_EQ(DecodedWords(test.text), test.reasons) << test.text;
  }
}

}  // namespace
}  // namespace zevka::host

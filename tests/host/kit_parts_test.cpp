// Parts through the host kit: children, bodies, names and embedded messages.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

constexpr const char* kKitThree =
    "Content-Type: multipart/mixed; boundary=b\n\npreamble\n"
    "--b\nX-P: 1\n\none\n--b\nX-P: 2\n\ntwo\n--b\nX-P: 3\n\nthree\n--b--\n";

std::vector<std::string> BodiesOf(const Part& part) {
  std::vector<std::string> bodies;
  for (const Part& child : part.Children()) {
    bodies.push_back(child.Body());
  }
  return bodies;
}

class KitParts : public test::KitTest {
 protected:
  // The only part of a message with this header block.
  std::string NameIn(const std::string& header) const {
    return Open(header + "\nx\n").Root().Name();
  }
  std::vector<std::string> NamesIn(const std::string& header) const {
    return Open(header + "\nx\n").Root().Names();
  }
};

using Names = std::vector<std::string>;

TEST_F(KitParts, ChildrenStandInTheirOrder) {
  const Message message = Open(kKitThree);
  EXPECT_TRUE(message.Root().IsMultipart());
  EXPECT_EQ(BodiesOf(message.Root()), (Names{"one\n", "two\n", "three\n"}));
  EXPECT_EQ(message.Root().Body(), "preamble\n");
  EXPECT_FALSE(message.Root().Children().front().IsMultipart());
  EXPECT_TRUE(message.Root().Children().front().Children().empty());
}

TEST_F(KitParts, RemovedPartIsMissingFromTheListAndTheResult) {
  for (const std::size_t index : {0U, 1U, 2U}) {  // the library still gives the last one
    Message message = Open(kKitThree);
    Names expected = {"one\n", "two\n", "three\n"};
    message.Root().Children()[index].Remove();
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(index));
    EXPECT_EQ(BodiesOf(message.Root()), expected);
    EXPECT_EQ(BodiesOf(Open(message.Finish()).Root()), expected);
  }
}

TEST_F(KitParts, AllPartsCanBeRemoved) {
  Message message = Open(kKitThree);
  for (Part& child : message.Root().Children()) {
    child.Remove();
  }
  EXPECT_TRUE(message.Root().Children().empty());
  EXPECT_EQ(message.Finish().find("three"), std::string::npos);
}

TEST_F(KitParts, RemovedPartHasNothingLeft) {
  const Message message = Open(kKitThree);
  Part last = std::move(message.Root().Children().back());
  last.Remove();
  EXPECT_TRUE(last.Fields().empty());
  EXPECT_EQ(last.Body(), "");
  EXPECT_TRUE(last.Children().empty());
  EXPECT_THROW(last.SetBody("x"), Failure);
}

TEST_F(KitParts, MessageItselfCannotBeRemoved) {
  Message message = Open(kKitThree);
  EXPECT_THROW(message.Root().Remove(), Failure);
  EXPECT_EQ(BodiesOf(Open(message.Finish()).Root()).size(), 3U);
}

TEST_F(KitParts, BodyIsDecodedAndTheEncodedOneIsAsItStands) {
  const Message base64 = Open("Content-Transfer-Encoding: base64\n\nAAEC\nAwQ=\n");
  EXPECT_EQ(base64.Root().Body(), std::string("\0\1\2\3\4", 5));
  EXPECT_EQ(base64.Root().BodySizeBytes(), 5U);
  EXPECT_EQ(base64.Root().EncodedBody(), "AAEC\nAwQ=\n");
  const Message quoted = Open("Content-Transfer-Encoding: quoted-printable\n\ncaf=\n=C3=A9\n");
  EXPECT_EQ(quoted.Root().Body(), "caf\xC3\xA9\n");
  EXPECT_EQ(quoted.Root().EncodedBody(), "caf=\n=C3=A9\n");
}

TEST_F(KitParts, BodyComesInChunksOfAnySize) {
  const std::string body = "0123456789\n";
  const Message message = Open("Subject: Hi\n\n" + body);
  for (const std::size_t chunkBytes : {0U, 1U, 3U, 10U, 11U, 12U, 65536U}) {
    std::string whole;
    std::size_t longest = 0;
    message.Root().ReadBody(
        [&](std::string_view chunk) {
          whole += chunk;
          longest = std::max(longest, chunk.size());
        },
        chunkBytes);
    EXPECT_EQ(whole, body);
    EXPECT_LE(longest, std::max<std::size_t>(chunkBytes, 1));
  }
}

TEST_F(KitParts, EmptyBodyHasNoChunks) {
  const Message message = Open("Subject: Hi\n\n");
  message.Root().ReadBody([](std::string_view) { FAIL(); });
  EXPECT_EQ(message.Root().Body(), "");
  EXPECT_EQ(message.Root().BodySizeBytes(), 0U);
}

struct NewBody {
  const char* fields;
  const char* written;
};

TEST_F(KitParts, NewBodyIsEncodedAsTheFieldsSay) {
  for (const auto& [fields, written] : std::vector<NewBody>{
           {"Content-Transfer-Encoding: base64\n", "bsOpdwo=\n"},
           {"Content-Transfer-Encoding: quoted-printable\n", "n=C3=A9w\n"},
           {"Content-Transfer-Encoding: 8bit\n", "n\xC3\xA9w\n"},
           {"Subject: Hi\n", "n\xC3\xA9w\n"},
       }) {
    Message message = Open(std::string(fields) + "\nb2xk\n");
    message.Root().SetBody("n\xC3\xA9w\n");
    EXPECT_EQ(message.Root().Body(), "n\xC3\xA9w\n");
    EXPECT_EQ(message.Finish(), std::string(fields) + "\n" + written);
  }
}

TEST_F(KitParts, NewBodyMayBeEmpty) {
  Message message = Open("Subject: Hi\n\nold\n");
  message.Root().SetBody("");
  EXPECT_EQ(message.Root().Body(), "");
  EXPECT_EQ(message.Finish().find("old"), std::string::npos);
}

// A host that gives LF to a message with CR LF gets mixed line ends: the kit changes no bytes.
TEST_F(KitParts, NewPlainBodyIsWrittenAsItIsAndEndsALine) {
  Message mixed = Open("Subject: Hi\r\n\r\nold\r\n");
  mixed.Root().SetBody("a\nb\r\n");
  EXPECT_EQ(mixed.Finish(), "Subject: Hi\r\n\r\na\nb\r\n");
  Message open = Open("Subject: Hi\r\n\r\nold\r\n");
  open.Root().SetBody("no end");
  EXPECT_EQ(open.Finish(), "Subject: Hi\r\n\r\nno end\r\n");
}

TEST_F(KitParts, MessageThatIsNotChangedIsWrittenAsItWas) {
  for (const std::string bytes : {"Subject: Hi\r\n\r\na\r\nb\r\n", "Subject: Hi\n\na\nb\n"}) {
    EXPECT_EQ(Open(bytes).Finish(), bytes);
  }
}

TEST_F(KitParts, PartThatHoldsOthersTakesNoBody) {
  EXPECT_THROW(Open(kKitThree).Root().SetBody("x"), Failure);
}

constexpr const char* kKitEmbedding =
    "Content-Type: multipart/mixed; boundary=b\n\n"
    "--b\nX-P: 1\n\none\n"
    "--b\nContent-Type: message/rfc822\n\nSubject: inner\n\ninside\n--b--\n";

TEST_F(KitParts, EmbeddedMessageIsATextOfItsOwn) {
  {
    const Message message = Open(kKitEmbedding);
    const std::vector<Part> children = message.Root().Children();
    ASSERT_EQ(children.size(), 2U);
    EXPECT_FALSE(children[1].IsMultipart());
    EXPECT_TRUE(children[1].Children().empty());
    EXPECT_EQ(children[1].EmbeddedText(), "Subject: inner\n\ninside\n");
    EXPECT_EQ(children[1].EmbeddedText(), "Subject: inner\n\ninside\n");  // again
    EXPECT_EQ(children[1].Body(), "");
    EXPECT_EQ(children[0].EmbeddedText(), std::nullopt);
    EXPECT_EQ(message.Root().EmbeddedText(), std::nullopt);
    const Message inner = Open(*children[1].EmbeddedText());
    EXPECT_EQ(inner.Root().Field("Subject"), "inner");
    EXPECT_EQ(working_.Names().size(), 1U);  // the library's copy, until the message ends
  }
  EXPECT_TRUE(working_.Names().empty());
}

TEST_F(KitParts, EmbeddedMessageTakesNeitherBodyNorEncoding) {
  const Message message = Open(kKitEmbedding);
  Part embedded = std::move(message.Root().Children().back());
  EXPECT_THROW(embedded.SetBody("x"), Failure);
  EXPECT_THROW(embedded.SetField("Content-Transfer-Encoding", "base64"), Failure);
}

TEST_F(KitParts, NameComesFromEitherField) {
  EXPECT_EQ(NameIn("Content-Disposition: attachment; filename=\"a b.txt\"\n"), "a b.txt");
  EXPECT_EQ(NameIn("Content-Type: text/plain; name=a.txt\n"), "a.txt");
  EXPECT_EQ(NameIn("Content-Type: text/plain\n"), "");
  EXPECT_EQ(NameIn(""), "");
}

// The library calls every part without a name "body".
TEST_F(KitParts, PartMayBeCalledBody) {
  EXPECT_EQ(NameIn("Content-Disposition: attachment; filename=body\n"), "body");
}

struct NameCase {
  const char* header;
  const char* name;
};

TEST_F(KitParts, NameIsUtf8FromAnyCharset) {
  for (const auto& [header, name] : std::vector<NameCase>{
           {"Content-Type: a/b; name=\"=?utf-8?q?caf=C3=A9.txt?=\"\n", "caf\xC3\xA9.txt"},
           {"Content-Type: a/b; name=\"=?iso-8859-1?q?caf=E9.txt?=\"\n", "caf\xC3\xA9.txt"},
           {"Content-Type: a/b; name=\"=?koi8-r?b?9M/Nbg==?=\"\n",
            "\xD0\xA2\xD0\xBE\xD0\xBC"
            "n"},
           {"Content-Type: a/b; name=\"=?iso-2022-jp?b?GyRCRnwbKEI=?=\"\n", "\xE6\x97\xA5"},
           {"Content-Type: a/b; name=\"=?x-none?q?caf=E9?=\"\n", "caf\xE9"},
           {"Content-Type: a/b; name=\"caf\xC3\xA9\"\n", "caf\xC3\xA9"},
           {"Content-Type: a/b; name=\"caf\xE9\"\n", "caf\xE9"},
           {"Content-Disposition: a; filename*=utf-8''caf%C3%A9.txt\n", "caf\xC3\xA9.txt"},
           {"Content-Disposition: a; filename*=iso-8859-1'en'caf%E9.txt\n", "caf\xC3\xA9.txt"},
           {"Content-Disposition: a;\n filename*1*=%A9.t; filename*0*=utf-8''caf%C3;\n"
            " filename*2=xt\n",
            "caf\xC3\xA9.txt"},
           {"Content-Disposition: a; filename*0=\"long \"; filename*1=\"name\"\n", "long name"},
       }) {
    EXPECT_EQ(NameIn(header), name) << header;
  }
}

TEST_F(KitParts, NamesTellWhatAnyReaderMayShow) {
  EXPECT_EQ(NamesIn("Content-Type: a/b; name=\"evil.exe\"\n"
                    "Content-Disposition: attachment; filename=\"good.txt\"\n"),
            (Names{"good.txt", "evil.exe"}));
  EXPECT_EQ(NamesIn("Content-Disposition: a; filename=good.txt; filename*=utf-8''evil%2Eexe\n"),
            (Names{"evil.exe", "good.txt"}));
  EXPECT_EQ(NamesIn("Content-Disposition: a; filename=one; filename=two\n"
                    "Content-Disposition: a; filename=\"three"),
            (Names{"one", "two", "three"}));
  EXPECT_EQ(NamesIn("Content-Disposition: a; comment=\"filename=no\"; filename=\"a\\\"b\"\n"),
            (Names{"a\"b"}));
  EXPECT_EQ(NamesIn("Content-Disposition: a; filename=\"=?x-none?q?evil=2Eexe?=\"\n"),
            (Names{"=?x-none?q?evil=2Eexe?=", "evil.exe"}));
  EXPECT_TRUE(NamesIn("Subject: name=none\n").empty());
}

}  // namespace
}  // namespace zevka::host

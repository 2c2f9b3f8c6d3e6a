// Children of a part, removal, embedded messages.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\n\r\nbody\r\n";
constexpr char kThree[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nT: 1\r\n\r\none\r\n--b\r\nT: 2\r\n\r\ntwo\r\n--b\r\nT: 3\r\n\r\nthree\r\n--b--\r\n";

std::vector<std::string> BodiesOf(const std::vector<PartObject*>& parts) {
  std::vector<std::string> bodies;
  for (PartObject* part : parts) {
    bodies.push_back(Host::Encoded(part));
  }
  return bodies;
}

TEST(PartChildren, ComeInTheOrderOfTheMessage) {
  const Host host;
  const Message message(host, kThree);
  const std::vector<std::string> expected = {"one\r\n", "two\r\n", "three\r\n"};
  EXPECT_EQ(BodiesOf(Host::Children(message.get())), expected);
  EXPECT_EQ(BodiesOf(Host::Children(message.get())), expected) << "again from the start";
}

TEST(PartChildren, EndWithZeroAndLeaveThePlace) {
  const Host host;
  const Message message(host, kThree);
  EXPECT_EQ(message->RewindChildren(), 1);
  PartObject* child = nullptr;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(message->NextChild(&child), 1);
  }
  PartObject* const last = child;
  EXPECT_EQ(message->NextChild(&child), 0);
  EXPECT_EQ(child, last);
}

TEST(PartChildren, HaveNamesBelowTheMessage) {
  const Host host;
  const Message message(host, kThree);
  const std::vector<PartObject*> children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 3U);
  EXPECT_EQ(Host::FileName(children[0]), message.Name("_0"));
  EXPECT_EQ(Host::FileName(children[2]), message.Name("_2"));
  EXPECT_FALSE(Exists(host, message.Name("_0"))) << "removed after loading";
  EXPECT_TRUE(InMemory(host, message.Name("_0_e")));
}

TEST(PartChildren, NeedARewind) {
  const Host host;
  const Message message(host, kThree);
  PartObject* child = nullptr;
  EXPECT_EQ(message->NextChild(&child), 0);
  EXPECT_EQ(message->RewindHeaders(), 1);
  EXPECT_EQ(message->NextChild(&child), 0) << "a rewind of the headers is none of the children";
  EXPECT_EQ(child, nullptr);
}

TEST(PartChildren, AndHeadersKeepTheirPlacesApart) {
  const Host host;
  const Message message(host, std::string("A: 1\r\n") + kThree);
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  PartObject* child = nullptr;
  EXPECT_EQ(message->RewindChildren(), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
  EXPECT_EQ(message->NextChild(&child), 1);
  EXPECT_EQ(message->RewindHeaders(), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_EQ(message->NextChild(&child), 1);
  EXPECT_EQ(Host::Encoded(child), "two\r\n");
  EXPECT_EQ(message->RewindChildren(), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_STREQ(name.data(), "Content-Type");
}

TEST(PartChildren, OfAPlainPartAreNone) {
  const Host host;
  const Message message(host, kPlain);
  PartObject* child = nullptr;
  EXPECT_EQ(message->RewindChildren(), 0);
  EXPECT_EQ(message->NextChild(&child), 0);
}

TEST(PartChildren, OfAMultipartWhoseBoundaryNeverComesAreNoneToo) {
  const Host host;
  const Message message(host, "Content-Type: multipart/mixed; boundary=b\r\n\r\nnothing\r\n");
  PartObject* child = nullptr;
  EXPECT_EQ(message->RewindChildren(), 1);
  EXPECT_EQ(message->NextChild(&child), 0);
}

// KEEP(embedded-message-is-no-multipart)
TEST(PartChildren, OfAnEmbeddedMessageAreNotReached) {
  const Host host;
  Message message(host, "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nhi\r\n");
  PartObject* child = nullptr;
  EXPECT_EQ(message->RewindChildren(), 0);
  EXPECT_EQ(message->NextChild(&child), 0);
  EXPECT_EQ(message->ReadEncodedBody(nullptr, 0, 0), 0U) << "its text went to the copy";
  EXPECT_EQ(message.Committed(),
            "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nhi\r\n");
}

struct EmbeddedCase {
  const char* type;
  int embedded;
};

TEST(PartChildren, EmbeddedMessagesAreToldByTheMediaType) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  for (const EmbeddedCase& one : std::vector<EmbeddedCase>{{" message/rfc822", 1},
                                                           {"message/rfc822", 1},
                                                           {" \tMessage/RFC822;x=y", 1},
                                                           {" message/rfc822 ; x=y", 1},
                                                           {" message/rfc822x", 0},
                                                           {" message/rfc82", 0},
                                                           {" \"message/rfc822\"", 0}}) {
    WriteDisk(path, std::string("Content-Type:") + one.type + "\r\n\r\nA: b\r\n\r\nhi\r\n");
    const Message message(host, host->OpenMessage(path.c_str()));
    std::array<char, 512> buffer{};
    EXPECT_EQ(host->QueryControl(5, message.get(), buffer.data()), one.embedded) << one.type;
  }
}

TEST(PartChildren, SourceFileOfAnEmbeddedPartLiesBesideItsMessage) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(
      path,
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: message/rfc822\r\n\r\n"
      "Subject: inner\r\n\r\nhi\r\n--b--\r\n");
  Message message(host, host->OpenMessage(path.c_str()));
  const std::vector<PartObject*> children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 1U);
  EXPECT_TRUE(InMemory(host, path + "_0_e.rfc822"));
  std::array<char, 512> buffer{};
  EXPECT_EQ(children[0]->GetSourceFile(buffer.data()), 1);
  EXPECT_EQ(std::string(buffer.data()), path + "_0_e.rfc822");
  EXPECT_EQ(DiskBytes(path + "_0_e.rfc822"), "Subject: inner\r\n\r\nhi\r\n");
  EXPECT_EQ(children[0]->GetSourceFile(buffer.data()), 1) << "also when it is on disk already";
  message.Discard();
  EXPECT_FALSE(OnDisk(path + "_0_e.rfc822"));
}

// KEEP(depth-limit-of-sixteen)
TEST(PartChildren, SplitSixteenLevelsDeep) {
  const Host host;
  std::string text = "T: 1\r\n\r\nleaf\r\n";
  for (int level = 19; level >= 0; --level) {
    const std::string boundary = "level" + std::string(1, static_cast<char>('a' + level));
    text = "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary +
           "\r\n" + text + "--" + boundary + "--\r\n";
  }
  const Message message(host, text);
  PartObject* part = message.get();
  int depth = 0;
  while (part->RewindChildren() == 1) {
    PartObject* child = nullptr;
    ASSERT_EQ(part->NextChild(&child), 1) << depth;
    part = child;
    ++depth;
  }
  EXPECT_EQ(depth, 16);
  const std::string kept = Host::Encoded(part);
  EXPECT_EQ(kept.substr(0, 10), "--levelq\r\n");
  EXPECT_NE(kept.find("leaf"), std::string::npos);
}

// ---- Removal

TEST(PartRemoval, OfAMiddleChildSkipsItInTheIteration) {
  const Host host;
  Message message(host, kThree);
  const std::vector<PartObject*> children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 3U);
  EXPECT_EQ(children[1]->RemovePart(), 1);
  EXPECT_EQ(Host::Children(message.get()), (std::vector<PartObject*>{children[0], children[2]}));
  EXPECT_EQ(message.Committed(),
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
            "--b\r\nT: 1\r\n\r\none\r\n--b\r\nT: 3\r\n\r\nthree\r\n--b--\r\n\r\n");
}

TEST(PartRemoval, OfTheFirstTwoChildrenSkipsThem) {
  const Host host;
  const Message message(host, kThree);
  const std::vector<PartObject*> children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 3U);
  children[0]->RemovePart();
  children[1]->RemovePart();
  EXPECT_EQ(Host::Children(message.get()), (std::vector<PartObject*>{children[2]}));
}

// KEEP(last-removed-child)
TEST(PartRemoval, OfTheLastChildStillGivesIt) {
  const Host host;
  Message message(host, kThree);
  const std::vector<PartObject*> children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 3U);
  children[2]->RemovePart();
  EXPECT_EQ(Host::Children(message.get()), children);
  children[1]->RemovePart();
  EXPECT_EQ(Host::Children(message.get()), (std::vector<PartObject*>{children[0], children[2]}));
  EXPECT_EQ(message.Committed(),
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
            "--b\r\nT: 1\r\n\r\none\r\n--b--\r\n\r\n");
}

TEST(PartRemoval, TakesThePartsOwnFilesAtOnce) {
  const Host host;
  const Message message(host, kThree);
  PartObject* const child = Host::Children(message.get()).at(0);
  EXPECT_EQ(child->ReadDecodedBody(nullptr, 0, 0), 5U);
  EXPECT_TRUE(Exists(host, message.Name("_0_e")));
  EXPECT_TRUE(Exists(host, message.Name("_0_d")));
  EXPECT_EQ(child->RemovePart(), 1);
  EXPECT_FALSE(Exists(host, message.Name("_0_e")));
  EXPECT_FALSE(Exists(host, message.Name("_0_d")));
  EXPECT_EQ(child->RemovePart(), 1) << "again";
}

// Removal must not wait for a lock that it holds itself.
TEST(PartRemoval, OfAMultipartEnds) {
  InChild([] {
    const Host host;
    const Message message(host, kThree);
    EXPECT_EQ(message->RewindChildren(), 1);
    EXPECT_EQ(message->RemovePart(), 1);
  });
}

// KEEP(children-outlive)
TEST(PartRemoval, OfAMultipartLeavesTheChildrensFilesUntilTheEnd) {
  const Host host;
  Message message(host, kThree);
  const std::vector<PartObject*> children = Host::Children(message.get());
  EXPECT_EQ(message->RemovePart(), 1);
  EXPECT_FALSE(Exists(host, message.Name("_e")));
  EXPECT_TRUE(Exists(host, message.Name("_0_e")));
  EXPECT_TRUE(Exists(host, message.Name("_2_e")));
  EXPECT_EQ(Host::Encoded(children.at(1)), "two\r\n") << "the child itself is not removed";
  message.Discard();
  EXPECT_FALSE(Exists(host, message.Name("_0_e")));
  EXPECT_FALSE(Exists(host, message.Name("_2_e")));
}

TEST(PartRemoval, AnswersZeroAfterwards) {
  const Host host;
  const Message message(host, kThree);
  message->RewindHeaders();
  message->RewindChildren();
  message->RemovePart();
  std::array<char, 513> name{};
  std::array<char, 1024> value{};
  PartObject* child = nullptr;
  std::uint64_t size = 42;
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
  EXPECT_EQ(message->NextChild(&child), 0);
  EXPECT_EQ(child, nullptr);
  EXPECT_EQ(message->GetBodySize(&size), 0);
  EXPECT_EQ(size, 42U);
  EXPECT_EQ(message->GetDecodedBodyFile(value.data()), 0);
  EXPECT_EQ(message->GetEncodedBodyFile(value.data()), 0);
  EXPECT_EQ(message->ReadDecodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(message->ReadEncodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(message->ReadDecodedBody(value.data(), 10, 0), 0U);
  EXPECT_EQ(message->ReadEncodedBody(value.data(), 10, 0), 0U);
  EXPECT_EQ(message->WriteDecodedBody("x", 1), 0U);
  EXPECT_EQ(message->WriteEncodedBody("x", 1), 0U);
  EXPECT_EQ(message->GetDecodedBodyBuffer(), nullptr);
  EXPECT_EQ(message->GetEncodedBodyBuffer(), nullptr);
}

// KEEP(removed-part-still-rewinds)
TEST(PartRemoval, LeavesWhatAsksNoFile) {
  const Host host;
  const Message message(host, kThree);
  message->SetHeader("X-Long", std::string(3000, 'v').c_str(), 0);
  message->RemovePart();
  EXPECT_EQ(message->RewindHeaders(), 1);
  EXPECT_EQ(message->RewindChildren(), 1);
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  EXPECT_EQ(message->GetHeaderSizes(&nameSize, &valueSize), 1);
  EXPECT_EQ(nameSize, 256U);
  EXPECT_EQ(valueSize, 3001U);
  std::array<char, 513> name{};
  EXPECT_EQ(message->GetName(name.data()), 1);
  EXPECT_STREQ(name.data(), "body");
  EXPECT_EQ(Host::FileName(message.get()), message.Name());
  const Message plain(host, kPlain);
  plain->RemovePart();
  EXPECT_EQ(plain->RewindChildren(), 0);
}

// KEEP(remove-of-the-message-takes-its-file)
TEST(PartRemoval, OfTheMessageRemovesItsFile) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  PartObject* const message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->RemovePart(), 1);
  EXPECT_FALSE(OnDisk(path));
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), -1);
  EXPECT_FALSE(OnDisk(path));
  EXPECT_FALSE(Exists(host, path));
}

TEST(PartRemoval, OfAChildDoesNotMarkTheMessageModified) {
  const Host host;
  // 76 columns, while an encoder of this library would make 72.
  std::string kept =
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\n";
  kept.append(76, 'Q').append("\r\n").append(4, 'Q').append("\r\n");
  Message message(host, kept + "--b\r\nT: 2\r\n\r\ntwo\r\n--b--\r\n");
  Host::Children(message.get()).at(1)->RemovePart();
  EXPECT_EQ(message.Committed(), kept + "--b--\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test

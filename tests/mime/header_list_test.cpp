#include "mime/header_list.h"

#include <gtest/gtest.h>

#include <string_view>

namespace zevka::test {
namespace {

using namespace std::string_view_literals;

TEST(HeaderSizes, StartAtTwoHundredFiftySixAndOneThousandTwentyFour) {
  const HeaderSizes sizes;
  EXPECT_EQ(sizes.nameSize, 256U);
  EXPECT_EQ(sizes.valueSize, 1024U);
}

TEST(HeaderSizes, CoverAFieldWithItsTerminatorAndNeverShrink) {
  HeaderSizes sizes;
  sizes.Cover(255, 1023);
  EXPECT_EQ(sizes.nameSize, 256U);
  EXPECT_EQ(sizes.valueSize, 1024U);
  sizes.Cover(256, 0);
  EXPECT_EQ(sizes.nameSize, 257U);
  EXPECT_EQ(sizes.valueSize, 1024U);
  sizes.Cover(0, 1024);
  EXPECT_EQ(sizes.nameSize, 257U);
  EXPECT_EQ(sizes.valueSize, 1025U);
  sizes.Cover(1, 2000);
  sizes.Cover(1, 1);
  EXPECT_EQ(sizes.nameSize, 257U);
  EXPECT_EQ(sizes.valueSize, 2001U);
}

TEST(HeaderSizes, TakeTheLargerOfEachPair) {
  HeaderSizes sizes{300, 1024};
  sizes.Cover(HeaderSizes{256, 5000});
  EXPECT_EQ(sizes.nameSize, 300U);
  EXPECT_EQ(sizes.valueSize, 5000U);
}

TEST(HeaderList, KeepsFieldsInOrderAndRepeatedOnesToo) {
  HeaderList list;
  AppendNode(list, "B", " 1");
  AppendNode(list, "A", " 2");
  HeaderNode& last = AppendNode(list, "B", "");
  EXPECT_EQ(&last, &list.back());
  ASSERT_EQ(list.size(), 3U);
  auto field = list.begin();
  EXPECT_EQ(field->name, "B");
  EXPECT_EQ(field->value, " 1");
  ++field;
  EXPECT_EQ(field->name, "A");
  ++field;
  EXPECT_EQ(field->value, "");
  EXPECT_TRUE(field->segments.empty());
}

TEST(HeaderList, EndsBothTextsAtTheirFirstNul) {
  HeaderList list;
  const HeaderNode& field = AppendNode(list, "X\0Y"sv, " a\0b"sv);
  EXPECT_EQ(field.name, "X");
  EXPECT_EQ(field.value, " a");
}

TEST(HeaderList, FindsTheFirstFieldOfANameInAnyCase) {
  HeaderList list;
  AppendNode(list, "Subject", " 1");
  AppendNode(list, "X-Subject", " 2");
  AppendNode(list, "SUBJECT", " 3");
  EXPECT_EQ(FindField(list, "sUbJeCt"), list.cbegin());
  EXPECT_EQ(FindField(list, "x-subject")->value, " 2");
  EXPECT_EQ(FindField(list, "Subj"), list.cend());
  EXPECT_EQ(FindField(list, "Subject "), list.cend());
}

TEST(IsDomainSignature, KnowsTwoNamesAsTheyStand) {
  for (const std::string_view name :
       {"DKIM-Signature"sv, "dkim-signature"sv, "DomainKey-Signature"sv, "DOMAINKEY-SIGNATURE"sv}) {
    EXPECT_TRUE(IsDomainSignature(name)) << name;
  }
  for (const std::string_view name :
       {""sv, "DKIM-Signature(a)"sv, "DKIM-Signature "sv, "X-DKIM-Signature"sv, "DKIM-Signatur"sv,
        "DomainKeys-Signature"sv, "ARC-Message-Signature"sv}) {
    EXPECT_FALSE(IsDomainSignature(name)) << name;
  }
}

}  // namespace
}  // namespace zevka::test

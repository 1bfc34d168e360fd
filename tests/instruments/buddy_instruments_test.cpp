#include "corvale/instruments/buddy_instruments.h"

#include <gtest/gtest.h>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

std::vector<std::string> Texts(const xml::Node& buddies) {
  std::vector<std::string> texts;
  for (const xml::Node& buddy : buddies.selectNodes("INSTRUMENT")) texts.push_back(buddy.text());
  return texts;
}

TEST(BuddyInstruments, ItemCountsFromOneAndRemoveFromZero) {
  auto buddies = std::make_shared<clsBuddyInstruments>();
  buddies->Add("LIB|X");
  buddies->Add("LIB|Y");
  buddies->Add("LIB|Z");
  EXPECT_EQ(buddies->Item(1), "LIB|X");
  EXPECT_EQ(buddies->Item("LIB|Y"), "LIB|Y");

  buddies->Remove(1);  // the second buddy
  EXPECT_EQ(Texts(buddies->XMLNode()), (std::vector<std::string>{"LIB|X", "LIB|Z"}));
  EXPECT_EQ(buddies->Count(), 2);
  buddies->Remove(0);  // the first buddy
  EXPECT_EQ(Texts(buddies->XMLNode()), (std::vector<std::string>{"LIB|Z"}));
  buddies->Remove("LIB|Z");
  EXPECT_EQ(buddies->Count(), 0);
}

TEST(BuddyInstruments, ReferencesCompareWithCaseAndFailWithoutChange) {
  auto buddies = std::make_shared<clsBuddyInstruments>();
  xml::Node element =
      ParseNode("<BUDDIES><INSTRUMENT>C:\\LIB\\A.XML|TMP</INSTRUMENT><NOTE>x</NOTE></BUDDIES>");
  buddies->XMLNode(element);
  EXPECT_EQ(buddies->Count(), 1);

  buddies->Add("c:\\lib\\a.xml|tmp");  // differs in case only: a second buddy
  EXPECT_EQ(buddies->Count(), 2);
  try {
    buddies->Add("C:\\LIB\\A.XML|TMP");
    ADD_FAILURE() << "a repeated reference was accepted";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), err::kInvalidBuddy);
    EXPECT_FALSE(error.description().empty());
  }
  EXPECT_EQ(element.selectNodes("INSTRUMENT").size(), 2u);

  EXPECT_EQ(ErrorOf([&] { buddies->Item("C:\\LIB\\A.XML|HUM"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { buddies->Remove("c:\\lib\\a.xml|TMP"); }), err::kSubscriptOutOfRange);
  EXPECT_NE(ErrorOf([&] { buddies->Item(3); }), 0);
  EXPECT_NE(ErrorOf([&] { buddies->Remove(2); }), 0);
  EXPECT_EQ(buddies->Count(), 2);

  buddies->Clear();
  EXPECT_EQ(buddies->Count(), 0);
  EXPECT_TRUE(element.selectSingleNode("INSTRUMENT").isNull());
  EXPECT_FALSE(element.selectSingleNode("NOTE").isNull());

  buddies->XMLNode(ParseNode("<BUDDIES/>"));
  EXPECT_EQ(buddies->Count(), 0);
}

}  // namespace
}  // namespace corvale

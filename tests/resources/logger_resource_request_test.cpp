#include <gtest/gtest.h>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_users.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

TEST(LoggerResourceList, RequestsGetFreeKeysAndKeepTheirParent) {
  xml::Node element = ParseNode(
      "<RESOURCES><PARENT>INST_1</PARENT>"
      "<REQUEST><KEY>RES_0</KEY><RESOURCE>COM1</RESOURCE><LOCK>1</LOCK></REQUEST>"
      "<REQUEST><RESOURCE>TIMER</RESOURCE></REQUEST>"
      "<REQUEST><KEY>RES_2</KEY><RESOURCE>SDI12</RESOURCE><LOCK>2</LOCK></REQUEST>"
      "</RESOURCES>");
  auto list = std::make_shared<clsLoggerResourceList>();
  list->XMLNode(element);
  ASSERT_EQ(list->Count(), 3);
  EXPECT_EQ(list->Parent(), "INST_1");
  EXPECT_EQ(list->Item("res_1")->Resource(), "TIMER");
  EXPECT_EQ(element.selectNodes("REQUEST")[1].selectSingleNode("KEY").text(), "RES_1");
  EXPECT_EQ(list->Item(1)->Locked(), lock::kExclusive);
  EXPECT_EQ(LockModeCaption(list->Item("RES_2")->Locked()), "Not Available");

  auto next = std::make_shared<clsLoggerResourceRequest>();
  next->Resource("COM2");
  list->Add(next);
  EXPECT_EQ(next->Key(), "RES_3");
  EXPECT_EQ(element.lastChild(), next->XMLNode());

  // A repeated key is refused after its element went in: the element stays, the list does
  // not know it, and the list's element no longer reads back.
  auto clash = std::make_shared<clsLoggerResourceRequest>();
  clash->Key("Res_0");
  EXPECT_EQ(ErrorOf([&] { list->Add(clash); }), err::kDuplicateKey);
  EXPECT_EQ(element.selectNodes("REQUEST").size(), 5u);
  EXPECT_EQ(list->Count(), 4);
  EXPECT_EQ(element.lastChild(), clash->XMLNode());
  EXPECT_EQ(ErrorOf([&] { clsLoggerResourceList().XMLNode(element.cloneNode(true)); }),
            err::kDuplicateKey);
  element.removeChild(clash->XMLNode());

  next->Locked(0);  // lock mode 0 is stored by absence
  EXPECT_TRUE(next->XMLNode().selectSingleNode("LOCK").isNull());

  // Binding the list elsewhere takes the requests out of the element it leaves.
  list->XMLNode(ParseNode("<RESOURCES/>"));
  EXPECT_EQ(list->Count(), 0);
  EXPECT_TRUE(element.selectSingleNode("REQUEST").isNull());
}

TEST(LoggerResourceUsers, EmptyNamesAndRepeatedUsers) {
  auto users = std::make_shared<clsLoggerResourceUsers>();
  users->Add("");
  EXPECT_EQ(users->Item(1), "UNKNOWN");
  EXPECT_EQ(users->Item(""), "UNKNOWN");
  EXPECT_FALSE(users->IsUser(""));  // no substitution when asking
  EXPECT_TRUE(users->IsUser("unknown"));
  users->Remove("");
  EXPECT_EQ(users->Count(), 0);
  EXPECT_TRUE(users->XMLNode().selectSingleNode("USER").isNull());

  // A repeated name keeps one entry but gets a second USER element.
  users->Add("LOGGER.TMP_1");
  users->Add("LOGGER.TMP_1");
  EXPECT_EQ(users->Count(), 1);
  EXPECT_EQ(users->XMLNode().selectNodes("USER").size(), 2u);
  auto reread = std::make_shared<clsLoggerResourceUsers>();
  EXPECT_EQ(ErrorOf([&] { reread->XMLNode(users->XMLNode().cloneNode(true)); }),
            err::kDuplicateKey);

  users->Add("B", corvale::Index(1));  // before the first in the list, appended in the XML
  EXPECT_EQ(users->Item(1), "B");
  EXPECT_EQ(users->XMLNode().lastChild().text(), "B");
  users->Add("C", corvale::Index("@NOBODY"));  // a bad position still writes the element
  EXPECT_EQ(users->Count(), 2);
  EXPECT_EQ(users->XMLNode().lastChild().text(), "C");

  users->Remove("NOBODY");  // unknown users are ignored
  users->Remove(7);
  EXPECT_EQ(users->Count(), 2);
  EXPECT_EQ(ErrorOf([&] { users->Item("NOBODY"); }), err::kSubscriptOutOfRange);

  xml::Node element = ParseNode("<USERS><USER>A</USER><USER>B</USER></USERS>");
  auto bound = std::make_shared<clsLoggerResourceUsers>();
  bound->XMLNode(element);
  EXPECT_TRUE(bound->IsUser("a"));
  bound->Remove("A");
  EXPECT_EQ(element.selectSingleNode("USER").text(), "B");
}

}  // namespace
}  // namespace corvale

#include "corvale/resources/logger_resources.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "corvale/resources/logger_resource.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

// A request list of (resource, lock mode) pairs.
LoggerResourceListPtr Requests(std::vector<std::pair<std::string, int32_t>> wanted) {
  auto list = std::make_shared<clsLoggerResourceList>();
  for (auto& [resource, mode] : wanted) {
    auto request = std::make_shared<clsLoggerResourceRequest>();
    request->Resource(resource);
    request->Locked(mode);
    list->Add(request);
  }
  return list;
}

std::string Users(const clsLoggerResource& resource) {
  std::string text;
  for (int16_t i = 1; i <= resource.Users()->Count(); ++i)
    text += (i > 1 ? "," : "") + resource.Users()->Item(i);
  return text;
}

std::shared_ptr<clsLoggerResources> Pool() {
  auto pool = std::make_shared<clsLoggerResources>();
  pool->XMLNode(
      ParseNode("<RESOURCES>"
                "<RESOURCE><KEY>EXC</KEY><USERS><USER>LOG.TMP_1</USER></USERS></RESOURCE>"
                "<RESOURCE><KEY>COM1</KEY><USERS/></RESOURCE>"
                "<RESOURCE><KEY>SDI12</KEY><LOCK>2</LOCK></RESOURCE>"
                "<RESOURCE><KEY>LOOP</KEY></RESOURCE>"
                "</RESOURCES>"));
  return pool;
}

TEST(LoggerResources, AvailableAndAllocateAcrossUsersAndLockModes) {
  auto pool = Pool();
  auto exc = pool->Item("exc");
  auto com = pool->Item("COM1");
  auto sdi = pool->Item("SDI12");
  auto loop = pool->Item("LOOP");

  // A used resource is not available, yet a mode-0 request joins it.
  EXPECT_FALSE(pool->Available(Requests({{"EXC", lock::kNone}})));
  EXPECT_TRUE(pool->Allocate("LOG.PRS_1", Requests({{"EXC", lock::kNone}})));
  EXPECT_EQ(Users(*exc), "LOG.TMP_1,LOG.PRS_1");
  EXPECT_EQ(exc->Locked(), lock::kNone);

  // A missing resource is fine only for "Not Available", and then nothing is recorded.
  EXPECT_TRUE(pool->Available(Requests({{"NOWHERE", lock::kNotAvailable}})));
  EXPECT_TRUE(pool->Allocate("A", Requests({{"NOWHERE", lock::kNotAvailable}})));
  EXPECT_FALSE(pool->Available(Requests({{"NOWHERE", lock::kNone}})));
  EXPECT_TRUE(pool->Available(Requests({})));

  // Exclusive: the first user takes the request's mode; others fail until it gives it back.
  EXPECT_TRUE(pool->Available("COM1", lock::kExclusive));
  EXPECT_TRUE(com->XMLNode().selectSingleNode("LOCK").isNull());  // asking changes nothing
  EXPECT_TRUE(pool->Allocate("A", Requests({{"COM1", lock::kExclusive}})));
  EXPECT_EQ(ChildText(com->XMLNode(), "LOCK"), "1");
  EXPECT_FALSE(pool->Allocate("B", Requests({{"COM1", lock::kNone}})));
  EXPECT_FALSE(pool->Available("COM1", lock::kNone));
  pool->Deallocate("A", Requests({{"COM1", lock::kExclusive}}));
  EXPECT_TRUE(com->XMLNode().selectSingleNode("LOCK").isNull());
  EXPECT_TRUE(pool->Allocate("B", Requests({{"COM1", lock::kNone}})));

  // A mode-0 user leaves the resource open, so a later user may join and even lock it; any
  // one of them leaving clears the lock although the other stays.
  EXPECT_TRUE(pool->Allocate("C", Requests({{"LOOP", lock::kNone}})));
  EXPECT_TRUE(pool->Allocate("D", Requests({{"LOOP", lock::kExclusive}})));
  EXPECT_EQ(loop->Locked(), lock::kExclusive);
  pool->Deallocate("C", Requests({{"LOOP", lock::kNone}}));
  EXPECT_EQ(loop->Locked(), lock::kNone);
  EXPECT_EQ(Users(*loop), "D");

  // A withdrawn resource accepts only a "Not Available" request, and records no user.
  EXPECT_FALSE(pool->Available(Requests({{"SDI12", lock::kNone}})));
  EXPECT_TRUE(pool->Available(Requests({{"SDI12", lock::kNotAvailable}})));
  EXPECT_FALSE(pool->Allocate("E", Requests({{"SDI12", lock::kNone}})));
  EXPECT_TRUE(pool->Allocate("E", Requests({{"SDI12", lock::kNotAvailable}})));
  EXPECT_EQ(sdi->Users()->Count(), 0);

  // An empty user is "UNKNOWN", found again by Deallocate("") with a list only.
  EXPECT_TRUE(pool->Allocate("", Requests({{"EXC", lock::kNone}})));
  EXPECT_TRUE(exc->Users()->IsUser("UNKNOWN"));
  EXPECT_FALSE(exc->Users()->IsUser(""));
  pool->Deallocate("");
  EXPECT_TRUE(exc->Users()->IsUser("UNKNOWN"));
  pool->Deallocate("", Requests({{"EXC", lock::kNone}}));
  EXPECT_EQ(Users(*exc), "LOG.TMP_1,LOG.PRS_1");

  // An empty Resource fails Available (but not in mode 2) and is skipped by Allocate; a
  // failure does not undo or stop the rest of the list.
  EXPECT_FALSE(pool->Available(Requests({{"", lock::kNone}})));
  EXPECT_TRUE(pool->Available(Requests({{"", lock::kNotAvailable}})));
  EXPECT_FALSE(pool->Allocate("F", Requests({{"", lock::kNone}, {"MISSING", 0}, {"LOOP", 0}})));
  EXPECT_EQ(Users(*loop), "D,F");

  // Without a list every resource that user holds is given back, its lock cleared.
  pool->Allocate("F", Requests({{"EXC", lock::kNone}}));
  exc->Locked(lock::kExclusive);
  pool->Deallocate("f");
  EXPECT_EQ(Users(*loop), "D");
  EXPECT_EQ(Users(*exc), "LOG.TMP_1,LOG.PRS_1");
  EXPECT_EQ(exc->Locked(), lock::kNone);

  // By name, with the list and the user either way round.
  pool->Deallocate("B");
  auto late =
      std::dynamic_pointer_cast<clsLoggerResources>(CreateObject("Corvale2.clsLoggerResources"));
  ASSERT_TRUE(late);
  late->XMLNode(pool->XMLNode().cloneNode(true));
  const ObjectPtr list = Requests({{"LOOP", lock::kExclusive}});
  EXPECT_FALSE(late->Invoke("Available", {list}).ToBool());
  EXPECT_TRUE(late->Invoke("Available", {"COM1", 1}).ToBool());
  EXPECT_TRUE(late->Invoke("Allocate", {"G", Requests({{"COM1", 1}})}).ToBool());
  EXPECT_FALSE(late->Invoke("Allocate", {Requests({{"COM1", 0}}), "H"}).ToBool());
  late->Invoke("Deallocate", {Requests({{"COM1", 0}}), "G"});
  EXPECT_EQ(late->Item("COM1")->Users()->Count(), 0);
}

TEST(LoggerResources, KeysPlacementAndWhatReachesTheDocument) {
  auto pool = std::make_shared<clsLoggerResources>();
  xml::Node element = ParseNode(
      "<RESOURCES><RESOURCE><KEY>RESOURCE_0</KEY></RESOURCE>"
      "<RESOURCE><KEY>RESOURCE_2</KEY></RESOURCE></RESOURCES>");
  pool->XMLNode(element);
  auto added = std::make_shared<clsLoggerResource>();
  pool->Add(added);
  EXPECT_EQ(added->Key(), "RESOURCE_1");
  EXPECT_EQ(ChildText(added->XMLNode(), "KEY"), "RESOURCE_1");
  EXPECT_FALSE(added->XMLNode().selectSingleNode("USERS").isNull());

  // Before places the element too; after places only the entry, the element goes last.
  auto first = std::make_shared<clsLoggerResource>();
  first->Key("COM1");
  pool->Add(first, corvale::Index(1));
  EXPECT_EQ(element.firstChild(), first->XMLNode());
  auto second = std::make_shared<clsLoggerResource>();
  second->Key("COM2");
  pool->Add(second, std::nullopt, corvale::Index("COM1"));
  EXPECT_EQ(pool->Item(2)->Key(), "COM2");
  EXPECT_EQ(element.lastChild(), second->XMLNode());

  auto clash = std::make_shared<clsLoggerResource>();
  clash->Key("com1");
  EXPECT_EQ(ErrorOf([&] { pool->Add(clash); }), err::kDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { pool->Item("COM9"); }), err::kSubscriptOutOfRange);
  clash->Key("COM3");
  EXPECT_EQ(ErrorOf([&] { pool->Add(clash, corvale::Index("COM9")); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(pool->Count(), 5);

  pool->Parent("CV800");  // in memory only
  EXPECT_EQ(pool->Parent(), "CV800");
  EXPECT_TRUE(element.selectSingleNode("PARENT").isNull());
  first->ResourceType(7);
  first->Tag("Serial port");
  EXPECT_EQ(ChildText(first->XMLNode(), "TYPE") + "|" + first->Tag(), "7|Serial port");

  // The same user twice: one entry, two USER elements, and the element no longer reads back.
  first->Users()->Add("A");
  first->Users()->Add("A");
  EXPECT_EQ(first->Users()->Count(), 1);
  EXPECT_EQ(first->XMLNode().selectSingleNode("USERS").selectNodes("USER").size(), 2u);
  EXPECT_EQ(ErrorOf([&] { std::make_shared<clsLoggerResource>(first->XMLNode().cloneNode(true)); }),
            err::kDuplicateKey);

  // Binding elsewhere takes the resources out of the element left behind; a resource bound to
  // an element without USERS gets one.
  pool->Remove("RESOURCE_0");
  EXPECT_EQ(element.selectNodes("RESOURCE").size(), 4u);
  pool->XMLNode(ParseNode("<RESOURCES><RESOURCE><KEY>X</KEY></RESOURCE></RESOURCES>"));
  EXPECT_TRUE(element.selectSingleNode("RESOURCE").isNull());
  EXPECT_EQ(ChildText(pool->Item("X")->XMLNode(), "USERS"), "");
}

TEST(LoggerResources, ReleaseUserFollowsEveryWayAUserCameAndUnlocksOnlyTheEmptied) {
  auto resources = std::make_shared<clsLoggerResources>();
  for (const char* key : {"COM1", "EXC", "CNT"}) {
    auto resource = std::make_shared<clsLoggerResource>();
    resource->Key(key);
    resources->Add(resource);
  }
  ASSERT_TRUE(resources->Allocate("GPS", Requests({{"COM1", 1}, {"EXC", 0}})));
  resources->ReleaseUser("nobody");  // builds the index; changes nothing
  // Users arriving behind the allocation's back, and a resource added later, are seen too.
  resources->Item("EXC")->Users()->Add("Probe");
  auto late = std::make_shared<clsLoggerResource>();
  late->Key("LATE");
  resources->Add(late);
  late->Users()->Add("gps");
  late->Locked(1);
  resources->Item("CNT")->Users()->Add("GPS");
  resources->Item("CNT")->Users()->Remove("GPS");

  resources->ReleaseUser("GPS");
  EXPECT_EQ(Users(*resources->Item("COM1")), "");
  EXPECT_EQ(resources->Item("COM1")->Locked(), 0);
  EXPECT_EQ(Users(*resources->Item("EXC")), "Probe");
  EXPECT_EQ(Users(*late), "");
  EXPECT_EQ(late->Locked(), 0);
  resources->Item("EXC")->Locked(1);
  resources->ReleaseUser("probe");
  EXPECT_EQ(Users(*resources->Item("EXC")), "");
  EXPECT_EQ(resources->Item("EXC")->Locked(), 0);
}

}  // namespace
}  // namespace corvale

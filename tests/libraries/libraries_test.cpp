#include "corvale/libraries/libraries.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/library_instruments.h"
#include "corvale/libraries/xml_instruments.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;
using test::NewInstrument;

std::shared_ptr<XMLInstruments> FileLibrary(const std::string& source, const std::string& name) {
  auto library = std::make_shared<XMLInstruments>();
  library->Source(source);
  library->Name(name);
  return library;
}

TEST(LibrariesTest, SourcesDecideWhatIsAddedAndRemoved) {
  clsLibraries set;
  set.Add(FileLibrary("C:\\LIB\\A.XML", "first"));
  set.Add(FileLibrary("C:\\LIB\\A.XML", "second"));  // same Source: quietly ignored
  set.Add(nullptr);
  EXPECT_EQ(set.Count(), 1);
  EXPECT_EQ(set.Item("c:\\lib\\a.xml")->Name(), "first");  // keys without regard to case
  // Differing only in case passes the exact check, then meets the key rule.
  EXPECT_EQ(ErrorOf([&] { set.Add(FileLibrary("c:\\lib\\a.xml", "third")); }), err::kDuplicateKey);

  set.Add(FileLibrary("/srv/b.xml", "b"));
  set.Add(FileLibrary("/srv/c.xml", "c"));
  set.Remove("C:\\lib\\A.XML");  // text removes by the exact Source only
  EXPECT_EQ(set.Count(), 3);
  set.Remove("/srv/b.xml");
  set.Remove(1);
  EXPECT_EQ(set.Count(), 1);
  EXPECT_EQ(set.Item(1)->Name(), "c");
  EXPECT_EQ(ErrorOf([&] { set.Remove(5); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { set.Item("/srv/b.xml"); }), err::kSubscriptOutOfRange);
  set.Clear();
  EXPECT_EQ(set.Count(), 0);
}

TEST(LibrariesTest, LibraryCreatesEachClassOnceAndNeverRaises) {
  int created = 0;
  RegisterClass("Test.Shelf", [&created] {
    ++created;
    return std::make_shared<clsLibraryInstruments>();
  });
  clsLibraries set;
  InstrumentsPtr first = set.Library("Test.Shelf");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(set.Library("test.shelf"), first);
  EXPECT_EQ(created, 1);
  EXPECT_EQ(set.Item("TEST.SHELF"), first);

  EXPECT_EQ(set.Library("Nowhere.Library"), nullptr);
  EXPECT_EQ(set.Library("Corvale2.clsStdInstrument"), nullptr);  // creatable, but no library
  EXPECT_EQ(set.Count(), 1);
  EXPECT_EQ(set.Library("Corvale2.XMLInstruments")->ClassName(), "Corvale2.XMLInstruments");
  UnregisterClass("Test.Shelf");
}

TEST(LibrariesTest, XmlNodeExportsCopiesOfEveryLibraryRoot) {
  const int32_t users = FactoryUser::Count();
  auto set = std::make_shared<clsLibraries>();
  EXPECT_EQ(FactoryUser::Count(), users + 1);
  auto a = FileLibrary("a.xml", "Alpha");
  set->Add(a);
  set->Add(std::make_shared<clsLibraryInstruments>());  // no root: skipped
  set->Add(FileLibrary("b.xml", "Beta"));

  xml::Node element = set->XMLNode();
  EXPECT_EQ(element.nodeName(), "LIBRARIES");
  auto roots = element.selectNodes("PennardInstrumentLibrary");
  ASSERT_EQ(roots.size(), 2u);
  EXPECT_EQ(GetNodeText(roots[1], "NAME", ""), "Beta");
  SetNodeText(roots[0], "NAME", "Changed");  // a copy: the library keeps its name
  EXPECT_EQ(a->Name(), "Alpha");
  set->Remove("a.xml");
  EXPECT_EQ(set->XMLNode().selectNodes("PennardInstrumentLibrary").size(), 1u);
  set.reset();
  a.reset();  // a library owns its document's elements too
  EXPECT_EQ(FactoryUser::Count(), users);
}

TEST(LibrariesTest, MemoryLibraryHandsOutItsMembers) {
  clsLibraryInstruments library;
  EXPECT_EQ(library.EditMode(), -1);
  EXPECT_TRUE(library.XMLNode().isNull());
  EXPECT_FALSE(library.Load("anything.xml"));
  EXPECT_FALSE(library.Save("anything.xml"));

  InstrumentPtr probe = NewInstrument("P1");
  EXPECT_EQ(library.Add(probe), probe);
  library.Add(NewInstrument("P2"));
  EXPECT_EQ(library.Item(1), probe);  // the member itself, no copy
  EXPECT_EQ(library.LibraryItem(1), probe);
  EXPECT_EQ(ErrorOf([&] { library.Item("P1"); }), err::kSubscriptOutOfRange);  // no keys
  library.Remove(1);
  EXPECT_EQ(library.Item(1)->CatCode(), "P2");

  // Late-bound callers reach the same members by name.
  library.Invoke("Name", {Variant("Bench")});
  EXPECT_EQ(library.Invoke("name").ToString(), "Bench");
  EXPECT_EQ(library.Invoke("Item", {Variant(1)}).ToObjectAs<IInstrument>()->CatCode(), "P2");
  library.Invoke("Clear");
  EXPECT_EQ(library.Count(), 0);
}

}  // namespace
}  // namespace corvale

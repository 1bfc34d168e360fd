#include "corvale/libraries/libraries.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/core/error.h"
#include "corvale/core/node_access.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/library_instruments.h"
#include "corvale/libraries/xml_instruments.h"

namespace corvale {
namespace {

std::shared_ptr<XMLInstruments> FileLibrary(const std::string& source, const std::string& name) {
  auto library = std::make_shared<XMLInstruments>();
  library->Source(source);
  library->Name(name);
  return library;
}

int ErrorNumber(const std::function<void()>& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

TEST(LibrariesTest, SourcesDecideWhatIsAddedAndRemoved) {
  clsLibraries set;
  set.Add(FileLibrary("C:\\LIB\\A.XML", "first"));
  set.Add(FileLibrary("C:\\LIB\\A.XML", "second"));  // same Source: quietly ignored
  set.Add(nullptr);
  EXPECT_EQ(set.Count(), 1);
  EXPECT_EQ(set.Item(1)->Name(), "first");
  EXPECT_EQ(set.Item("c:\\lib\\a.xml")->Name(), "first");  // keys without regard to case

  // Differing only in case passes the exact check, then meets the key rule.
  EXPECT_EQ(ErrorNumber([&] { set.Add(FileLibrary("c:\\lib\\a.xml", "third")); }),
            err::kDuplicateKey);
  EXPECT_EQ(set.Count(), 1);

  set.Add(FileLibrary("/srv/lib/b.xml", "b"));
  set.Add(FileLibrary("/srv/lib/c.xml", "c"));
  set.Remove("C:\\lib\\A.XML");  // text removes by exact Source only
  EXPECT_EQ(set.Count(), 3);
  set.Remove("/srv/lib/b.xml");
  EXPECT_EQ(set.Count(), 2);
  EXPECT_EQ(set.Item(2)->Name(), "c");
  set.Remove(1);
  EXPECT_EQ(set.Item(1)->Name(), "c");
  EXPECT_EQ(ErrorNumber([&] { set.Remove(5); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumber([&] { set.Item("/srv/lib/b.xml"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumber([&] { set.Item(0); }), err::kSubscriptOutOfRange);
  set.Clear();
  EXPECT_EQ(set.Count(), 0);
}

TEST(LibrariesTest, LibraryCreatesEachClassOnceAndNeverRaises) {
  int created = 0;
  RegisterClass("Test.Shelf", [&created] {
    ++created;
    auto library = std::make_shared<clsLibraryInstruments>();
    library->Name("shelf");
    return library;
  });
  clsLibraries set;
  InstrumentsPtr first = set.Library("Test.Shelf");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(set.Library("test.shelf"), first);
  EXPECT_EQ(created, 1);
  EXPECT_EQ(set.Count(), 1);
  EXPECT_EQ(set.Item("TEST.SHELF"), first);

  EXPECT_EQ(set.Library("Nowhere.Library"), nullptr);
  EXPECT_EQ(set.Library("Corvale2.clsStdInstrument"), nullptr);  // creatable, but no library
  EXPECT_EQ(set.Library(""), nullptr);
  EXPECT_EQ(set.Count(), 1);

  // Built-in classes by their registered names.
  InstrumentsPtr file = set.Library("Corvale2.XMLInstruments");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->ClassName(), "Corvale2.XMLInstruments");
  EXPECT_EQ(set.Library("Corvale2.clsLibraryInstruments")->ClassName(),
            "Corvale2.clsLibraryInstruments");
  UnregisterClass("Test.Shelf");
}

TEST(LibrariesTest, XmlNodeExportsCopiesOfEveryLibraryRoot) {
  clsLibraries set;
  auto a = FileLibrary("a.xml", "Alpha");
  auto b = FileLibrary("b.xml", "Beta");
  auto memory = std::make_shared<clsLibraryInstruments>();
  memory->Source("memory");
  set.Add(a);
  set.Add(memory);
  set.Add(b);

  xml::Node element = set.XMLNode();
  EXPECT_EQ(element.nodeName(), "LIBRARIES");
  auto roots = element.selectNodes("PennardInstrumentLibrary");
  ASSERT_EQ(roots.size(), 2u);  // the memory library has no root and is skipped
  EXPECT_EQ(GetNodeText(roots[0], "NAME", ""), "Alpha");
  EXPECT_EQ(GetNodeText(roots[1], "NAME", ""), "Beta");
  EXPECT_FALSE(roots[0] == a->XMLNode());

  // Rebuilt on each call; changes to the export never reach the libraries.
  SetNodeText(roots[0], "NAME", "Changed");
  EXPECT_EQ(a->Name(), "Alpha");
  set.Remove("a.xml");
  EXPECT_EQ(set.XMLNode().selectNodes("PennardInstrumentLibrary").size(), 1u);
  EXPECT_TRUE(a->XMLNode().parentNode() == a->XMLNode().ownerDocument());
}

TEST(LibrariesTest, SetCountsAsAFactoryUserWhileItLives) {
  const int32_t before = FactoryUser::Count();
  {
    auto set = std::make_shared<clsLibraries>();
    EXPECT_EQ(FactoryUser::Count(), before + 1);
    EXPECT_FALSE(FactoryDocument().isNull());
    EXPECT_TRUE(set->XMLNode().ownerDocument() == FactoryDocument());
  }
  EXPECT_EQ(FactoryUser::Count(), before);
}

TEST(LibrariesTest, MemoryLibraryHandsOutItsMembers) {
  clsLibraryInstruments library;
  EXPECT_EQ(library.EditMode(), -1);
  EXPECT_EQ(library.ClassName(), "Corvale2.clsLibraryInstruments");
  EXPECT_TRUE(library.XMLNode().isNull());
  EXPECT_FALSE(library.Load("anything.xml"));
  EXPECT_FALSE(library.Save("anything.xml"));

  auto probe = std::dynamic_pointer_cast<IInstrument>(CreateObject("Corvale2.clsStdInstrument"));
  probe->CatCode("P1");
  EXPECT_EQ(library.Add(probe), probe);
  library.Add(std::dynamic_pointer_cast<IInstrument>(CreateObject("Corvale2.clsStdInstrument")));
  EXPECT_EQ(library.Count(), 2);
  EXPECT_EQ(library.Item(1), probe);  // the member itself, no copy
  EXPECT_EQ(library.LibraryItem(1), probe);
  EXPECT_EQ(ErrorNumber([&] { library.Item("P1"); }), err::kSubscriptOutOfRange);  // no keys
  EXPECT_EQ(ErrorNumber([&] { library.Item(3); }), err::kSubscriptOutOfRange);
  library.Remove(1);
  EXPECT_NE(library.Item(1), probe);
  library.Clear();
  EXPECT_EQ(library.Count(), 0);

  // The same members by name, as late-bound callers reach them.
  library.Invoke("Name", {Variant("Bench")});
  EXPECT_EQ(library.Invoke("name").ToString(), "Bench");
  library.Invoke("Add", {Variant(probe)});
  EXPECT_EQ(library.Invoke("Count").ToInt32(), 1);
  EXPECT_EQ(library.Invoke("Item", {Variant(1)}).ToObject(), probe);
  EXPECT_EQ(ErrorNumber([&] { library.Invoke("Nothing"); }), err::kNotSupported);
}

}  // namespace
}  // namespace corvale

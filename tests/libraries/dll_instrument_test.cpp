#include "corvale/libraries/dll_instrument.h"

#include <gtest/gtest.h>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/resources/logger_resource_list.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildTexts;
using test::ErrorOf;

// A loader that records the calls it receives; "Save" answers no, "Fail" raises everywhere.
struct CallLog {
  std::vector<std::string> calls;
  std::weak_ptr<Object> instrument;
  ObjectPtr owner;
};
CallLog& Log() {
  static CallLog log;
  return log;
}

class RecordingLoader : public Object {
 public:
  explicit RecordingLoader(bool fail = false) : fail_(fail) {}
  Variant Invoke(std::string_view member, const Args& args) override {
    Log().calls.push_back(std::string(member));
    if (fail_) throw Error(err::kInvalidProcedureCall);
    if (EqualsNoCase(member, "Install")) {
      ExpectArgs(args, 2);
      Log().instrument = args[0].ToObject();
      Log().owner = args[1].ToObject();
      return {};
    }
    if (EqualsNoCase(member, "Save")) return 0;
    if (EqualsNoCase(member, "BeforeWrite")) return "Yes";  // not a boolean: fails
    return -1;
  }

 private:
  bool fail_;
};

// An object whose default value names the class that is to become the loader.
class NamingLoader : public Object {
 public:
  explicit NamingLoader(std::string name) : name_(std::move(name)) {}
  Variant Invoke(std::string_view member, const Args&) override {
    if (member.empty()) return name_;
    throw Error(err::kNotSupported);
  }

 private:
  std::string name_;
};

class DLLInstrumentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Log() = {};
    RegisterClass("Test.Recorder", [] { return std::make_shared<RecordingLoader>(); });
    RegisterClass("Test.Failing", [] { return std::make_shared<RecordingLoader>(true); });
  }
  void TearDown() override {
    UnregisterClass("Test.Recorder");
    UnregisterClass("Test.Failing");
  }
};

TEST_F(DLLInstrumentTest, OnlyItsOwnFieldsLiveInTheElement) {
  auto instrument =
      std::dynamic_pointer_cast<clsDLLInstrument>(CreateObject("Corvale2.clsDLLInstrument"));
  ASSERT_NE(instrument, nullptr);
  xml::Node element = ParseNode("<INSTRUMENT><LOADFROMSCHEME>1</LOADFROMSCHEME></INSTRUMENT>");
  instrument->XMLNode(element);
  EXPECT_TRUE(instrument->LoadFromScheme());
  instrument->LoadFromScheme(true);
  EXPECT_EQ(instrument->MinimumBuildRevision(), "4.01.0018");
  EXPECT_EQ(ChildTexts(element, {"LOADFROMSCHEME", "MINBUILDREVISION"}), "-1|4.01.0018");

  // The name is a lower-case attribute only, and the same text writes nothing.
  instrument->Name("Wind vane");
  EXPECT_EQ(element.getAttribute("name"), "Wind vane");
  EXPECT_FALSE(element.hasAttribute("NAME"));
  element.removeAttribute("name");
  instrument->Name("Wind vane");
  EXPECT_FALSE(element.hasAttribute("name"));
  EXPECT_EQ(instrument->Name(), "Wind vane");

  instrument->CatCode("WV1");
  instrument->Key("SCH_3");
  EXPECT_EQ(instrument->Invoke("catcode").ToString(), "WV1");
  EXPECT_EQ(ChildTexts(element, {"CATCODE", "KEY"}), "(absent)|(absent)");

  EXPECT_FALSE(instrument->Changed());
  instrument->ReadOnly(false);  // no change, no mark
  EXPECT_FALSE(instrument->Changed());
  instrument->ReadOnly(true);
  EXPECT_TRUE(instrument->Changed());

  // Install creates the collections and hands them the key; the owner is not kept alive by
  // its instrument (a scheme that owns the instrument would never be released).
  auto owner = std::make_shared<Object>();
  std::weak_ptr<Object> watch = owner;
  instrument->Install(owner);
  owner.reset();
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(instrument->CDTSettings()->Parent(), "SCH_3");
  EXPECT_EQ(instrument->Buddies()->Parent(), "SCH_3");
  instrument->Key("SCH_4");
  EXPECT_EQ(instrument->Resources()->Parent(), "SCH_4");
}

TEST_F(DLLInstrumentTest, HooksGoToTheLoaderByNameAndSayYesWithoutOne) {
  auto plain = std::make_shared<clsDLLInstrument>();
  plain->Install(nullptr);  // neither a loader nor a loader class
  EXPECT_EQ(plain->Loader(), nullptr);
  EXPECT_TRUE(plain->Load() && plain->Save() && plain->BeforeWrite() && plain->BeforeCompile() &&
              plain->QueryUninstall());
  plain->UnInstall();

  auto instrument = std::make_shared<clsDLLInstrument>();
  auto owner = std::make_shared<Object>();
  instrument->LoaderClass("Test.Recorder");
  instrument->Install(owner);
  ASSERT_NE(std::dynamic_pointer_cast<RecordingLoader>(instrument->Loader()), nullptr);
  EXPECT_EQ(Log().instrument.lock(), instrument);
  EXPECT_EQ(Log().owner, owner);
  EXPECT_TRUE(instrument->Load());
  EXPECT_FALSE(instrument->Save());
  EXPECT_FALSE(instrument->BeforeWrite());
  EXPECT_TRUE(instrument->BeforeCompile() && instrument->QueryUninstall());
  instrument->UnInstall();
  EXPECT_EQ(Log().calls,
            (std::vector<std::string>{"Install", "Load", "Save", "BeforeWrite", "BeforeCompile",
                                      "QueryUninstall", "UnInstall"}));

  // A loader that raises, even in its own Install, fails the hooks and raises nothing.
  Log() = {};
  auto failing = std::make_shared<clsDLLInstrument>();
  failing->LoaderClass("Test.Failing");
  failing->Install(nullptr);
  EXPECT_FALSE(failing->Load() || failing->Save() || failing->QueryUninstall());
  failing->UnInstall();
  EXPECT_EQ(Log().calls.size(), 5u);
}

TEST_F(DLLInstrumentTest, InstallMakesTheClassThatTheLoaderNames) {
  auto instrument = std::make_shared<clsDLLInstrument>();
  instrument->LoaderClass("Test.Failing");  // not used: the loader set names the class
  instrument->Loader(std::make_shared<NamingLoader>("Test.Recorder"));
  instrument->Install(nullptr);
  EXPECT_NE(std::dynamic_pointer_cast<RecordingLoader>(instrument->Loader()), nullptr);
  EXPECT_EQ(Log().calls, std::vector<std::string>{"Install"});

  // A loader with no default value, or one naming an unknown class, fails Install.
  instrument->Loader(std::make_shared<Object>());
  EXPECT_EQ(ErrorOf([&] { instrument->Install(nullptr); }), err::kNotSupported);
  instrument->Loader(std::make_shared<NamingLoader>("Test.NoSuchClass"));
  EXPECT_EQ(ErrorOf([&] { instrument->Install(nullptr); }), err::kCannotCreateObject);

  auto unknown = std::make_shared<clsDLLInstrument>();
  unknown->LoaderClass("Test.NoSuchClass");
  EXPECT_EQ(ErrorOf([&] { unknown->Install(nullptr); }), err::kCannotCreateObject);
}

}  // namespace
}  // namespace corvale

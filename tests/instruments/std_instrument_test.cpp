// The standard instrument: what its properties leave in the document, how Install binds the
// collections, and how the hooks reach a loader by name.
#include "corvale/instruments/std_instrument.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/outputs.h"
#include "corvale/resources/logger_resource_list.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ChildTexts;
using test::ErrorOf;
using Names = std::vector<std::string>;
using Requests = test::RecordingHost::Requests;

// The first INSTRUMENT of a library document parsed from text.
xml::Node InstrumentIn(const std::string& body) {
  return ParseNode("<LIBRARY>" + body + "</LIBRARY>").firstChild();
}

std::shared_ptr<clsStdInstrument> Bound(const std::string& body) {
  auto instrument = std::make_shared<clsStdInstrument>();
  instrument->XMLNode(InstrumentIn(body));
  return instrument;
}

Names ChildNames(const xml::Node& element) {
  Names names;
  for (const xml::Node& child : element.childNodes())
    if (child.nodeType() == xml::NodeType::Element) names.push_back(child.nodeName());
  return names;
}

TEST(StdInstrument, DefaultsAndValuesAsTheDocumentHoldsThem) {
  // Reading writes back only the defaults that are neither empty nor zero.
  auto instrument = Bound("<INSTRUMENT><NAME>Probe</NAME></INSTRUMENT>");
  xml::Node element = instrument->XMLNode();
  const std::string before = element.ownerDocument().xml();
  EXPECT_TRUE(instrument->CatCode().empty() && instrument->Tag().empty());
  EXPECT_EQ(instrument->LoggerTypes() + instrument->Instance() + instrument->Index(), 0);
  EXPECT_FALSE(instrument->ReadOnly() || instrument->SingleUse() || instrument->LoadFromScheme());
  EXPECT_EQ(element.ownerDocument().xml(), before) << "empty defaults leave no trace";

  EXPECT_FLOAT_EQ(instrument->Version(), 1.0f);
  EXPECT_TRUE(instrument->Visible());
  EXPECT_EQ(instrument->MinimumBuildRevision(), "4.01.0018");
  EXPECT_EQ(ChildTexts(element, {"VERSION", "VISIBLE", "MINBUILDREVISION"}), "1|-1|4.01.0018");

  // Setters store false and zero by absence unless the property is always written.
  instrument = std::make_shared<clsStdInstrument>();
  element = instrument->XMLNode();
  EXPECT_EQ(element.nodeName(), "INSTRUMENT");
  EXPECT_FALSE(element.parentNode()) << "a new instrument is detached";
  instrument->ReadOnly(true);
  EXPECT_EQ(ChildText(element, "READONLY"), "-1");
  instrument->ReadOnly(false);
  instrument->Visible(false);
  instrument->LoggerTypes(0);
  instrument->Version(2.5f);
  EXPECT_EQ(ChildTexts(element, {"READONLY", "VISIBLE", "LOGGERTYPES", "VERSION"}),
            "(absent)|(absent)|(absent)|2.5");

  // Tag and the build revision are always written, even when empty.
  instrument->Tag("");
  instrument->MinimumBuildRevision("");
  EXPECT_EQ(ChildTexts(element, {"TAG", "MINBUILDREVISION"}), "|");

  // The name is also an attribute, which stays when the element goes.
  instrument->Name("Rain gauge");
  EXPECT_EQ(ChildText(element, "NAME") + "|" + element.getAttribute("NAME"),
            "Rain gauge|Rain gauge");
  instrument->Name("");
  EXPECT_EQ(ChildText(element, "NAME"), "(absent)");
  EXPECT_TRUE(element.hasAttribute("NAME"));
}

TEST(StdInstrument, InstallBindsEveryCollectionAndHandsDownTheKey) {
  auto instrument = Bound(
      "<INSTRUMENT><KEY>I1</KEY><CHANNELS><CHANNEL><KEY>CHAN_0</KEY></CHANNEL>"
      "<CHANNEL/></CHANNELS><EVENTS><EVENT/></EVENTS></INSTRUMENT>");
  xml::Node element = instrument->XMLNode();
  auto owner = std::make_shared<Object>();
  instrument->Install(owner);

  // Existing containers are bound; missing ones are appended in the install order.
  EXPECT_EQ(ChildNames(element), (Names{"KEY", "CHANNELS", "EVENTS", "CDTSETTINGS", "OUTPUTS",
                                        "RESOURCES", "BUDDIES", "FILES"}));
  EXPECT_EQ(instrument->Channels()->XMLNode(), element.selectSingleNode("CHANNELS"));
  EXPECT_EQ(instrument->OUTChannels(), instrument->Outputs());

  auto parents = [&] {
    return Names{instrument->Channels()->Item(2)->Parent(), instrument->Events()->Item(1)->Parent(),
                 instrument->Outputs()->Parent(),           instrument->CDTSettings()->Parent(),
                 instrument->Resources()->Parent(),         instrument->Buddies()->Parent()};
  };
  EXPECT_EQ(parents(), Names(6, "I1"));
  instrument->Key("I2");  // a new key reaches every collection but the files
  EXPECT_EQ(parents(), Names(6, "I2"));
  EXPECT_EQ(instrument->Files()->Key(), "");

  instrument->Install(owner);  // again: no second container
  EXPECT_EQ(element.selectNodes("CHANNELS").size() + element.selectNodes("FILES").size(), 2u);

  instrument->Changed(true);  // reaches the channels
  EXPECT_EQ(ChildText(element, "CHANGED"), "-1");
  EXPECT_TRUE(instrument->Channels()->Item(1)->Changed());
  instrument->Changed(false);
  EXPECT_EQ(ChildText(element, "CHANGED"), "(absent)");
  EXPECT_FALSE(instrument->Channels()->Changed());

  // Collections of an instrument not installed show what its element holds, adding nothing.
  auto library =
      Bound("<INSTRUMENT><CHANNELS><CHANNEL><KEY>T</KEY></CHANNEL></CHANNELS></INSTRUMENT>");
  EXPECT_EQ(library->Channels()->Item(1)->Key(), "T");
  EXPECT_EQ(library->Outputs()->Count() + library->CDTSettings()->Count(), 0);
  EXPECT_EQ(ChildNames(library->XMLNode()), Names{"CHANNELS"});
}

// Records what it is asked by name; its answers and failures are set by the test.
struct RecordingLoader : Object {
  static inline Names calls;
  static inline Args installArgs;
  static inline bool answer = true;
  static inline bool raise = false;

  Variant Invoke(std::string_view member, const Args& args) override {
    calls.emplace_back(member);
    if (raise) throw Error(err::kInvalidProcedureCall);
    if (member == "Install") installArgs = args;
    if (member == "Install" || member == "UnInstall") return {};
    return Variant(answer ? -1 : 0);
  }
};

TEST(StdInstrument, HooksGoToTheLoaderByName) {
  RegisterClassOf<RecordingLoader>("Tests.RecordingLoader");
  RecordingLoader::calls.clear();
  RecordingLoader::answer = true;
  RecordingLoader::raise = false;

  auto plain = std::make_shared<clsStdInstrument>();
  plain->Install(nullptr);
  EXPECT_FALSE(plain->Loader());
  EXPECT_TRUE(plain->Load() && plain->Save() && plain->BeforeWrite() && plain->BeforeCompile() &&
              plain->QueryUninstall());
  plain->UnInstall();

  auto instrument = std::make_shared<clsStdInstrument>();
  instrument->LoaderClass("Tests.RecordingLoader");
  auto owner = std::make_shared<Object>();
  instrument->Install(owner);
  ASSERT_TRUE(instrument->Loader());
  ASSERT_EQ(RecordingLoader::installArgs.size(), 2u);
  EXPECT_EQ(RecordingLoader::installArgs[0].ToObject(), instrument);
  EXPECT_EQ(RecordingLoader::installArgs[1].ToObject(), owner);

  EXPECT_TRUE(instrument->Load());
  RecordingLoader::answer = false;
  EXPECT_FALSE(instrument->Save() || instrument->BeforeWrite() || instrument->BeforeCompile() ||
               instrument->QueryUninstall());
  instrument->UnInstall();
  EXPECT_EQ(RecordingLoader::calls, (Names{"Install", "Load", "Save", "BeforeWrite",
                                           "BeforeCompile", "QueryUninstall", "UnInstall"}));

  // A loader that raises fails every hook; removal still goes on.
  RecordingLoader::raise = true;
  EXPECT_FALSE(instrument->Load());
  EXPECT_FALSE(instrument->QueryUninstall());
  EXPECT_NO_THROW(instrument->UnInstall());

  // A loader whose Install raises is dropped, and so is a class nobody registered.
  instrument->Install(owner);
  EXPECT_FALSE(instrument->Loader());
  EXPECT_TRUE(instrument->Load());
  RecordingLoader::raise = false;
  instrument->LoaderClass("Tests.NoSuchLoader");
  EXPECT_NO_THROW(instrument->Install(owner));
  EXPECT_FALSE(instrument->Loader());
  UnregisterClass("Tests.RecordingLoader");
  RecordingLoader::installArgs.clear();
}

TEST(StdInstrument, RebindingInstallsAgainAndReloadsTheIcon) {
  auto host = std::make_shared<test::RecordingHost>();
  ScopedHostServices scope(host);
  auto instrument = Bound(
      "<INSTRUMENT><KEY>A</KEY><CHANNELS><CHANNEL><KEY>X</KEY></CHANNEL></CHANNELS>"
      "</INSTRUMENT>");
  xml::Node first = instrument->XMLNode();
  xml::Node second =
      InstrumentIn("<INSTRUMENT><KEY>B</KEY><ICONSOURCE>probe.ico</ICONSOURCE></INSTRUMENT>");
  auto owner = std::make_shared<Object>();  // rebinding installs again for a living owner
  instrument->Install(owner);

  host->iconRequests.clear();
  instrument->XMLNode(second);
  EXPECT_EQ(host->iconRequests, (Requests{{"probe.ico", "HALDEN"}}));
  ASSERT_TRUE(instrument->Icon());
  EXPECT_EQ(instrument->Icon()->source, "probe.ico");
  EXPECT_EQ(ChildNames(second), (Names{"KEY", "ICONSOURCE", "CHANNELS", "CDTSETTINGS", "OUTPUTS",
                                       "EVENTS", "RESOURCES", "BUDDIES", "FILES"}));
  EXPECT_EQ(instrument->Channels()->Count(), 0);
  EXPECT_EQ(instrument->Channels()->Parent(), "B");
  // The element left behind keeps its channels.
  EXPECT_EQ(first.selectSingleNode("CHANNELS").selectNodes("CHANNEL").size(), 1u);

  instrument->IconSource("gauge.ico");
  EXPECT_EQ(host->iconRequests.back(), Requests::value_type("gauge.ico", "HALDEN"));
  EXPECT_EQ(instrument->Icon()->source, "gauge.ico");
}

TEST(StdInstrument, AnswersLateBoundCallsAndIsCreatableByName) {
  ObjectPtr object = CreateObject("Corvale2.clsStdInstrument");
  auto instrument = std::dynamic_pointer_cast<clsStdInstrument>(object);
  ASSERT_TRUE(instrument);
  object->Invoke("catcode", {Variant("TMP100")});
  EXPECT_EQ(instrument->CatCode(), "TMP100");
  EXPECT_EQ(object->Invoke("OUTChannels").ToObject(), instrument->Outputs());
  EXPECT_EQ(ErrorOf([&] { object->Invoke("Colour"); }), err::kNotSupported);
}

}  // namespace
}  // namespace corvale

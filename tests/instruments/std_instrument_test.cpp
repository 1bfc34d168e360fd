// The standard instrument: what its properties leave in the document, how Install binds the
// collections, and how the hooks reach a loader by name.
#include "corvale/instruments/std_instrument.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/outputs.h"
#include "corvale/libraries/buddy_instruments.h"
#include "corvale/loggers/logger_resource_list.h"

namespace corvale {
namespace {

// The first INSTRUMENT of a library document parsed from text.
xml::Node InstrumentIn(const std::string& body) {
  xml::Document document = xml::Document::create();
  EXPECT_TRUE(document.loadXML("<LIBRARY>" + body + "</LIBRARY>"));
  return document.documentElement().selectSingleNode("INSTRUMENT");
}

std::shared_ptr<clsStdInstrument> Bound(const xml::Node& element) {
  auto instrument = std::make_shared<clsStdInstrument>();
  instrument->XMLNode(element);
  return instrument;
}

std::vector<std::string> ChildNames(const xml::Node& element) {
  std::vector<std::string> names;
  for (const xml::Node& child : element.childNodes())
    if (child.nodeType() == xml::NodeType::Element) names.push_back(child.nodeName());
  return names;
}

std::string Text(const xml::Node& element, const char* child) {
  return element.selectSingleNode(child).text();
}

TEST(StdInstrument, ReadingMaterialisesOnlyDefaultsThatAreNeitherEmptyNorZero) {
  xml::Node element = InstrumentIn("<INSTRUMENT><NAME>Probe</NAME></INSTRUMENT>");
  auto instrument = Bound(element);
  const std::string before = element.ownerDocument().xml();

  EXPECT_EQ(instrument->CatCode(), "");
  EXPECT_EQ(instrument->LoggerTypes(), 0);
  EXPECT_EQ(instrument->Instance(), 0);
  EXPECT_EQ(instrument->Index(), 0);
  EXPECT_FALSE(instrument->ReadOnly());
  EXPECT_FALSE(instrument->SingleUse());
  EXPECT_FALSE(instrument->LoadFromScheme());
  EXPECT_EQ(instrument->Tag(), "");
  EXPECT_EQ(element.ownerDocument().xml(), before) << "empty defaults leave no trace";

  EXPECT_FLOAT_EQ(instrument->Version(), 1.0f);
  EXPECT_TRUE(instrument->Visible());
  EXPECT_EQ(instrument->MinimumBuildRevision(), "4.01.0018");
  EXPECT_EQ(Text(element, "VERSION"), "1");
  EXPECT_EQ(Text(element, "VISIBLE"), "-1");
  EXPECT_EQ(Text(element, "MINBUILDREVISION"), "4.01.0018");
  EXPECT_EQ(Text(element.parentNode(), "CHANGED"), "-1") << "the document is marked changed";
}

TEST(StdInstrument, SettersStoreFalseAndZeroByAbsenceUnlessForced) {
  auto instrument = std::make_shared<clsStdInstrument>();
  xml::Node element = instrument->XMLNode();
  EXPECT_EQ(element.nodeName(), "INSTRUMENT");
  EXPECT_FALSE(element.parentNode()) << "a new instrument is detached";

  instrument->ReadOnly(true);
  EXPECT_EQ(Text(element, "READONLY"), "-1");
  instrument->ReadOnly(false);
  EXPECT_FALSE(element.selectSingleNode("READONLY"));

  instrument->Visible(false);
  EXPECT_FALSE(element.selectSingleNode("VISIBLE"));
  instrument->LoggerTypes(5);
  EXPECT_EQ(Text(element, "LOGGERTYPES"), "5");
  instrument->LoggerTypes(0);
  EXPECT_FALSE(element.selectSingleNode("LOGGERTYPES"));
  instrument->Version(2.5f);
  EXPECT_EQ(Text(element, "VERSION"), "2.5");

  // Tag and the build revision are always written, even when empty.
  instrument->Tag("");
  ASSERT_TRUE(element.selectSingleNode("TAG"));
  EXPECT_EQ(Text(element, "TAG"), "");
  instrument->MinimumBuildRevision("");
  ASSERT_TRUE(element.selectSingleNode("MINBUILDREVISION"));
  EXPECT_EQ(instrument->MinimumBuildRevision(), "");

  // The name is also an attribute, which stays when the element goes.
  instrument->Name("Rain gauge");
  EXPECT_EQ(Text(element, "NAME"), "Rain gauge");
  EXPECT_EQ(element.getAttribute("NAME"), "Rain gauge");
  instrument->Name("");
  EXPECT_FALSE(element.selectSingleNode("NAME"));
  EXPECT_TRUE(element.hasAttribute("NAME"));
  EXPECT_EQ(element.getAttribute("NAME"), "");
}

TEST(StdInstrument, ProgramTextIsStoredOnOneLineAndReadBackAsLines) {
  auto instrument = std::make_shared<clsStdInstrument>();
  const std::string code = ".if pass==INIT_PASS\r\n\tINIT C:\\LOG\r\n.endif";
  instrument->INPCode(code);
  EXPECT_EQ(Text(instrument->XMLNode(), "INPCODE"),
            ".if pass==INIT_PASS\\n\\tINIT C:\\\\LOG\\n.endif");
  EXPECT_EQ(instrument->INPCode(), code);

  xml::Document document = xml::Document::create();
  document.appendChild(instrument->XMLNode());
  EXPECT_NE(document.saveToString().find(
                "<INPCODE>.if pass==INIT_PASS\\n\\tINIT C:\\\\LOG\\n.endif</INPCODE>"),
            std::string::npos);
}

TEST(StdInstrument, InstallBindsEveryCollectionAndHandsDownTheKey) {
  xml::Node element = InstrumentIn(
      "<INSTRUMENT><KEY>I1</KEY><CHANNELS><CHANNEL><KEY>CHAN_0</KEY></CHANNEL>"
      "<CHANNEL/></CHANNELS><EVENTS><EVENT/></EVENTS></INSTRUMENT>");
  auto instrument = Bound(element);
  auto owner = std::make_shared<Object>();
  instrument->Install(owner);

  // Existing containers are bound; missing ones are appended in the install order.
  EXPECT_EQ(ChildNames(element),
            (std::vector<std::string>{"KEY", "CHANNELS", "EVENTS", "CDTSETTINGS", "OUTPUTS",
                                      "RESOURCES", "BUDDIES", "FILES"}));
  EXPECT_EQ(instrument->Channels()->XMLNode(), element.selectSingleNode("CHANNELS"));
  ASSERT_EQ(instrument->Channels()->Count(), 2);
  EXPECT_EQ(instrument->Channels()->Item(2)->Key(), "CHAN_1");
  EXPECT_EQ(instrument->Events()->Item(1)->Key(), "EVENT01");
  EXPECT_EQ(instrument->OUTChannels(), instrument->Outputs());

  EXPECT_EQ(instrument->Channels()->Item(1)->Parent(), "I1");
  EXPECT_EQ(instrument->Events()->Item(1)->Parent(), "I1");
  EXPECT_EQ(instrument->Outputs()->Parent(), "I1");
  EXPECT_EQ(instrument->CDTSettings()->Parent(), "I1");
  EXPECT_EQ(instrument->Resources()->Parent(), "I1");
  EXPECT_EQ(instrument->Buddies()->Parent(), "I1");

  // A new key reaches every collection but the files.
  instrument->Key("I2");
  EXPECT_EQ(instrument->Channels()->Item(2)->Parent(), "I2");
  EXPECT_EQ(instrument->Events()->Item(1)->Parent(), "I2");
  EXPECT_EQ(instrument->Outputs()->Parent(), "I2");
  EXPECT_EQ(instrument->CDTSettings()->Parent(), "I2");
  EXPECT_EQ(instrument->Resources()->Parent(), "I2");
  EXPECT_EQ(instrument->Buddies()->Parent(), "I2");
  EXPECT_EQ(instrument->Files()->Key(), "");

  // Installing again adds no second container.
  instrument->Install(owner);
  EXPECT_EQ(element.selectNodes("CHANNELS").size(), 1u);
  EXPECT_EQ(element.selectNodes("FILES").size(), 1u);

  // Changed reaches the channels.
  instrument->Changed(true);
  EXPECT_EQ(Text(element, "CHANGED"), "-1");
  EXPECT_TRUE(instrument->Channels()->Item(1)->Changed());
  instrument->Changed(false);
  EXPECT_FALSE(element.selectSingleNode("CHANGED"));
  EXPECT_FALSE(instrument->Channels()->Changed());
}

TEST(StdInstrument, CollectionsBeforeInstallNeverAddContainers) {
  auto detached = std::make_shared<clsStdInstrument>();
  ASSERT_TRUE(detached->CDTSettings());
  EXPECT_EQ(detached->CDTSettings()->Count(), 0);
  EXPECT_FALSE(detached->XMLNode().selectSingleNode("CDTSETTINGS"));

  // A library instrument shows what its element holds without being installed.
  xml::Node element =
      InstrumentIn("<INSTRUMENT><CHANNELS><CHANNEL><KEY>T</KEY></CHANNEL></CHANNELS></INSTRUMENT>");
  auto library = Bound(element);
  EXPECT_EQ(library->Channels()->Item(1)->Key(), "T");
  EXPECT_EQ(library->Outputs()->Count(), 0);
  EXPECT_EQ(ChildNames(element), std::vector<std::string>{"CHANNELS"});
}

// Records what it is asked by name; its answers and failures are set by the test.
struct RecordingLoader : Object {
  static inline std::vector<std::string> calls;
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
  EXPECT_FALSE(instrument->Save());
  EXPECT_FALSE(instrument->BeforeWrite());
  EXPECT_FALSE(instrument->BeforeCompile());
  EXPECT_FALSE(instrument->QueryUninstall());
  instrument->UnInstall();
  EXPECT_EQ(RecordingLoader::calls,
            (std::vector<std::string>{"Install", "Load", "Save", "BeforeWrite", "BeforeCompile",
                                      "QueryUninstall", "UnInstall"}));

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

  // A loader without the hooks fails them through its member lookup.
  instrument->Loader(std::make_shared<Object>());
  EXPECT_FALSE(instrument->Load());
  EXPECT_FALSE(instrument->BeforeCompile());
  UnregisterClass("Tests.RecordingLoader");
  RecordingLoader::installArgs.clear();
}

// Remembers what it was asked to load.
struct IconHost : HostServices {
  std::vector<std::string> asked;
  PicturePtr LoadIcon(std::string_view source, std::string_view group) override {
    asked.push_back(std::string(source) + "|" + std::string(group));
    return std::make_shared<Picture>(Picture{std::string(source), ""});
  }
};

TEST(StdInstrument, RebindingInstallsAgainAndReloadsTheIcon) {
  auto host = std::make_shared<IconHost>();
  ScopedHostServices scope(host);

  xml::Node first = InstrumentIn(
      "<INSTRUMENT><KEY>A</KEY><CHANNELS><CHANNEL><KEY>X</KEY></CHANNEL></CHANNELS>"
      "</INSTRUMENT>");
  xml::Node second =
      InstrumentIn("<INSTRUMENT><KEY>B</KEY><ICONSOURCE>probe.ico</ICONSOURCE></INSTRUMENT>");
  auto instrument = Bound(first);
  auto owner = std::make_shared<Object>();
  instrument->Install(owner);

  host->asked.clear();
  instrument->XMLNode(second);
  EXPECT_EQ(host->asked, std::vector<std::string>{"probe.ico|HALDEN"});
  ASSERT_TRUE(instrument->Icon());
  EXPECT_EQ(instrument->Icon()->source, "probe.ico");
  EXPECT_EQ(ChildNames(second),
            (std::vector<std::string>{"KEY", "ICONSOURCE", "CHANNELS", "CDTSETTINGS", "OUTPUTS",
                                      "EVENTS", "RESOURCES", "BUDDIES", "FILES"}));
  EXPECT_EQ(instrument->Channels()->Count(), 0);
  EXPECT_EQ(instrument->Channels()->Parent(), "B");
  // The element left behind keeps its channels.
  EXPECT_EQ(first.selectSingleNode("CHANNELS").selectNodes("CHANNEL").size(), 1u);

  instrument->IconSource("gauge.ico");
  EXPECT_EQ(host->asked.back(), "gauge.ico|HALDEN");
  EXPECT_EQ(instrument->Icon()->source, "gauge.ico");
}

TEST(StdInstrument, AnswersLateBoundCallsAndIsCreatableByName) {
  ObjectPtr object = CreateObject("Corvale2.clsStdInstrument");
  auto instrument = std::dynamic_pointer_cast<clsStdInstrument>(object);
  ASSERT_TRUE(instrument);

  object->Invoke("catcode", {Variant("TMP100")});
  object->Invoke("Name", {Variant("Air temperature")});
  object->Invoke("Version", {Variant(1.5)});
  EXPECT_EQ(instrument->CatCode(), "TMP100");
  EXPECT_EQ(object->Invoke("NAME").ToString(), "Air temperature");
  EXPECT_EQ(object->Invoke("Version").ToDouble(), 1.5);
  EXPECT_TRUE(object->Invoke("Load").ToBool());
  EXPECT_EQ(object->Invoke("OUTChannels").ToObject(), instrument->Outputs());
  try {
    object->Invoke("Colour");
    FAIL() << "unknown member answered";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), err::kNotSupported);
  }
}

}  // namespace
}  // namespace corvale

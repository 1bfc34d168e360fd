#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/atomic_file.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/xml_merge_instruments.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using namespace corvale::test;

constexpr const char* kTarget = R"(<?xml version = "1.0" encoding="windows-1252"?>
<PennardInstrumentLibrary>
  <NAME>Harbour</NAME>
  <INSTRUMENT><CATCODE>TMP</CATCODE><NAME>Air temperature</NAME><VERSION>1</VERSION><INDEX>2</INDEX></INSTRUMENT>
  <INSTRUMENT><CATCODE>LVL</CATCODE><NAME>Tank level</NAME><VERSION>3</VERSION></INSTRUMENT>
  <INSTRUMENT><CATCODE>RAIN</CATCODE><NAME>Rain gauge</NAME></INSTRUMENT>
</PennardInstrumentLibrary>
)";

std::string MergeFile(const std::string& instruments) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<MERGEINSTRUMENTS>
  <NAME>Tide pack</NAME>
  <DESCRIPTION>Tide and wave sensors</DESCRIPTION>
  <VERSION>2.1</VERSION>
  <TARGET>Test.Harbour</TARGET>
  <PROVIDER>Quay Instruments</PROVIDER>
  <LICENSETEXT>Free for harbour use</LICENSETEXT>
)" + instruments +
         "</MERGEINSTRUMENTS>\n";
}

constexpr const char* kNewTide =
    "<INSTRUMENT><CATCODE>TIDE</CATCODE><NAME>Tide gauge</NAME><VERSION>1</VERSION></INSTRUMENT>";
constexpr const char* kNewerTemperature =
    "<INSTRUMENT><CATCODE>tmp</CATCODE><NAME>Air temperature v2</NAME><VERSION>2</VERSION>"
    "</INSTRUMENT>";
constexpr const char* kOlderLevel =
    "<INSTRUMENT><CATCODE>LVL</CATCODE><NAME>Old level</NAME><VERSION>2.5</VERSION></INSTRUMENT>";
constexpr const char* kSameRain =
    "<INSTRUMENT><CATCODE>RAIN</CATCODE><NAME>Same rain</NAME><VERSION>1</VERSION></INSTRUMENT>";

class MergeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    targetPath = WriteFile("merge-target-" + std::to_string(++counter) + ".xml", kTarget);
    const std::string path = targetPath;
    RegisterClass("Test.Harbour", [path] {
      auto library = std::make_shared<XMLInstruments>();
      library->Load(path);
      return library;
    });
    merge.Libraries(libraries);
  }
  void TearDown() override { UnregisterClass("Test.Harbour"); }

  bool LoadMerge(const std::string& instruments) {
    return merge.Load(
        WriteFile("merge-" + std::to_string(counter) + ".xml", MergeFile(instruments)));
  }
  // The instruments of the target file as "CODE Name", joined by "|".
  std::string Target() {
    XMLInstruments reread;
    EXPECT_TRUE(reread.Load(targetPath));
    std::string codes;
    for (int16_t i = 1; i <= reread.Count(); ++i)
      codes += (i > 1 ? "|" : "") + reread.Item(i)->CatCode() + " " + reread.Item(i)->Name();
    return codes;
  }

  static inline int counter = 0;
  std::string targetPath;
  std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
  ScopedHostServices scope{host};
  std::shared_ptr<clsLibraries> libraries = std::make_shared<clsLibraries>();
  XMLMergeInstruments merge;
};

TEST_F(MergeTest, NewInstrumentsAreAddedAfterOneQuestion) {
  ASSERT_TRUE(LoadMerge(std::string(kNewTide) +
                        "<INSTRUMENT><CATCODE>WAVE</CATCODE><NAME>Wave buoy</NAME></INSTRUMENT>"));
  EXPECT_EQ(merge.Name(), "Tide pack");
  EXPECT_EQ(merge.Instruments()->Count(), 2);

  MergeResult result = merge.MergeInstruments();
  ASSERT_EQ(host->boxes.size(), 1u);
  EXPECT_EQ(host->boxes[0].title, "Merge Instrument Extension");
  EXPECT_EQ(host->boxes[0].icon, MsgIcon::Question);
  EXPECT_EQ(host->boxes[0].buttons, MsgButtons::OKCancel);
  EXPECT_EQ(host->boxes[0].text,
            "New library extension modules detected...\r\n\r\n"
            "New module = Tide pack: Tide and wave sensors\r\n"
            "Version: 2.1\r\n"
            "Provided by: Quay Instruments\r\n\r\n"
            "\"Free for harbour use\"\r\n\r\n"
            "Merge instruments into the library");
  ASSERT_EQ(result.added.size(), 2u);
  EXPECT_EQ(result.added[0].catCode, "TIDE");
  EXPECT_FALSE(!result.replaced.empty() || result.cancelled);
  EXPECT_EQ(Target(),
            "TMP Air temperature|LVL Tank level|RAIN Rain gauge|TIDE Tide gauge|WAVE Wave buoy");

  // The set holds the target under its class name; the same merge again changes nothing.
  EXPECT_EQ(libraries->Item("Test.Harbour")->Count(), 5);
  host->boxes.clear();
  result = merge.MergeInstruments();
  EXPECT_TRUE(result.added.empty());
  EXPECT_TRUE(host->boxes.empty());
}

// TMP carries an INDEX from an earlier session that no longer fits its position: the
// instrument found by code is the one replaced.
TEST_F(MergeTest, StrictlyNewerVersionsReplaceAndMoveToTheEnd) {
  ASSERT_TRUE(LoadMerge(std::string(kOlderLevel) + kSameRain + kNewerTemperature));
  MergeResult result = merge.MergeInstruments();
  EXPECT_EQ(host->boxes.size(), 1u);
  ASSERT_EQ(result.replaced.size(), 1u);
  EXPECT_EQ(result.replaced[0].catCode, "tmp");
  EXPECT_FLOAT_EQ(result.replaced[0].oldVersion, 1.0f);
  EXPECT_FLOAT_EQ(result.replaced[0].newVersion, 2.0f);
  EXPECT_TRUE(result.added.empty());
  // Lower (LVL) and equal (RAIN) versions are left alone.
  EXPECT_EQ(Target(), "LVL Tank level|RAIN Rain gauge|tmp Air temperature v2");
}

TEST_F(MergeTest, NothingToChangeSavesWithoutAsking) {
  ASSERT_TRUE(LoadMerge(std::string(kOlderLevel) + kSameRain));
  InstrumentsPtr target = libraries->Library("Test.Harbour");
  ASSERT_NE(target, nullptr);
  const FileStamp before = StampFile(targetPath);  // the merge must write the library back

  MergeResult result = merge.MergeInstruments();
  EXPECT_NE(StampFile(targetPath).inode, before.inode);
  EXPECT_TRUE(host->boxes.empty());
  EXPECT_FALSE(result.asked);
  EXPECT_TRUE(result.added.empty() && result.replaced.empty());
  EXPECT_EQ(Target(), "TMP Air temperature|LVL Tank level|RAIN Rain gauge");
}

TEST_F(MergeTest, CancelLeavesTheTargetUnchangedAndUnsaved) {
  ASSERT_TRUE(LoadMerge(std::string(kSameRain) + kNewTide + kNewerTemperature));
  host->answer = MsgAnswer::Cancel;
  const std::string before = ReadFile(targetPath);

  MergeResult result = merge.MergeInstruments();
  EXPECT_TRUE(result.cancelled && result.added.empty());
  EXPECT_EQ(host->boxes.size(), 1u);
  EXPECT_EQ(libraries->Item("Test.Harbour")->Count(), 3);
  EXPECT_EQ(ReadFile(targetPath), before);

  // Any other answer goes ahead.
  host->answer = MsgAnswer::Yes;
  result = merge.MergeInstruments();
  EXPECT_EQ(result.added.size(), 1u);
  EXPECT_EQ(result.replaced.size(), 1u);
}

TEST_F(MergeTest, MergeFileLayoutsAndFailures) {
  // Built from nothing: declaration, MERGEINSTRUMENTS, a nested empty library root.
  XMLMergeInstruments built;
  EXPECT_TRUE(built.XMLNode().selectSingleNode("PennardInstrumentLibrary") ==
              built.Instruments()->XMLNode());
  EXPECT_EQ(built.Version(), "1");
  built.Version("0");  // forced: kept as text
  EXPECT_EQ(built.Version(), "0");
  built.UserName("harbour master");
  const std::string saved = TempDir() + "/built-merge.xml";
  built.Save(saved);
  EXPECT_EQ(ReadFile(saved).rfind(R"(<?xml version = "1.0" encoding="windows-1252"?>)", 0), 0u);

  // Loaded: the instruments are MERGEINSTRUMENTS' own children.
  XMLMergeInstruments loaded;
  ASSERT_TRUE(loaded.Load(saved));
  EXPECT_EQ(loaded.UserName(), "harbour master");
  EXPECT_TRUE(loaded.Instruments()->XMLNode() == loaded.XMLNode());
  EXPECT_FALSE(loaded.Load(WriteFile("not-merge.xml", "<PennardInstrumentLibrary/>")));
  EXPECT_FALSE(loaded.Load(WriteFile("broken-merge.xml", "<MERGEINSTRUMENTS>")));

  // No library set, or a target that cannot be created: error 91, nothing asked.
  ASSERT_TRUE(LoadMerge(kNewTide));
  XMLMergeInstruments orphan;
  EXPECT_EQ(ErrorOf([&] { orphan.MergeInstruments(); }), err::kObjectNotSet);
  merge.Target("Nowhere.Library");
  EXPECT_EQ(ErrorOf([&] { merge.MergeInstruments(); }), err::kObjectNotSet);
  EXPECT_TRUE(host->boxes.empty());

  // Hosts create it by class name and call it by member name.
  ObjectPtr late = CreateObject("Corvale2.XMLMergeInstruments");
  ASSERT_TRUE(late->Invoke("Load", {saved}).ToBool());
  EXPECT_EQ(late->Invoke("UserName").ToString(), "harbour master");
  EXPECT_EQ(ErrorOf([&] { late->Invoke("MergeInstruments"); }), err::kObjectNotSet);
}

}  // namespace
}  // namespace corvale

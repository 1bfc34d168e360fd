#include "corvale/scheme/scheme.h"

#include <gtest/gtest.h>

#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/loggers/logger_defs.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/resources/logger_resource.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/scheme/log.h"
#include "corvale/scheme/log_buffer.h"
#include "corvale/scheme/log_entries.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

const std::string kLibrary = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_library.xml";
const std::string kLoggers = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_loggers.xml";

SchemePtr NewScheme(std::vector<std::string> libraries = {kLibrary}) {
  auto loggers = std::make_shared<clsLoggerDefs>();
  EXPECT_TRUE(loggers->Load(kLoggers));
  auto scheme = std::make_shared<Scheme>();
  scheme->New("Site", *loggers->Item("CV800"), libraries);
  return scheme;
}

std::string ChildNames(const xml::Node& element) {
  std::string names;
  for (xml::Node n = element.firstChild(); n; n = n.nextSibling())
    if (n.nodeType() == xml::NodeType::Element) names += n.nodeName() + " ";
  return names;
}

TEST(Scheme, SavesAndReloadsInstrumentsWithTheirAllocations) {
  SchemePtr scheme = NewScheme();
  auto& set = *scheme->Instruments();
  ASSERT_TRUE(set.Add(scheme->LibraryInstrument("SM300"), std::nullopt));
  ASSERT_TRUE(set.Add(scheme->LibraryInstrument("GPS10", kLibrary), std::nullopt));
  EXPECT_EQ(scheme->LibraryInstrument("SM300", "other.xml"), nullptr);
  const std::string path = test::TempDir() + "/site.xml";
  scheme->Save(path);

  const std::string saved = test::ReadFile(path);
  EXPECT_EQ(saved.rfind("<?xml version = \"1.0\" encoding=\"windows-1252\"?>", 0), 0u) << saved;
  auto reloaded = std::make_shared<Scheme>();
  ASSERT_TRUE(reloaded->Load(path));
  EXPECT_EQ(ChildNames(reloaded->Document().documentElement())
                .rfind("NAME LOGGER LIBRARIES INSTRUMENTS OUTPUTS EVENTS LOGBUFFERS ", 0),
            0u);
  EXPECT_EQ(reloaded->Instruments()->Errors()->Count(), 0);
  ASSERT_EQ(reloaded->Instruments()->Count(), 2);
  EXPECT_EQ(reloaded->Instruments()->Item(2)->Key(), "GPS10");
  EXPECT_EQ(reloaded->Outputs()->Item(1)->Key(), "TIMESYNC");
  EXPECT_EQ(reloaded->Events()->Item(1)->Parent(), "SM300_01");
  // The logger copy carries the allocation: the next probe gets the next inputs.
  EXPECT_EQ(reloaded->Logger()->Resources()->Item("COM1")->Users()->Item(1), "GPS10");
  auto next = reloaded->LibraryInstrument("SM300");
  EXPECT_TRUE(reloaded->Instruments()->Add(next, std::nullopt));
  EXPECT_EQ(next->Channels()->Item(1)->LoggerChannel(), "SE03_LOW");
  EXPECT_EQ(next->Channels()->Item(1)->Alias(), "Moisture1");

  EXPECT_EQ(reloaded->Invoke("SchemeName").ToString(), "site");
  EXPECT_EQ(reloaded->Invoke("SchemePath").ToString(), test::TempDir() + "/");
  EXPECT_EQ(reloaded->Invoke("Logger").ToObject(), reloaded->Logger());

  // A document that is no scheme is refused and the scheme stays as it was.
  test::WriteFile("not_scheme.xml", "<LOGGERS/>");
  EXPECT_FALSE(reloaded->Load(test::TempDir() + "/not_scheme.xml"));
  EXPECT_EQ(reloaded->Instruments()->Count(), 3);
  EXPECT_EQ(reloaded->Document().documentElement().nodeName(), "SCHEME");
}

TEST(Scheme, RemovalLeavesTheLastLogBufferAndReportsLibrariesItCannotOpen) {
  SchemePtr scheme = NewScheme({kLibrary, "missing.xml"});
  auto& set = *scheme->Instruments();
  ASSERT_EQ(set.Errors()->Count(), 1);
  EXPECT_EQ(set.Errors()->Item(1)->Description(), "Unable to open the library missing.xml");
  set.Errors()->Clear();

  set.Add(scheme->LibraryInstrument("SM300"), std::nullopt);
  set.Add(scheme->LibraryInstrument("SM300"), std::nullopt);
  scheme->LogBuffers()->SetBufferCount(3);
  for (int16_t b = 1; b <= 3; ++b) {
    for (const char* channel : {"SM300_01|CHAN_0", "SM300_02|CHAN_0", "SM300_01|CHAN_1"}) {
      auto entry = std::make_shared<clsLog>();
      entry->Channel(channel);
      scheme->LogBuffers()->Item(b)->LogEntries()->Add(entry);
    }
  }
  set.Remove("SM300_01");
  // Buffers 1 and 2 lose the probe's entries; the last buffer is not visited.
  EXPECT_EQ(scheme->LogBuffers()->Item(1)->LogEntries()->Count(), 1);
  EXPECT_EQ(scheme->LogBuffers()->Item(2)->LogEntries()->Item(1)->Key(), "SM300_02|CHAN_0|0");
  EXPECT_EQ(scheme->LogBuffers()->Item(3)->LogEntries()->Count(), 3);
}

}  // namespace
}  // namespace corvale

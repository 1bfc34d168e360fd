#include "corvale/scheme/log_buffers.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/libraries/library_instruments.h"
#include "corvale/scheme/log.h"
#include "corvale/scheme/log_buffer.h"
#include "corvale/scheme/log_entries.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

LogPtr Entry(const std::string& channel, int32_t parameter, int16_t bytes, bool enabled) {
  auto entry = std::make_shared<clsLog>();
  entry->Channel(channel);
  entry->Parameter(parameter);
  entry->Bytes(bytes);
  entry->Enabled(enabled);
  return entry;
}

// The instruments of a scheme as RefreshLogEntries sees them: looked up by scheme key.
class SchemeSet : public clsLibraryInstruments {
 public:
  InstrumentPtr Item(const corvale::Index& index) override {
    for (int16_t i = 1; i <= Count(); ++i)
      if (LibraryItem(i)->Key() == index.Key()) return LibraryItem(i);
    throw Error(err::kSubscriptOutOfRange);
  }
};

TEST(LogBuffers, RecordSizeAndMemoryTime) {
  clsLogBuffers set;
  auto buffer = set.Add(std::make_shared<clsLogBuffer>());
  auto entries = buffer->LogEntries();

  // Disabled entries count nothing; without a forced time stamp the record is empty.
  entries->Add(Entry("TMP_01|CHAN_0", 0, 4, false));
  EXPECT_EQ(buffer->LogSize(), 0);
  EXPECT_EQ(ChildText(buffer->XMLNode(), "LOGSIZE"), "(absent)");
  buffer->Size(1000);
  buffer->LogInterval(60);
  EXPECT_EQ(buffer->MemoryTime(), 0);

  entries->Add(Entry("TMP_01|CHAN_1", 0, 2, true));
  entries->Add(Entry("TMP_01|CHAN_2", 0, 6, true));
  EXPECT_EQ(buffer->LogSize(), 8);
  EXPECT_DOUBLE_EQ(buffer->MemoryTime(), 125.0 * 60 / 86400);
  // Whole records, halves to the even neighbour: 1004 / 8 = 125.5 -> 126, 996 / 8 -> 124.
  buffer->Size(1004);
  EXPECT_DOUBLE_EQ(buffer->MemoryTime(), 126.0 * 60 / 86400);
  buffer->Size(996);
  EXPECT_DOUBLE_EQ(buffer->MemoryTime(), 124.0 * 60 / 86400);
  // Reserved bytes are not available for records; they never reach the document.
  buffer->Size(1004);
  buffer->LDRAllocation(4);
  EXPECT_DOUBLE_EQ(buffer->MemoryTime(), 125.0 * 60 / 86400);
  EXPECT_EQ(ChildText(buffer->XMLNode(), "LDRALLOCATION"), "(absent)");

  // A time stamp adds 4, set mode 1 adds 3, both at the next recalculation.
  buffer->ForceLogTime(true);
  set.Mode(1);
  EXPECT_EQ(buffer->LogSize(), 8);
  EXPECT_TRUE(buffer->LogTime());
  set.EnableChannel("none", true);
  EXPECT_EQ(buffer->LogSize(), 15);

  // Removing leaves the size as the last recalculation wrote it; a direct change of an
  // entry counts at the next one.
  entries->Remove("TMP_01|CHAN_2|0");
  EXPECT_EQ(buffer->LogSize(), 15);
  entries->Item(1)->Enabled(true);
  entries->Add(Entry("TMP_01|CHAN_3", 0, 1, false));
  EXPECT_EQ(buffer->LogSize(), 4 + 2 + 4 + 3);

  // Only time stamp and mode: 7.
  auto empty = set.Add(std::make_shared<clsLogBuffer>());
  empty->ForceLogTime(true);
  empty->CalculateLogSize();
  EXPECT_EQ(empty->LogSize(), 7);
  EXPECT_EQ(ChildText(set.XMLNode(), "MODE"), "1");
  set.Mode(0);
  EXPECT_EQ(ChildText(set.XMLNode(), "MODE"), "0");  // written even when 0

  // A record past the 16-bit range is an overflow, and the entry stays added.
  auto big = set.Add(std::make_shared<clsLogBuffer>());
  big->LogEntries()->Add(Entry("A|B", 0, 20000, true));
  EXPECT_EQ(ErrorOf([&] { big->LogEntries()->Add(Entry("A|C", 0, 20000, true)); }), err::kOverflow);
  EXPECT_EQ(big->LogEntries()->Count(), 2);
  EXPECT_EQ(big->LogSize(), 20000);
}

TEST(LogBuffers, KeysOfBuffersAndEntries) {
  clsLogBuffers set;
  for (int i = 0; i < 3; ++i) set.Add(std::make_shared<clsLogBuffer>());
  EXPECT_EQ(set.Item(1)->Key(), "BUFF0");
  EXPECT_EQ(set.Item(3)->Key(), "BUFF2");
  EXPECT_EQ(set.Item("buff1"), set.Item(2));
  // The number is the count, not the first free one: after BUFF0 goes, BUFF2 comes again.
  set.Remove("BUFF0");
  EXPECT_EQ(set.XMLNode().selectNodes("BUFFER").size(), 2u);
  EXPECT_EQ(ErrorOf([&] { set.Add(std::make_shared<clsLogBuffer>()); }), err::kDuplicateKey);
  EXPECT_EQ(set.Count(), 2);

  // Placed first in the list, the element still goes to the end of LOGBUFFERS.
  auto named = std::make_shared<clsLogBuffer>();
  named->Key("FAST");
  set.Add(named, corvale::Index(1));
  EXPECT_EQ(set.Item(1)->Key(), "FAST");
  EXPECT_EQ(ChildText(set.XMLNode().selectNodes("BUFFER").back(), "KEY"), "FAST");

  auto entries = set.Item("FAST")->LogEntries();
  auto t1 = entries->Add(Entry("T1", 3, 2, true));
  EXPECT_EQ(t1->Key(), "T1|3");
  EXPECT_EQ(ChildText(t1->XMLNode(), "KEY"), "T1|3");
  entries->Add(Entry("T1", 4, 2, true), corvale::Index("T1|3"));
  EXPECT_EQ(entries->Item(1)->Key(), "T1|4");
  EXPECT_EQ(ChildText(entries->XMLNode().selectNodes("LOG").front(), "KEY"), "T1|3");
  EXPECT_EQ(ErrorOf([&] { entries->Add(Entry("t1", 3, 1, true)); }), err::kDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { entries->Add(nullptr); }), err::kObjectNotSet);

  // SetBufferCount starts again from BUFF0 and leaves only the new elements.
  set.SetBufferCount(2);
  EXPECT_EQ(set.Count(), 2);
  EXPECT_EQ(set.Item(2)->Key(), "BUFF1");
  EXPECT_EQ(set.XMLNode().selectNodes("BUFFER").size(), 2u);
  set.SetBufferCount(0);
  EXPECT_EQ(set.Count(), 0);
}

TEST(LogBuffers, EnableChannelAndRemoveEntriesOfAnInstrument) {
  clsLogBuffers set;
  set.SetBufferCount(2);
  auto first = set.Item(1)->LogEntries();
  auto second = set.Item(2)->LogEntries();
  first->Add(Entry("TMP_01|CHAN_0", 0, 2, false));
  first->Add(Entry("TMP_01|CHAN_0", 1, 4, false));
  first->Add(Entry("tmp_01|CHAN_0", 2, 1, false));
  second->Add(Entry("TMP_01|CHAN_0", 0, 2, false));
  second->Add(Entry("FLOW_01|CHAN_0", 0, 4, true));

  // Exact comparison: the lower-case channel is another one.
  set.EnableChannel("TMP_01|CHAN_0", true);
  EXPECT_EQ(set.Item(1)->LogSize(), 6);
  EXPECT_EQ(set.Item(2)->LogSize(), 6);
  EXPECT_FALSE(first->Item(3)->Enabled());
  EXPECT_EQ(ChildText(first->Item(1)->XMLNode(), "ENABLED"), "-1");
  set.EnableChannel("TMP_01|CHAN_0", false);
  EXPECT_EQ(set.Item(1)->LogSize(), 0);
  EXPECT_EQ(ChildText(first->Item(1)->XMLNode(), "ENABLED"), "(absent)");

  EXPECT_EQ(first->RemoveEntriesOf("TMP_01"), 2);
  EXPECT_EQ(first->Count(), 1);
  EXPECT_EQ(first->Item(1)->Channel(), "tmp_01|CHAN_0");
  EXPECT_EQ(first->XMLNode().selectNodes("LOG").size(), 1u);
  EXPECT_EQ(second->RemoveEntriesOf("TMP_0"), 0);
  EXPECT_EQ(second->RemoveEntriesOf("FLOW_01"), 1);
  EXPECT_EQ(second->Item(1)->Key(), "TMP_01|CHAN_0|0");
  // A removed entry may come back.
  first->Add(Entry("TMP_01|CHAN_0", 1, 4, true));
  EXPECT_EQ(set.Item(1)->LogSize(), 4);
  // An entry enabled in the document itself counts from the next pass over the buffers.
  SetNodeText(first->Item(1)->XMLNode(), "ENABLED", "-1");
  set.EnableChannel("none", true);
  EXPECT_EQ(set.Item(1)->LogSize(), 5);
}

TEST(LogBuffers, RefreshFollowsTheSchemeChannels) {
  SchemeSet scheme;
  auto instrument = test::NewInstrument("TMP");
  instrument->Key("TMP_01");
  auto channels = instrument->Channels();
  for (int32_t type : {3, 8, 6}) {  // signed word, double, string
    auto channel = std::make_shared<clsInstChannel>();
    channel->InputDataType(type);
    channel->Enabled(type != 6);
    channels->Add(channel);
  }
  channels->Item(3)->NumberBytes(12);
  scheme.Add(instrument);

  clsLogBuffers set;
  set.SetBufferCount(1);
  auto buffer = set.Item(1);
  auto entries = buffer->LogEntries();
  entries->Add(Entry("TMP_01|CHAN_0", 0, 1, false));
  entries->Add(Entry("TMP_01|CHAN_9", 0, 1, true));  // no such channel
  entries->Add(Entry("TMP_01|CHAN_1", 0, 1, true));
  entries->Add(Entry("GONE_01|CHAN_0", 0, 1, true));  // no such instrument
  entries->Add(Entry("TMP_01|CHAN_2", 0, 1, true));
  entries->Add(Entry("TMP_01", 0, 1, true));  // names no channel

  set.RefreshLogEntries(scheme);
  ASSERT_EQ(entries->Count(), 3);
  EXPECT_EQ(entries->XMLNode().selectNodes("LOG").size(), 3u);
  EXPECT_EQ(test::ChildTexts(entries->Item(1)->XMLNode(), {"ENABLED", "BYTES", "INDEX"}), "-1|2|1");
  // A double is logged as a single.
  EXPECT_EQ(test::ChildTexts(entries->Item(2)->XMLNode(), {"ENABLED", "BYTES", "INDEX"}), "-1|4|2");
  // A string keeps its length; a disabled channel's entry is disabled.
  EXPECT_EQ(test::ChildTexts(entries->Item(3)->XMLNode(), {"ENABLED", "BYTES", "INDEX"}),
            "(absent)|12|3");
  EXPECT_EQ(buffer->LogSize(), 6);

  // An up-to-date scheme is left unchanged.
  xml::Document document = NewDocument();
  document.appendChild(CreateElement("SCHEME")).appendChild(set.XMLNode());
  SetNodeText(document.documentElement(), "CHANGED", "");
  set.RefreshLogEntries(scheme);
  EXPECT_EQ(ChildText(document.documentElement(), "CHANGED"), "(absent)");
  instrument->Channels()->Item(1)->InputDataType(5);
  set.RefreshLogEntries(scheme);
  EXPECT_EQ(ChildText(document.documentElement(), "CHANGED"), "-1");
  EXPECT_EQ(buffer->LogSize(), 8);
}

TEST(LogBuffers, SavedBuffersBindWithTheirEntriesAndDefaults) {
  xml::Document document = xml::Document::create();
  ASSERT_TRUE(document.loadXML(
      "<LOGBUFFERS><MODE>1</MODE>"
      "<BUFFER><KEY>MAIN</KEY><SIZE>4096</SIZE><LOGINTERVAL>0.5</LOGINTERVAL><LOGENTRIES>"
      "<LOG><KEY>A|X|0</KEY><CHANNEL>A|X</CHANNEL><BYTES>4</BYTES><ENABLED>-1</ENABLED></LOG>"
      "<LOG><KEY>A|Y|0</KEY><CHANNEL>A|Y</CHANNEL><BYTES>2</BYTES></LOG>"
      "</LOGENTRIES></BUFFER>"
      "<BUFFER><NAME>bare</NAME></BUFFER></LOGBUFFERS>"));
  auto set = std::dynamic_pointer_cast<clsLogBuffers>(CreateObject("Corvale2.clsLogBuffers"));
  set->XMLNode(document.documentElement());
  ASSERT_EQ(set->Count(), 2);
  auto main = set->Item("MAIN");
  EXPECT_FLOAT_EQ(main->LogInterval(), 0.5f);
  EXPECT_EQ(main->LogEntries()->Count(), 2);
  // The bound entries and the set's mode count at the next recalculation.
  main->LogEntries()->Add(Entry("B|Z", 0, 1, true));
  EXPECT_EQ(main->LogSize(), 4 + 1 + 3);
  EXPECT_EQ(main->LogEntries()->RemoveEntriesOf("A"), 2);

  // A buffer saved without LOGENTRIES gets an empty one; nothing is written by reading
  // but CUSTOM, which is always materialised as a word.
  auto bare = set->Item(2);
  EXPECT_EQ(bare->LogEntries()->Count(), 0);
  EXPECT_EQ(bare->XMLNode().selectNodes("LOGENTRIES").size(), 1u);
  EXPECT_FALSE(bare->AutoSize());
  EXPECT_EQ(bare->Number(), 0);
  EXPECT_FALSE(bare->LogTime());
  EXPECT_EQ(ChildText(bare->XMLNode(), "NUMBER"), "(absent)");
  EXPECT_FALSE(bare->CustomBuffer());
  EXPECT_EQ(ChildText(bare->XMLNode(), "CUSTOM"), "False");
  bare->CustomBuffer(true);
  EXPECT_EQ(ChildText(bare->XMLNode(), "CUSTOM"), "True");
  bare->AutoSize(true);
  EXPECT_EQ(ChildText(bare->XMLNode(), "AUTOSIZE"), "-1");

  // Replacing the entry list puts its element in place of the old one.
  auto fresh = std::make_shared<clsLogEntries>();
  fresh->Add(Entry("C|D", 0, 2, true));
  bare->LogEntries(fresh);
  EXPECT_EQ(bare->XMLNode().selectNodes("LOGENTRIES").size(), 1u);
  EXPECT_EQ(bare->XMLNode().selectSingleNode("LOGENTRIES"), fresh->XMLNode());
  fresh->Add(Entry("C|E", 0, 2, true));
  EXPECT_EQ(bare->LogSize(), 4 + 3);
}

// Hosts keep buffers, lists and entries longer than their owners; nothing may then point at
// an owner that has gone.
TEST(LogBuffers, PartsOutliveTheirOwners) {
  LogBufferPtr kept;
  LogEntriesPtr orphan;
  LogPtr entry = Entry("A|B", 0, 2, true);
  {
    auto set = std::make_shared<clsLogBuffers>();
    set->Mode(1);
    kept = set->Add(std::make_shared<clsLogBuffer>());
    kept->LogEntries()->Add(entry);
    EXPECT_EQ(kept->LogSize(), 5);
    auto doomed = std::make_shared<clsLogBuffer>();
    orphan = doomed->LogEntries();
  }
  kept->CalculateLogSize();
  EXPECT_EQ(kept->LogSize(), 2);  // no set, no mode bytes
  orphan->Add(Entry("C|D", 0, 1, true));
  EXPECT_EQ(orphan->EnabledBytes(), 1);
  // An entry taken out of its list no longer counts there, whatever it becomes.
  kept->LogEntries()->Remove(1);
  entry->Bytes(100);
  EXPECT_EQ(kept->LogEntries()->EnabledBytes(), 0);
  kept.reset();
  entry->Enabled(false);
}

TEST(LogBuffers, ByMemberName) {
  ObjectPtr set = CreateObject("Corvale2.clsLogBuffers");
  set->Invoke("SetBufferCount", {2});
  EXPECT_EQ(set->Invoke("Count").ToInt32(), 2);
  ObjectPtr buffer = set->Invoke("Item", {"BUFF1"}).ToObject();
  buffer->Invoke("Size", {1000});
  buffer->Invoke("LogInterval", {60});
  ObjectPtr entries = buffer->Invoke("LogEntries").ToObject();
  ObjectPtr entry = CreateObject("Corvale2.clsLog");
  entry->Invoke("Channel", {"T1"});
  entry->Invoke("Parameter", {3});
  entry->Invoke("Bytes", {8});
  entry->Invoke("Enabled", {true});
  entries->Invoke("Add", {entry});
  EXPECT_EQ(entry->Invoke("Key").ToString(), "T1|3");
  EXPECT_EQ(buffer->Invoke("LogSize").ToInt32(), 8);
  EXPECT_DOUBLE_EQ(buffer->Invoke("MemoryTime").ToDouble(), 125.0 * 60 / 86400);
  set->Invoke("EnableChannel", {"T1", false});
  EXPECT_EQ(buffer->Invoke("LogSize").ToInt32(), 0);
  ObjectPtr added = CreateObject("Corvale2.clsLogBuffer");
  set->Invoke("Add", {added, Variant(), "BUFF0"});
  EXPECT_EQ(set->Invoke("Item", {2}).ToObject(), added);
  EXPECT_EQ(added->Invoke("Key").ToString(), "BUFF2");
  EXPECT_EQ(ErrorOf([&] { set->Invoke("Add", {entry}); }), err::kTypeMismatch);
  set->Invoke("Remove", {1});
  set->Invoke("Clear");
  EXPECT_EQ(set->Invoke("Count").ToInt32(), 0);
}

}  // namespace
}  // namespace corvale

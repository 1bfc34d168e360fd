// A small logger, a library written to a temporary file, and a scheme object that hands them
// to a clsSchemeInstruments by member name, as a host's scheme does.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/listener.h"
#include "corvale/instruments/outputs.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/scheme/scheme_events.h"
#include "corvale/scheme/scheme_instruments.h"
#include "tests/support/test_support.h"

namespace corvale::test {

// Logger type 1: analogue inputs A1, A2 (range -100..100), counter C1; resources for each
// input, a shared excitation and one serial port.
inline constexpr const char* kLoggerXml = R"(<LOGGER><KEY>LG</KEY><LOGGERTYPE>1</LOGGERTYPE>
<INPUTCHANNELS>
 <CHANNEL><KEY>A1</KEY><CHANNELTYPE>1</CHANNELTYPE><MAX>100</MAX><MIN>-100</MIN>
  <RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>IN1</RESOURCE></REQUEST></RESOURCES></CHANNEL>
 <CHANNEL><KEY>A2</KEY><CHANNELTYPE>1</CHANNELTYPE><MAX>100</MAX><MIN>-100</MIN>
  <RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>IN2</RESOURCE></REQUEST></RESOURCES></CHANNEL>
 <CHANNEL><KEY>C1</KEY><CHANNELTYPE>2</CHANNELTYPE>
  <RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>CNT1</RESOURCE></REQUEST></RESOURCES></CHANNEL>
</INPUTCHANNELS><OUTPUTCHANNELS/>
<RESOURCES>
 <RESOURCE><KEY>IN1</KEY><USERS/></RESOURCE><RESOURCE><KEY>IN2</KEY><USERS/></RESOURCE>
 <RESOURCE><KEY>CNT1</KEY><USERS/></RESOURCE><RESOURCE><KEY>EXC</KEY><USERS/></RESOURCE>
 <RESOURCE><KEY>COM1</KEY><USERS/></RESOURCE>
</RESOURCES></LOGGER>)";

inline std::string LibraryPath() { return TempDir() + "/scheme_test_library.xml"; }

// TMP: two channels (the second disabled, without alias), an output
// and an event that go to the scheme, and a key-unique output ALARM.
// GPS: single use, holds COM1 exclusively, brings TMP as its buddy. MODEM wants COM1 too.
// WIDE needs logger type 2. FIX asks for logger channel NOPE after a free one. CNT counts.
// LOST names a buddy that no library has.
inline std::string LibraryXml() {
  return R"(<?xml version="1.0"?><PennardInstrumentLibrary><NAME>Test</NAME>
<INSTRUMENT><NAME>Temperature</NAME><CATCODE>TMP</CATCODE><LOGGERTYPES>3</LOGGERTYPES>
 <DESCRIPTION>Probe</DESCRIPTION><INPCODE>TMP_INIT</INPCODE>
 <CHANNELS>
  <CHANNEL><KEY>CHAN_0</KEY><ALIAS>Temp</ALIAS><ENABLED>-1</ENABLED><CHANNELTYPE>1</CHANNELTYPE>
   <MAXIMUM>60</MAXIMUM><MINIMUM>-40</MINIMUM></CHANNEL>
  <CHANNEL><KEY>CHAN_1</KEY><CHANNELTYPE>1</CHANNELTYPE></CHANNEL>
 </CHANNELS>
 <OUTPUTS>
  <OUTPUT><KEY>OUT_0</KEY><NAME>Heater</NAME><LOADTOSCHEME>-1</LOADTOSCHEME></OUTPUT>
  <OUTPUT><KEY>ALARM</KEY><NAME>Alarm</NAME><LOADTOSCHEME>-1</LOADTOSCHEME><KEYUNIQUE>-1</KEYUNIQUE></OUTPUT>
  <OUTPUT><KEY>OUT_2</KEY><NAME>Own</NAME></OUTPUT>
 </OUTPUTS>
 <EVENTS><EVENT><KEY>EVENT01</KEY><NAME>Hot</NAME><LOADTOSCHEME>-1</LOADTOSCHEME></EVENT></EVENTS>
</INSTRUMENT>
<INSTRUMENT><NAME>Position</NAME><CATCODE>GPS</CATCODE><LOGGERTYPES>-1</LOGGERTYPES>
 <SINGLEUSE>-1</SINGLEUSE>
 <RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>COM1</RESOURCE><LOCK>1</LOCK></REQUEST></RESOURCES>
 <BUDDIES><INSTRUMENT>)" +
         LibraryPath() + R"(|TMP</INSTRUMENT></BUDDIES>
</INSTRUMENT>
<INSTRUMENT><NAME>Modem</NAME><CATCODE>MODEM</CATCODE><LOGGERTYPES>-1</LOGGERTYPES>
 <RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>COM1</RESOURCE><LOCK>1</LOCK></REQUEST></RESOURCES>
</INSTRUMENT>
<INSTRUMENT><NAME>Wide</NAME><CATCODE>WIDE</CATCODE><LOGGERTYPES>2</LOGGERTYPES></INSTRUMENT>
<INSTRUMENT><NAME>Fixed</NAME><CATCODE>FIX</CATCODE><LOGGERTYPES>-1</LOGGERTYPES>
 <CHANNELS>
  <CHANNEL><KEY>CHAN_0</KEY><ALIAS>Temp</ALIAS><ENABLED>-1</ENABLED><CHANNELTYPE>1</CHANNELTYPE></CHANNEL>
  <CHANNEL><KEY>CHAN_1</KEY><ALIAS>V</ALIAS><ENABLED>-1</ENABLED><CHANNELTYPE>1</CHANNELTYPE>
   <LOGGERCHANNEL>NOPE</LOGGERCHANNEL></CHANNEL>
 </CHANNELS></INSTRUMENT>
<INSTRUMENT><NAME>Counter</NAME><CATCODE>CNT</CATCODE><LOGGERTYPES>-1</LOGGERTYPES>
 <CHANNELS><CHANNEL><KEY>CHAN_0</KEY><ALIAS>Rain</ALIAS><ENABLED>-1</ENABLED>
  <CHANNELTYPE>2</CHANNELTYPE></CHANNEL></CHANNELS></INSTRUMENT>
<INSTRUMENT><NAME>Lost</NAME><CATCODE>LOST</CATCODE><LOGGERTYPES>-1</LOGGERTYPES>
 <BUDDIES><INSTRUMENT>nowhere.xml|TMP</INSTRUMENT></BUDDIES></INSTRUMENT>
</PennardInstrumentLibrary>)";
}

// The members a clsSchemeInstruments asks of its scheme, nothing more.
class TestScheme : public Object {
 public:
  TestScheme() {
    logger = std::make_shared<clsLoggerDef>(ParseNode(kLoggerXml));
    WriteFile(LibraryPath(), LibraryXml());
    library = std::make_shared<XMLInstruments>();
    library->Load(LibraryPath());
    libraries->Add(library);
    instruments->XMLNode(CreateElement("INSTRUMENTS"));
  }
  // Binds the set to this scheme (after make_shared, for the weak link).
  void Attach() { instruments->Scheme(shared_from_this()); }

  Variant Invoke(std::string_view member, const Args& args = {}) override {
    const std::string name = UpperCase(member);
    if (name == "LOGGER") return Variant(ObjectPtr(logger));
    if (name == "LIBRARIES") return Variant(ObjectPtr(libraries));
    if (name == "OUTPUTS") return Variant(ObjectPtr(outputs));
    if (name == "EVENTS") return Variant(ObjectPtr(events));
    if (name == "LOGBUFFERS") return Variant(logBuffers);
    if (name == "SCHEMEPATH") return Variant(std::string("C:\\Data\\"));
    if (name == "SCHEMENAME") return Variant(std::string("Site1"));
    return Object::Invoke(member, args);
  }

  InstrumentPtr Take(const std::string& code) { return library->Item(code); }

  LoggerDefPtr logger;
  std::shared_ptr<XMLInstruments> library;
  std::shared_ptr<clsLibraries> libraries = std::make_shared<clsLibraries>();
  std::shared_ptr<clsOutputs> outputs = std::make_shared<clsOutputs>();
  SchemeEventsPtr events = std::make_shared<clsSchemeEvents>();
  ObjectPtr logBuffers;
  SchemeInstrumentsPtr instruments = std::make_shared<clsSchemeInstruments>();
};

inline std::shared_ptr<TestScheme> MakeScheme() {
  auto scheme = std::make_shared<TestScheme>();
  scheme->Attach();
  return scheme;
}

// The errors of the set as "number-hex fatal description" lines.
inline std::vector<std::string> ErrorLines(const clsSchemeInstruments& set) {
  std::vector<std::string> lines;
  for (int16_t i = 1; i <= set.Errors()->Count(); ++i) {
    auto e = set.Errors()->Item(i);
    char number[16];
    std::snprintf(number, sizeof number, "%08X", static_cast<uint32_t>(e->Number()));
    lines.push_back(std::string(number) + (e->Fatal() ? " F " : " - ") + e->Description());
  }
  return lines;
}

// Records the notifications in order.
class RecordingListener : public SchemeListener {
 public:
  void InstrumentAdded(const ObjectPtr& o) override { heard.push_back("added " + Key(o)); }
  void InstrumentRemoved(const ObjectPtr& o) override { heard.push_back("removed " + Key(o)); }
  void SchemeChanged(const Variant& v) override { heard.push_back("changed " + v.ToString()); }
  void BeforeRemove(const ObjectPtr& o, bool& cancel) override {
    heard.push_back("query " + Key(o));
    cancel = cancelRemove;
  }
  void OutputAdded(const ObjectPtr& o) override { heard.push_back("output " + Key(o)); }
  void EventAdded(const ObjectPtr& o) override { heard.push_back("event " + Key(o)); }
  static std::string Key(const ObjectPtr& o) { return o->Invoke("Key").ToString(); }
  std::vector<std::string> heard;
  bool cancelRemove = false;
};

}  // namespace corvale::test

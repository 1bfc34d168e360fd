// Placing instruments in a scheme on a generated logger of 10,000 input channels: Add of n
// instruments of four channels each (n = 250 ... 2,000), Remove of all of them last to first
// and first to last, each with the growth exponent from 250 to 2,000 (goal: at most 1.1); and
// for the saved 2,000-instrument scheme, reloading its instruments (XMLNode set) and the Save
// pass, each against loading the scheme document from its file (goal: at most 3 times).
// Every figure is the best of several runs, each started with cold caches; all sizes are
// measured in the same run.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/cold_caches.h"
#include "corvale/binding/node_access.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/scheme/scheme.h"
#include "corvale/xml/xml.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kChannels = 10000;
constexpr int kRuns = 5;
constexpr int kSizes[] = {250, 500, 1000, 2000};

std::string GenerateLogger() {
  std::string xml = "<LOGGER><KEY>BENCH</KEY><LOGGERTYPE>1</LOGGERTYPE><INPUTCHANNELS>";
  std::string resources;
  for (int i = 0; i < kChannels; ++i) {
    const std::string n = std::to_string(i);
    // Ranges alternate between wide, narrow and none, as real loggers offer them.
    const char* range = i % 3 == 0   ? "<MAX>100</MAX><MIN>-100</MIN>"
                        : i % 3 == 1 ? "<MAX>2.5</MAX>"
                                     : "";
    xml += "<CHANNEL><KEY>AIN" + n + "</KEY><CHANNELTYPE>1</CHANNELTYPE>" + range +
           "<CDTSETTINGS/><RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>IN" + n +
           "</RESOURCE></REQUEST></RESOURCES></CHANNEL>";
    resources += "<RESOURCE><KEY>IN" + n + "</KEY><USERS/></RESOURCE>";
  }
  return xml + "</INPUTCHANNELS><OUTPUTCHANNELS/><RESOURCES>" + resources + "</RESOURCES></LOGGER>";
}

std::string GenerateLibrary() {
  std::string channels;
  const char* aliases[] = {"Temp", "Humidity", "Pressure", "Flow3"};
  for (int c = 0; c < 4; ++c) {
    channels += "<CHANNEL><KEY>CHAN_" + std::to_string(c) + "</KEY><ALIAS>" + aliases[c] +
                "</ALIAS><ENABLED>-1</ENABLED><CHANNELTYPE>1</CHANNELTYPE><MAXIMUM>" +
                (c % 2 ? "2" : "60") + "</MAXIMUM><MINIMUM>" + (c % 2 ? "0" : "-40") +
                "</MINIMUM><INPCODE>ANALOG_READ {CHAN_" + std::to_string(c) +
                "}</INPCODE><CDTSETTINGS/></CHANNEL>";
  }
  return "<?xml version = \"1.0\" encoding=\"windows-1252\"?><PennardInstrumentLibrary>"
         "<NAME>Bench</NAME><INSTRUMENT><NAME>Weather station</NAME><CATCODE>WS</CATCODE>"
         "<LOGGERTYPES>-1</LOGGERTYPES><INPCODE>.if pass==INIT_PASS\\n\\tINIT\\n.endif</INPCODE>"
         "<CHANNELS>" +
         channels +
         "</CHANNELS><CDTSETTINGS/><OUTPUTS/><EVENTS/><RESOURCES/><BUDDIES/><FILES/>"
         "</INSTRUMENT></PennardInstrumentLibrary>";
}

struct Fixture {
  std::string folder, library, loggerXml;
};

corvale::SchemePtr NewScheme(const Fixture& f) {
  auto logger = std::make_shared<corvale::clsLoggerDef>(corvale::ParseNode(f.loggerXml));
  auto scheme = std::make_shared<corvale::Scheme>();
  scheme->New("Bench", *logger, {f.library});
  return scheme;
}

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

// The best time of `timed` over the runs, each run prepared by `prepare` outside the timing.
template <class State>
double Best(const std::function<State()>& prepare, const std::function<void(State&)>& timed) {
  double best = 1e30;
  for (int run = 0; run < kRuns; ++run) {
    State state = prepare();
    corvale::bench::EvictCaches();
    const auto start = Clock::now();
    timed(state);
    best = std::min(best, Seconds(Clock::now() - start));
  }
  return best;
}

struct Filled {
  corvale::SchemePtr scheme;
  std::vector<corvale::InstrumentPtr> waiting;
};

Filled Prepare(const Fixture& f, int n, bool add) {
  Filled state{NewScheme(f), {}};
  // The logger's caches (free channels by type and range, resources by user) are built once
  // per logger, outside the timing.
  state.scheme->Logger()->InputChannels()->NextChannel(1);
  state.scheme->Logger()->Resources()->ReleaseUser("");
  for (int i = 0; i < n; ++i) {
    auto instrument = state.scheme->LibraryInstrument("WS");
    if (add) {
      state.scheme->Instruments()->Add(instrument, std::nullopt);
    } else {
      state.waiting.push_back(instrument);
    }
  }
  if (add) state.scheme->Logger()->Resources()->ReleaseUser("");
  return state;
}

void PrintGrowth(const char* what, const std::vector<double>& times) {
  std::printf("%-34s", what);
  for (size_t i = 0; i < times.size(); ++i)
    std::printf("  n=%-5d %8.2f ms", kSizes[i], times[i] * 1e3);
  const double exponent =
      std::log(times.back() / times.front()) / std::log(static_cast<double>(kSizes[3]) / kSizes[0]);
  std::printf("\n%-34s  growth exponent %.2f (goal <= 1.1)\n", what, exponent);
}

}  // namespace

int main() {
  Fixture f;
  f.folder = (std::filesystem::temp_directory_path() / "corvale_scheme_bench").string();
  std::filesystem::create_directories(f.folder);
  f.library = f.folder + "/bench_library.xml";
  std::ofstream(f.library) << GenerateLibrary();
  f.loggerXml = GenerateLogger();

  std::vector<double> adds, backwards, forwards;
  for (int n : kSizes) {
    adds.push_back(Best<Filled>([&] { return Prepare(f, n, false); },
                                [](Filled& s) {
                                  for (const auto& instrument : s.waiting)
                                    s.scheme->Instruments()->Add(instrument, std::nullopt);
                                }));
    backwards.push_back(Best<Filled>([&] { return Prepare(f, n, true); },
                                     [](Filled& s) {
                                       auto& set = *s.scheme->Instruments();
                                       while (set.Count() > 0) set.Remove(set.Count());
                                     }));
    forwards.push_back(Best<Filled>([&] { return Prepare(f, n, true); },
                                    [](Filled& s) {
                                      auto& set = *s.scheme->Instruments();
                                      while (set.Count() > 0) set.Remove(1);
                                    }));
  }
  std::printf("scheme_bench: logger of %d input channels, instruments of 4 channels\n", kChannels);
  PrintGrowth("Add", adds);
  PrintGrowth("Remove, last to first", backwards);
  PrintGrowth("Remove, first to last", forwards);

  // The saved 2,000-instrument scheme.
  const std::string saved = f.folder + "/bench_scheme.xml";
  {
    Filled full = Prepare(f, kSizes[3], true);
    full.scheme->Save(saved);
  }
  const double load = Best<corvale::xml::Document>([] { return corvale::xml::Document(); },
                                                   [&](corvale::xml::Document& d) {
                                                     d = corvale::xml::Document::create();
                                                     d.load(saved);
                                                   });
  struct Loaded {
    corvale::SchemePtr scheme;
    corvale::xml::Node instruments;
  };
  auto loaded = [&] {
    auto scheme = std::make_shared<corvale::Scheme>();
    scheme->Load(saved);
    return Loaded{scheme, scheme->Document().documentElement().selectSingleNode("INSTRUMENTS")};
  };
  const double reload = Best<Loaded>(loaded, [](Loaded& l) {
    auto set = std::make_shared<corvale::clsSchemeInstruments>();
    set->Scheme(l.scheme);
    set->XMLNode(l.instruments);
  });
  const double savePass = Best<Loaded>(loaded, [](Loaded& l) { l.scheme->Instruments()->Save(); });
  std::printf("saved scheme of %d instruments: document load from file %.2f ms\n", kSizes[3],
              load * 1e3);
  std::printf(
      "reload (XMLNode set)               %8.2f ms  = %.2f x the document load (goal <= 3)\n",
      reload * 1e3, reload / load);
  std::printf(
      "Save pass                          %8.2f ms  = %.2f x the document load (goal <= 3)\n",
      savePass * 1e3, savePass / load);
  std::filesystem::remove_all(f.folder);
  return 0;
}

#include "bench/library_generator.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace corvale::bench {

namespace {

// A small deterministic generator: the same seed gives the same document on every machine.
class Random {
 public:
  explicit Random(uint32_t seed) : state_(seed * 2654435761u + 1) {}
  uint32_t Next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return state_;
  }
  int Below(int n) { return static_cast<int>(Next() % static_cast<uint32_t>(n)); }
  template <size_t N>
  std::string_view Pick(const std::array<std::string_view, N>& items) {
    return items[static_cast<size_t>(Below(static_cast<int>(N)))];
  }

 private:
  uint32_t state_;
};

// Texts in windows-1252: \xE9 e-acute, \xB0 degree, \xB5 micro, \xB1 plus-minus, \xB2 squared.
constexpr std::array<std::string_view, 8> kFamilies = {"Temperature", "Humidity",  "Pressure",
                                                       "Wind",        "Radiation", "Soil moisture",
                                                       "Counter",     "Strain"};
constexpr std::array<std::string_view, 6> kSensors = {
    "thermistor probe", "capacitive sensor", "piezoresistive transducer",
    "cup anemometer",   "pyranometer",       "vibrating wire gauge"};
constexpr std::array<std::string_view, 6> kUnits = {
    "\xB0"
    "C",
    "%RH",
    "hPa",
    "m/s",
    "W/m\xB2",
    "\xB5"
    "strain"};
constexpr std::array<std::string_view, 5> kDescriptions = {
    "Mesure de pr\xE9"
    "cision, plage -40 \xE0 +70 \xB0"
    "C, r\xE9solution 0.01 \xB0"
    "C.",
    "Accuracy \xB1"
    "0.2 \xB0"
    "C over the full range; response time 150 \xB5s per sample.",
    "Calibrated at the factory; recalibrate every 24 months. Cable up to 300 m.",
    "Excitation 2500 mV, settling time 500 \xB5s, integration over 50/60 Hz mains.",
    "Suitable for outdoor use in a radiation shield; operating range -40 \xB0"
    "C to 80 \xB0"
    "C."};
constexpr std::array<std::string_view, 4> kDataTypes = {"1", "2", "4", "5"};
constexpr std::array<std::string_view, 5> kResources = {"ANALOG", "DIGITAL", "SERIAL", "COUNTER",
                                                        "EXCITATION"};

void Line(std::string& out, int indent, std::string_view text) {
  out.append(static_cast<size_t>(indent) * 2, ' ');
  out += text;
  out += "\r\n";
}

void Leaf(std::string& out, int indent, std::string_view name, std::string_view value) {
  out.append(static_cast<size_t>(indent) * 2, ' ');
  out += '<';
  out += name;
  out += '>';
  out += value;
  out += "</";
  out += name;
  out += ">\r\n";
}

// Logger program text, kept on one line the way the library stores it ("\n" escapes).
std::string ProgramText(Random& r, int n) {
  std::string code = ".if pass==INIT_PASS\\n";
  int lines = 4 + r.Below(6);
  for (int i = 0; i < lines; ++i) {
    switch (r.Below(5)) {
      case 0:
        code += "  AIN ch" + std::to_string(i) + ", range=" + std::to_string(r.Below(7)) +
                ", int=50Hz\\n";
        break;
      case 1:
        code += "  IF value &lt; " + std::to_string(r.Below(100)) + " THEN flag(" +
                std::to_string(i) + ")=1\\n";
        break;
      case 2:
        code += "  SCALE x" + std::to_string(n) +
                ", 0.01, -40.0 ; \xB0"
                "C\\n";
        break;
      case 3:
        code += "  AVG buffer" + std::to_string(i) + " &amp; store\\n";
        break;
      default:
        code += "  DELAY " + std::to_string(r.Below(1000)) + " ; \xB5s\\n";
        break;
    }
  }
  code += ".endif";
  return code;
}

void Instrument(std::string& out, Random& r, int n) {
  const int base = 2;
  std::string number = std::to_string(n);
  Line(out, 1, "<INSTRUMENT>");
  Leaf(out, base, "CATCODE",
       "CAT" + std::string(6 - std::min<size_t>(6, number.size()), '0') + number);
  std::string family(r.Pick(kFamilies));
  Leaf(out, base, "NAME", family + " " + std::string(r.Pick(kSensors)) + " " + number);
  Leaf(out, base, "VERSION", std::to_string(1 + r.Below(9)));
  Leaf(out, base, "FAMILY", family);
  Leaf(out, base, "DESCRIPTION", r.Pick(kDescriptions));
  Leaf(out, base, "BASECLASS", "Corvale2.clsStdInstrument");
  Leaf(out, base, "SINGLEUSE", r.Below(4) == 0 ? "-1" : "0");
  Leaf(out, base, "INPCODE", ProgramText(r, n));

  Line(out, base, "<CHANNELS>");
  int channels = 1 + r.Below(3);
  for (int c = 0; c < channels; ++c) {
    std::string k = std::to_string(c);
    Line(out, base + 1, "<CHANNEL>");
    Leaf(out, base + 2, "KEY", "CHAN_" + k);
    Leaf(out, base + 2, "ALIAS", family.substr(0, 4) + number + "_" + k);
    Leaf(out, base + 2, "DATATYPE", r.Pick(kDataTypes));
    Leaf(out, base + 2, "UNITS", r.Pick(kUnits));
    Leaf(out, base + 2, "ENABLED", "-1");
    Leaf(out, base + 2, "SENSORMIN", std::to_string(-r.Below(50)));
    Leaf(out, base + 2, "SENSORMAX", std::to_string(50 + r.Below(100)));
    Line(out, base + 1, "</CHANNEL>");
  }
  Line(out, base, "</CHANNELS>");

  Line(out, base, "<EVENTS>");
  for (int e = 1; e <= 2; ++e) {
    Line(out, base + 1, "<EVENT>");
    Leaf(out, base + 2, "KEY", "EVENT0" + std::to_string(e));
    Leaf(out, base + 2, "NAME", e == 1 ? "Threshold exceeded" : "Sensor fault");
    Leaf(out, base + 2, "CODE", "IF ch0 &gt; limit THEN event(" + std::to_string(e) + ")");
    Line(out, base + 1, "</EVENT>");
  }
  Line(out, base, "</EVENTS>");

  Line(out, base, "<OUTPUTS>");
  for (int o = 0; o < 2; ++o) {
    Line(out, base + 1, "<OUTPUT>");
    Leaf(out, base + 2, "KEY", "OUT_" + std::to_string(o));
    Leaf(out, base + 2, "NAME", o == 0 ? "Average" : "Maximum");
    Leaf(out, base + 2, "DATATYPE", r.Pick(kDataTypes));
    Leaf(out, base + 2, "INTERVAL", std::to_string(60 * (1 + r.Below(15))));
    Line(out, base + 1, "</OUTPUT>");
  }
  Line(out, base, "</OUTPUTS>");

  Line(out, base, "<CDTSETTINGS>");
  for (int s = 0; s < 2; ++s) {
    Line(out, base + 1, "<CDTSETTING>");
    Leaf(out, base + 2, "KEY", "CDT_" + std::to_string(s));
    Leaf(out, base + 2, "NAME", s == 0 ? "Excitation" : "Settling time");
    Leaf(out, base + 2, "VALUE", std::to_string(r.Below(5000)));
    Leaf(out, base + 2, "UNITS", s == 0 ? "mV" : "\xB5s");
    Line(out, base + 1, "</CDTSETTING>");
  }
  Line(out, base, "</CDTSETTINGS>");

  Line(out, base, "<RESOURCES>");
  int requests = 1 + r.Below(2);
  for (int q = 0; q < requests; ++q) {
    Line(out, base + 1, "<REQUEST>");
    Leaf(out, base + 2, "KEY", "RES_" + std::to_string(q));
    Leaf(out, base + 2, "TYPE", r.Pick(kResources));
    Leaf(out, base + 2, "COUNT", std::to_string(1 + r.Below(2)));
    Leaf(out, base + 2, "LOCK", std::to_string(r.Below(3)));
    Line(out, base + 1, "</REQUEST>");
  }
  Line(out, base, "</RESOURCES>");
  Line(out, 1, "</INSTRUMENT>");
}

}  // namespace

std::string GenerateLibraryXml(int instruments, uint32_t seed) {
  Random r(seed);
  std::string out;
  out.reserve(static_cast<size_t>(instruments) * 2400 + 256);
  out += "<?xml version = \"1.0\" encoding=\"windows-1252\"?>\r\n";
  out += "<PennardInstrumentLibrary>\r\n";
  Leaf(out, 1, "NAME", "Benchmark library");
  Leaf(out, 1, "CHANGED", "0");
  for (int i = 1; i <= instruments; ++i) Instrument(out, r, i);
  out += "</PennardInstrumentLibrary>\r\n";
  return out;
}

}  // namespace corvale::bench

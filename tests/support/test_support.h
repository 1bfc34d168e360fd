// Small helpers shared by the test programs.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/instruments/instrument.h"
#include "corvale/xml/xml.h"

namespace corvale::test {

// A fresh folder for this test program, removed when the program ends.
std::string TempDir();
// An empty folder TempDir()/name, emptied first when an earlier run left it.
std::string FreshFolder(const std::string& name);
// Writes bytes to TempDir()/name (or to an absolute path) and returns the path.
std::string WriteFile(std::string_view name, std::string_view bytes);
std::string ReadFile(const std::string& path);
// A document under tests/data.
std::string DataPath(std::string_view name);

// The number of the corvale::Error that `call` raises, 0 when it raises none; the error's
// description goes to `description` when one is given.
int32_t ErrorOf(const std::function<void()>& call, std::string* description = nullptr);

bool Contains(std::string_view text, std::string_view part);
// The parts that the text does not contain, in the order given.
std::vector<std::string> Missing(std::string_view text,
                                 std::initializer_list<std::string_view> parts);

// The text of the element's first child of that name, or "(absent)" when it has none.
std::string ChildText(const xml::Node& element, std::string_view name);
// The ChildText of each name, joined by "|".
std::string ChildTexts(const xml::Node& element, std::initializer_list<std::string_view> names);

// One run of the built corvale program: exit status (-1 when it did not exit) and output.
struct CliRun {
  int status = -1;
  std::string out, err;
  // Whether either output holds `part`.
  bool Says(std::string_view part) const { return Contains(out, part) || Contains(err, part); }
};
// Runs the program with `args`, each quoted for the shell, with no terminal on standard input
// and the settings store under TempDir(), so that runs never touch the user's own settings.
CliRun RunCli(const std::vector<std::string>& args);

// A host that records icon requests and message boxes, answers them as told and keeps settings
// in memory.
class RecordingHost : public HostServices {
 public:
  struct Box {
    std::string text, title;
    MsgIcon icon;
    MsgButtons buttons;
  };
  using Requests = std::vector<std::pair<std::string, std::string>>;  // source, group
  Requests iconRequests;
  bool iconsFail = false;
  std::vector<Box> boxes;
  MsgAnswer answer = MsgAnswer::OK;
  // app|section -> key -> value; keys upper-cased as the store compares them
  std::map<std::string, std::map<std::string, std::string>> settings;
  std::vector<std::string> deletedSections;

  PicturePtr LoadIcon(std::string_view source, std::string_view group) override {
    iconRequests.emplace_back(source, group);
    if (iconsFail) throw Error(err::kFileNotFound);
    return std::make_shared<Picture>(Picture{std::string(source), "icon"});
  }
  MsgAnswer MessageBox(std::string_view text, std::string_view title, MsgIcon icon,
                       MsgButtons buttons) override {
    boxes.push_back({std::string(text), std::string(title), icon, buttons});
    return answer;
  }
  std::string GetSetting(std::string_view app, std::string_view section, std::string_view key,
                         std::string_view defaultValue) override {
    auto& values = settings[Section(app, section)];
    auto found = values.find(UpperCase(key));
    return found == values.end() ? std::string(defaultValue) : found->second;
  }
  void SaveSetting(std::string_view app, std::string_view section, std::string_view key,
                   std::string_view value) override {
    settings[Section(app, section)][UpperCase(key)] = std::string(value);
  }
  void DeleteSetting(std::string_view app, std::string_view section) override {
    deletedSections.push_back(Section(app, section));
    settings.erase(Section(app, section));
  }
  static std::string Section(std::string_view app, std::string_view section) {
    return std::string(app) + "|" + std::string(section);
  }
};

// A new standard instrument, created by its class name.
InstrumentPtr NewInstrument(const std::string& catCode, const std::string& name = "");

}  // namespace corvale::test

// Helpers of the library tests: a host that records icon requests and message boxes, answers
// them as told and keeps settings in memory; a new standard instrument.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/instrument.h"
#include "tests/support/test_support.h"

namespace corvale::test {

class LibraryTestHost : public HostServices {
 public:
  struct Box {
    std::string text, title;
    MsgIcon icon;
    MsgButtons buttons;
  };
  std::vector<std::pair<std::string, std::string>> iconRequests;  // source, group
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

inline InstrumentPtr NewInstrument(const std::string& catCode, const std::string& name = "") {
  auto instrument =
      std::dynamic_pointer_cast<IInstrument>(CreateObject("Corvale2.clsStdInstrument"));
  instrument->CatCode(catCode);
  if (!name.empty()) instrument->Name(name);
  return instrument;
}

}  // namespace corvale::test

#include "corvale/libraries/register_library.h"

#include <algorithm>

#include "corvale/core/convert.h"
#include "corvale/core/host.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

constexpr std::string_view kCountKey = "COUNT";

std::string EntryKey(size_t number) { return "LIB" + IntegerText(static_cast<int64_t>(number)); }

}  // namespace

std::vector<std::string> clsRegisterLibrary::StartupList(std::string_view appName,
                                                         std::string_view section) {
  std::vector<std::string> list;
  int16_t count = 0;
  try {
    count = TextToInt16(Host().GetSetting(appName, section, kCountKey, "0"));
  } catch (...) {
    return list;  // a COUNT out of range counts as no entries
  }
  for (int16_t i = 1; i <= count; ++i) {
    try {
      std::string entry = Host().GetSetting(appName, section, EntryKey(i), "");
      if (!entry.empty()) list.push_back(std::move(entry));
    } catch (...) {
    }
  }
  return list;
}

bool clsRegisterLibrary::Register(std::string_view appName, std::string_view section,
                                  std::string_view library) {
  try {
    AddToStartupList(appName, section, library);
  } catch (...) {
  }
  return false;
}

void clsRegisterLibrary::AddToStartupList(std::string_view appName, std::string_view section,
                                          std::string_view library) {
  // One update from the read to the write: other processes registering at the same time wait,
  // and the old list stays whole unless the new one is written completely.
  SettingsUpdate update(appName);
  std::vector<std::string> list = StartupList(appName, section);
  const bool present = std::any_of(list.begin(), list.end(), [&](const std::string& entry) {
    return EqualsNoCase(entry, library);
  });
  if (!present && WildcardMatch(library, "*.*")) list.emplace_back(library);

  // The section is rewritten even when nothing was added: that is what closes the gaps.
  Host().DeleteSetting(appName, section);
  Host().SaveSetting(appName, section, kCountKey, IntegerText(static_cast<int64_t>(list.size())));
  for (size_t i = 0; i < list.size(); ++i) {
    Host().SaveSetting(appName, section, EntryKey(i + 1), list[i]);
  }
  update.Commit();
}

Variant clsRegisterLibrary::Invoke(std::string_view member, const Args& args) {
  static const MemberTable<clsRegisterLibrary> members = {
      {"Register",
       [](clsRegisterLibrary& self, const Args& a) -> Variant {
         ExpectArgs(a, 3);
         return Variant(self.Register(a[0].ToString(), a[1].ToString(), a[2].ToString()));
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

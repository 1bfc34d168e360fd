#include "corvale/instruments/cdt_settings.h"

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

clsCDTSettings::clsCDTSettings()
    : BoundCollection({.container = "CDTSETTINGS",
                       .child = "CDT",
                       .keyPrefix = "CDT_",
                       .rebindSameIsNoop = true,
                       .unkeyedLookup = true}) {}

void clsCDTSettings::OnBind(clsCDTSetting& setting) { setting.Parent(Parent()); }

void clsCDTSettings::Add(CDTSettingPtr setting) {
  if (!setting) throw Error(err::kObjectNotSet);
  const std::string key = KeyFor(*setting);
  setting->Parent(Parent());
  Insert(setting, key);
}

std::string clsCDTSettings::Parent() const { return GetNodeText(node_, "PARENT", ""); }

void clsCDTSettings::Parent(std::string value) {
  SetNodeText(node_, "PARENT", value);
  for (const auto& entry : items_) entry.item->Parent(value);
}

Variant clsCDTSettings::Invoke(std::string_view member, const Args& args) {
  using T = clsCDTSettings;
  using M = MemberTable<T>;
  static const M::Member item = M::WithIndex(&T::Item);
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<CDTSettingPtr>(a[0]));
         return {};
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

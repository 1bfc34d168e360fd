#include "corvale/instruments/cdt_settings.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsCDTSettings::clsCDTSettings() : node_(CreateElement("CDTSETTINGS")) {}

int16_t clsCDTSettings::Count() const { return items_.Count(); }

int16_t clsCDTSettings::SlotOf(const corvale::Index& index) const {
  if (index.IsPosition()) return items_.PositionOf(index);
  int16_t position = 0;
  for (const auto& entry : items_) {
    ++position;
    if (EqualsNoCase(entry.item->Key(), index.Key())) return position;
  }
  return 0;
}

CDTSettingPtr clsCDTSettings::Item(const corvale::Index& index) const {
  int16_t position = SlotOf(index);
  return position ? items_.Item(position) : nullptr;
}

std::string clsCDTSettings::NextKey() const {
  return FirstFreeKey("CDT_", [this](const std::string& key) { return SlotOf(key) != 0; });
}

void clsCDTSettings::Add(CDTSettingPtr setting) {
  if (!setting) throw Error(err::kObjectNotSet);
  if (setting->Key().empty()) setting->Key(NextKey());
  setting->Parent(Parent());
  items_.Add(setting);
  node_.appendChild(setting->XMLNode());
}

void clsCDTSettings::Remove(const corvale::Index& index) {
  int16_t position = SlotOf(index);
  if (!position) throw Error(err::kSubscriptOutOfRange);
  node_.removeChild(items_.Item(position)->XMLNode());
  items_.Remove(position);
}

void clsCDTSettings::Clear() {
  while (!items_.Empty()) Remove(1);
}

std::string clsCDTSettings::Parent() const { return GetNodeText(node_, "PARENT", ""); }

void clsCDTSettings::Parent(std::string value) {
  SetNodeText(node_, "PARENT", value);
  for (const auto& entry : items_) entry.item->Parent(value);
}

xml::Node clsCDTSettings::XMLNode() const { return node_; }

void clsCDTSettings::XMLNode(xml::Node value) {
  if (value == node_) return;
  // Only the collection is emptied: the settings stay in the element left behind.
  items_.Clear();
  node_ = std::move(value);
  const std::string parent = Parent();
  for (const xml::Node& child : node_.selectNodes("CDT")) {
    auto setting = std::make_shared<clsCDTSetting>();
    setting->XMLNode(child);
    setting->Parent(parent);
    if (setting->Key().empty()) setting->Key(NextKey());
    items_.Add(setting);
  }
}

Variant clsCDTSettings::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsCDTSettings>;
  static const M::Member item = MemberTable<clsCDTSettings>::WithIndex(&clsCDTSettings::Item);
  static const M members = {
      {"Count", M::Getter(&clsCDTSettings::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](clsCDTSettings& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<CDTSettingPtr>(a[0]));
         return {};
       }},
      {"Remove", MemberTable<clsCDTSettings>::WithIndex(&clsCDTSettings::Remove)},
      {"Clear", M::Method(&clsCDTSettings::Clear)},
      {"Parent", M::Property(&clsCDTSettings::Parent, &clsCDTSettings::Parent)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

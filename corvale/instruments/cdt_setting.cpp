#include "corvale/instruments/cdt_setting.h"

#include <utility>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

clsCDTSetting::clsCDTSetting() : BoundElement("CDT") {}

clsCDTSetting::clsCDTSetting(xml::Node element) : BoundElement(std::move(element)) {}

std::string clsCDTSetting::Address() const { return GetNodeText(node_, "ADDRESS", ""); }
void clsCDTSetting::Address(std::string value) { SetNodeText(node_, "ADDRESS", value); }

int32_t clsCDTSetting::ResolvedAddress() const { return GetTextLong(node_, "RESOLVEDADDRESS", ""); }
void clsCDTSetting::ResolvedAddress(int32_t value) { SetTextLong(node_, "RESOLVEDADDRESS", value); }

std::string clsCDTSetting::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsCDTSetting::Key(std::string value) {
  SetNodeText(node_, "KEY", value);
  // The attribute is written even for an empty key, so readers of the element see it.
  if (node_) node_.setAttribute("KEY", value);
}

std::string clsCDTSetting::Mask() const { return GetNodeText(node_, "MASK", ""); }
void clsCDTSetting::Mask(std::string value) { SetNodeText(node_, "MASK", value); }

int32_t clsCDTSetting::ResolvedMask() const { return GetTextLong(node_, "RESOLVEDMASK", ""); }
void clsCDTSetting::ResolvedMask(int32_t value) { SetTextLong(node_, "RESOLVEDMASK", value); }

std::string clsCDTSetting::Parent() const { return GetNodeText(node_, "PARENT", ""); }
void clsCDTSetting::Parent(std::string value) { SetNodeText(node_, "PARENT", value); }

std::string clsCDTSetting::Value() const { return GetNodeText(node_, "VALUE", ""); }
void clsCDTSetting::Value(std::string value) { SetNodeText(node_, "VALUE", value); }

int32_t clsCDTSetting::ResolvedValue() const { return GetTextLong(node_, "RESOLVEDVALUE", ""); }
void clsCDTSetting::ResolvedValue(int32_t value) { SetTextLong(node_, "RESOLVEDVALUE", value); }

Variant clsCDTSetting::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsCDTSetting>;
  using C = clsCDTSetting;
  static const M members = {
      {"Address", M::Property(&C::Address, &C::Address)},
      {"ResolvedAddress", M::Property(&C::ResolvedAddress, &C::ResolvedAddress)},
      {"Key", M::Property(&C::Key, &C::Key)},
      {"Mask", M::Property(&C::Mask, &C::Mask)},
      {"ResolvedMask", M::Property(&C::ResolvedMask, &C::ResolvedMask)},
      {"Parent", M::Property(&C::Parent, &C::Parent)},
      {"Value", M::Property(&C::Value, &C::Value)},
      {"ResolvedValue", M::Property(&C::ResolvedValue, &C::ResolvedValue)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

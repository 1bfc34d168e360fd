// clsCDTSetting: one hardware configuration setting (a CDT element) that an instrument or a
// logger channel asks the logger to receive: address, mask and value as written by the
// author, and each resolved to a number by the setting's users.
#pragma once

#include <cstdint>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsCDTSetting : public BoundElement {
 public:
  clsCDTSetting();                            // bound to a new, detached CDT element
  explicit clsCDTSetting(xml::Node element);  // bound to an existing CDT element

  std::string Address() const;
  void Address(std::string value);
  int32_t ResolvedAddress() const;
  void ResolvedAddress(int32_t value);
  // Kept in the KEY element and in the KEY attribute of the CDT element.
  std::string Key() const;
  void Key(std::string value);
  std::string Mask() const;
  void Mask(std::string value);
  int32_t ResolvedMask() const;
  void ResolvedMask(int32_t value);
  std::string Parent() const;
  void Parent(std::string value);
  std::string Value() const;
  void Value(std::string value);
  int32_t ResolvedValue() const;
  void ResolvedValue(int32_t value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using CDTSettingPtr = std::shared_ptr<clsCDTSetting>;

}  // namespace corvale

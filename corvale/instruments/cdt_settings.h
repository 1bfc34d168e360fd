// clsCDTSettings: the CDT settings of an instrument or a logger channel (CDTSETTINGS element
// holding CDT elements), in document order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/instruments/cdt_setting.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsCDTSettings : public Object {
 public:
  clsCDTSettings();  // bound to a new, empty CDTSETTINGS element

  int16_t Count() const;
  // A position (raises 9 when out of range) or a setting's Key; an unknown key gives null.
  CDTSettingPtr Item(const corvale::Index& index) const;
  // Gives a setting without a key the first free "CDT_" + n, hands it the list's Parent and
  // appends it and its element.
  void Add(CDTSettingPtr setting);
  // A position or a key; raises 9 when there is none.
  void Remove(const corvale::Index& index);
  void Clear();
  // The key of the owner; setting it rewrites PARENT of the list and of every setting.
  std::string Parent() const;
  void Parent(std::string value);
  xml::Node XMLNode() const;
  void XMLNode(xml::Node value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  int16_t SlotOf(const corvale::Index& index) const;  // 1-based; 0 for an unknown key
  std::string NextKey() const;

  FactoryUser factory_user_;
  xml::Node node_;
  KeyedCollection<clsCDTSetting> items_;
};

}  // namespace corvale

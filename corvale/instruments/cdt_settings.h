// clsCDTSettings: the CDT settings of an instrument or a logger channel (CDTSETTINGS element
// holding CDT elements), in document order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/instruments/cdt_setting.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsCDTSettings : public Object, public BoundCollection<clsCDTSetting> {
 public:
  // Bound to a new, empty CDTSETTINGS element. A position look-up out of range raises 9; a
  // key look-up takes the first setting with that Key (without regard to case) and gives null
  // when there is none. Settings may share a key. CDT children without a key get the first
  // free "CDT_" + n when the element is bound.
  clsCDTSettings();

  // Gives a setting without a key the first free "CDT_" + n, hands it the list's Parent and
  // appends it and its element.
  void Add(CDTSettingPtr setting);
  // The key of the owner; setting it rewrites PARENT of the list and of every setting.
  std::string Parent() const;
  void Parent(std::string value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void OnBind(clsCDTSetting& setting) override;
};

}  // namespace corvale

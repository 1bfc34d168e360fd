// clsSystemInstrument: one instrument of a system or code template (an INSTRUMENT element),
// with the logger channels it logs (its LOGCHANNEL children, each holding a channel key).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/text_element.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsSystemInstrument : public Object, public BoundCollection<TextElement> {
 public:
  clsSystemInstrument();  // bound to a new, detached INSTRUMENT element
  explicit clsSystemInstrument(xml::Node element);

  // The instrument's key.
  std::string Key() const;
  void Key(std::string value);
  std::string Tag() const;
  void Tag(std::string value);
  // Always written, also when 0.
  int16_t Index() const;
  void Index(int16_t value);
  // Count: the number of LOGCHANNEL children.
  // The text of the LOGCHANNEL child at a 1-based position; raises 9 when there is none.
  std::string LogChannel(int16_t position) const;
  // Appends a LOGCHANNEL child holding the text.
  void Add(std::string logChannel);
  // Remove(position or text): the child at the position, or the first whose text equals the
  // text without regard to case; raises 9 when there is none. Clear removes every one.

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::string EntryKey(const TextElement& channel) const override;
};

using SystemInstrumentPtr = std::shared_ptr<clsSystemInstrument>;

}  // namespace corvale

// clsSystemInstruments: the instruments of a system or code template (INSTRUMENTS element
// holding INSTRUMENT elements), in document order.
#pragma once

#include <memory>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/object.h"
#include "corvale/systems/system_instrument.h"

namespace corvale {

class clsSystemInstruments : public Object, public BoundCollection<clsSystemInstrument> {
 public:
  // Bound to a new, empty INSTRUMENTS element. Binding another element re-reads its INSTRUMENT
  // children. A system may hold an instrument twice: Item and Remove by key take the first
  // entry with that key (without regard to case); Item of an unknown key gives null, Remove
  // raises 9.
  clsSystemInstruments();

  // Appends the entry's element.
  void Add(SystemInstrumentPtr instrument);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using SystemInstrumentsPtr = std::shared_ptr<clsSystemInstruments>;

}  // namespace corvale

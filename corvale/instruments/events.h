// clsEvents: the events of an instrument (EVENTS element holding EVENT elements), keyed by
// event Key, in document order; and the condition codes that editors offer.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/instruments/event.h"
#include "corvale/xml/xml.h"

namespace corvale {

// A condition code as the editor shows it, and the operand types it takes (A, B, C).
struct EventCondition {
  int32_t code;
  const char* text;
  std::array<int32_t, 3> operands;
};
// Codes 0 ("None") to 23, in code order.
std::span<const EventCondition> EventConditions();
// The text of a condition code, "" for a code the editor does not offer.
std::string ConditionText(int32_t code);
// The operand types that choosing a code writes; nothing for a code that leaves them as
// they were. Codes 24 and 25 have no text but take the operands of code 21.
std::optional<std::array<int32_t, 3>> ConditionOperands(int32_t code);

class clsEvents : public Object, public BoundCollection<clsEvent> {
 public:
  // Bound to a new, empty EVENTS element; EVENT children without a key get "EVENT" + nn.
  clsEvents();

  // The owning instrument's key; setting it writes PARENT of every event.
  std::string Parent() const;
  void Parent(std::string value);
  // Gives the event the collection's Parent (and, when it has no key, the first free
  // "EVENT" + nn key) and appends it. Raises 457 for a key already present.
  EventPtr Add(EventPtr event);
  // Move an event one place up or down, or to a 1-based position or the place of the event
  // with a key. Raise 91 for no event and 9 for an event or target not in the collection.
  void ShiftUp(const EventPtr& event);
  void ShiftDown(const EventPtr& event);
  void ShiftTo(const EventPtr& event, const corvale::Index& target);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  // 1-based position of the first event whose Key equals key exactly; 0 when none does.
  int16_t PositionOfKey(const std::string& key) const;
  int16_t PositionOf(const EventPtr& event) const;
  void MoveTo(int16_t from, int16_t to);

  std::string parent_;
};

using EventsPtr = std::shared_ptr<clsEvents>;

}  // namespace corvale

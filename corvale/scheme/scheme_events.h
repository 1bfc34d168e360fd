// clsSchemeEvents: the events a scheme holds (its EVENTS element). Events arrive from the
// instruments placed in the scheme and keep the key of the instrument they came from as their
// Parent, which is how removing that instrument finds them again.
#pragma once

#include <memory>
#include <string_view>

#include "corvale/instruments/events.h"

namespace corvale {

class clsSchemeEvents : public clsEvents {
 public:
  // Adds the event as clsEvents does, but leaves its Parent as it is.
  EventPtr Add(EventPtr event);
  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using SchemeEventsPtr = std::shared_ptr<clsSchemeEvents>;

}  // namespace corvale

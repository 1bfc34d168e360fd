#include "corvale/scheme/scheme_events.h"

#include <string>
#include <utility>

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

EventPtr clsSchemeEvents::Add(EventPtr event) {
  if (!event) throw Error(err::kObjectNotSet);
  const std::string parent = event->Parent();
  clsEvents::Add(event);
  event->Parent(parent);
  return event;
}

Variant clsSchemeEvents::Invoke(std::string_view member, const Args& args) {
  if (FoldMemberName(member) == "ADD") {
    ExpectArgs(args, 1);
    return Variant(Add(args[0].ToObjectAs<clsEvent>()));
  }
  return clsEvents::Invoke(member, args);
}

}  // namespace corvale

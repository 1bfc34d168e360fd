#include "corvale/instruments/events.h"

#include <limits>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {
namespace {

using operand::kChannel;
using operand::kConstant;
using operand::kEvent;
using operand::kNotUsed;

// The texts are the ones users have always seen, mixed styles included.
constexpr std::array<EventCondition, 24> kConditions = {{
    {0, "None", {kNotUsed, kNotUsed, kNotUsed}},
    {1, "Always", {kNotUsed, kNotUsed, kNotUsed}},
    {2, "Channel A > B", {kChannel, kConstant, kNotUsed}},
    {3, "Channel A >= B", {kChannel, kConstant, kNotUsed}},
    {4, "Channel A < B", {kChannel, kConstant, kNotUsed}},
    {5, "Channel A <= B", {kChannel, kConstant, kNotUsed}},
    {6, "ChanA = B", {kChannel, kConstant, kNotUsed}},
    {7, "ChanA <> B", {kChannel, kConstant, kNotUsed}},
    {8, "ChanA > ChanB", {kChannel, kChannel, kNotUsed}},
    {9, "ChanA >= ChanB", {kChannel, kChannel, kNotUsed}},
    {10, "ChanA = ChanB", {kChannel, kChannel, kNotUsed}},
    {11, "ChanA != ChanB", {kChannel, kChannel, kNotUsed}},
    {12, "Delta Channel A > B", {kChannel, kConstant, kNotUsed}},
    {13, "Event A AND Event B", {kEvent, kEvent, kNotUsed}},
    {14, "Event A OR Event B", {kEvent, kEvent, kNotUsed}},
    {15, "DELTA Event A", {kEvent, kNotUsed, kNotUsed}},
    {16, "Every B on Channel A", {kChannel, kConstant, kNotUsed}},
    {17, "NOT Event A", {kEvent, kNotUsed, kNotUsed}},
    {18, "On Event A For B Seconds", {kEvent, kConstant, kNotUsed}},
    {19, "On Event A Until Event B", {kEvent, kEvent, kNotUsed}},
    {20, "Event A TRUE for B Scans", {kEvent, kConstant, kNotUsed}},
    {21, "Channels A between B and C", {kChannel, kConstant, kConstant}},
    {22, "Channel A bit B set", {kChannel, kConstant, kNotUsed}},
    {23, "Channel A bit B not set", {kChannel, kConstant, kNotUsed}},
}};

}  // namespace

std::span<const EventCondition> EventConditions() { return kConditions; }

std::string ConditionText(int32_t code) {
  if (code < 0 || code >= static_cast<int32_t>(kConditions.size())) return "";
  return kConditions[static_cast<size_t>(code)].text;
}

std::optional<std::array<int32_t, 3>> ConditionOperands(int32_t code) {
  if (code >= 0 && code < static_cast<int32_t>(kConditions.size()))
    return kConditions[static_cast<size_t>(code)].operands;
  // Codes without an editor text that documents still use: ranged like code 21.
  if (code == 24 || code == 25) return kConditions[21].operands;
  return std::nullopt;
}

clsEvents::clsEvents()
    : BoundCollection({.container = "EVENTS",
                       .child = "EVENT",
                       .keyPrefix = "EVENT",
                       .firstNumber = 1,
                       .twoDigits = true}) {}

std::string clsEvents::Parent() const { return parent_; }

void clsEvents::Parent(std::string value) {
  parent_ = value;
  for (const auto& entry : items_) entry.item->Parent(value);
}

EventPtr clsEvents::Add(EventPtr event) {
  if (!event) throw Error(err::kObjectNotSet);
  const std::string key = KeyFor(*event);
  event->Parent(parent_);
  Insert(event, key);
  return event;
}

int16_t clsEvents::PositionOfKey(const std::string& key) const {
  int16_t position = 0;
  for (const auto& entry : items_) {
    ++position;
    if (entry.item->Key() == key) return position;
  }
  return 0;
}

int16_t clsEvents::PositionOf(const EventPtr& event) const {
  if (!event) throw Error(err::kObjectNotSet);
  const int16_t position = PositionOfKey(event->Key());
  if (position == 0) throw Error(err::kSubscriptOutOfRange);
  return position;
}

void clsEvents::ShiftUp(const EventPtr& event) {
  const int16_t position = PositionOf(event);
  if (position > 1) MoveTo(position, static_cast<int16_t>(position - 1));
}

void clsEvents::ShiftDown(const EventPtr& event) {
  const int16_t position = PositionOf(event);
  if (position < Count()) MoveTo(position, static_cast<int16_t>(position + 1));
}

void clsEvents::ShiftTo(const EventPtr& event, const corvale::Index& target) {
  const int16_t position = PositionOf(event);
  int32_t to = 0;
  if (target.IsPosition()) {
    to = target.Position();
  } else {
    to = PositionOfKey(target.Key());
  }
  if (to < 1 || to > Count()) throw Error(err::kSubscriptOutOfRange);
  MoveTo(position, static_cast<int16_t>(to));
}

// Entry and element move together, so that document order and collection order stay equal.
void clsEvents::MoveTo(int16_t from, int16_t to) {
  xml::Node element = Reenter(from, to);
  const std::vector<xml::Node> siblings = node_.selectNodes("EVENT");
  if (static_cast<size_t>(to) <= siblings.size()) {
    node_.insertBefore(element, siblings[static_cast<size_t>(to) - 1]);
  } else {
    node_.appendChild(element);
  }
}

Variant clsEvents::Invoke(std::string_view member, const Args& args) {
  using T = clsEvents;
  using M = MemberTable<T>;
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", MemberTable<T>::WithIndex(&T::Item)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.Add(a[0].ToObjectAs<clsEvent>()));
       }},
      {"Remove", MemberTable<T>::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"ShiftUp",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.ShiftUp(a[0].ToObjectAs<clsEvent>());
         return {};
       }},
      {"ShiftDown",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.ShiftDown(a[0].ToObjectAs<clsEvent>());
         return {};
       }},
      {"ShiftTo",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 2);
         // Only a number or a key names a place.
         if (!a[1].IsString() && !a[1].IsInteger() && !a[1].IsDouble())
           throw Error(err::kTypeMismatch);
         self.ShiftTo(a[0].ToObjectAs<clsEvent>(), IndexArg(a[1]));
         return {};
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

#include "corvale/instruments/inst_channels.h"

#include <array>
#include <limits>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {
namespace {

constexpr std::array<DataTypeInfo, 9> kDataTypes = {{
    {0, "Unsigned Byte", 1},
    {1, "Signed Byte", 1},
    {2, "Unsigned Word", 2},
    {3, "Signed Word", 2},
    {4, "Unsigned Long", 4},
    {5, "Signed Long", 4},
    {6, "String", 0},
    {7, "SP Floating point", 4},
    {8, "DP Floating point", 8},
}};

constexpr std::array<ChannelTypeInfo, 7> kChannelTypes = {{
    {0, "User"},
    {1, "Analogue"},
    {2, "Counter"},
    {3, "HSIO"},
    {4, "SDI-12"},
    {5, "State"},
    {6, "Internal"},
}};

}  // namespace

std::span<const DataTypeInfo> DataTypes() { return kDataTypes; }

std::string DataTypeName(int32_t code) {
  for (const DataTypeInfo& type : kDataTypes)
    if (type.code == code) return type.name;
  return "";
}

std::optional<int16_t> DataTypeBytes(int32_t code) {
  for (const DataTypeInfo& type : kDataTypes)
    if (type.code == code && type.bytes > 0) return type.bytes;
  return std::nullopt;
}

std::span<const ChannelTypeInfo> ChannelTypes() { return kChannelTypes; }

std::string ChannelTypeName(int32_t code) {
  for (const ChannelTypeInfo& type : kChannelTypes)
    if (type.code == code) return type.name;
  return "";
}

clsInstChannels::clsInstChannels()
    : BoundCollection({.container = "CHANNELS", .child = "CHANNEL", .keyPrefix = "CHAN_"}) {}

InstChannelPtr clsInstChannels::Add(InstChannelPtr channel,
                                    const std::optional<corvale::Index>& before,
                                    const std::optional<corvale::Index>& after) {
  if (!channel) throw Error(err::kObjectNotSet);
  if (before && after) throw Error(err::kInvalidProcedureCall);
  const std::string key = KeyFor(*channel);

  // The element's place is found before the entry is added; a failed look-up means "at the
  // end" here, and the collection then reports the missing position or key itself.
  xml::Node reference;
  try {
    if (before) {
      reference = items_.Item(*before)->XMLNode();
    } else if (after) {
      // Deliberately the element of the channel at p + 1 only while more than p + 1 channels
      // exist: after the second-to-last channel the element goes to the end of CHANNELS while
      // the entry goes before the last one. Saved documents carry this order in INDEX.
      const int32_t next = items_.PositionOf(*after) + 1;
      if (items_.Count() > next) reference = items_.Item(next)->XMLNode();
    }
  } catch (const Error&) {
    reference = xml::Node();
  }

  Insert(channel, key, before, after, reference);
  RenumberFrom(channel->XMLNode());
  return channel;
}

void clsInstChannels::Move(int16_t from, int16_t to) {
  items_.Item(from);  // both positions are checked (error 9) before anything changes
  InstChannelPtr target = items_.Item(to);
  if (from == to) return;
  xml::Node element = Reenter(from, to);
  // Deliberately before the target's element: a move towards the end leaves the channel one
  // place earlier in the document than in the collection, and INDEX follows the document.
  xml::Node reference = target->XMLNode();
  if (reference.parentNode() == node_) {
    node_.insertBefore(element, reference);
  } else {
    node_.appendChild(element);
  }
  RenumberFrom({}, true);
}

std::string clsInstChannels::Parent() const { return parent_; }

void clsInstChannels::Parent(std::string value) {
  parent_ = value;
  for (const auto& entry : items_) entry.item->Parent(value);
}

bool clsInstChannels::Changed() const {
  for (const auto& entry : items_)
    if (entry.item->Changed()) return true;
  return false;
}

void clsInstChannels::Changed(bool value) {
  for (const auto& entry : items_) entry.item->Changed(value);
}

void clsInstChannels::Remove(const corvale::Index& index) {
  // The channels after the removed one move up; those before it keep their INDEX.
  xml::Node next = items_.Item(index)->XMLNode().nextSibling();
  while (next && next.nodeName() != "CHANNEL") next = next.nextSibling();
  BoundCollection::Remove(index);
  RenumberFrom(next);
}

Variant clsInstChannels::Invoke(std::string_view member, const Args& args) {
  using T = clsInstChannels;
  using M = MemberTable<T>;
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", MemberTable<T>::WithIndex(&T::Item)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         const auto [before, after] = PlacementArgs(a);
         return Variant(self.Add(a[0].ToObjectAs<clsInstChannel>(), before, after));
       }},
      {"Move",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 2);
         self.Move(a[0].ToInt16(), a[1].ToInt16());
         return {};
       }},
      {"Remove", MemberTable<T>::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"Changed", M::Property(&T::Changed, &T::Changed)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

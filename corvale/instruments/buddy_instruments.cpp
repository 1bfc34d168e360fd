#include "corvale/instruments/buddy_instruments.h"

#include <algorithm>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsBuddyInstruments::clsBuddyInstruments() : node_(CreateElement("BUDDIES")) {}

xml::Node clsBuddyInstruments::XMLNode() const { return node_; }

void clsBuddyInstruments::XMLNode(xml::Node value) {
  node_ = std::move(value);
  list_ = node_.selectNodes("INSTRUMENT");
}

int16_t clsBuddyInstruments::Count() const { return static_cast<int16_t>(list_.size()); }

xml::Node clsBuddyInstruments::Find(const std::string& reference) const {
  for (const xml::Node& buddy : list_)
    if (buddy.text() == reference) return buddy;
  return {};
}

// A position outside the list has no element: the caller then fails as on a missing object.
xml::Node clsBuddyInstruments::At(int32_t zeroBased) const {
  if (zeroBased < 0 || static_cast<size_t>(zeroBased) >= list_.size())
    throw Error(err::kObjectNotSet);
  return list_[static_cast<size_t>(zeroBased)];
}

std::string clsBuddyInstruments::Item(const corvale::Index& index) const {
  if (index.IsPosition()) return At(index.Position() - 1).text();
  xml::Node buddy = Find(index.Key());
  if (!buddy) throw Error(err::kSubscriptOutOfRange);
  return buddy.text();
}

std::string clsBuddyInstruments::Parent() const { return parent_; }
void clsBuddyInstruments::Parent(std::string value) { parent_ = std::move(value); }

void clsBuddyInstruments::Add(std::string reference) {
  if (Find(reference))
    throw Error(err::kInvalidBuddy, "The buddy instrument is already in the list",
                "clsBuddyInstruments:Add");
  xml::Node buddy = CreateElement("INSTRUMENT");
  buddy.text(reference);
  node_.appendChild(buddy);
  list_ = node_.selectNodes("INSTRUMENT");
}

void clsBuddyInstruments::Remove(const corvale::Index& index) {
  xml::Node buddy;
  if (index.IsPosition()) {
    // Positions here count from 0 while Item counts from 1: Remove(1) takes the second
    // buddy. Hosts written against this numbering depend on it, so it stays.
    buddy = At(index.Position());
  } else {
    buddy = Find(index.Key());
    if (!buddy) throw Error(err::kSubscriptOutOfRange);
  }
  node_.removeChild(buddy);
  list_.erase(std::find(list_.begin(), list_.end(), buddy));
}

void clsBuddyInstruments::Clear() {
  for (const xml::Node& buddy : list_) node_.removeChild(buddy);
  list_.clear();
}

Variant clsBuddyInstruments::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsBuddyInstruments>;
  static const M::Member item =
      MemberTable<clsBuddyInstruments>::WithIndex(&clsBuddyInstruments::Item);
  static const M members = {
      {"Count", M::Getter(&clsBuddyInstruments::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](clsBuddyInstruments& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(a[0].ToString());
         return {};
       }},
      {"Remove", MemberTable<clsBuddyInstruments>::WithIndex(&clsBuddyInstruments::Remove)},
      {"Clear", M::Method(&clsBuddyInstruments::Clear)},
      {"Parent", M::Property(&clsBuddyInstruments::Parent, &clsBuddyInstruments::Parent)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

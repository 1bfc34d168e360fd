#include "corvale/instruments/buddy_instruments.h"

#include <memory>
#include <utility>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

// References compare case-sensitively, unlike collection keys: the entries are kept without
// keys and found by walking the list, which stays short.
clsBuddyInstruments::clsBuddyInstruments()
    : BoundCollection({.container = "BUDDIES", .child = "INSTRUMENT", .keyOnBind = false}) {}

int16_t clsBuddyInstruments::Find(const std::string& reference) const {
  int16_t position = 0;
  for (const auto& entry : items_) {
    ++position;
    if (entry.item->Text() == reference) return position;
  }
  return 0;
}

int16_t clsBuddyInstruments::At(int32_t zeroBased) const {
  if (zeroBased < 0 || zeroBased >= Count()) throw Error(err::kObjectNotSet);
  return static_cast<int16_t>(zeroBased + 1);
}

std::string clsBuddyInstruments::Item(const corvale::Index& index) const {
  if (index.IsPosition()) return items_.Item(At(index.Position() - 1))->Text();
  const int16_t position = Find(index.Key());
  if (!position) throw Error(err::kSubscriptOutOfRange);
  return items_.Item(position)->Text();
}

std::string clsBuddyInstruments::Parent() const { return parent_; }
void clsBuddyInstruments::Parent(std::string value) { parent_ = std::move(value); }

void clsBuddyInstruments::Add(std::string reference) {
  if (Find(reference))
    throw Error(err::kInvalidBuddy, "The buddy instrument is already in the list",
                "clsBuddyInstruments:Add");
  Insert(std::make_shared<TextElement>("INSTRUMENT", reference), "");
}

void clsBuddyInstruments::Remove(const corvale::Index& index) {
  int16_t position = 0;
  if (index.IsPosition()) {
    // Positions here count from 0 while Item counts from 1: Remove(1) takes the second
    // buddy. Hosts written against this numbering depend on it, so it stays.
    position = At(index.Position());
  } else {
    position = Find(index.Key());
    if (!position) throw Error(err::kSubscriptOutOfRange);
  }
  BoundCollection::Remove(position);
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

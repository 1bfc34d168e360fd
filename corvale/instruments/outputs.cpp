#include "corvale/instruments/outputs.h"

#include <limits>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsOutputs::clsOutputs()
    : BoundCollection({.container = "OUTPUTS", .child = "OUTPUT", .keyPrefix = "OUT_"}) {}

OutputPtr clsOutputs::Add(OutputPtr output) {
  if (!output) throw Error(err::kObjectNotSet);
  Insert(output, KeyFor(*output));
  return output;
}

std::string clsOutputs::Parent() const { return GetNodeText(node_, "PARENT", ""); }

void clsOutputs::Parent(std::string value) {
  SetNodeText(node_, "PARENT", value);
  for (const auto& entry : items_) entry.item->Parent(value);
}

bool clsOutputs::ChannelExists(std::string_view alias) {
  for (const auto& entry : items_) {
    try {
      if (entry.item->Invoke("Alias").ToString() == alias) return true;
    } catch (const std::exception&) {
      // An item without an Alias cannot be the one asked for.
    }
  }
  return false;
}

bool clsOutputs::QueryUninstall() {
  for (const auto& entry : items_)
    if (!entry.item->QueryUninstall()) return false;
  return true;
}

Variant clsOutputs::Invoke(std::string_view member, const Args& args) {
  using T = clsOutputs;
  using M = MemberTable<T>;
  static const M members = {
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.Add(a[0].ToObjectAs<clsOutput>()));
       }},
      {"Item", MemberTable<T>::WithIndex(&T::Item)},
      {"Count", M::Getter(&T::Count)},
      {"Remove", MemberTable<T>::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"ChannelExists",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.ChannelExists(a[0].ToString()));
       }},
      {"QueryUninstall", M::Method(&T::QueryUninstall)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

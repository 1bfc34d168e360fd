#include "corvale/instruments/outputs.h"

#include <limits>

#include "corvale/core/bound_collection.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/node_access.h"
#include "corvale/core/object.h"

namespace corvale {

clsOutputs::clsOutputs() : node_(CreateElement("OUTPUTS")) {}

xml::Node clsOutputs::XMLNode() const { return node_; }

void clsOutputs::XMLNode(xml::Node value) {
  // Only the collection is emptied: the outputs stay in the element left behind.
  items_.Clear();
  node_ = std::move(value);
  BindChildren(items_, node_, "OUTPUT", [this] { return NextKey(); });
}

std::string clsOutputs::NextKey() const { return items_.FirstFreeKey("OUT_"); }

OutputPtr clsOutputs::Add(OutputPtr output) {
  if (!output) throw Error(err::kObjectNotSet);
  std::string key = output->Key();
  if (key.empty()) {
    key = NextKey();
    output->Key(key);
  }
  items_.Add(output, key);
  node_.appendChild(output->XMLNode());
  return output;
}

OutputPtr clsOutputs::Item(const corvale::Index& index) const { return items_.Item(index); }

int16_t clsOutputs::Count() const { return items_.Count(); }

void clsOutputs::Remove(const corvale::Index& index) { RemoveBound(items_, node_, index); }

void clsOutputs::Clear() { ClearBound(items_, node_); }

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
      {"Item",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.Item(IndexArg(a[0])));
       }},
      {"Count", M::Getter(&T::Count)},
      {"Remove",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Remove(IndexArg(a[0]));
         return {};
       }},
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

#include "corvale/resources/logger_resource_list.h"

#include "corvale/binding/bound_collection.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsLoggerResourceList::clsLoggerResourceList() : node_(CreateElement("RESOURCES")) {}

int16_t clsLoggerResourceList::Count() const { return items_.Count(); }

LoggerResourceRequestPtr clsLoggerResourceList::Item(const corvale::Index& index) const {
  return items_.Item(index);
}

std::string clsLoggerResourceList::Parent() const { return GetNodeText(node_, "PARENT", ""); }
void clsLoggerResourceList::Parent(std::string value) { SetNodeText(node_, "PARENT", value); }

xml::Node clsLoggerResourceList::XMLNode() const { return node_; }

void clsLoggerResourceList::XMLNode(xml::Node value) {
  if (value == node_) return;
  // Clearing takes the requests out of the element left behind, as documents saved after a
  // re-bind have always shown.
  Clear();
  node_ = std::move(value);
  BindChildren(items_, node_, "REQUEST", [this] { return NextKey(); });
}

std::string clsLoggerResourceList::NextKey() const { return items_.FirstFreeKey("RES_"); }

void clsLoggerResourceList::Add(LoggerResourceRequestPtr request) {
  if (!request) throw Error(err::kObjectNotSet);
  if (request->Key().empty()) request->Key(NextKey());
  // A repeated key is refused before the element moves in, so the document never holds a
  // request that the list does not know (it could not be loaded again).
  if (items_.Exists(request->Key())) throw Error(err::kDuplicateKey);
  node_.appendChild(request->XMLNode());
  items_.Add(request, request->Key());
}

void clsLoggerResourceList::Remove(const corvale::Index& index) {
  node_.removeChild(items_.Item(index)->XMLNode());
  items_.Remove(index);
}

void clsLoggerResourceList::Clear() {
  while (!items_.Empty()) Remove(1);
}

Variant clsLoggerResourceList::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsLoggerResourceList>;
  static const M::Member item =
      MemberTable<clsLoggerResourceList>::WithIndex(&clsLoggerResourceList::Item);
  static const M members = {
      {"Count", M::Getter(&clsLoggerResourceList::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](clsLoggerResourceList& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<LoggerResourceRequestPtr>(a[0]));
         return {};
       }},
      {"Remove", MemberTable<clsLoggerResourceList>::WithIndex(&clsLoggerResourceList::Remove)},
      {"Clear", M::Method(&clsLoggerResourceList::Clear)},
      {"Parent", M::Property(&clsLoggerResourceList::Parent, &clsLoggerResourceList::Parent)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

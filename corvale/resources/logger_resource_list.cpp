#include "corvale/resources/logger_resource_list.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

clsLoggerResourceList::clsLoggerResourceList()
    : BoundCollection({.container = "RESOURCES",
                       .child = "REQUEST",
                       .keyPrefix = "RES_",
                       .rebindEmptiesOld = true,
                       .rebindSameIsNoop = true}) {}

std::string clsLoggerResourceList::Parent() const { return GetNodeText(node_, "PARENT", ""); }
void clsLoggerResourceList::Parent(std::string value) { SetNodeText(node_, "PARENT", value); }

void clsLoggerResourceList::Add(LoggerResourceRequestPtr request) {
  if (!request) throw Error(err::kObjectNotSet);
  // The element moves in before the key is checked, so a request refused as a duplicate stays
  // in the document: instruments saved this way carry such a request, and reading them again
  // fails with 457 where it always has, which is how their users find and mend them.
  node_.appendChild(request->XMLNode());
  AddEntry(request, KeyFor(*request));
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

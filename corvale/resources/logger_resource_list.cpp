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
  const std::string key = KeyFor(*request);
  // A repeated key is refused before the element moves in, so the document never holds a
  // request that the list does not know (it could not be loaded again).
  if (items_.Exists(key)) throw Error(err::kDuplicateKey);
  Insert(request, key);
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

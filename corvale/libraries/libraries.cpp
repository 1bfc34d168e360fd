#include "corvale/libraries/libraries.h"

#include <utility>

#include "corvale/core/member_table.h"
#include "corvale/core/object.h"
#include "corvale/core/registry.h"

namespace corvale {

clsLibraries::clsLibraries() : ElementBinding("LIBRARIES") {}

InstrumentsPtr clsLibraries::Item(const Index& index) const { return libraries_.Item(index); }

InstrumentsPtr clsLibraries::Library(std::string_view className) {
  try {
    if (InstrumentsPtr found = libraries_.Find(className)) return found;
    auto created = std::dynamic_pointer_cast<IInstruments>(CreateObject(className));
    if (created) libraries_.Add(created, className);
    return created;
  } catch (...) {
    return nullptr;
  }
}

int16_t clsLibraries::Count() const { return libraries_.Count(); }

xml::Node clsLibraries::XMLNode() {
  while (xml::Node child = node_.firstChild()) node_.removeChild(child);
  for (const auto& entry : libraries_) {
    if (xml::Node root = entry.item->XMLNode()) node_.appendChild(root.cloneNode(true));
  }
  return node_;
}

void clsLibraries::Add(InstrumentsPtr library) {
  if (!library) return;
  const std::string source = library->Source();
  for (const auto& entry : libraries_) {
    if (entry.item->Source() == source) return;
  }
  // The check above is case-sensitive while keys are not, and that is kept: the same Source
  // added twice is ignored quietly, but one differing only in case fails here with error 457
  // instead of being taken for the library already open.
  libraries_.Add(std::move(library), source);
}

void clsLibraries::Remove(const Index& index) {
  if (index.IsPosition()) {
    libraries_.Remove(index);
    return;
  }
  for (int16_t position = 1; position <= libraries_.Count(); ++position) {
    if (libraries_.Item(position)->Source() == index.Key()) {
      libraries_.Remove(position);
      return;
    }
  }
}

void clsLibraries::Clear() { libraries_.Clear(); }

Variant clsLibraries::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsLibraries>;
  static const M members = {
      {"Item", MemberTable<clsLibraries>::WithIndex(&clsLibraries::Item)},
      {"Library",
       [](clsLibraries& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.Library(a[0].ToString()));
       }},
      {"Count", M::Getter(&clsLibraries::Count)},
      {"Add",
       [](clsLibraries& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(a[0].ToObjectAs<IInstruments>());
         return {};
       }},
      {"Remove", MemberTable<clsLibraries>::WithIndex(&clsLibraries::Remove)},
      {"Clear", M::Method(&clsLibraries::Clear)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

#include "corvale/libraries/instruments.h"

#include "corvale/core/member_table.h"

namespace corvale {

Variant IInstruments::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<IInstruments>;
  auto withFile = [](bool (IInstruments::*op)(const std::string&)) {
    return [op](IInstruments& self, const Args& a) -> Variant {
      ExpectArgs(a, 1);
      return Variant((self.*op)(a[0].ToString()));
    };
  };
  static const M members = {
      {"Name", M::Property(&IInstruments::Name, &IInstruments::Name)},
      {"Description", M::Property(&IInstruments::Description, &IInstruments::Description)},
      {"Count", M::Getter(&IInstruments::Count)},
      {"Item", M::WithIndex(&IInstruments::Item)},
      {"LibraryItem", M::WithIndex(&IInstruments::LibraryItem)},
      {"EditMode", M::Property(&IInstruments::EditMode, &IInstruments::EditMode)},
      {"Provider", M::Property(&IInstruments::Provider, &IInstruments::Provider)},
      {"Source", M::Property(&IInstruments::Source, &IInstruments::Source)},
      {"Version", M::Property(&IInstruments::Version, &IInstruments::Version)},
      {"Visibility", M::Property(&IInstruments::Visibility, &IInstruments::Visibility)},
      {"Add",
       [](IInstruments& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(self.Add(a[0].ToObjectAs<IInstrument>()));
       }},
      {"Clear", M::Method(&IInstruments::Clear)},
      {"Remove", MemberTable<IInstruments>::WithIndex(&IInstruments::Remove)},
      {"Load", withFile(&IInstruments::Load)},
      {"Save", withFile(&IInstruments::Save)},
      {"ClassName", M::Getter(&IInstruments::ClassName)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

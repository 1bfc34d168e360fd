#include "corvale/systems/system_instruments.h"

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

clsSystemInstruments::clsSystemInstruments()
    : BoundCollection({.container = "INSTRUMENTS", .child = "INSTRUMENT", .unkeyedLookup = true}) {}

void clsSystemInstruments::Add(SystemInstrumentPtr instrument) {
  if (!instrument) throw Error(err::kObjectNotSet);
  Insert(instrument, instrument->Key());
}

Variant clsSystemInstruments::Invoke(std::string_view member, const Args& args) {
  using T = clsSystemInstruments;
  using M = MemberTable<T>;
  static const M::Member item = M::WithIndex(&T::Item);
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<SystemInstrumentPtr>(a[0]));
         return {};
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

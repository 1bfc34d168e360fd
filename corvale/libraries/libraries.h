// clsLibraries: the set of instrument libraries a host has open, keyed by each library's
// Source (the part of an instrument's library reference before "|"), plus library classes
// created on demand by their class name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "corvale/binding/bound_element.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/libraries/instruments.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLibraries : public Object, private ElementBinding {
 public:
  clsLibraries();

  // The member at a position or key; error 9 when there is none.
  InstrumentsPtr Item(const Index& index) const;
  // The library created from a class name, created and added under that name on first use.
  // Never raises: a class that cannot be created (or is no library) gives null.
  InstrumentsPtr Library(std::string_view className);
  int16_t Count() const;
  // A LIBRARIES element holding a copy of every member's root element, rebuilt on each call.
  // An export only: nothing is read back from it. Members without a root are skipped.
  xml::Node XMLNode();
  // Adds a library under its Source, unless a member has exactly that Source already.
  void Add(InstrumentsPtr library);
  // A position, or the exact (case-sensitive) Source of a member; an unknown Source
  // removes nothing.
  void Remove(const Index& index);
  void Clear();

  // The members above by name, for late-bound callers (the element excepted).
  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  KeyedCollection<IInstruments> libraries_;
};

}  // namespace corvale

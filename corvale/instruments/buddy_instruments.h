// clsBuddyInstruments: the references (library source + "|" + catalogue code) of the
// instruments that belong with an instrument, one INSTRUMENT child of BUDDIES each.
#pragma once

#include <cstdint>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/text_element.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"

namespace corvale {

class clsBuddyInstruments : public Object, public BoundCollection<TextElement> {
 public:
  clsBuddyInstruments();  // bound to a new, empty BUDDIES element

  // A 1-based position, or a reference compared case-sensitively (raises 9 when absent).
  std::string Item(const corvale::Index& index) const;
  // The key of the owning instrument, kept in memory.
  std::string Parent() const;
  void Parent(std::string value);
  // Raises 497 when the reference is already present (same text, same case).
  void Add(std::string reference);
  // A 0-BASED position (Remove(1) removes the second buddy), or a reference (raises 9).
  void Remove(const corvale::Index& index) override;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  // 1-based position of the first buddy holding exactly the reference; 0 when none does.
  int16_t Find(const std::string& reference) const;
  // The position of a 0-based index; a position outside the list has no element, and the
  // caller then fails as on a missing object (91).
  int16_t At(int32_t zeroBased) const;

  std::string parent_;
};

}  // namespace corvale

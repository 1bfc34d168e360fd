// clsBuddyInstruments: the references (library source + "|" + catalogue code) of the
// instruments that belong with an instrument, one INSTRUMENT child of BUDDIES each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsBuddyInstruments : public Object {
 public:
  clsBuddyInstruments();  // bound to a new, empty BUDDIES element

  xml::Node XMLNode() const;
  void XMLNode(xml::Node value);
  int16_t Count() const;
  // A 1-based position, or a reference compared case-sensitively (raises 9 when absent).
  std::string Item(const corvale::Index& index) const;
  // The key of the owning instrument, kept in memory.
  std::string Parent() const;
  void Parent(std::string value);
  // Raises 497 when the reference is already present (same text, same case).
  void Add(std::string reference);
  // A 0-BASED position (Remove(1) removes the second buddy), or a reference (raises 9).
  void Remove(const corvale::Index& index);
  void Clear();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  xml::Node Find(const std::string& reference) const;
  xml::Node At(int32_t zeroBased) const;

  FactoryUser factory_user_;
  xml::Node node_;
  std::vector<xml::Node> list_;
  std::string parent_;
};

}  // namespace corvale

// clsOutputs: the outputs of an instrument (OUTPUTS element holding OUTPUT elements), keyed
// by output Key, in document order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/core/xml.h"
#include "corvale/instruments/output.h"

namespace corvale {

class clsOutputs : public Object {
 public:
  clsOutputs();  // bound to a new, empty OUTPUTS element

  xml::Node XMLNode() const;
  // Reads the OUTPUT children in document order, giving keyless ones an "OUT_" key; raises
  // 457 when two outputs share a key.
  void XMLNode(xml::Node value);
  // Gives a keyless output the first free "OUT_" + n and appends it; raises 457 for a key
  // already present.
  OutputPtr Add(OutputPtr output);
  OutputPtr Item(const corvale::Index& index) const;
  int16_t Count() const;
  void Remove(const corvale::Index& index);
  void Clear();
  // PARENT of the OUTPUTS element; setting it also sets Parent of every output.
  std::string Parent() const;
  void Parent(std::string value);
  // Whether an item answers Alias (asked by name) with exactly this text.
  bool ChannelExists(std::string_view alias);
  // True unless an output, asked in order, refuses; stops at the first refusal.
  bool QueryUninstall();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::string NextKey() const;

  xml::Node node_;
  KeyedCollection<clsOutput> items_;
};

using OutputsPtr = std::shared_ptr<clsOutputs>;

}  // namespace corvale

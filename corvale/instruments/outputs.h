// clsOutputs: the outputs of an instrument (OUTPUTS element holding OUTPUT elements), keyed
// by output Key, in document order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/instruments/output.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsOutputs : public Object, public BoundCollection<clsOutput> {
 public:
  // Bound to a new, empty OUTPUTS element; OUTPUT children without a key get "OUT_" + n.
  clsOutputs();

  // Gives a keyless output the first free "OUT_" + n and appends it; raises 457 for a key
  // already present.
  OutputPtr Add(OutputPtr output);
  // PARENT of the OUTPUTS element; setting it also sets Parent of every output.
  std::string Parent() const;
  void Parent(std::string value);
  // Whether an item answers Alias (asked by name) with exactly this text.
  bool ChannelExists(std::string_view alias);
  // True unless an output, asked in order, refuses; stops at the first refusal.
  bool QueryUninstall();

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using OutputsPtr = std::shared_ptr<clsOutputs>;

}  // namespace corvale

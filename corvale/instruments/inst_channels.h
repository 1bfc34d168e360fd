// clsInstChannels: the channels of an instrument (CHANNELS element holding CHANNEL elements),
// keyed by channel Key; and the data-type and channel-type tables that editors show.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/xml/xml.h"

namespace corvale {

// Input data types: code, name shown to the user, bytes per value (0: set by the caller).
struct DataTypeInfo {
  int32_t code;
  const char* name;
  int16_t bytes;
};
std::span<const DataTypeInfo> DataTypes();
// The name of a data type code, "" for a code outside the table.
std::string DataTypeName(int32_t code);
// The byte count that choosing a data type gives a channel; nothing when it keeps its own.
std::optional<int16_t> DataTypeBytes(int32_t code);

// Channel types: the kind of logger input a channel needs.
struct ChannelTypeInfo {
  int32_t code;
  const char* name;
};
std::span<const ChannelTypeInfo> ChannelTypes();
std::string ChannelTypeName(int32_t code);

class clsInstChannels : public Object, public BoundCollection<clsInstChannel> {
 public:
  // Bound to a new, empty CHANNELS element; CHANNEL children without a key get "CHAN_" + n.
  clsInstChannels();

  // Adds a channel before or after a position or key (at the end with neither); a channel
  // without a key gets the first free "CHAN_" + n. Raises 457 for a key already present, 9
  // for a missing before or after, 5 when both are given.
  InstChannelPtr Add(InstChannelPtr channel,
                     const std::optional<corvale::Index>& before = std::nullopt,
                     const std::optional<corvale::Index>& after = std::nullopt);
  // Moves the channel at 1-based position from to position to; raises 9 for a missing one.
  void Move(int16_t from, int16_t to);
  // The owning instrument's key; setting it writes PARENT of every channel.
  std::string Parent() const;
  void Parent(std::string value);
  // True when any channel is changed; setting it sets every channel's Changed.
  bool Changed() const;
  void Changed(bool value);
  // Also renumbers INDEX of the channels left.
  void Remove(const corvale::Index& index) override;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::string parent_;
};

using InstChannelsPtr = std::shared_ptr<clsInstChannels>;

}  // namespace corvale

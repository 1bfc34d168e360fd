// clsLoggerInputChannels: the input channels of a logger (INPUTCHANNELS element), and the
// search for a free channel of a wanted type whose measuring range covers what an instrument
// channel needs.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>

#include "corvale/loggers/logger_channels.h"
#include "corvale/loggers/logger_input_channel.h"

namespace corvale {

class FreeChannelIndex;

class clsLoggerInputChannels : public LoggerChannels<clsLoggerInputChannel> {
 public:
  // Bound to a new, empty INPUTCHANNELS element. Binding another element first takes the
  // channels out of the element left behind; CHANNEL children are taken under their Key as
  // they are (no key is generated), and a repeated key raises 457.
  clsLoggerInputChannels();
  ~clsLoggerInputChannels() override;

  // A free channel of the type: the free channel with the least slack round the range
  // [lower, upper] (the earliest of equals), else the first free channel without a range,
  // else, when none of those is free, the first free channel of the type, whatever its range;
  // null when no channel of the type is free. A range is asked for when both bounds are given
  // and one of them is not 0. A channel is free when none of its requested resources is missing
  // from the pool, locked exclusively or, for a request other than "Not Available", in use.
  InputChannelPtr NextChannel(int32_t channelType, std::optional<double> upper = std::nullopt,
                              std::optional<double> lower = std::nullopt);

  // Where NextChannel writes its trace lines ("Found channel: " and "New best match: "
  // followed by the channel's Description); null, the default, writes none. While a stream
  // is set, NextChannel walks every channel so that the lines come out in order.
  std::ostream* TraceStream() const { return trace_; }
  void TraceStream(std::ostream* stream) { trace_ = stream; }

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  InputChannelPtr Walk(int32_t channelType, std::optional<double> upper,
                       std::optional<double> lower);
  bool IsFree(const clsLoggerInputChannel& channel) const;
  void Trace(std::string_view what, const clsLoggerInputChannel& channel) const;

  std::ostream* trace_ = nullptr;
  std::unique_ptr<FreeChannelIndex> index_;
};

using LoggerInputChannelsPtr = std::shared_ptr<clsLoggerInputChannels>;

}  // namespace corvale

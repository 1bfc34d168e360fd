// clsLoggerOutputChannels: the output channels of a logger (OUTPUTCHANNELS element).
#pragma once

#include <memory>

#include "corvale/loggers/logger_channels.h"
#include "corvale/loggers/logger_output_channel.h"

namespace corvale {

class clsLoggerOutputChannels : public LoggerChannels<clsLoggerOutputChannel> {
 public:
  // Bound to a new, empty OUTPUTCHANNELS element; binding as for the input channels.
  clsLoggerOutputChannels() : LoggerChannels("OUTPUTCHANNELS") {}
};

using LoggerOutputChannelsPtr = std::shared_ptr<clsLoggerOutputChannels>;

}  // namespace corvale

// clsLoggerOutputChannel: one physical output channel of a logger (a CHANNEL element of
// OUTPUTCHANNELS) and the resources it occupies.
#pragma once

#include <memory>

#include "corvale/core/object.h"
#include "corvale/loggers/logger_channel_binding.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerOutputChannel : public Object, public LoggerChannelBinding {
 public:
  clsLoggerOutputChannel();  // a new, detached CHANNEL with empty CDTSETTINGS and RESOURCES
  // Bound to a CHANNEL element, as XMLNode(element) binds it.
  explicit clsLoggerOutputChannel(xml::Node element);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using OutputChannelPtr = std::shared_ptr<clsLoggerOutputChannel>;

}  // namespace corvale

#include "corvale/loggers/logger_output_channel.h"

#include <utility>

namespace corvale {

clsLoggerOutputChannel::clsLoggerOutputChannel() = default;

clsLoggerOutputChannel::clsLoggerOutputChannel(xml::Node element)
    : LoggerChannelBinding(std::move(element)) {}

Variant clsLoggerOutputChannel::Invoke(std::string_view member, const Args& args) {
  if (auto shared = InvokeShared(member, args)) return *shared;
  return Object::Invoke(member, args);
}

}  // namespace corvale

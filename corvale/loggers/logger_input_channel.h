// clsLoggerInputChannel: one physical input channel of a logger (a CHANNEL element of
// INPUTCHANNELS): its type, data layout, measuring range and scaling, and the resources it
// occupies. Instrument channels are given one through ILoggerInputChannel.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/core/object.h"
#include "corvale/instruments/logger_input_channel.h"
#include "corvale/loggers/logger_channel_binding.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerInputChannel : public ILoggerInputChannel, public LoggerChannelBinding {
 public:
  clsLoggerInputChannel();  // a new, detached CHANNEL with empty CDTSETTINGS and RESOURCES
  // Bound to a CHANNEL element, as XMLNode(element) binds it.
  explicit clsLoggerInputChannel(xml::Node element);

  std::string BaseAddress() const override;
  void BaseAddress(std::string value);
  std::string Format() const override;
  void Format(std::string value);
  int32_t InputDataType() const override;
  // Also sets NumberBytes to the size of the data type; a string or an unknown code keeps it.
  void InputDataType(int32_t value);
  // Program text, kept escaped on one line.
  std::string INPCode() const;
  void INPCode(std::string value);
  using LoggerChannelBinding::Key;
  std::string Key() const override;
  // 1 when absent (and reading writes "1" back).
  double Multiplier() const;
  void Multiplier(double value);
  int16_t NumberBytes() const override;
  void NumberBytes(int16_t value);
  double Offset() const;
  void Offset(double value);
  // The measuring range; a channel whose Max and Min are both 0 has none.
  double Max() const;
  void Max(double value);
  double Min() const;
  void Min(double value);
  bool Virtual() const override;
  void Virtual(bool value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;
};

using InputChannelPtr = std::shared_ptr<clsLoggerInputChannel>;

}  // namespace corvale

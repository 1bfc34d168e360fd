#include "corvale/loggers/logger_input_channel.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"
#include "corvale/instruments/inst_channels.h"

namespace corvale {

clsLoggerInputChannel::clsLoggerInputChannel() = default;

clsLoggerInputChannel::clsLoggerInputChannel(xml::Node element)
    : LoggerChannelBinding(std::move(element)) {}

std::string clsLoggerInputChannel::BaseAddress() const {
  return GetNodeText(node_, "BASEADDRESS", "");
}
void clsLoggerInputChannel::BaseAddress(std::string value) {
  SetNodeText(node_, "BASEADDRESS", value);
}

std::string clsLoggerInputChannel::Format() const { return GetNodeText(node_, "FORMAT", ""); }
void clsLoggerInputChannel::Format(std::string value) { SetNodeText(node_, "FORMAT", value); }

int32_t clsLoggerInputChannel::InputDataType() const {
  return GetTextLong(node_, "INPUTDATATYPE", "");
}
void clsLoggerInputChannel::InputDataType(int32_t value) {
  SetTextLong(node_, "INPUTDATATYPE", value);
  if (auto bytes = DataTypeBytes(value)) NumberBytes(*bytes);
}

std::string clsLoggerInputChannel::INPCode() const {
  return UnescapeText(GetNodeText(node_, "INPCODE", ""));
}
void clsLoggerInputChannel::INPCode(std::string value) {
  SetNodeText(node_, "INPCODE", EscapeText(value));
}

std::string clsLoggerInputChannel::Key() const { return LoggerChannelBinding::Key(); }

double clsLoggerInputChannel::Multiplier() const {
  return TextToDouble(GetNodeText(node_, "MULTIPLIER", "1"));
}
void clsLoggerInputChannel::Multiplier(double value) {
  SetNodeText(node_, "MULTIPLIER", DoubleText(value));
}

int16_t clsLoggerInputChannel::NumberBytes() const {
  return GetTextInteger(node_, "NUMBERBYTES", "");
}
void clsLoggerInputChannel::NumberBytes(int16_t value) { SetTextLong(node_, "NUMBERBYTES", value); }

double clsLoggerInputChannel::Offset() const {
  return TextToDouble(GetNodeText(node_, "OFFSET", ""));
}
void clsLoggerInputChannel::Offset(double value) {
  SetNodeText(node_, "OFFSET", DoubleText(value));
}

double clsLoggerInputChannel::Max() const { return TextToDouble(GetNodeText(node_, "MAX", "")); }
void clsLoggerInputChannel::Max(double value) {
  SetNodeText(node_, "MAX", DoubleText(value));
  Touch();
}

double clsLoggerInputChannel::Min() const { return TextToDouble(GetNodeText(node_, "MIN", "")); }
void clsLoggerInputChannel::Min(double value) {
  SetNodeText(node_, "MIN", DoubleText(value));
  Touch();
}

bool clsLoggerInputChannel::Virtual() const { return GetTextBoolean(node_, "VIRTUAL", ""); }
void clsLoggerInputChannel::Virtual(bool value) { SetTextBoolean(node_, "VIRTUAL", value); }

Variant clsLoggerInputChannel::Invoke(std::string_view member, const Args& args) {
  using T = clsLoggerInputChannel;
  using M = MemberTable<T>;
  static const M members = {
      {"BaseAddress", M::Property(&T::BaseAddress, &T::BaseAddress)},
      {"Format", M::Property(&T::Format, &T::Format)},
      {"InputDataType", M::Property(&T::InputDataType, &T::InputDataType)},
      {"INPCode", M::Property(&T::INPCode, &T::INPCode)},
      {"Multiplier", M::Property(&T::Multiplier, &T::Multiplier)},
      {"NumberBytes", M::Property(&T::NumberBytes, &T::NumberBytes)},
      {"Offset", M::Property(&T::Offset, &T::Offset)},
      {"Max", M::Property(&T::Max, &T::Max)},
      {"Min", M::Property(&T::Min, &T::Min)},
      {"Virtual", M::Property(&T::Virtual, &T::Virtual)},
  };
  if (const M::Member* found = members.Find(member)) return (*found)(*this, args);
  if (auto shared = InvokeShared(member, args)) return *shared;
  return Object::Invoke(member, args);
}

}  // namespace corvale

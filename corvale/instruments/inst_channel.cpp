#include "corvale/instruments/inst_channel.h"

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/inst_channels.h"

namespace corvale {

clsInstChannel::clsInstChannel()
    : BoundElement("CHANNEL"), cdt_(BindChildList<clsCDTSettings>(node_, "CDTSETTINGS")) {}

clsInstChannel::clsInstChannel(xml::Node element) : BoundElement(std::move(element)) {
  BindSettings();
}

void clsInstChannel::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  BindSettings();
}

void clsInstChannel::BindSettings() {
  cdt_ = BindChildList<clsCDTSettings>(node_, "CDTSETTINGS");
  ReloadIcon();
}

bool clsInstChannel::Changed() const { return GetTextBoolean(node_, "CHANGED", "0"); }
void clsInstChannel::Changed(bool value) { SetTextBoolean(node_, "CHANGED", value); }

int32_t clsInstChannel::CopyDestination() const {
  return GetNodeLong(node_, "COPYDESTINATION", 0, true);
}
void clsInstChannel::CopyDestination(int32_t value) {
  SetNodeLong(node_, "COPYDESTINATION", value, 0, true);
}

bool clsInstChannel::Enabled() const { return GetTextBoolean(node_, "ENABLED", ""); }
void clsInstChannel::Enabled(bool value) { SetTextBoolean(node_, "ENABLED", value); }

int16_t clsInstChannel::Index() const { return GetTextInteger(node_, "INDEX", "0"); }
void clsInstChannel::Index(int16_t value) { SetNodeText(node_, "INDEX", IntegerText(value), true); }

std::string clsInstChannel::Alias() const { return GetNodeText(node_, "ALIAS", ""); }
void clsInstChannel::Alias(std::string value) { SetNodeText(node_, "ALIAS", value); }

std::string clsInstChannel::BaseAddress() const { return GetNodeText(node_, "BASEADDRESS", ""); }
void clsInstChannel::BaseAddress(std::string value) { SetNodeText(node_, "BASEADDRESS", value); }

std::shared_ptr<clsCDTSettings> clsInstChannel::CDTSettings() const { return cdt_; }

int32_t clsInstChannel::ChannelType() const { return GetTextLong(node_, "CHANNELTYPE", "0"); }
void clsInstChannel::ChannelType(int32_t value) { SetTextLong(node_, "CHANNELTYPE", value); }

std::string clsInstChannel::Format() const { return GetNodeText(node_, "FORMAT", ""); }
void clsInstChannel::Format(std::string value) { SetNodeText(node_, "FORMAT", value, true); }

std::string clsInstChannel::Formula() const { return GetNodeText(node_, "FORMULA", ""); }
void clsInstChannel::Formula(std::string value) { SetNodeText(node_, "FORMULA", value, true); }

PicturePtr clsInstChannel::Icon() const { return icon_; }

std::string clsInstChannel::IconSource() const { return GetNodeText(node_, "ICONSOURCE", ""); }
void clsInstChannel::IconSource(std::string value) {
  SetNodeText(node_, "ICONSOURCE", value);
  ReloadIcon();
}

void clsInstChannel::ReloadIcon() { icon_ = EditorIcon(IconSource()); }

std::string clsInstChannel::INPCode() const {
  return UnescapeText(GetNodeText(node_, "INPCODE", ""));
}
void clsInstChannel::INPCode(std::string value) {
  SetNodeText(node_, "INPCODE", EscapeText(value));
}

int32_t clsInstChannel::InputDataType() const { return GetTextLong(node_, "INPUTDATATYPE", "0"); }
void clsInstChannel::InputDataType(int32_t value) {
  SetNodeLong(node_, "INPUTDATATYPE", value, 0, true);
  if (auto bytes = DataTypeBytes(value)) NumberBytes(*bytes);
}

std::string clsInstChannel::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsInstChannel::Key(std::string value) { SetNodeText(node_, "KEY", value); }

std::string clsInstChannel::Label() const { return GetNodeText(node_, "LABEL", ""); }
void clsInstChannel::Label(std::string value) { SetNodeText(node_, "LABEL", value); }

int32_t clsInstChannel::LogMask() const { return GetTextLong(node_, "LOGMASK", "-1"); }
void clsInstChannel::LogMask(int32_t value) { SetTextLong(node_, "LOGMASK", value); }

std::string clsInstChannel::LoggerChannel() const {
  return GetNodeText(node_, "LOGGERCHANNEL", "");
}

void clsInstChannel::LoggerChannel(LoggerInputChannelPtr channel) {
  if (!channel) {
    SetNodeText(node_, "LOGGERCHANNEL", "");
    return;
  }
  SetNodeText(node_, "LOGGERCHANNEL", channel->Key());
  BaseAddress(channel->BaseAddress());
  if (channel->NumberBytes() > 0) {
    NumberBytes(channel->NumberBytes());
    // A channel keeps its own signedness when the logger's integer type has the same size:
    // the instrument author knows whether the sensor's value is signed, the logger does not.
    const int32_t type = channel->InputDataType();
    const int32_t own = InputDataType();
    const bool sameSize = type >= 0 && type <= 5 && own >= 0 && own <= 5 && type / 2 == own / 2;
    // Written without the data type's own size: the logger's byte count stands.
    if (!sameSize) SetNodeLong(node_, "INPUTDATATYPE", type, 0, true);
  }
  Virtual(channel->Virtual());
  if (Format().empty()) Format(channel->Format());
}

double clsInstChannel::Maximum() const { return TextToDouble(GetNodeText(node_, "MAXIMUM", "")); }
void clsInstChannel::Maximum(double value) { SetNodeText(node_, "MAXIMUM", DoubleText(value)); }

double clsInstChannel::Minimum() const { return TextToDouble(GetNodeText(node_, "MINIMUM", "")); }
void clsInstChannel::Minimum(double value) { SetNodeText(node_, "MINIMUM", DoubleText(value)); }

double clsInstChannel::Multiplier() const {
  return TextToDouble(GetNodeText(node_, "MULTIPLIER", "1"));
}
void clsInstChannel::Multiplier(double value) {
  SetNodeText(node_, "MULTIPLIER", DoubleText(value));
}

int16_t clsInstChannel::NumberBytes() const { return GetTextInteger(node_, "NUMBERBYTES", "1"); }
void clsInstChannel::NumberBytes(int16_t value) {
  SetNodeText(node_, "NUMBERBYTES", IntegerText(value), true);
}

double clsInstChannel::Offset() const { return TextToDouble(GetNodeText(node_, "OFFSET", "0")); }
void clsInstChannel::Offset(double value) { SetNodeText(node_, "OFFSET", DoubleText(value)); }

std::string clsInstChannel::Parent() const { return GetNodeText(node_, "PARENT", ""); }
void clsInstChannel::Parent(std::string value) { SetNodeText(node_, "PARENT", value); }

bool clsInstChannel::ProtectedMem() const { return GetTextBoolean(node_, "PROTECTEDMEM", "0"); }
void clsInstChannel::ProtectedMem(bool value) { SetTextBoolean(node_, "PROTECTEDMEM", value); }

int32_t clsInstChannel::Show() const { return GetTextLong(node_, "SHOW", ""); }
void clsInstChannel::Show(int32_t value) { SetTextLong(node_, "SHOW", value); }

int16_t clsInstChannel::TotalBytes() const { return GetTextInteger(node_, "TOTALBYTES", ""); }
void clsInstChannel::TotalBytes(int16_t value) { SetTextLong(node_, "TOTALBYTES", value); }

std::string clsInstChannel::Units() const { return GetNodeText(node_, "UNITS", ""); }
void clsInstChannel::Units(std::string value) { SetNodeText(node_, "UNITS", value); }

bool clsInstChannel::IgnoreLoggerScaling() const {
  return GetTextBoolean(node_, "IGNORELOGGERSCALING", "");
}
void clsInstChannel::IgnoreLoggerScaling(bool value) {
  SetTextBoolean(node_, "IGNORELOGGERSCALING", value);
}

bool clsInstChannel::Virtual() const { return GetTextBoolean(node_, "VIRTUAL", ""); }
void clsInstChannel::Virtual(bool value) { SetTextBoolean(node_, "VIRTUAL", value); }

bool clsInstChannel::AllocateXMEM() const {
  return GetNodeBoolean(node_, "ALLOCXMEM", false, true);
}
void clsInstChannel::AllocateXMEM(bool value) {
  SetNodeBoolean(node_, "ALLOCXMEM", value, false, true);
}

std::string clsInstChannel::Window() const {
  return GetNodeString(node_, "WINDOW", "SCHEME", true);
}
void clsInstChannel::Window(std::string value) {
  SetNodeString(node_, "WINDOW", value, "SCHEME", true);
}

Variant clsInstChannel::Invoke(std::string_view member, const Args& args) {
  using T = clsInstChannel;
  using M = MemberTable<T>;
  static const M members = {
      {"Changed", M::Property(&T::Changed, &T::Changed)},
      {"CopyDestination", M::Property(&T::CopyDestination, &T::CopyDestination)},
      {"Enabled", M::Property(&T::Enabled, &T::Enabled)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Alias", M::Property(&T::Alias, &T::Alias)},
      {"BaseAddress", M::Property(&T::BaseAddress, &T::BaseAddress)},
      {"CDTSettings", M::Getter(&T::CDTSettings)},
      {"ChannelType", M::Property(&T::ChannelType, &T::ChannelType)},
      {"Format", M::Property(&T::Format, &T::Format)},
      {"Formula", M::Property(&T::Formula, &T::Formula)},
      {"IconSource", M::Property(&T::IconSource, &T::IconSource)},
      {"INPCode", M::Property(&T::INPCode, &T::INPCode)},
      {"InputDataType", M::Property(&T::InputDataType, &T::InputDataType)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"Label", M::Property(&T::Label, &T::Label)},
      {"LogMask", M::Property(&T::LogMask, &T::LogMask)},
      {"LoggerChannel", M::Property(&T::LoggerChannel, &T::LoggerChannel)},
      {"Maximum", M::Property(&T::Maximum, &T::Maximum)},
      {"Minimum", M::Property(&T::Minimum, &T::Minimum)},
      {"Multiplier", M::Property(&T::Multiplier, &T::Multiplier)},
      {"NumberBytes", M::Property(&T::NumberBytes, &T::NumberBytes)},
      {"Offset", M::Property(&T::Offset, &T::Offset)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"ProtectedMem", M::Property(&T::ProtectedMem, &T::ProtectedMem)},
      {"Show", M::Property(&T::Show, &T::Show)},
      {"TotalBytes", M::Property(&T::TotalBytes, &T::TotalBytes)},
      {"Units", M::Property(&T::Units, &T::Units)},
      {"IgnoreLoggerScaling", M::Property(&T::IgnoreLoggerScaling, &T::IgnoreLoggerScaling)},
      {"Virtual", M::Property(&T::Virtual, &T::Virtual)},
      {"AllocateXMEM", M::Property(&T::AllocateXMEM, &T::AllocateXMEM)},
      {"Window", M::Property(&T::Window, &T::Window)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

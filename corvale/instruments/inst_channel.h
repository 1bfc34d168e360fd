// clsInstChannel: one channel of an instrument (a CHANNEL element): the kind of logger input
// it needs, how its raw value is laid out, scaled and shown, and which logger input channel
// it was given in a scheme.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/host.h"
#include "corvale/core/object.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/logger_input_channel.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsInstChannel : public BoundElement {
 public:
  clsInstChannel();  // bound to a new, detached CHANNEL element with an empty CDTSETTINGS
  // Bound to a CHANNEL element, as XMLNode(element) binds it.
  explicit clsInstChannel(xml::Node element);

  using BoundElement::XMLNode;
  // Binds the channel's CDT settings to the element's CDTSETTINGS (appending an empty one when
  // it has none) and reloads the icon.
  void XMLNode(xml::Node value) override;
  bool Changed() const;
  void Changed(bool value);
  int32_t CopyDestination() const;
  void CopyDestination(int32_t value);
  bool Enabled() const;
  void Enabled(bool value);
  int16_t Index() const;
  void Index(int16_t value);
  std::string Alias() const;
  void Alias(std::string value);
  std::string BaseAddress() const;
  void BaseAddress(std::string value);
  std::shared_ptr<clsCDTSettings> CDTSettings() const;
  int32_t ChannelType() const;
  void ChannelType(int32_t value);
  std::string Format() const;
  void Format(std::string value);
  std::string Formula() const;
  void Formula(std::string value);
  PicturePtr Icon() const;
  std::string IconSource() const;
  void IconSource(std::string value);
  std::string INPCode() const;
  void INPCode(std::string value);
  int32_t InputDataType() const;
  // Also sets NumberBytes to the size of the data type (a string keeps its length).
  void InputDataType(int32_t value);
  std::string Key() const;
  void Key(std::string value);
  std::string Label() const;
  void Label(std::string value);
  int32_t LogMask() const;
  void LogMask(int32_t value);
  // The key of the logger input channel given to this channel.
  std::string LoggerChannel() const;
  // Takes key, base address, size, data type, Virtual and Format from the logger channel;
  // null clears the key.
  void LoggerChannel(LoggerInputChannelPtr channel);
  double Maximum() const;
  void Maximum(double value);
  double Minimum() const;
  void Minimum(double value);
  double Multiplier() const;
  void Multiplier(double value);
  int16_t NumberBytes() const;
  void NumberBytes(int16_t value);
  double Offset() const;
  void Offset(double value);
  std::string Parent() const;
  void Parent(std::string value);
  bool ProtectedMem() const;
  void ProtectedMem(bool value);
  int32_t Show() const;
  void Show(int32_t value);
  int16_t TotalBytes() const;
  void TotalBytes(int16_t value);
  std::string Units() const;
  void Units(std::string value);
  bool IgnoreLoggerScaling() const;
  void IgnoreLoggerScaling(bool value);
  bool Virtual() const;
  void Virtual(bool value);
  bool AllocateXMEM() const;
  void AllocateXMEM(bool value);
  std::string Window() const;
  void Window(std::string value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void BindSettings();
  void ReloadIcon();

  std::shared_ptr<clsCDTSettings> cdt_;
  PicturePtr icon_;
};

using InstChannelPtr = std::shared_ptr<clsInstChannel>;

}  // namespace corvale

// clsLoggerDef: one logger type (a LOGGER element of a logger definition file): its identity,
// family type, memory, time base and versions, and the input channels, output channels and
// resources that instruments are placed against.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/host.h"
#include "corvale/core/object.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/loggers/logger_output_channels.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerDef : public BoundElement {
 public:
  // A new, detached LOGGER element holding empty INPUTCHANNELS, OUTPUTCHANNELS and RESOURCES.
  clsLoggerDef();
  // Bound to a LOGGER element, as XMLNode(element) binds it.
  explicit clsLoggerDef(xml::Node element);

  std::string CatCode() const;
  void CatCode(std::string value);
  std::string Description() const;
  void Description(std::string value);
  std::string FirmwareVersion() const;
  void FirmwareVersion(std::string value);
  // The picture of IconSource, made again whenever IconSource or XMLNode is set.
  PicturePtr Icon() const;
  std::string IconSource() const;
  void IconSource(std::string value);
  LoggerInputChannelsPtr InputChannels() const;
  std::string Key() const;
  void Key(std::string value);
  // The family bit of this logger type; 0 is stored by absence.
  int32_t LoggerType() const;
  void LoggerType(int32_t value);
  int32_t MemorySize() const;
  void MemorySize(int32_t value);
  std::string Name() const;
  // Writes NAME and, always (also for ""), the NAME attribute of LOGGER; only NAME is read.
  void Name(std::string value);
  LoggerOutputChannelsPtr OutputChannels() const;
  LoggerResourcesPtr Resources() const;
  std::string Source() const;
  void Source(std::string value);
  float TimeBase() const;
  void TimeBase(float value);
  using BoundElement::XMLNode;
  // Binds the three inventories to the element's INPUTCHANNELS, OUTPUTCHANNELS and RESOURCES
  // children (appending an empty one of each it lacks, in that order), hands the channels the
  // resources as their pool, and makes the icon again. Binding the current element does
  // nothing.
  void XMLNode(xml::Node value) override;
  // 0 when absent, and reading then writes "0"; always written.
  int16_t MinimumCompiler() const;
  void MinimumCompiler(int16_t value);
  // "4.1.0" when absent, and reading then writes it; not written while absent and "4.1.0".
  std::string MinimumBuildRevision() const;
  void MinimumBuildRevision(std::string value);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void Bind();
  void ReloadIcon();

  LoggerInputChannelsPtr inputs_;
  LoggerOutputChannelsPtr outputs_;
  LoggerResourcesPtr resources_;
  PicturePtr icon_;
};

using LoggerDefPtr = std::shared_ptr<clsLoggerDef>;

}  // namespace corvale

#include "corvale/loggers/logger_def.h"

#include <utility>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"

namespace corvale {
namespace {

constexpr std::string_view kDefaultBuildRevision = "4.1.0";

}  // namespace

clsLoggerDef::clsLoggerDef() : BoundElement("LOGGER") { Bind(); }

clsLoggerDef::clsLoggerDef(xml::Node element) : BoundElement(std::move(element)) { Bind(); }

void clsLoggerDef::XMLNode(xml::Node value) {
  if (value == node_) return;
  BoundElement::XMLNode(std::move(value));
  Bind();
}

void clsLoggerDef::Bind() {
  inputs_ = BindChildList<clsLoggerInputChannels>(node_, "INPUTCHANNELS");
  outputs_ = BindChildList<clsLoggerOutputChannels>(node_, "OUTPUTCHANNELS");
  resources_ = BindChildList<clsLoggerResources>(node_, "RESOURCES");
  inputs_->Pool(ResourcePoolKey(), resources_);
  outputs_->Pool(ResourcePoolKey(), resources_);
  ReloadIcon();
}

void clsLoggerDef::ReloadIcon() { icon_ = EditorIcon(IconSource()); }

std::string clsLoggerDef::CatCode() const { return GetNodeText(node_, "CATCODE", ""); }
void clsLoggerDef::CatCode(std::string value) { SetNodeText(node_, "CATCODE", value); }

std::string clsLoggerDef::Description() const { return GetNodeText(node_, "DESCRIPTION", ""); }
void clsLoggerDef::Description(std::string value) { SetNodeText(node_, "DESCRIPTION", value); }

std::string clsLoggerDef::FirmwareVersion() const {
  return GetNodeText(node_, "FIRMWAREVERSION", "");
}
void clsLoggerDef::FirmwareVersion(std::string value) {
  SetNodeText(node_, "FIRMWAREVERSION", value);
}

PicturePtr clsLoggerDef::Icon() const { return icon_; }

std::string clsLoggerDef::IconSource() const { return GetNodeText(node_, "ICONSOURCE", ""); }
void clsLoggerDef::IconSource(std::string value) {
  SetNodeText(node_, "ICONSOURCE", value);
  ReloadIcon();
}

LoggerInputChannelsPtr clsLoggerDef::InputChannels() const { return inputs_; }

std::string clsLoggerDef::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsLoggerDef::Key(std::string value) { SetNodeText(node_, "KEY", value); }

int32_t clsLoggerDef::LoggerType() const { return GetTextLong(node_, "LOGGERTYPE", ""); }
void clsLoggerDef::LoggerType(int32_t value) { SetTextLong(node_, "LOGGERTYPE", value); }

int32_t clsLoggerDef::MemorySize() const { return GetTextLong(node_, "MEMORYSIZE", ""); }
void clsLoggerDef::MemorySize(int32_t value) { SetTextLong(node_, "MEMORYSIZE", value); }

std::string clsLoggerDef::Name() const { return GetNodeText(node_, "NAME", ""); }
void clsLoggerDef::Name(std::string value) {
  SetNodeText(node_, "NAME", value);
  node_.setAttribute("NAME", value);
}

LoggerOutputChannelsPtr clsLoggerDef::OutputChannels() const { return outputs_; }

LoggerResourcesPtr clsLoggerDef::Resources() const { return resources_; }

std::string clsLoggerDef::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void clsLoggerDef::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

float clsLoggerDef::TimeBase() const { return TextToSingle(GetNodeText(node_, "TIMEBASE", "")); }
void clsLoggerDef::TimeBase(float value) { SetNodeText(node_, "TIMEBASE", SingleText(value)); }

int16_t clsLoggerDef::MinimumCompiler() const {
  return GetNodeInteger(node_, "MINCOMPILER", 0, true);
}
void clsLoggerDef::MinimumCompiler(int16_t value) {
  SetNodeInteger(node_, "MINCOMPILER", value, 0, true);
}

std::string clsLoggerDef::MinimumBuildRevision() const {
  return GetNodeText(node_, "MINBUILDREVISION", kDefaultBuildRevision);
}
void clsLoggerDef::MinimumBuildRevision(std::string value) {
  SetNodeString(node_, "MINBUILDREVISION", value, kDefaultBuildRevision);
}

Variant clsLoggerDef::Invoke(std::string_view member, const Args& args) {
  using T = clsLoggerDef;
  using M = MemberTable<T>;
  static const M members = {
      {"CatCode", M::Property(&T::CatCode, &T::CatCode)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"FirmwareVersion", M::Property(&T::FirmwareVersion, &T::FirmwareVersion)},
      {"IconSource", M::Property(&T::IconSource, &T::IconSource)},
      {"InputChannels", M::Getter(&T::InputChannels)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"LoggerType", M::Property(&T::LoggerType, &T::LoggerType)},
      {"MemorySize", M::Property(&T::MemorySize, &T::MemorySize)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"OutputChannels", M::Getter(&T::OutputChannels)},
      {"Resources", M::Getter(&T::Resources)},
      {"Source", M::Property(&T::Source, &T::Source)},
      {"TimeBase", M::Property(&T::TimeBase, &T::TimeBase)},
      {"MinimumCompiler", M::Property(&T::MinimumCompiler, &T::MinimumCompiler)},
      {"MinimumBuildRevision", M::Property(&T::MinimumBuildRevision, &T::MinimumBuildRevision)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

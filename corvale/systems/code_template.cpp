#include "corvale/systems/code_template.h"

#include <utility>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

constexpr int32_t kProgramMemoryDataStart = 512;

}  // namespace

clsCodeTemplate::clsCodeTemplate() : BoundElement("CODETEMPLATE") { BindLists(); }

clsCodeTemplate::clsCodeTemplate(xml::Node element) : BoundElement(std::move(element)) {
  BindLists();
}

void clsCodeTemplate::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  BindLists();
}

void clsCodeTemplate::BindLists() {
  resources_ = BindChildList<clsLoggerResourceList>(node_, "RESOURCES");
  files_ = BindChildList<clsFiles>(node_, "FILES");
  events_ = BindChildList<clsEvents>(node_, "EVENTS");
  instruments_ = BindChildList<clsSystemInstruments>(node_, "INSTRUMENTS");
}

std::string clsCodeTemplate::Description() const { return GetNodeText(node_, "DESCRIPTION", ""); }
void clsCodeTemplate::Description(std::string value) { SetNodeText(node_, "DESCRIPTION", value); }

int16_t clsCodeTemplate::Index() const { return GetTextInteger(node_, "INDEX", "0"); }
void clsCodeTemplate::Index(int16_t value) { SetTextLong(node_, "INDEX", value); }

std::string clsCodeTemplate::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsCodeTemplate::Key(std::string value) {
  SetNodeText(node_, "KEY", value);
  node_.setAttribute("KEY", value);
}

int32_t clsCodeTemplate::LoggerTypes() const { return GetTextLong(node_, "LOGGERTYPES", "0"); }
void clsCodeTemplate::LoggerTypes(int32_t value) { SetTextLong(node_, "LOGGERTYPES", value); }

int32_t clsCodeTemplate::ProgramMemoryDataStart() const {
  return GetNodeLong(node_, "PROGMEMDATASTART", kProgramMemoryDataStart, true);
}
void clsCodeTemplate::ProgramMemoryDataStart(int32_t value) {
  SetNodeLong(node_, "PROGMEMDATASTART", value, kProgramMemoryDataStart, true);
}

std::string clsCodeTemplate::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void clsCodeTemplate::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

std::string clsCodeTemplate::SrcFile() const { return GetNodeText(node_, "SRCFILE", ""); }
void clsCodeTemplate::SrcFile(std::string value) { SetNodeText(node_, "SRCFILE", value); }

int16_t clsCodeTemplate::VirtualChannelStart() const {
  return GetNodeInteger(node_, "VIRTUALCHANSTART", 0, true);
}
void clsCodeTemplate::VirtualChannelStart(int16_t value) {
  SetNodeInteger(node_, "VIRTUALCHANSTART", value, 0, true);
}

int16_t clsCodeTemplate::VirtualChannelEnd() const {
  return GetNodeInteger(node_, "VIRTUALCHANEND", 0, true);
}
void clsCodeTemplate::VirtualChannelEnd(int16_t value) {
  SetNodeInteger(node_, "VIRTUALCHANEND", value, 0, true);
}

bool clsCodeTemplate::WriteBuffersToSRC() const {
  return GetNodeBoolean(node_, "WRITEBUFFERS", false, true);
}
void clsCodeTemplate::WriteBuffersToSRC(bool value) {
  SetNodeBoolean(node_, "WRITEBUFFERS", value, false, true);
}

Variant clsCodeTemplate::Invoke(std::string_view member, const Args& args) {
  using T = clsCodeTemplate;
  using M = MemberTable<T>;
  static const M members = {
      {"Description", M::Property(&T::Description, &T::Description)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"LoggerTypes", M::Property(&T::LoggerTypes, &T::LoggerTypes)},
      {"ProgramMemoryDataStart",
       M::Property(&T::ProgramMemoryDataStart, &T::ProgramMemoryDataStart)},
      {"Source", M::Property(&T::Source, &T::Source)},
      {"SrcFile", M::Property(&T::SrcFile, &T::SrcFile)},
      {"VirtualChannelStart", M::Property(&T::VirtualChannelStart, &T::VirtualChannelStart)},
      {"VirtualChannelEnd", M::Property(&T::VirtualChannelEnd, &T::VirtualChannelEnd)},
      {"WriteBuffersToSRC", M::Property(&T::WriteBuffersToSRC, &T::WriteBuffersToSRC)},
      {"ResourceRequest", M::Getter(&T::ResourceRequest)},
      {"Files", M::Getter(&T::Files)},
      {"Events", M::Getter(&T::Events)},
      {"Instruments", M::Getter(&T::Instruments)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

#include "corvale/systems/system.h"

#include <utility>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"

namespace corvale {

clsSystem::clsSystem() : BoundElement("SYSTEM") { Bind(); }

clsSystem::clsSystem(xml::Node element) : BoundElement(std::move(element)) { Bind(); }

void clsSystem::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  Bind();
}

void clsSystem::Bind() {
  icon_ = EditorIcon(IconSource());
  instruments_ = BindChildList<clsSystemInstruments>(node_, "INSTRUMENTS");
}

std::string clsSystem::CodeTemplate() const { return GetNodeText(node_, "CODETEMPLATE", ""); }
void clsSystem::CodeTemplate(std::string value) { SetNodeText(node_, "CODETEMPLATE", value); }

std::string clsSystem::Description() const { return GetNodeText(node_, "DESCRIPTION", ""); }
void clsSystem::Description(std::string value) { SetNodeText(node_, "DESCRIPTION", value); }

std::string clsSystem::IconSource() const { return GetNodeText(node_, "ICONSOURCE", ""); }
void clsSystem::IconSource(std::string value) {
  SetNodeText(node_, "ICONSOURCE", value);
  icon_ = EditorIcon(value);
}

int16_t clsSystem::Index() const { return GetTextInteger(node_, "INDEX", "0"); }
void clsSystem::Index(int16_t value) { SetTextLong(node_, "INDEX", value); }

std::string clsSystem::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsSystem::Key(std::string value) { SetNodeText(node_, "KEY", value); }

int32_t clsSystem::LogInterval() const { return GetTextLong(node_, "LOGINTERVAL", "0"); }
void clsSystem::LogInterval(int32_t value) { SetTextLong(node_, "LOGINTERVAL", value); }

int32_t clsSystem::SubInterval() const { return GetTextLong(node_, "SUBINTERVAL", "0"); }
void clsSystem::SubInterval(int32_t value) {
  SetNodeText(node_, "SUBINTERVAL", IntegerText(value), true);
}

std::string clsSystem::Logger() const { return GetNodeText(node_, "LOGGER", ""); }
void clsSystem::Logger(std::string value) { SetNodeText(node_, "LOGGER", value); }

std::string clsSystem::Message() const { return GetNodeText(node_, "MESSAGE", ""); }
void clsSystem::Message(std::string value) { SetNodeText(node_, "MESSAGE", value, true); }

std::string clsSystem::ScanRates() const { return GetNodeText(node_, "SCANRATES", ""); }
void clsSystem::ScanRates(std::string value) { SetNodeText(node_, "SCANRATES", value); }

std::string clsSystem::Name() const { return GetNodeText(node_, "NAME", ""); }
void clsSystem::Name(std::string value) {
  SetNodeText(node_, "NAME", value);
  node_.setAttribute("NAME", value);
}

std::string clsSystem::Source() const { return GetNodeText(node_, "SOURCE", ""); }
void clsSystem::Source(std::string value) { SetNodeText(node_, "SOURCE", value); }

xml::Node clsSystem::SchemeNode() const { return node_.selectSingleNode("SCHEME"); }

Variant clsSystem::Invoke(std::string_view member, const Args& args) {
  using T = clsSystem;
  using M = MemberTable<T>;
  static const M members = {
      {"CodeTemplate", M::Property(&T::CodeTemplate, &T::CodeTemplate)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"IconSource", M::Property(&T::IconSource, &T::IconSource)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Instruments", M::Getter(&T::Instruments)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"LogInterval", M::Property(&T::LogInterval, &T::LogInterval)},
      {"SubInterval", M::Property(&T::SubInterval, &T::SubInterval)},
      {"Logger", M::Property(&T::Logger, &T::Logger)},
      {"Message", M::Property(&T::Message, &T::Message)},
      {"ScanRates", M::Property(&T::ScanRates, &T::ScanRates)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"Source", M::Property(&T::Source, &T::Source)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

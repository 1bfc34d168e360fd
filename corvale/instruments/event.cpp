#include "corvale/instruments/event.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"
#include "corvale/instruments/events.h"

namespace corvale {

clsEvent::clsEvent() : BoundElement("EVENT") {}

clsEvent::clsEvent(xml::Node element) : BoundElement(std::move(element)) {}

bool clsEvent::Changed() const { return GetTextBoolean(node_, "CHANGED", "0"); }
void clsEvent::Changed(bool value) { SetTextBoolean(node_, "CHANGED", value); }

std::string clsEvent::Description() const { return GetNodeText(node_, "DESCRIPTION", ""); }
void clsEvent::Description(std::string value) { SetNodeText(node_, "DESCRIPTION", value); }

bool clsEvent::Enabled() const { return GetTextBoolean(node_, "ENABLED", "0"); }
void clsEvent::Enabled(bool value) { SetTextBoolean(node_, "ENABLED", value); }

std::string clsEvent::Name() const { return GetNodeText(node_, "NAME", ""); }
void clsEvent::Name(std::string value) { SetNodeText(node_, "NAME", value); }

std::string clsEvent::OutputChannel() const { return GetNodeText(node_, "OUTPUTCHANNEL", ""); }
void clsEvent::OutputChannel(std::string value) { SetNodeText(node_, "OUTPUTCHANNEL", value); }

int32_t clsEvent::ID() const { return GetTextLong(node_, "ID", "1"); }

void clsEvent::ID(int32_t value) {
  SetNodeText(node_, "ID", IntegerText(value), true);
  if (auto operands = ConditionOperands(value)) {
    SetNodeText(node_, "CHANATYPE", IntegerText((*operands)[0]));
    SetNodeText(node_, "CHANBTYPE", IntegerText((*operands)[1]));
    SetNodeText(node_, "CHANCTYPE", IntegerText((*operands)[2]));
  }
}

std::string clsEvent::ChanA() const { return GetNodeText(node_, "CHANA", ""); }
void clsEvent::ChanA(std::string value) { SetNodeText(node_, "CHANA", value, true); }
int32_t clsEvent::ChanAType() const { return GetTextLong(node_, "CHANATYPE", ""); }

std::string clsEvent::ChanB() const { return GetNodeText(node_, "CHANB", ""); }
void clsEvent::ChanB(std::string value) { SetNodeText(node_, "CHANB", value, true); }
int32_t clsEvent::ChanBType() const { return GetTextLong(node_, "CHANBTYPE", ""); }

std::string clsEvent::ChanC() const { return GetNodeText(node_, "CHANC", ""); }
void clsEvent::ChanC(std::string value) { SetNodeText(node_, "CHANC", value, true); }
int32_t clsEvent::ChanCType() const { return GetTextLong(node_, "CHANCTYPE", ""); }

int16_t clsEvent::Index() const { return GetNodeInteger(node_, "INDEX", 0, true); }
void clsEvent::Index(int16_t value) { SetNodeInteger(node_, "INDEX", value, 0, true); }

std::string clsEvent::Parent() const { return GetNodeText(node_, "PARENT", ""); }
void clsEvent::Parent(std::string value) { SetNodeText(node_, "PARENT", value); }

std::string clsEvent::TrueCode() const { return UnescapeText(GetNodeText(node_, "TRUECODE", "")); }
void clsEvent::TrueCode(std::string value) { SetNodeText(node_, "TRUECODE", EscapeText(value)); }

std::string clsEvent::FalseCode() const {
  return UnescapeText(GetNodeText(node_, "FALSECODE", ""));
}
void clsEvent::FalseCode(std::string value) { SetNodeText(node_, "FALSECODE", EscapeText(value)); }

std::string clsEvent::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsEvent::Key(std::string value) { SetNodeText(node_, "KEY", value); }

std::string clsEvent::LogToBuffer() const { return GetNodeText(node_, "LOGTOBUFFER", ""); }
void clsEvent::LogToBuffer(std::string value) { SetNodeText(node_, "LOGTOBUFFER", value); }

bool clsEvent::LoadToScheme() const { return GetTextBoolean(node_, "LOADTOSCHEME", ""); }
void clsEvent::LoadToScheme(bool value) { SetTextBoolean(node_, "LOADTOSCHEME", value); }

bool clsEvent::KeyUnique() const { return GetTextBoolean(node_, "KEYUNIQUE", ""); }
void clsEvent::KeyUnique(bool value) { SetTextBoolean(node_, "KEYUNIQUE", value); }

Variant clsEvent::Invoke(std::string_view member, const Args& args) {
  using T = clsEvent;
  using M = MemberTable<T>;
  static const M members = {
      {"Changed", M::Property(&T::Changed, &T::Changed)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"Enabled", M::Property(&T::Enabled, &T::Enabled)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"OutputChannel", M::Property(&T::OutputChannel, &T::OutputChannel)},
      {"ID", M::Property(&T::ID, &T::ID)},
      {"ChanA", M::Property(&T::ChanA, &T::ChanA)},
      {"ChanAType", M::Getter(&T::ChanAType)},
      {"ChanB", M::Property(&T::ChanB, &T::ChanB)},
      {"ChanBType", M::Getter(&T::ChanBType)},
      {"ChanC", M::Property(&T::ChanC, &T::ChanC)},
      {"ChanCType", M::Getter(&T::ChanCType)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"TrueCode", M::Property(&T::TrueCode, &T::TrueCode)},
      {"FalseCode", M::Property(&T::FalseCode, &T::FalseCode)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"LogToBuffer", M::Property(&T::LogToBuffer, &T::LogToBuffer)},
      {"LoadToScheme", M::Property(&T::LoadToScheme, &T::LoadToScheme)},
      {"KeyUnique", M::Property(&T::KeyUnique, &T::KeyUnique)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

#include "corvale/scheme/log.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/member_table.h"
#include "corvale/scheme/log_entries.h"

namespace corvale {

clsLog::clsLog() : BoundElement("LOG") {}

clsLog::clsLog(xml::Node element) : BoundElement(std::move(element)) {}

clsLog::~clsLog() = default;

void clsLog::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  Recount();
}

bool clsLog::Enabled() const { return GetTextBoolean(node_, "ENABLED", "0"); }
void clsLog::Enabled(bool value) {
  SetTextBoolean(node_, "ENABLED", value);
  Recount();
}

int32_t clsLog::Parameter() const { return GetTextLong(node_, "PARAMETER", "0"); }
void clsLog::Parameter(int32_t value) { SetTextLong(node_, "PARAMETER", value); }

int16_t clsLog::Index() const { return GetTextInteger(node_, "INDEX", "0"); }
void clsLog::Index(int16_t value) { SetTextLong(node_, "INDEX", value); }

std::string clsLog::Buffer() const { return GetNodeText(node_, "BUFFER", "0"); }
void clsLog::Buffer(std::string value) { SetNodeText(node_, "BUFFER", value); }

std::string clsLog::Channel() const { return GetNodeText(node_, "CHANNEL", ""); }
void clsLog::Channel(std::string value) { SetNodeText(node_, "CHANNEL", value); }

int16_t clsLog::Bytes() const { return GetTextInteger(node_, "BYTES", "0"); }
void clsLog::Bytes(int16_t value) {
  SetTextLong(node_, "BYTES", value);
  Recount();
}

std::string clsLog::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsLog::Key(std::string value) { SetNodeText(node_, "KEY", value); }

int32_t clsLog::Counted() const { return Enabled() ? Bytes() : 0; }

void clsLog::Recount() {
  if (!list_) return;
  const int32_t now = Counted();
  list_->enabledBytes_ += now - counted_;
  counted_ = now;
}

Variant clsLog::Invoke(std::string_view member, const Args& args) {
  using T = clsLog;
  using M = MemberTable<T>;
  static const M members = {
      {"Enabled", M::Property(&T::Enabled, &T::Enabled)},
      {"Parameter", M::Property(&T::Parameter, &T::Parameter)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Buffer", M::Property(&T::Buffer, &T::Buffer)},
      {"Channel", M::Property(&T::Channel, &T::Channel)},
      {"Bytes", M::Property(&T::Bytes, &T::Bytes)},
      {"Key", M::Property(&T::Key, &T::Key)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

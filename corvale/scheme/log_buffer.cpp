#include "corvale/scheme/log_buffer.h"

#include <utility>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/scheme/log_buffers.h"

namespace corvale {

clsLogBuffer::clsLogBuffer() : BoundElement("BUFFER") {
  auto entries = std::make_shared<clsLogEntries>();
  node_.appendChild(entries->XMLNode());
  Adopt(entries);
}

clsLogBuffer::clsLogBuffer(xml::Node element) : BoundElement(std::move(element)) {
  Adopt(BindChildList<clsLogEntries>(node_, "LOGENTRIES"));
}

clsLogBuffer::~clsLogBuffer() {
  if (entries_ && entries_->buffer_ == this) entries_->buffer_ = nullptr;
}

void clsLogBuffer::Adopt(const LogEntriesPtr& entries) {
  if (entries_ && entries_->buffer_ == this) entries_->buffer_ = nullptr;
  entries_ = entries;
  entries_->buffer_ = this;
}

bool clsLogBuffer::AutoSize() const { return GetTextBoolean(node_, "AUTOSIZE", "0"); }
void clsLogBuffer::AutoSize(bool value) { SetTextBoolean(node_, "AUTOSIZE", value); }

int32_t clsLogBuffer::Size() const { return GetTextLong(node_, "SIZE", "0"); }
void clsLogBuffer::Size(int32_t value) { SetTextLong(node_, "SIZE", value); }

int32_t clsLogBuffer::Mode() const { return GetTextLong(node_, "MODE", "0"); }
void clsLogBuffer::Mode(int32_t value) { SetTextLong(node_, "MODE", value); }

int16_t clsLogBuffer::Number() const { return GetTextInteger(node_, "NUMBER", "0"); }
void clsLogBuffer::Number(int16_t value) { SetTextLong(node_, "NUMBER", value); }

std::string clsLogBuffer::Name() const { return GetNodeText(node_, "NAME", ""); }
void clsLogBuffer::Name(std::string value) { SetNodeText(node_, "NAME", value); }

std::string clsLogBuffer::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsLogBuffer::Key(std::string value) { SetNodeText(node_, "KEY", value); }

void clsLogBuffer::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  Adopt(BindChildList<clsLogEntries>(node_, "LOGENTRIES"));
}

int32_t clsLogBuffer::LogOrder() const { return GetTextLong(node_, "LOGORDER", "0"); }
void clsLogBuffer::LogOrder(int32_t value) { SetTextLong(node_, "LOGORDER", value); }

void clsLogBuffer::LogEntries(LogEntriesPtr value) {
  if (!value) throw Error(err::kObjectNotSet);
  const xml::Node element = value->XMLNode();
  const xml::Node old = node_.selectSingleNode("LOGENTRIES");
  if (!old) {
    node_.appendChild(element);
  } else if (old != element) {
    node_.replaceChild(element, old);
  }
  MarkChanged(node_);
  Adopt(value);
}

int16_t clsLogBuffer::LogSize() const { return GetTextInteger(node_, "LOGSIZE", "0"); }

bool clsLogBuffer::ForceLogTime() const { return GetTextBoolean(node_, "FORCELOGTIME", "0"); }
void clsLogBuffer::ForceLogTime(bool value) { SetTextBoolean(node_, "FORCELOGTIME", value); }

bool clsLogBuffer::LogTime() const {
  return GetTextBoolean(node_, "LOGTIME", "0") || ForceLogTime();
}
void clsLogBuffer::LogTime(bool value) { SetTextBoolean(node_, "LOGTIME", value); }

double clsLogBuffer::MemoryTime() const {
  const int16_t logSize = LogSize();
  if (logSize < 1) return 0;
  const int32_t records =
      RoundToInt32((static_cast<double>(Size()) - static_cast<double>(ldrAllocation_)) / logSize);
  return records * static_cast<double>(LogInterval()) / 86400.0;
}

float clsLogBuffer::LogInterval() const {
  return TextToSingle(GetNodeText(node_, "LOGINTERVAL", "0"));
}
void clsLogBuffer::LogInterval(float value) {
  SetNodeText(node_, "LOGINTERVAL", SingleText(value));
}

float clsLogBuffer::SubInterval() const {
  return TextToSingle(GetNodeText(node_, "SUBINTERVAL", "0"));
}
void clsLogBuffer::SubInterval(float value) {
  SetNodeText(node_, "SUBINTERVAL", SingleText(value));
}

bool clsLogBuffer::CustomBuffer() const {
  return TextToBool(GetNodeString(node_, "CUSTOM", "False", true));
}
void clsLogBuffer::CustomBuffer(bool value) {
  SetNodeString(node_, "CUSTOM", value ? "True" : "False", "False", true);
}

void clsLogBuffer::CalculateLogSize() {
  int32_t total = entries_->EnabledBytes();
  if (ForceLogTime()) total += 4;
  if (owner_ && owner_->Mode() == 1) total += 3;
  SetTextLong(node_, "LOGSIZE", RoundToInt16(total));
}

Variant clsLogBuffer::Invoke(std::string_view member, const Args& args) {
  using T = clsLogBuffer;
  using M = MemberTable<T>;
  static const M members = {
      {"AutoSize", M::Property(&T::AutoSize, &T::AutoSize)},
      {"Size", M::Property(&T::Size, &T::Size)},
      {"Mode", M::Property(&T::Mode, &T::Mode)},
      {"Number", M::Property(&T::Number, &T::Number)},
      {"Name", M::Property(&T::Name, &T::Name)},
      {"Key", M::Property(&T::Key, &T::Key)},
      {"LogOrder", M::Property(&T::LogOrder, &T::LogOrder)},
      {"LogEntries",
       [](T& self, const Args& a) -> Variant {
         if (a.empty()) return Variant(self.LogEntries());
         ExpectArgs(a, 1);
         auto entries = a[0].ToObjectAs<clsLogEntries>();
         if (!entries && !a[0].IsEmpty()) throw Error(err::kTypeMismatch);
         self.LogEntries(std::move(entries));
         return {};
       }},
      {"LogSize", M::Getter(&T::LogSize)},
      {"ForceLogTime", M::Property(&T::ForceLogTime, &T::ForceLogTime)},
      {"LogTime", M::Property(&T::LogTime, &T::LogTime)},
      {"MemoryTime", M::Getter(&T::MemoryTime)},
      {"LogInterval", M::Property(&T::LogInterval, &T::LogInterval)},
      {"SubInterval", M::Property(&T::SubInterval, &T::SubInterval)},
      {"LDRAllocation", M::Property(&T::LDRAllocation, &T::LDRAllocation)},
      {"CustomBuffer", M::Property(&T::CustomBuffer, &T::CustomBuffer)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

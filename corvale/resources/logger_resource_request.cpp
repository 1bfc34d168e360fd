#include "corvale/resources/logger_resource_request.h"

#include <utility>

#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"

namespace corvale {

std::string LockModeCaption(int32_t mode) {
  switch (mode) {
    case lock::kNone:
      return "None";
    case lock::kExclusive:
      return "Exclusive Lock";
    case lock::kNotAvailable:
      return "Not Available";
    default:
      return "";
  }
}

clsLoggerResourceRequest::clsLoggerResourceRequest() : BoundElement("REQUEST") {}

clsLoggerResourceRequest::clsLoggerResourceRequest(xml::Node element)
    : BoundElement(std::move(element)) {}

std::string clsLoggerResourceRequest::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsLoggerResourceRequest::Key(std::string value) {
  SetNodeText(node_, "KEY", value);
  Touch();
}

std::string clsLoggerResourceRequest::Resource() const {
  return GetNodeText(node_, "RESOURCE", "");
}
void clsLoggerResourceRequest::Resource(std::string value) {
  SetNodeText(node_, "RESOURCE", value);
  Touch();
}

int32_t clsLoggerResourceRequest::Locked() const { return GetTextLong(node_, "LOCK", ""); }
void clsLoggerResourceRequest::Locked(int32_t value) {
  SetTextLong(node_, "LOCK", value);
  Touch();
}

Variant clsLoggerResourceRequest::Invoke(std::string_view member, const Args& args) {
  using C = clsLoggerResourceRequest;
  using M = MemberTable<C>;
  static const M members = {
      {"Key", M::Property(&C::Key, &C::Key)},
      {"Resource", M::Property(&C::Resource, &C::Resource)},
      {"Locked", M::Property(&C::Locked, &C::Locked)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

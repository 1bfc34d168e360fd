#include "corvale/resources/logger_resource.h"

#include <utility>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/member_table.h"

namespace corvale {

clsLoggerResource::clsLoggerResource() : BoundElement("RESOURCE") { BindUsers(); }

clsLoggerResource::clsLoggerResource(xml::Node element) : BoundElement(std::move(element)) {
  BindUsers();
}

void clsLoggerResource::XMLNode(xml::Node value) {
  BoundElement::XMLNode(std::move(value));
  BindUsers();
}

void clsLoggerResource::BindUsers() {
  users_ = BindChildList<clsLoggerResourceUsers>(node_, "USERS");
  if (log_) users_->Watch(log_, token_);
}

void clsLoggerResource::Watch(ChangeLogPtr log, const void* token) {
  BoundElement::Watch(log, token);
  users_->Watch(std::move(log), token);
}

std::string clsLoggerResource::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsLoggerResource::Key(std::string value) {
  SetNodeText(node_, "KEY", value);
  Touch();
}

int32_t clsLoggerResource::Locked() const { return GetTextLong(node_, "LOCK", ""); }
void clsLoggerResource::Locked(int32_t value) {
  SetTextLong(node_, "LOCK", value);
  Touch();
}

int32_t clsLoggerResource::ResourceType() const { return GetTextLong(node_, "TYPE", ""); }
void clsLoggerResource::ResourceType(int32_t value) { SetTextLong(node_, "TYPE", value); }

std::string clsLoggerResource::Tag() const { return GetNodeText(node_, "TAG", ""); }
void clsLoggerResource::Tag(std::string value) { SetNodeText(node_, "TAG", value); }

LoggerResourceUsersPtr clsLoggerResource::Users() const { return users_; }

Variant clsLoggerResource::Invoke(std::string_view member, const Args& args) {
  using T = clsLoggerResource;
  using M = MemberTable<T>;
  static const M members = {
      {"Key", M::Property(&T::Key, &T::Key)},
      {"Locked", M::Property(&T::Locked, &T::Locked)},
      {"ResourceType", M::Property(&T::ResourceType, &T::ResourceType)},
      {"Tag", M::Property(&T::Tag, &T::Tag)},
      {"Users", M::Getter(&T::Users)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

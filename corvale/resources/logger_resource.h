// clsLoggerResource: one shared resource of a logger (RESOURCE element): a serial port, an
// excitation source, a counter, with its lock state and its users.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/change_log.h"
#include "corvale/core/object.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerResource : public BoundElement {
 public:
  clsLoggerResource();  // bound to a new, detached RESOURCE element with an empty USERS child
  // Bound to a RESOURCE element, as XMLNode(element) binds it.
  explicit clsLoggerResource(xml::Node element);

  std::string Key() const;
  void Key(std::string value);
  // Lock mode (lock::kNone ...); 0 is stored by removing LOCK.
  int32_t Locked() const;
  void Locked(int32_t value);
  // Carried for the editors (TYPE); allocation does not use it.
  int32_t ResourceType() const;
  void ResourceType(int32_t value);
  std::string Tag() const;
  void Tag(std::string value);
  LoggerResourceUsersPtr Users() const;
  using BoundElement::XMLNode;
  // Binds the users to the element's USERS child, or appends an empty one when it has none.
  void XMLNode(xml::Node value) override;
  // Also hands the log to the users.
  void Watch(ChangeLogPtr log, const void* token) override;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void BindUsers();

  LoggerResourceUsersPtr users_;
};

using LoggerResourcePtr = std::shared_ptr<clsLoggerResource>;

}  // namespace corvale

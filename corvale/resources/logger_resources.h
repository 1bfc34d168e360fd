// clsLoggerResources: the resource inventory of a logger (RESOURCES element of a LOGGER,
// holding RESOURCE elements), keyed by resource Key, and the allocation of its resources to
// the instruments and channels that request them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/change_log.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/resources/logger_resource.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerResources : public Object, public BoundCollection<clsLoggerResource> {
 public:
  // Bound to a new, empty RESOURCES element. Binding another element first takes the resources
  // out of the element left behind; RESOURCE children are taken under their Key as they are
  // (no key is generated), and a repeated key raises 457.
  clsLoggerResources();

  // Kept in memory only, never in the document.
  std::string Parent() const;
  void Parent(std::string value);
  // Gives a resource without a key the first free "RESOURCE_" + n (written into it) and adds
  // it before or after a position or key. Its element goes before the element of the resource
  // that `before` names, else to the end (after is not reflected in the document).
  void Add(LoggerResourcePtr resource, const std::optional<corvale::Index>& before = std::nullopt,
           const std::optional<corvale::Index>& after = std::nullopt);
  // The resource with the key (without regard to case), or null.
  LoggerResourcePtr Find(std::string_view key) const;

  // Whether every request of the list could be allocated now without sharing a resource
  // (an empty list: true).
  bool Available(const LoggerResourceListPtr& requests) const;
  // The same for one request of the resource `key` with that lock mode.
  bool Available(std::string key, int32_t lock) const;
  // Records user on every resource the list requests; false when any request could not be
  // met. Earlier requests of the list stay allocated.
  bool Allocate(std::string user, const LoggerResourceListPtr& requests);
  // Gives back the resources of the list, or with no list every resource user holds.
  void Deallocate(std::string user, const LoggerResourceListPtr& requests = nullptr);
  // Takes the user off every resource that still lists it, whatever put it there, and unlocks
  // a resource only when that leaves it without users (unlike Deallocate, which unlocks with
  // any user it takes off).
  void ReleaseUser(std::string_view user);

  // Every change of the inventory, of its resources' locks and of their users, for caches
  // over the allocation state. A change of one resource names that resource object.
  const ChangeLog& Changes() const { return *log_; }

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  // The resources that list each user, followed through the change log, so that ReleaseUser
  // visits the resources of that user only.
  struct UserIndex;
  void RefreshUserIndex() const;

  std::string parent_;
  std::shared_ptr<UserIndex> user_index_;
};

using LoggerResourcesPtr = std::shared_ptr<clsLoggerResources>;

}  // namespace corvale

// LoggerChannels: what the input and output channel inventories of a logger share (an
// INPUTCHANNELS or OUTPUTCHANNELS element holding CHANNEL elements, keyed by channel Key): the
// collection and the allocation of channels through the resources they request, drawn from the
// resource pool of the same logger definition.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerDef;

// The permission to hand an inventory its resource pool: only a logger definition has one.
class ResourcePoolKey {
  friend class clsLoggerDef;
  ResourcePoolKey() = default;
};

// State flags of a channel: what its requested resources are in.
namespace channel_state {
inline constexpr uint8_t kUsed = 1;          // a resource has a user
inline constexpr uint8_t kLocked = 2;        // a resource is locked exclusively
inline constexpr uint8_t kNotAvailable = 4;  // a resource is taken out of use
}  // namespace channel_state

template <class T>
class LoggerChannels : public Object, public BoundCollection<T> {
 public:
  using Channel = std::shared_ptr<T>;
  using BoundCollection<T>::Item;

  // Gives a channel without a key the first free "CHAN_" + n (written into it) and adds it
  // before or after a position or key. Its element goes before the element of the channel
  // that `before` names, else to the end. Raises 457 for a key already present.
  Channel Add(Channel channel, const std::optional<corvale::Index>& before = std::nullopt,
              const std::optional<corvale::Index>& after = std::nullopt);

  // Allocates the resources of the channel with the key to user ("" is recorded as
  // "Unknown"); false for an empty or unknown key or when a resource could not be had.
  // Never raises.
  bool Allocate(std::string user, std::string key);
  // Gives back the resources of the channel with the key, or of every channel when the key is
  // empty. Never raises.
  void Deallocate(std::string user, std::string key = {});
  // The channel_state flags of the channel's resources; raises 9 for an unknown channel or a
  // request for a resource that the pool does not have.
  uint8_t State(const corvale::Index& key) const;
  // A new, detached list of the users of the channel's resources, in order (resources the
  // pool does not have are skipped); raises 9 for an unknown channel.
  LoggerResourceUsersPtr GetUsers(const corvale::Index& key) const;

  // The resource inventory the channels draw on; null until the definition hands it over.
  LoggerResourcesPtr Pool() const { return pool_; }
  void Pool(ResourcePoolKey, LoggerResourcesPtr pool);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 protected:
  // Bound to a new, empty container element.
  explicit LoggerChannels(std::string_view container);

  LoggerResourcesPtr pool_;
};

}  // namespace corvale

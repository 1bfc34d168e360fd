// FreeChannelIndex: the free input channels of a logger by channel type, and the free ranged
// ones grouped by their (Min, Max) range, so that NextChannel looks at a few range groups
// instead of every channel. It follows the change logs of the inventory and of the resource
// pool, rereading only the channels and resources that changed since it last looked.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "corvale/core/change_log.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/loggers/logger_input_channel.h"
#include "corvale/resources/logger_resources.h"

namespace corvale {

class FreeChannelIndex {
 public:
  using Entries = std::vector<KeyedCollection<clsLoggerInputChannel>::Entry>;
  // upper and lower of a range that is asked for.
  struct Range {
    double upper;
    double lower;
  };

  // The 0-based position in `channels` of the channel that NextChannel picks, -1 for none;
  // nothing when the index cannot tell (a channel or resource that cannot be read), and the
  // caller then walks the channels itself.
  std::optional<int32_t> Pick(const Entries& channels, const ChangeLog& changes,
                              const clsLoggerResources* pool, int32_t channelType,
                              const std::optional<Range>& range);
  // Makes the next Pick read every channel again.
  void Invalidate() { built_ = false; }

 private:
  struct Request {
    const clsLoggerResource* resource;  // null: the pool has no such resource
    bool shares;                        // its own lock mode is not 2
  };
  struct Channel {
    int32_t type = 0;
    double min = 0;
    double max = 0;
    std::vector<Request> requests;
    bool free = false;
    bool Ranged() const { return max != 0 || min != 0; }
  };
  struct Resource {
    int32_t locked = 0;
    bool used = false;
    std::vector<int32_t> channels;  // positions of the channels requesting it
  };
  struct Type {
    std::set<int32_t> free;
    std::set<int32_t> freeUnranged;
    std::map<std::pair<double, double>, std::set<int32_t>> freeRanged;  // by (Min, Max)
  };

  bool Sync(const Entries& channels, const ChangeLog& changes, const clsLoggerResources* pool);
  void Rebuild(const Entries& channels, const clsLoggerResources* pool);
  void Read(int32_t position, const clsLoggerInputChannel& channel, const clsLoggerResources* pool);
  void Forget(int32_t position);
  Resource& Known(const clsLoggerResource* resource);
  bool IsFree(const Channel& channel) const;
  void Refresh(int32_t position);
  void Place(int32_t position, bool free);

  std::vector<Channel> channels_;
  std::unordered_map<const void*, int32_t> positions_;
  std::unordered_map<const void*, Resource> resources_;
  std::unordered_map<int32_t, Type> types_;
  bool built_ = false;
  const void* pool_ = nullptr;
  uint64_t seenChannels_ = 0;
  uint64_t seenPool_ = 0;
};

}  // namespace corvale

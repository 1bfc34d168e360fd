#include "corvale/loggers/free_channel_index.h"

#include <algorithm>
#include <exception>

#include "corvale/resources/logger_resource_request.h"

namespace corvale {

std::optional<int32_t> FreeChannelIndex::Pick(const Entries& channels, const ChangeLog& changes,
                                              const clsLoggerResources* pool, int32_t channelType,
                                              const std::optional<Range>& range) {
  try {
    if (!Sync(channels, changes, pool)) Rebuild(channels, pool);
  } catch (const std::exception&) {
    built_ = false;
    return std::nullopt;
  }
  seenChannels_ = changes.Count();
  seenPool_ = pool ? pool->Changes().Count() : 0;

  auto found = types_.find(channelType);
  if (found == types_.end()) return -1;
  const Type& type = found->second;
  if (range) {
    // The best match has the least slack, and the earliest channel wins a tie; every channel
    // of a range group has the same slack, so the first free one stands for the group.
    int32_t best = -1;
    double bestSlack = 0;
    for (const auto& [minMax, positions] : type.freeRanged) {
      const auto [min, max] = minMax;
      if (min > range->lower || max < range->upper) continue;
      const double slack = (max - range->upper) + (range->lower - min);
      const int32_t first = *positions.begin();
      if (best < 0 || slack < bestSlack || (slack == bestSlack && first < best)) {
        best = first;
        bestSlack = slack;
      }
    }
    if (best >= 0) return best;
    // Channels without a range are candidates but never the best match.
    if (!type.freeUnranged.empty()) return *type.freeUnranged.begin();
    // No candidate: the search is repeated without a range.
  }
  return type.free.empty() ? -1 : *type.free.begin();
}

bool FreeChannelIndex::Sync(const Entries& channels, const ChangeLog& changes,
                            const clsLoggerResources* pool) {
  if (!built_ || pool != pool_ || channels.size() != channels_.size()) return false;
  std::vector<const void*> changedChannels, changedResources;
  auto keep = [](std::vector<const void*>& into) {
    return [&into](const void* token) { into.push_back(token); };
  };
  if (!changes.Replay(seenChannels_, keep(changedChannels))) return false;
  if (pool && !pool->Changes().Replay(seenPool_, keep(changedResources))) return false;

  for (const void* token : changedResources) {
    auto found = resources_.find(token);
    if (found == resources_.end()) continue;
    const auto* resource = static_cast<const clsLoggerResource*>(token);
    found->second.locked = resource->Locked();
    found->second.used = resource->Users()->Count() > 0;
    for (int32_t position : found->second.channels) Refresh(position);
  }
  for (const void* token : changedChannels) {
    auto found = positions_.find(token);
    if (found == positions_.end()) continue;
    const int32_t position = found->second;
    Forget(position);
    Read(position, *channels[static_cast<size_t>(position)].item, pool);
    Refresh(position);
  }
  return true;
}

void FreeChannelIndex::Rebuild(const Entries& channels, const clsLoggerResources* pool) {
  built_ = false;
  channels_.assign(channels.size(), Channel());
  positions_.clear();
  resources_.clear();
  types_.clear();
  pool_ = pool;
  for (size_t i = 0; i < channels.size(); ++i) {
    positions_.emplace(channels[i].item.get(), static_cast<int32_t>(i));
    Read(static_cast<int32_t>(i), *channels[i].item, pool);
  }
  for (size_t i = 0; i < channels.size(); ++i) Refresh(static_cast<int32_t>(i));
  built_ = true;
}

void FreeChannelIndex::Read(int32_t position, const clsLoggerInputChannel& source,
                            const clsLoggerResources* pool) {
  Channel& channel = channels_[static_cast<size_t>(position)];
  channel.type = source.ChannelType();
  channel.max = source.Max();
  channel.min = source.Min();
  channel.requests.clear();
  const LoggerResourceListPtr requests = source.ResourceList();
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const LoggerResourceRequestPtr request = requests->Item(i);
    const std::string key = request->Resource();
    if (key.empty()) continue;
    const clsLoggerResource* resource = pool ? pool->Find(key).get() : nullptr;
    channel.requests.push_back({resource, request->Locked() != lock::kNotAvailable});
    if (!resource) continue;
    std::vector<int32_t>& users = Known(resource).channels;
    if (users.empty() || users.back() != position) users.push_back(position);
  }
}

FreeChannelIndex::Resource& FreeChannelIndex::Known(const clsLoggerResource* resource) {
  auto [found, added] = resources_.try_emplace(resource);
  if (added) {
    found->second.locked = resource->Locked();
    found->second.used = resource->Users()->Count() > 0;
  }
  return found->second;
}

// Takes a channel out of the groups and out of its resources' lists, before it is read again.
void FreeChannelIndex::Forget(int32_t position) {
  Channel& channel = channels_[static_cast<size_t>(position)];
  if (channel.free) Place(position, false);
  channel.free = false;
  for (const Request& request : channel.requests) {
    if (!request.resource) continue;
    std::vector<int32_t>& users = resources_[request.resource].channels;
    users.erase(std::remove(users.begin(), users.end(), position), users.end());
  }
}

// The busy rule of NextChannel: a request fails on a resource the pool lacks, on one locked
// exclusively, or, unless the request itself is for taking it out of use, on one in use.
bool FreeChannelIndex::IsFree(const Channel& channel) const {
  for (const Request& request : channel.requests) {
    if (!request.resource) return false;
    const Resource& resource = resources_.at(request.resource);
    if (resource.locked == lock::kExclusive) return false;
    if (request.shares && resource.used) return false;
  }
  return true;
}

void FreeChannelIndex::Refresh(int32_t position) {
  Channel& channel = channels_[static_cast<size_t>(position)];
  const bool free = IsFree(channel);
  if (free == channel.free) return;
  channel.free = free;
  Place(position, free);
}

void FreeChannelIndex::Place(int32_t position, bool free) {
  const Channel& channel = channels_[static_cast<size_t>(position)];
  Type& type = types_[channel.type];
  if (free) {
    type.free.insert(position);
    if (channel.Ranged()) {
      type.freeRanged[{channel.min, channel.max}].insert(position);
    } else {
      type.freeUnranged.insert(position);
    }
    return;
  }
  type.free.erase(position);
  if (!channel.Ranged()) {
    type.freeUnranged.erase(position);
    return;
  }
  auto group = type.freeRanged.find({channel.min, channel.max});
  if (group == type.freeRanged.end()) return;
  group->second.erase(position);
  if (group->second.empty()) type.freeRanged.erase(group);
}

}  // namespace corvale

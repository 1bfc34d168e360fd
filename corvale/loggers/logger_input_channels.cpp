#include "corvale/loggers/logger_input_channels.h"

#include <cmath>
#include <ostream>

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/loggers/free_channel_index.h"
#include "corvale/resources/logger_resource_request.h"

namespace corvale {

clsLoggerInputChannels::clsLoggerInputChannels()
    : LoggerChannels("INPUTCHANNELS"), index_(std::make_unique<FreeChannelIndex>()) {}

clsLoggerInputChannels::~clsLoggerInputChannels() = default;

InputChannelPtr clsLoggerInputChannels::NextChannel(int32_t channelType,
                                                    std::optional<double> upper,
                                                    std::optional<double> lower) {
  const bool ranged = upper && lower && (*upper != 0 || *lower != 0);
  const bool finite = (!upper || std::isfinite(*upper)) && (!lower || std::isfinite(*lower));
  if (!trace_ && finite) {
    std::optional<FreeChannelIndex::Range> range;
    if (ranged) range = FreeChannelIndex::Range{*upper, *lower};
    const auto& channels = items_.Entries();
    // The channel offered is checked against its elements before it is handed out: edits that
    // bypass this inventory's objects (another definition over the same LOGGER element) make
    // the index rebuild instead of giving a busy channel.
    for (int attempt = 0; attempt < 2; ++attempt) {
      const auto pick = index_->Pick(channels, *log_, pool_.get(), channelType, range);
      if (!pick) break;
      if (*pick < 0) return nullptr;
      const InputChannelPtr& channel = channels[static_cast<size_t>(*pick)].item;
      if (channel->ChannelType() == channelType && IsFree(*channel)) return channel;
      index_->Invalidate();
    }
  }
  return Walk(channelType, upper, lower);
}

// The search as the model states it, channel by channel: what the index must agree with, and
// what runs while tracing.
InputChannelPtr clsLoggerInputChannels::Walk(int32_t channelType, std::optional<double> upper,
                                             std::optional<double> lower) {
  const bool ranged = upper && lower && (*upper != 0 || *lower != 0);
  InputChannelPtr best, first;
  double bestSlack = 0;
  for (const auto& entry : items_) {
    const clsLoggerInputChannel& channel = *entry.item;
    if (channel.ChannelType() != channelType || !IsFree(channel)) continue;
    if (ranged) {
      const double max = channel.Max();
      const double min = channel.Min();
      if (max != 0 || min != 0) {
        if (min > *lower || max < *upper) continue;
        const double slack = (max - *upper) + (*lower - min);
        if (!best || slack < bestSlack) {
          best = entry.item;
          bestSlack = slack;
          Trace("New best match: ", channel);
        }
      }
    }
    if (!first) first = entry.item;
    Trace("Found channel: ", channel);
  }
  if (!first) {
    // Absent bounds count as 0 here.
    if (upper.value_or(0) != 0 || lower.value_or(0) != 0) return Walk(channelType, 0.0, 0.0);
    return nullptr;
  }
  return best ? best : first;
}

bool clsLoggerInputChannels::IsFree(const clsLoggerInputChannel& channel) const {
  const LoggerResourceListPtr requests = channel.ResourceList();
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const LoggerResourceRequestPtr request = requests->Item(i);
    const std::string key = request->Resource();
    if (key.empty()) continue;
    const LoggerResourcePtr resource = pool_ ? pool_->Find(key) : nullptr;
    if (!resource || resource->Locked() == lock::kExclusive) return false;
    // A resource taken out of use does not make the channel busy by itself.
    if (request->Locked() != lock::kNotAvailable && resource->Users()->Count() > 0) return false;
  }
  return true;
}

void clsLoggerInputChannels::Trace(std::string_view what,
                                   const clsLoggerInputChannel& channel) const {
  if (trace_) *trace_ << what << channel.Description() << "\n";
}

Variant clsLoggerInputChannels::Invoke(std::string_view member, const Args& args) {
  using T = clsLoggerInputChannels;
  using M = MemberTable<T>;
  static const M members = {
      {"NextChannel",
       [](T& self, const Args& a) -> Variant {
         if (a.empty() || a.size() > 3) throw Error(err::kInvalidProcedureCall);
         std::optional<double> upper, lower;
         if (a.size() > 1 && !a[1].IsEmpty()) upper = a[1].ToDouble();
         if (a.size() > 2 && !a[2].IsEmpty()) lower = a[2].ToDouble();
         return Variant(self.NextChannel(a[0].ToInt32(), upper, lower));
       }},
  };
  if (const M::Member* found = members.Find(member)) return (*found)(*this, args);
  return LoggerChannels::Invoke(member, args);
}

}  // namespace corvale

#include "corvale/loggers/logger_channels.h"

#include <utility>

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/loggers/logger_input_channel.h"
#include "corvale/loggers/logger_output_channel.h"

namespace corvale {

template <class T>
LoggerChannels<T>::LoggerChannels(std::string_view container)
    : BoundCollection<T>({.container = container,
                          .child = "CHANNEL",
                          .keyPrefix = "CHAN_",
                          .keyOnBind = false,
                          .rebindEmptiesOld = true,
                          .rebindSameIsNoop = true}) {
  this->Watch(std::make_shared<ChangeLog>(), nullptr);
}

template <class T>
typename LoggerChannels<T>::Channel LoggerChannels<T>::Add(
    Channel channel, const std::optional<corvale::Index>& before,
    const std::optional<corvale::Index>& after) {
  if (!channel) throw Error(err::kObjectNotSet);
  const std::string key = this->KeyFor(*channel);
  // A missing `before` is reported by the collection itself, in its own order of checks.
  xml::Node reference;
  if (before) {
    try {
      reference = this->items_.Item(*before)->XMLNode();
    } catch (const Error&) {
    }
  }
  this->Insert(channel, key, before, after, reference);
  return channel;
}

template <class T>
void LoggerChannels<T>::Pool(ResourcePoolKey, LoggerResourcesPtr pool) {
  pool_ = std::move(pool);
  this->Touch();
}

template <class T>
bool LoggerChannels<T>::Allocate(std::string user, std::string key) {
  if (key.empty()) return false;
  try {
    const Channel channel = this->items_.Item(key);
    if (!pool_) return false;
    return pool_->Allocate(user.empty() ? "Unknown" : user, channel->ResourceList());
  } catch (const std::exception&) {
    return false;
  }
}

template <class T>
void LoggerChannels<T>::Deallocate(std::string user, std::string key) {
  // The user goes on as given: the pool's own "UNKNOWN" for an empty name still finds an
  // "Unknown" that Allocate recorded, since user names compare without regard to case.
  auto release = [&](const Channel& channel) {
    try {
      if (pool_) pool_->Deallocate(user, channel->ResourceList());
    } catch (const std::exception&) {
    }
  };
  if (!key.empty()) {
    try {
      release(this->items_.Item(key));
    } catch (const std::exception&) {
    }
    return;
  }
  for (const auto& entry : this->items_) release(entry.item);
}

template <class T>
uint8_t LoggerChannels<T>::State(const corvale::Index& key) const {
  const LoggerResourceListPtr requests = this->Item(key)->ResourceList();
  uint8_t state = 0;
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const LoggerResourcePtr resource = pool_ ? pool_->Find(requests->Item(i)->Resource()) : nullptr;
    if (!resource) throw Error(err::kSubscriptOutOfRange);
    const int32_t mode = resource->Locked();
    if (mode == lock::kNotAvailable) state |= channel_state::kNotAvailable;
    if (mode == lock::kExclusive) state |= channel_state::kLocked;
    if (resource->Users()->Count() > 0) state |= channel_state::kUsed;
  }
  return state;
}

template <class T>
LoggerResourceUsersPtr LoggerChannels<T>::GetUsers(const corvale::Index& key) const {
  const LoggerResourceListPtr requests = this->Item(key)->ResourceList();
  auto users = std::make_shared<clsLoggerResourceUsers>();
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const LoggerResourcePtr resource = pool_ ? pool_->Find(requests->Item(i)->Resource()) : nullptr;
    if (!resource) continue;
    const LoggerResourceUsersPtr holders = resource->Users();
    for (int16_t u = 1; u <= holders->Count(); ++u) users->Add(holders->Item(u));
  }
  return users;
}

template <class T>
Variant LoggerChannels<T>::Invoke(std::string_view member, const Args& args) {
  using C = LoggerChannels<T>;
  using M = MemberTable<C>;
  // Named through the shell that declares it: a member brought in by `using` cannot be taken
  // by address inside this template on every compiler.
  static const typename M::Member item = M::WithIndex(&BoundCollection<T>::Item);
  static const M members = {
      {"Count", M::Getter(&C::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](C& self, const Args& a) -> Variant {
         const auto [before, after] = PlacementArgs(a);
         return Variant(self.Add(VariantAs<Channel>(a[0]), before, after));
       }},
      {"Remove", M::WithIndex(&C::Remove)},
      {"Clear", M::Method(&C::Clear)},
      {"Allocate",
       [](C& self, const Args& a) -> Variant {
         ExpectArgs(a, 2);
         return self.Allocate(a[0].ToString(), a[1].ToString());
       }},
      {"Deallocate",
       [](C& self, const Args& a) -> Variant {
         if (a.empty() || a.size() > 2) throw Error(err::kInvalidProcedureCall);
         self.Deallocate(a[0].ToString(), a.size() > 1 ? a[1].ToString() : std::string());
         return {};
       }},
      {"State",
       [](C& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return Variant(static_cast<int>(self.State(IndexArg(a[0]))));
       }},
      {"GetUsers", M::WithIndex(&C::GetUsers)},
  };
  return members.Invoke(*this, member, args);
}

template class LoggerChannels<clsLoggerInputChannel>;
template class LoggerChannels<clsLoggerOutputChannel>;

}  // namespace corvale

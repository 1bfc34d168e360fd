#include "corvale/resources/logger_resources.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/resources/logger_resource_request.h"

namespace corvale {

clsLoggerResources::clsLoggerResources()
    : BoundCollection({.container = "RESOURCES",
                       .child = "RESOURCE",
                       .keyPrefix = "RESOURCE_",
                       .keyOnBind = false,
                       .rebindEmptiesOld = true,
                       .rebindSameIsNoop = true}) {
  Watch(std::make_shared<ChangeLog>(), nullptr);
  user_index_ = std::make_shared<UserIndex>();
}

struct clsLoggerResources::UserIndex {
  bool built = false;
  uint64_t seen = 0;
  std::unordered_map<std::string, std::unordered_set<const clsLoggerResource*>> byUser;
  std::unordered_map<const clsLoggerResource*, std::vector<std::string>> usersOf;

  void Forget(const clsLoggerResource* resource) {
    auto found = usersOf.find(resource);
    if (found == usersOf.end()) return;
    for (const std::string& user : found->second) {
      auto holders = byUser.find(user);
      if (holders == byUser.end()) continue;
      holders->second.erase(resource);
      if (holders->second.empty()) byUser.erase(holders);
    }
    usersOf.erase(found);
  }
  void Learn(const clsLoggerResource& resource) {
    const LoggerResourceUsersPtr users = resource.Users();
    if (users->Count() == 0) return;
    std::vector<std::string>& names = usersOf[&resource];
    for (int16_t i = 1; i <= users->Count(); ++i) {
      names.push_back(UpperCase(users->Item(i)));
      byUser[names.back()].insert(&resource);
    }
  }
};

void clsLoggerResources::RefreshUserIndex() const {
  UserIndex& index = *user_index_;
  // Edits of a resource and of its users are logged under the resource itself; a change of
  // the inventory is logged without one and makes the index start again.
  std::unordered_set<const void*> changed;
  const bool replayed =
      index.built && log_->Replay(index.seen, [&](const void* token) { changed.insert(token); });
  if (!replayed) {
    index = UserIndex();
    for (const auto& entry : items_) index.Learn(*entry.item);
    index.built = true;
  } else {
    for (const void* token : changed) {
      const auto* resource = static_cast<const clsLoggerResource*>(token);
      index.Forget(resource);
      index.Learn(*resource);
    }
  }
  index.seen = log_->Count();
}

std::string clsLoggerResources::Parent() const { return parent_; }
void clsLoggerResources::Parent(std::string value) { parent_ = std::move(value); }

void clsLoggerResources::Add(LoggerResourcePtr resource,
                             const std::optional<corvale::Index>& before,
                             const std::optional<corvale::Index>& after) {
  if (!resource) throw Error(err::kObjectNotSet);
  const std::string key = KeyFor(*resource);
  // A missing `before` is reported by the collection itself, in its own order of checks.
  xml::Node reference;
  if (before) {
    try {
      reference = items_.Item(*before)->XMLNode();
    } catch (const Error&) {
    }
  }
  Insert(resource, key, before, after, reference);
}

LoggerResourcePtr clsLoggerResources::Find(std::string_view key) const { return items_.Find(key); }

namespace {

// One request as Available judges it.
bool Satisfiable(const clsLoggerResource* resource, int32_t mode) {
  if (!resource) return mode == lock::kNotAvailable;
  if (mode == lock::kNotAvailable) return true;
  return resource->Locked() != lock::kNotAvailable && resource->Users()->Count() == 0 &&
         resource->Locked() != lock::kExclusive;
}

// The user and the request list of a late-bound Allocate or Deallocate. Scheme code passes
// them either way round (the list first, then the user), so the object is the list.
std::pair<std::string, LoggerResourceListPtr> UserAndList(const Args& a) {
  const bool listFirst = a[0].IsObject() && (a.size() < 2 || !a[1].IsObject());
  const Variant& user = listFirst ? (a.size() > 1 ? a[1] : Variant()) : a[0];
  const Variant* list = listFirst ? &a[0] : (a.size() > 1 ? &a[1] : nullptr);
  LoggerResourceListPtr requests;
  if (list && list->IsObject()) requests = VariantAs<LoggerResourceListPtr>(*list);
  return {user.ToString(), std::move(requests)};
}

}  // namespace

bool clsLoggerResources::Available(const LoggerResourceListPtr& requests) const {
  if (!requests) throw Error(err::kObjectNotSet);
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const LoggerResourceRequestPtr request = requests->Item(i);
    if (!Satisfiable(Find(request->Resource()).get(), request->Locked())) return false;
  }
  return true;
}

bool clsLoggerResources::Available(std::string key, int32_t lock) const {
  return Satisfiable(Find(key).get(), lock);
}

bool clsLoggerResources::Allocate(std::string user, const LoggerResourceListPtr& requests) {
  if (!requests) throw Error(err::kObjectNotSet);
  bool result = true;
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const LoggerResourceRequestPtr request = requests->Item(i);
    const std::string key = request->Resource();
    if (key.empty()) continue;
    const int32_t mode = request->Locked();
    const LoggerResourcePtr resource = Find(key);
    if (!resource) {
      if (mode != lock::kNotAvailable) result = false;
      continue;
    }
    switch (resource->Locked()) {
      case lock::kNone:
        // A free resource takes the mode of its first user's request: after a mode-0 user it
        // stays open and users of any mode may join it. Schemes saved with shared resources
        // hold exactly these users and locks.
        resource->Locked(mode);
        resource->Users()->Add(user);
        break;
      case lock::kExclusive:
        result = false;
        break;
      case lock::kNotAvailable:
        // Asking again that a withdrawn resource be withdrawn succeeds without recording the
        // user: such a user is never found on the resource.
        if (mode != lock::kNotAvailable) result = false;
        break;
      default:
        break;
    }
  }
  return result;
}

void clsLoggerResources::Deallocate(std::string user, const LoggerResourceListPtr& requests) {
  if (!requests) {
    for (const auto& entry : items_) {
      clsLoggerResource& resource = *entry.item;
      if (!resource.Users()->IsUser(user)) continue;
      resource.Locked(lock::kNone);
      resource.Users()->Remove(user);
    }
    return;
  }
  for (int16_t i = 1; i <= requests->Count(); ++i) {
    const std::string key = requests->Item(i)->Resource();
    if (key.empty()) continue;
    const LoggerResourcePtr resource = Find(key);
    if (!resource) continue;
    // The lock goes with any one user, also while others remain: a resource shared in mode 0
    // was never locked, and a locked one has only the user that locked it.
    resource->Locked(lock::kNone);
    resource->Users()->Remove(user);
  }
}

void clsLoggerResources::ReleaseUser(std::string_view user) {
  RefreshUserIndex();
  auto found = user_index_->byUser.find(UpperCase(user));
  if (found == user_index_->byUser.end()) return;
  const std::vector<const clsLoggerResource*> holders(found->second.begin(), found->second.end());
  for (const clsLoggerResource* held : holders) {
    LoggerResourcePtr resource = items_.Find(held->Key());
    if (resource.get() != held) continue;
    const LoggerResourceUsersPtr users = resource->Users();
    users->Remove(std::string(user));
    if (users->Count() == 0) resource->Locked(lock::kNone);
  }
}

Variant clsLoggerResources::Invoke(std::string_view member, const Args& args) {
  using T = clsLoggerResources;
  using M = MemberTable<T>;
  static const M::Member item = M::WithIndex(&T::Item);
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", item},
      {"", item},
      {"Parent", M::Property(&T::Parent, &T::Parent)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         const auto [before, after] = PlacementArgs(a);
         self.Add(VariantAs<LoggerResourcePtr>(a[0]), before, after);
         return {};
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"Available",
       [](T& self, const Args& a) -> Variant {
         if (a.empty() || a.size() > 2) throw Error(err::kInvalidProcedureCall);
         if (a[0].IsObject()) return self.Available(VariantAs<LoggerResourceListPtr>(a[0]));
         return self.Available(a[0].ToString(), a.size() > 1 ? a[1].ToInt32() : 0);
       }},
      {"Allocate",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 2);
         const auto [user, requests] = UserAndList(a);
         return self.Allocate(user, requests);
       }},
      {"Deallocate",
       [](T& self, const Args& a) -> Variant {
         if (a.empty() || a.size() > 2) throw Error(err::kInvalidProcedureCall);
         const auto [user, requests] = UserAndList(a);
         self.Deallocate(user, requests);
         return {};
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

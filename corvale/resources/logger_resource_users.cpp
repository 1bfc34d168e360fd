#include "corvale/resources/logger_resource_users.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/core/object.h"

namespace corvale {

namespace {

std::string UserName(std::string_view user) {
  return user.empty() ? std::string("UNKNOWN") : std::string(user);
}

// The collection key of a user: "@" and the name.
std::string UserKey(std::string_view name) {
  std::string key;
  key.reserve(name.size() + 1);
  key += '@';
  key += name;
  return key;
}

}  // namespace

clsLoggerResourceUsers::clsLoggerResourceUsers()
    : BoundCollection({.container = "USERS",
                       .child = "USER",
                       .keyOnBind = false,
                       .rebindEmptiesOld = true,
                       .rebindSameIsNoop = true}) {}

std::string clsLoggerResourceUsers::EntryKey(const TextElement& user) const {
  return UserKey(user.Text());
}

corvale::Index clsLoggerResourceUsers::KeyOf(const corvale::Index& index) {
  if (index.IsPosition()) return index;
  return UserKey(UserName(index.Key()));
}

std::string clsLoggerResourceUsers::Item(const corvale::Index& index) const {
  return items_.Item(KeyOf(index))->Text();
}

void clsLoggerResourceUsers::Add(std::string user, const std::optional<corvale::Index>& before,
                                 const std::optional<corvale::Index>& after) {
  const std::string name = UserName(user);
  auto element = std::make_shared<TextElement>("USER", name);
  // Each step goes on when the one before fails: a name already present keeps one entry
  // but still gets its own USER element, which allocation has always left in documents.
  try {
    items_.Add(element, UserKey(name), before, after);
  } catch (const Error&) {
  }
  try {
    node_.appendChild(element->XMLNode());
  } catch (const Error&) {
  }
  Touch();
}

void clsLoggerResourceUsers::Remove(const corvale::Index& index) {
  const corvale::Index key = KeyOf(index);
  if (key.IsPosition() ? key.Position() < 1 || key.Position() > items_.Count()
                       : !items_.Exists(key.Key()))
    return;
  BoundCollection::Remove(key);
}

bool clsLoggerResourceUsers::IsUser(std::string_view user) const {
  // No "UNKNOWN" for an empty name here, unlike Add and Remove.
  return items_.Exists(UserKey(user));
}

Variant clsLoggerResourceUsers::Invoke(std::string_view member, const Args& args) {
  using M = MemberTable<clsLoggerResourceUsers>;
  static const M::Member item =
      MemberTable<clsLoggerResourceUsers>::WithIndex(&clsLoggerResourceUsers::Item);
  static const M members = {
      {"Count", M::Getter(&clsLoggerResourceUsers::Count)},
      {"Item", item},
      {"", item},
      {"Add",
       [](clsLoggerResourceUsers& self, const Args& a) -> Variant {
         const auto [before, after] = PlacementArgs(a);
         self.Add(a[0].ToString(), before, after);
         return {};
       }},
      {"Remove", MemberTable<clsLoggerResourceUsers>::WithIndex(&clsLoggerResourceUsers::Remove)},
      {"Clear", M::Method(&clsLoggerResourceUsers::Clear)},
      {"IsUser",
       [](clsLoggerResourceUsers& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return self.IsUser(a[0].ToString());
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

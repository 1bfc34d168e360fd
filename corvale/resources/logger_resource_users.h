// clsLoggerResourceUsers: the users of one logger resource (USERS element holding USER
// elements); a user is keyed by "@" + its name.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/text_element.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLoggerResourceUsers : public Object, public BoundCollection<TextElement> {
 public:
  // Bound to a new, empty USERS element. Binding another element first takes the users out of
  // the element left behind; it raises 457 when two USER elements hold the same name.
  clsLoggerResourceUsers();

  // A position or a user name ("" means "UNKNOWN"); raises 9 when there is none.
  std::string Item(const corvale::Index& index) const;
  // An empty name is recorded as "UNKNOWN". A name already present still gets a USER element.
  void Add(std::string user, const std::optional<corvale::Index>& before = std::nullopt,
           const std::optional<corvale::Index>& after = std::nullopt);
  // A position or a user name ("" means "UNKNOWN"); an unknown user is ignored.
  void Remove(const corvale::Index& index) override;
  // Whether the name is a user; "" is not looked up as "UNKNOWN".
  bool IsUser(std::string_view user) const;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::string EntryKey(const TextElement& user) const override;
  static corvale::Index KeyOf(const corvale::Index& index);
};

using LoggerResourceUsersPtr = std::shared_ptr<clsLoggerResourceUsers>;

}  // namespace corvale

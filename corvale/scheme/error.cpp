#include "corvale/scheme/error.h"

#include <utility>

#include "corvale/core/member_table.h"

namespace corvale {

clsError::clsError(int32_t number, std::string description, std::string source, bool fatal)
    : fatal_(fatal),
      number_(number),
      description_(std::move(description)),
      source_(std::move(source)) {}

Variant clsError::Invoke(std::string_view member, const Args& args) {
  using T = clsError;
  using M = MemberTable<T>;
  static const M members = {
      {"Fatal", M::Property(&T::Fatal, &T::Fatal)},
      {"Number", M::Property(&T::Number, &T::Number)},
      {"Description", M::Property(&T::Description, &T::Description)},
      {"Source", M::Property(&T::Source, &T::Source)},
      {"", M::Getter(&T::Description)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

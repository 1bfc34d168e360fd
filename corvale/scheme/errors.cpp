#include "corvale/scheme/errors.h"

#include <utility>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

bool clsErrors::Fatal() const {
  for (const auto& entry : entries_)
    if (entry.item->Fatal()) return true;
  return false;
}

ErrorPtr clsErrors::Item(const Index& index) const {
  // The list has no keys: a key names no entry.
  if (index.IsKey()) throw Error(err::kSubscriptOutOfRange);
  return entries_.Item(index);
}

void clsErrors::Add(ErrorPtr entry) {
  if (!entry) throw Error(err::kObjectNotSet);
  entries_.Add(std::move(entry));
}

void clsErrors::Remove(const Index& index) {
  if (index.IsKey()) throw Error(err::kSubscriptOutOfRange);
  entries_.Remove(index);
}

void clsErrors::Clear() { entries_.Clear(); }

void clsErrors::Merge(const clsErrors& other) {
  // Taken before the first append, so that merging a list into itself stops at the entries
  // it had when the merge began.
  std::vector<ErrorPtr> merged;
  merged.reserve(static_cast<size_t>(other.Count()));
  for (const auto& entry : other.entries_) merged.push_back(entry.item);
  for (auto& entry : merged) entries_.Add(std::move(entry));
}

void clsErrors::MergeParseError(const xml::ParseError& parseError) {
  Add(std::make_shared<clsError>(parseError.errorCode, parseError.reason,
                                 IntegerText(parseError.linepos) + parseError.srcText, true));
}

void clsErrors::Report(int32_t number, std::string description, std::string source, bool fatal) {
  Add(std::make_shared<clsError>(number, std::move(description), std::move(source), fatal));
}

Variant clsErrors::Invoke(std::string_view member, const Args& args) {
  using T = clsErrors;
  using M = MemberTable<T>;
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Fatal", M::Getter(&T::Fatal)},
      {"Item", M::WithIndex(&T::Item)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         auto entry = a[0].ToObjectAs<clsError>();
         if (!entry && !a[0].IsEmpty()) throw Error(err::kTypeMismatch);
         self.Add(std::move(entry));
         return {};
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"Merge",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         auto other = a[0].ToObjectAs<clsErrors>();
         if (!other) throw Error(a[0].IsObject() ? err::kTypeMismatch : err::kObjectNotSet);
         self.Merge(*other);
         return {};
       }},
      {"", M::WithIndex(&T::Item)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

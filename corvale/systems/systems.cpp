#include "corvale/systems/systems.h"

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

constexpr KeyedFile::Shape kShape = {.root = "SYSTEMS",
                                     .child = "SYSTEM",
                                     .keyPrefix = "SYSTEM_",
                                     .className = "clsSystems",
                                     .duplicateKeyError = err::kDuplicateSystemKey,
                                     .itemWord = "system"};

}  // namespace

clsSystems::clsSystems() : KeyedFile(kShape) {}

SystemPtr clsSystems::Item(const corvale::Index& index) const {
  const xml::Node element = Find(index);
  if (!element) return nullptr;
  auto system = std::make_shared<clsSystem>(element.cloneNode(true));
  system->Source(Source() + "|" + system->Key());
  return system;
}

SystemPtr clsSystems::LibraryItem(const corvale::Index& index) const {
  const xml::Node element = Find(index);
  if (!element) return nullptr;
  return std::make_shared<clsSystem>(element);
}

void clsSystems::Add(const SystemPtr& system) {
  if (!system) throw Error(err::kObjectNotSet);
  if (system->Key().empty()) system->Key(FreeKey());
  const xml::Node element = system->XMLNode();
  Append(element, system->Key());
  const bool moved = moved_ > 0 && moved_ <= Count();
  RenumberFrom(moved ? BoundCollection::Item(moved_)->XMLNode() : element);
  moved_ = 0;
}

void clsSystems::Remove(const corvale::Index& index) {
  const int16_t position = PositionOf(index);
  KeyedFile::Remove(position);
  if (moved_ == 0 || position < moved_) moved_ = position;
}

Variant clsSystems::Invoke(std::string_view member, const Args& args) {
  using T = clsSystems;
  using M = MemberTable<T>;
  static const M::Member item = M::WithIndex(&T::Item);
  static const M members = {
      {"Item", item},
      {"", item},
      {"LibraryItem", M::WithIndex(&T::LibraryItem)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(VariantAs<SystemPtr>(a[0]));
         return {};
       }},
  };
  if (const M::Member* own = members.Find(member)) return (*own)(*this, args);
  return InvokeFileMember(member, args);
}

}  // namespace corvale

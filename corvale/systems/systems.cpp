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
  const xml::Node element = AddItem(system);
  const bool moved = moved_ > 0 && moved_ <= Count();
  RenumberFrom(moved ? BoundCollection::Item(moved_)->XMLNode() : element);
  moved_ = 0;
}

void clsSystems::Remove(const corvale::Index& index) {
  const int16_t position = PositionOf(index);
  KeyedFile::Remove(position);
  if (moved_ == 0 || position < moved_) moved_ = position;
}

void clsSystems::AddObject(const Variant& item) { Add(VariantAs<SystemPtr>(item)); }

}  // namespace corvale

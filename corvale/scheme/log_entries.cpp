#include "corvale/scheme/log_entries.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/scheme/log_buffer.h"

namespace corvale {
namespace {

// The instrument key of an entry key: its text before the first "|" (all of it without one).
std::string InstrumentKeyOf(const std::string& entryKey) {
  return entryKey.substr(0, entryKey.find('|'));
}

}  // namespace

clsLogEntries::clsLogEntries() : BoundCollection({.container = "LOGENTRIES", .child = "LOG"}) {}

clsLogEntries::~clsLogEntries() { LetGoAll(); }

void clsLogEntries::XMLNode(xml::Node value) {
  LetGoAll();
  Bind(std::move(value));
  for (const auto& entry : items_) {
    Hold(*entry.item);
    IndexKey(entry.key);
  }
}

LogPtr clsLogEntries::Add(LogPtr entry, const std::optional<corvale::Index>& before,
                          const std::optional<corvale::Index>& after) {
  if (!entry) throw Error(err::kObjectNotSet);
  const std::string key = entry->Channel() + "|" + IntegerText(entry->Parameter());
  entry->Key(key);
  Insert(entry, key, before, after);
  Hold(*entry);
  IndexKey(key);
  if (buffer_) buffer_->CalculateLogSize();
  return entry;
}

void clsLogEntries::Remove(const corvale::Index& index) {
  const int16_t position = PositionOf(index);
  const LogPtr entry = items_.Item(position);
  const std::string key = items_.KeyAt(position);
  BoundCollection::Remove(position);
  LetGo(*entry);
  UnindexKey(key);
}

void clsLogEntries::Clear() {
  LetGoAll();
  BoundCollection::Clear();
}

int32_t clsLogEntries::RemoveEntriesOf(std::string_view instrumentKey) {
  auto found = byInstrument_.find(std::string(instrumentKey));
  if (found == byInstrument_.end()) return 0;
  const std::vector<std::string> keys = found->second;
  for (const std::string& key : keys) Remove(corvale::Index(key));
  return static_cast<int32_t>(keys.size());
}

void clsLogEntries::Recount() {
  enabledBytes_ = 0;
  for (const auto& entry : items_) Hold(*entry.item);
}

void clsLogEntries::Hold(clsLog& entry) {
  if (entry.list_ && entry.list_ != this) entry.list_->enabledBytes_ -= entry.counted_;
  entry.list_ = this;
  entry.counted_ = entry.Counted();
  enabledBytes_ += entry.counted_;
}

void clsLogEntries::LetGo(clsLog& entry) {
  if (entry.list_ != this) return;
  enabledBytes_ -= entry.counted_;
  entry.list_ = nullptr;
  entry.counted_ = 0;
}

void clsLogEntries::LetGoAll() {
  for (const auto& entry : items_) LetGo(*entry.item);
  enabledBytes_ = 0;
  byInstrument_.clear();
}

void clsLogEntries::IndexKey(const std::string& key) {
  if (!key.empty()) byInstrument_[InstrumentKeyOf(key)].push_back(key);
}

void clsLogEntries::UnindexKey(const std::string& key) {
  if (key.empty()) return;
  auto found = byInstrument_.find(InstrumentKeyOf(key));
  if (found == byInstrument_.end()) return;
  std::vector<std::string>& keys = found->second;
  auto at = std::find(keys.begin(), keys.end(), key);
  if (at != keys.end()) keys.erase(at);
  if (keys.empty()) byInstrument_.erase(found);
}

Variant clsLogEntries::Invoke(std::string_view member, const Args& args) {
  using T = clsLogEntries;
  using M = MemberTable<T>;
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", M::WithIndex(&T::Item)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         const Placement placement = PlacementArgs(a);
         auto entry = a[0].ToObjectAs<clsLog>();
         if (!entry && !a[0].IsEmpty()) throw Error(err::kTypeMismatch);
         return Variant(self.Add(std::move(entry), placement.before, placement.after));
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
      {"", M::WithIndex(&T::Item)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

// clsErrors: the error list that scheme operations fill instead of raising, so that one call
// can report several problems and the host decides from Fatal whether to abandon it. It lives
// in memory only. As an ErrorSink it takes reports from any operation that reports into the
// core seam.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/core/error_sink.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/scheme/error.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsErrors : public Object, public ErrorSink {
 public:
  int16_t Count() const { return entries_.Count(); }
  // True when any entry is fatal; false for an empty list.
  bool Fatal() const;
  // The entry at a 1-based position; raises 9 for a position out of range.
  ErrorPtr Item(const Index& index) const;
  // Appends the entry itself, not a copy; raises 91 for no entry.
  void Add(ErrorPtr entry);
  // Raises 9 for a position out of range.
  void Remove(const Index& index);
  void Clear();
  // Appends every entry of other, in order, sharing them; other is left as it is. Merging a
  // list into itself appends each entry once more.
  void Merge(const clsErrors& other);
  // Appends a fatal entry made from a failed load of the XML tree: its code, its reason, and
  // as source the position in the line immediately followed by the offending line ("12abc").
  void MergeParseError(const xml::ParseError& parseError);

  // ErrorSink: a new entry with these values, appended.
  void Report(int32_t number, std::string description, std::string source, bool fatal) override;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  KeyedCollection<clsError> entries_;
};

using ErrorsPtr = std::shared_ptr<clsErrors>;

}  // namespace corvale

// clsLogEntries: the entries of one log buffer (LOGENTRIES element holding LOG elements),
// keyed by Channel + "|" + Parameter, in the order they were added.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/scheme/log.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLogBuffer;

class clsLogEntries : public Object, public BoundCollection<clsLog> {
 public:
  clsLogEntries();  // bound to a new, empty LOGENTRIES element
  clsLogEntries(const clsLogEntries&) = delete;
  clsLogEntries& operator=(const clsLogEntries&) = delete;
  ~clsLogEntries() override;

  using BoundCollection::XMLNode;
  // Reads the LOG children, keyed by their KEY; raises 457 when two share a key.
  void XMLNode(xml::Node value) override;
  // Gives the entry its key (Channel + "|" + Parameter) and adds it, before or after a member
  // when one is given; its element always goes to the end of LOGENTRIES. Then the owning
  // buffer's record size is recalculated. Raises 457 for a key already present, 91 for no
  // entry.
  LogPtr Add(LogPtr entry, const std::optional<corvale::Index>& before = std::nullopt,
             const std::optional<corvale::Index>& after = std::nullopt);
  // Removing does not recalculate the record size: it stays as the last Add or EnableChannel
  // left it.
  void Remove(const corvale::Index& index) override;
  void Clear();

  // Removes every entry whose key's part before the first "|" is the instrument key (exact
  // comparison); returns how many went. Costs nothing for an instrument without entries.
  int32_t RemoveEntriesOf(std::string_view instrumentKey);

  // The sum of Bytes over the enabled entries (32-bit; the record size checks its range).
  // Kept up to date by the entries' own setters, so that an Add costs O(1).
  int32_t EnabledBytes() const { return enabledBytes_; }
  // Sums the entries again from their elements, taking in edits made to the document
  // without going through the entries.
  void Recount();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  friend class clsLog;
  friend class clsLogBuffer;

  void Hold(clsLog& entry);
  void LetGo(clsLog& entry);
  void LetGoAll();
  void IndexKey(const std::string& key);
  void UnindexKey(const std::string& key);

  clsLogBuffer* buffer_ = nullptr;  // the owning buffer; it clears this when it lets go
  int32_t enabledBytes_ = 0;
  // The entry keys under each instrument key (the part of an entry key before "|").
  std::unordered_map<std::string, std::vector<std::string>> byInstrument_;
};

using LogEntriesPtr = std::shared_ptr<clsLogEntries>;

}  // namespace corvale

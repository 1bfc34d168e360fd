// clsLogBuffers: the log buffers of a scheme (LOGBUFFERS element holding BUFFER elements),
// keyed by buffer Key; the scheme exposes it as LogBuffers.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/libraries/instruments.h"
#include "corvale/scheme/log_buffer.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsLogBuffers : public Object, public BoundCollection<clsLogBuffer> {
 public:
  clsLogBuffers();  // bound to a new, empty LOGBUFFERS element
  clsLogBuffers(const clsLogBuffers&) = delete;
  clsLogBuffers& operator=(const clsLogBuffers&) = delete;
  ~clsLogBuffers() override;

  using BoundCollection::XMLNode;
  // Reads the BUFFER children, keyed by their KEY (a buffer without one has no key).
  void XMLNode(xml::Node value) override;
  // 1 adds 3 bytes to every record. Written even when 0.
  int32_t Mode() const;
  void Mode(int32_t value);
  // A stored value; nothing here computes it.
  int32_t TotalSize() const;
  void TotalSize(int32_t value);
  // A buffer without a key gets "BUFF" + the current Count, a number never checked for being
  // free: after removing BUFF0 of three, the next is BUFF2 again and raises 457. Documents
  // and hosts count on these keys, so the rule stays. The element always goes to the end of
  // LOGBUFFERS, whatever place before or after gives the entry. Raises 91 for no buffer.
  LogBufferPtr Add(LogBufferPtr buffer, const std::optional<corvale::Index>& before = std::nullopt,
                   const std::optional<corvale::Index>& after = std::nullopt);
  // Sets Enabled of every entry, in every buffer, whose Channel is channel (exact
  // comparison), and recalculates each buffer's record size.
  void EnableChannel(std::string_view channel, bool enabled);
  // Brings every entry up to date with the channel it records, found through the scheme's
  // instruments by its Channel (instrument key "|" channel key): Enabled follows the
  // channel's, Index becomes the channel's Index and Bytes the bytes a value of the channel
  // takes in a record (the channel's NumberBytes; floating-point values are logged in at most
  // 4 bytes). Entries whose instrument or channel is gone are removed after the pass. Each
  // buffer's record size is then recalculated.
  void RefreshLogEntries(IInstruments& instruments);
  void Remove(const corvale::Index& index) override;
  // Clear, then n new, empty buffers, keyed BUFF0 ... BUFF(n-1).
  void SetBufferCount(int16_t count);
  void Clear();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void OnBind(clsLogBuffer& buffer) override;
  void LetGoAll();
};

using LogBuffersPtr = std::shared_ptr<clsLogBuffers>;

// The bytes a value of a channel with this input data type and NumberBytes takes in a log
// record.
int16_t LoggedBytes(int32_t inputDataType, int16_t numberBytes);

}  // namespace corvale

#include "corvale/scheme/log_buffers.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"

namespace corvale {
namespace {

// Input data types "SP Floating point" and "DP Floating point".
constexpr int32_t kSingleFloat = 7;
constexpr int32_t kDoubleFloat = 8;
// A record holds floating-point values as singles, whatever the channel's own length.
constexpr int16_t kLoggedFloatBytes = 4;

// The channel an entry records ("instrument key|channel key"), or null when either is gone.
InstChannelPtr ChannelOf(IInstruments& instruments, const std::string& channel) {
  const size_t bar = channel.find('|');
  if (bar == std::string::npos) return nullptr;
  try {
    InstrumentPtr instrument = instruments.Item(corvale::Index(channel.substr(0, bar)));
    const InstChannelsPtr channels = instrument ? instrument->Channels() : nullptr;
    if (!channels) return nullptr;
    return channels->Item(corvale::Index(channel.substr(bar + 1)));
  } catch (const Error&) {
    return nullptr;
  }
}

}  // namespace

int16_t LoggedBytes(int32_t inputDataType, int16_t numberBytes) {
  if (inputDataType == kSingleFloat || inputDataType == kDoubleFloat)
    return std::min(numberBytes, kLoggedFloatBytes);
  return numberBytes;
}

clsLogBuffers::clsLogBuffers() : BoundCollection({.container = "LOGBUFFERS", .child = "BUFFER"}) {}

clsLogBuffers::~clsLogBuffers() { LetGoAll(); }

void clsLogBuffers::LetGoAll() {
  for (const auto& entry : items_)
    if (entry.item->owner_ == this) entry.item->owner_ = nullptr;
}

void clsLogBuffers::OnBind(clsLogBuffer& buffer) { buffer.owner_ = this; }

void clsLogBuffers::XMLNode(xml::Node value) {
  LetGoAll();
  Bind(std::move(value));
}

int32_t clsLogBuffers::Mode() const { return GetTextLong(node_, "MODE", "0"); }
void clsLogBuffers::Mode(int32_t value) { SetNodeText(node_, "MODE", IntegerText(value), true); }

int32_t clsLogBuffers::TotalSize() const { return GetTextLong(node_, "TOTALSIZE", "0"); }
void clsLogBuffers::TotalSize(int32_t value) { SetTextLong(node_, "TOTALSIZE", value); }

LogBufferPtr clsLogBuffers::Add(LogBufferPtr buffer, const std::optional<corvale::Index>& before,
                                const std::optional<corvale::Index>& after) {
  if (!buffer) throw Error(err::kObjectNotSet);
  if (buffer->Key().empty()) buffer->Key("BUFF" + IntegerText(Count()));
  Insert(buffer, buffer->Key(), before, after);
  buffer->owner_ = this;
  return buffer;
}

void clsLogBuffers::EnableChannel(std::string_view channel, bool enabled) {
  for (const auto& buffer : items_) {
    const LogEntriesPtr entries = buffer.item->LogEntries();
    for (int16_t i = 1; i <= entries->Count(); ++i) {
      const LogPtr entry = entries->Item(i);
      if (entry->Channel() == channel) entry->Enabled(enabled);
    }
    // The walk has touched every entry already; the recount costs no more and catches edits
    // made to the document behind the entries' backs.
    entries->Recount();
    buffer.item->CalculateLogSize();
  }
}

void clsLogBuffers::RefreshLogEntries(IInstruments& instruments) {
  for (const auto& buffer : items_) {
    const LogEntriesPtr entries = buffer.item->LogEntries();
    std::vector<int16_t> gone;
    for (int16_t i = 1; i <= entries->Count(); ++i) {
      const LogPtr entry = entries->Item(i);
      const InstChannelPtr channel = ChannelOf(instruments, entry->Channel());
      if (!channel) {
        gone.push_back(i);
        continue;
      }
      // Only what differs is written, so that a refresh of an up-to-date scheme leaves the
      // document unchanged.
      if (entry->Enabled() != channel->Enabled()) entry->Enabled(channel->Enabled());
      if (entry->Index() != channel->Index()) entry->Index(channel->Index());
      const int16_t bytes = LoggedBytes(channel->InputDataType(), channel->NumberBytes());
      if (entry->Bytes() != bytes) entry->Bytes(bytes);
    }
    for (auto at = gone.rbegin(); at != gone.rend(); ++at) entries->Remove(*at);
    entries->Recount();
    buffer.item->CalculateLogSize();
  }
}

void clsLogBuffers::Remove(const corvale::Index& index) {
  const LogBufferPtr buffer = Item(index);
  BoundCollection::Remove(index);
  if (buffer->owner_ == this) buffer->owner_ = nullptr;
}

void clsLogBuffers::SetBufferCount(int16_t count) {
  Clear();
  for (int16_t i = 0; i < count; ++i) Add(std::make_shared<clsLogBuffer>());
}

void clsLogBuffers::Clear() {
  LetGoAll();
  BoundCollection::Clear();
}

Variant clsLogBuffers::Invoke(std::string_view member, const Args& args) {
  using T = clsLogBuffers;
  using M = MemberTable<T>;
  static const M members = {
      {"Count", M::Getter(&T::Count)},
      {"Item", M::WithIndex(&T::Item)},
      {"Mode", M::Property(&T::Mode, &T::Mode)},
      {"TotalSize", M::Property(&T::TotalSize, &T::TotalSize)},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         const Placement placement = PlacementArgs(a);
         auto buffer = a[0].ToObjectAs<clsLogBuffer>();
         if (!buffer && !a[0].IsEmpty()) throw Error(err::kTypeMismatch);
         return Variant(self.Add(std::move(buffer), placement.before, placement.after));
       }},
      {"EnableChannel",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 2);
         self.EnableChannel(a[0].ToString(), a[1].ToBool());
         return {};
       }},
      {"RefreshLogEntries",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         auto instruments = a[0].ToObjectAs<IInstruments>();
         if (!instruments) throw Error(a[0].IsObject() ? err::kTypeMismatch : err::kObjectNotSet);
         self.RefreshLogEntries(*instruments);
         return {};
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"SetBufferCount",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.SetBufferCount(a[0].ToInt16());
         return {};
       }},
      {"Clear", M::Method(&T::Clear)},
      {"", M::WithIndex(&T::Item)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

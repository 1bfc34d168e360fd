#include "corvale/systems/system_instrument.h"

#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

// The entry's element is the container of its LOGCHANNEL children; several may name the same
// channel, so they are found by scanning.
constexpr CollectionShape kShape = {
    .container = "INSTRUMENT", .child = "LOGCHANNEL", .unkeyedLookup = true};

}  // namespace

clsSystemInstrument::clsSystemInstrument() : BoundCollection(kShape) {}

clsSystemInstrument::clsSystemInstrument(xml::Node element) : BoundCollection(kShape) {
  Bind(std::move(element));
}

std::string clsSystemInstrument::EntryKey(const TextElement& channel) const {
  return channel.Text();
}

std::string clsSystemInstrument::Key() const { return GetNodeText(node_, "KEY", ""); }
void clsSystemInstrument::Key(std::string value) { SetNodeText(node_, "KEY", value); }

std::string clsSystemInstrument::Tag() const { return GetNodeText(node_, "TAG", ""); }
void clsSystemInstrument::Tag(std::string value) { SetNodeText(node_, "TAG", value); }

int16_t clsSystemInstrument::Index() const { return GetTextInteger(node_, "INDEX", "0"); }
void clsSystemInstrument::Index(int16_t value) {
  SetNodeText(node_, "INDEX", IntegerText(value), true);
}

std::string clsSystemInstrument::LogChannel(int16_t position) const {
  return Item(position)->Text();
}

void clsSystemInstrument::Add(std::string logChannel) {
  Insert(std::make_shared<TextElement>("LOGCHANNEL", logChannel), {});
}

Variant clsSystemInstrument::Invoke(std::string_view member, const Args& args) {
  using T = clsSystemInstrument;
  using M = MemberTable<T>;
  static const M members = {
      {"Key", M::Property(&T::Key, &T::Key)},
      {"Tag", M::Property(&T::Tag, &T::Tag)},
      {"Index", M::Property(&T::Index, &T::Index)},
      {"Count", M::Getter(&T::Count)},
      {"LogChannel",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         return self.LogChannel(a[0].ToInt16());
       }},
      {"Add",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 1);
         self.Add(a[0].ToString());
         return {};
       }},
      {"Remove", M::WithIndex(&T::Remove)},
      {"Clear", M::Method(&T::Clear)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

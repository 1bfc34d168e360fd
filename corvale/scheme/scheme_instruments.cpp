#include "corvale/scheme/scheme_instruments.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/log.h"
#include "corvale/core/member_table.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/event.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/output.h"
#include "corvale/instruments/outputs.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/resources/logger_resource.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/scheme/late_list.h"
#include "corvale/scheme/log_buffer.h"
#include "corvale/scheme/log_buffers.h"
#include "corvale/scheme/log_entries.h"

namespace corvale {

namespace {

constexpr std::string_view kAddSource = "clsSchemeInstruments:Add";
constexpr std::string_view kLoadSource = "clsSchemeInstruments:XMLNode[SET]";

// Bytes of the UTF-8 character that starts with this byte.
size_t CharLength(unsigned char lead) {
  if (lead < 0xC0) return 1;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return 4;
}

// The leading decimal digits of text as a number (0 when there are none).
int64_t LeadingDigits(std::string_view text) {
  int64_t n = 0;
  for (char c : text) {
    if (c < '0' || c > '9' || n > (int64_t{1} << 40)) break;
    n = n * 10 + (c - '0');
  }
  return n;
}

// The instance number that NextInstance reads from a key: the number after its first "_".
int64_t InstanceOfKey(std::string_view key) {
  const size_t underscore = key.find('_');
  return underscore == std::string_view::npos ? 0 : LeadingDigits(key.substr(underscore + 1));
}

}  // namespace

std::string AliasKey(std::string_view alias) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string key = "x";
  key.reserve(1 + alias.size() * 2);
  for (size_t i = 0; i < alias.size();) {
    const size_t length =
        std::min(CharLength(static_cast<unsigned char>(alias[i])), alias.size() - i);
    const int code = Windows1252Code(alias.substr(i, length));
    key += kHex[(code >> 4) & 0xF];
    key += kHex[code & 0xF];
    i += length;
  }
  return key;
}

std::pair<std::string, std::string> SplitTrailingNumber(std::string_view alias) {
  size_t p = alias.size();
  while (p > 0 && alias[p - 1] >= '0' && alias[p - 1] <= '9') --p;
  // All digits, or nothing: no stem and no number, so the candidates are plain numbers.
  if (p == 0) return {};
  return {std::string(alias.substr(0, p)), std::string(alias.substr(p))};
}

clsSchemeInstruments::clsSchemeInstruments() = default;
clsSchemeInstruments::~clsSchemeInstruments() = default;

corvale::Index clsSchemeInstruments::ListIndex(const corvale::Index& index) const {
  if (index.IsKey()) return corvale::Index("@" + index.Key());
  return index;
}

InstrumentPtr clsSchemeInstruments::Item(const corvale::Index& index) {
  Reindex();
  return list_.Item(ListIndex(index));
}

ObjectPtr clsSchemeInstruments::SchemeMember(std::string_view member) const {
  ObjectPtr scheme = Scheme();
  if (!scheme) return nullptr;
  return scheme->Invoke(member).ToObject();
}

void clsSchemeInstruments::AddError(std::string description, int32_t number, std::string source,
                                    bool fatal) {
  errors_->Report(number, std::move(description), std::move(source), fatal);
}

void clsSchemeInstruments::NotifyChange(const Variant& change) {
  if (!disable_events_ && listener_) {
    Reindex();
    listener_->SchemeChanged(change);
  }
}

// ---------------------------------------------------------------------------------------------
// Keys, instances and aliases

void clsSchemeInstruments::KeyIn(const std::string& key) {
  ++keys_[key];
  const int64_t instance = InstanceOfKey(key);
  for (size_t p = key.find('_'); p != std::string::npos; p = key.find('_', p + 1))
    instances_[key.substr(0, p)].insert(instance);
}

void clsSchemeInstruments::KeyOut(const std::string& key) {
  auto found = keys_.find(key);
  if (found != keys_.end() && --found->second <= 0) keys_.erase(found);
  const int64_t instance = InstanceOfKey(key);
  for (size_t p = key.find('_'); p != std::string::npos; p = key.find('_', p + 1)) {
    auto numbers = instances_.find(key.substr(0, p));
    if (numbers == instances_.end()) continue;
    auto one = numbers->second.find(instance);
    if (one != numbers->second.end()) numbers->second.erase(one);
    if (numbers->second.empty()) instances_.erase(numbers);
  }
}

void clsSchemeInstruments::ResetList() {
  list_.Clear();
  keys_.clear();
  instances_.clear();
}

int16_t clsSchemeInstruments::NextInstance(const std::string& catCode) const {
  // The keys that match catCode + "_*" are the keys that start with catCode + "_", unless the
  // code holds wildcard characters itself; then the members are matched one by one.
  int64_t largest = 0;
  if (catCode.find_first_of("*?") != std::string::npos) {
    const std::string pattern = catCode + "_*";
    for (const auto& entry : list_)
      if (WildcardMatch(entry.item->Key(), pattern))
        largest = std::max(largest, InstanceOfKey(entry.item->Key()));
  } else {
    auto numbers = instances_.find(catCode);
    if (numbers != instances_.end() && !numbers->second.empty())
      largest = *numbers->second.rbegin();
  }
  return RoundToInt16(static_cast<double>(largest + 1));
}

bool clsSchemeInstruments::InstrumentExists(const std::string& key) const {
  return keys_.count(key) > 0;
}

bool clsSchemeInstruments::OutputKeyFree(const ObjectPtr& outputs, const std::string& key) const {
  if (auto typed = std::dynamic_pointer_cast<clsOutputs>(outputs)) {
    // Keys are unique without regard to case there, so one look-up finds the only candidate.
    try {
      return typed->Item(key)->Key() != key;
    } catch (const Error&) {
      return true;
    }
  }
  LateList list(outputs);
  for (int32_t i = 1; i <= list.Count(); ++i)
    if (list.Item(i)->Invoke("Key").ToString() == key) return false;
  return true;
}

void clsSchemeInstruments::IndexStaleFrom(int16_t position) {
  if (position <= list_.Count() && (stale_from_ == 0 || position < stale_from_))
    stale_from_ = std::max<int16_t>(position, 1);
}

void clsSchemeInstruments::Reindex() const {
  if (stale_from_ == 0) return;
  const int16_t from = stale_from_;
  stale_from_ = 0;
  for (int16_t i = from; i <= list_.Count(); ++i) list_.Item(i)->Index(i);
}

std::string clsSchemeInstruments::GetUniqueAlias(std::string_view alias) {
  std::string key = AliasKey(alias);
  if (aliases_.emplace(key, std::string(alias)).second) return std::string(alias);
  // The old number is dropped: the first free stem + n wins, even below it.
  const std::string stem = SplitTrailingNumber(alias).first;
  int64_t& next = alias_hints_[stem];
  for (int64_t n = std::max<int64_t>(next, 1);; ++n) {
    std::string candidate = stem + IntegerText(n);
    if (aliases_.emplace(AliasKey(candidate), candidate).second) {
      next = n + 1;
      return candidate;
    }
  }
}

void clsSchemeInstruments::RefreshAliasCache() {
  aliases_.clear();
  alias_hints_.clear();
  for (const auto& entry : list_) {
    const InstrumentPtr& instrument = entry.item;
    auto channels = instrument->Channels();
    for (int16_t j = 1; channels && j <= channels->Count(); ++j) {
      const std::string alias = channels->Item(j)->Alias();
      if (!aliases_.emplace(AliasKey(alias), alias).second) {
        // Users' tools look for this text as it always was: without a closing apostrophe.
        AddError("Duplicate alias '" + alias + "' found in instrument '" + instrument->Name(),
                 err::kAdd2, "clsSchemeInstruments:RefreshAliasCache", false);
      }
    }
  }
}

std::shared_ptr<clsInstChannel> clsSchemeInstruments::ResolveChannel(std::string_view reference) {
  const size_t bar = reference.find('|');
  if (bar != std::string_view::npos) {
    InstrumentPtr instrument = list_.Find("@" + std::string(reference.substr(0, bar)));
    if (!instrument || !instrument->Channels()) return nullptr;
    try {
      return instrument->Channels()->Item(std::string(reference.substr(bar + 1)));
    } catch (const Error&) {
      return nullptr;
    }
  }
  for (const auto& entry : list_) {
    auto channels = entry.item->Channels();
    for (int16_t j = 1; channels && j <= channels->Count(); ++j)
      if (channels->Item(j)->Alias() == reference) return channels->Item(j);
  }
  return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Add

InstrumentPtr clsSchemeInstruments::Add(InstrumentPtr instrument) {
  Add(instrument, std::nullopt, std::nullopt);
  if (instrument && list_.PositionOfItem(instrument.get()) > 0) return instrument;
  return nullptr;
}

bool clsSchemeInstruments::Add(InstrumentPtr instrument,
                               const std::optional<corvale::Index>& before,
                               const std::optional<corvale::Index>& after) {
  try {
    return AddSteps(instrument, before, after);
  } catch (...) {
    const Error failure = ErrorFromException(std::current_exception());
    LogError(failure.number(), failure.description(), "Corvale:clsSchemeInstruments:Add");
    return false;
  }
}

bool clsSchemeInstruments::AddSteps(const InstrumentPtr& instrument,
                                    const std::optional<corvale::Index>& before,
                                    const std::optional<corvale::Index>& after) {
  if (!instrument) throw Error(err::kObjectNotSet);
  const std::string source(kAddSource);
  errors_->Clear();
  if (listener_) Reindex();  // the listener may look at any member

  std::string key;
  if (instrument->SingleUse()) {
    key = instrument->CatCode();
  } else {
    const int16_t n = NextInstance(instrument->CatCode());
    instrument->Instance(n);
    instrument->Name(instrument->Name() + " #" + IntegerText(n));
    key = instrument->CatCode() + "_" + Format00(n);
  }
  std::erase(key, ' ');
  instrument->Key(key);

  const ObjectPtr scheme = Scheme();
  instrument->Install(scheme);

  const ObjectPtr loggerObject = SchemeMember("Logger");
  const auto logger = std::dynamic_pointer_cast<clsLoggerDef>(loggerObject);
  if (logger && instrument->LoggerTypes() != -1 &&
      (instrument->LoggerTypes() & logger->LoggerType()) == 0) {
    AddError("Invalid logger type", err::kAddBase, source, true);
    return false;
  }
  if (instrument->SingleUse() && InstrumentExists(instrument->CatCode())) {
    AddError("Only one instance of this instrument can be used in a scheme", err::kAdd1, source,
             true);
    return false;
  }
  if (logger && !logger->Resources()->Available(instrument->Resources())) {
    AddError("The instrument requires resources that are not available on the logger", err::kAdd3,
             source, true);
    return false;
  }

  std::vector<InstrumentPtr> buddies;
  if (auto references = instrument->Buddies(); references && references->Count() >= 1) {
    const ObjectPtr libraries = SchemeMember("Libraries");
    for (int16_t i = 1; i <= references->Count(); ++i) {
      const std::string reference = references->Item(i);
      InstrumentPtr buddy;
      try {
        const size_t bar = reference.find('|');
        const ObjectPtr library = libraries->Invoke("Item", {reference.substr(0, bar)}).ToObject();
        const std::string code = bar == std::string::npos ? "" : reference.substr(bar + 1);
        buddy = library->Invoke("Item", {code}).ToObjectAs<IInstrument>();
      } catch (...) {
        // Looked up with errors suppressed: a buddy that cannot be had is reported below.
      }
      if (buddy) {
        buddies.push_back(std::move(buddy));
      } else {
        AddError("Unable to load buddy instrument " + reference, err::kAdd6, source, false);
      }
    }
  }

  if (!PlaceChannels(instrument, loggerObject, key)) return false;
  if (logger) logger->Resources()->Allocate(key, instrument->Resources());

  std::optional<corvale::Index> listBefore, listAfter;
  if (before) {
    listBefore = ListIndex(*before);
  } else if (after) {
    listAfter = ListIndex(*after);
  }
  const int16_t position = list_.Add(instrument, "@" + key, listBefore, listAfter);
  KeyIn(key);
  InstrumentPtr successor;
  if (position == list_.Count()) {
    instrument->Index(list_.Count());
  } else {
    IndexStaleFrom(position);
    Reindex();
    if (instrument->Index() < list_.Count()) successor = list_.Item(instrument->Index() + 1);
  }

  xml::Node element = instrument->XMLNode();
  if (!element) {
    element = CreateElement("INSTRUMENT");
    instrument->XMLNode(element);
    SetNodeText(element, "SOURCE", instrument->Source());
  }
  if (successor) {
    node_.insertBefore(element, successor->XMLNode());
  } else {
    node_.appendChild(element);
  }

  if (scheme) {
    MoveOutputs(instrument, scheme);
    MoveEvents(instrument, scheme);
  }

  instrument->Load();
  if (!disable_events_ && listener_) listener_->InstrumentAdded(instrument);

  // Each buddy's Add starts with an empty error list, so the result speaks for the last one.
  for (const InstrumentPtr& buddy : buddies) Add(buddy, std::nullopt, std::nullopt);

  SetNodeText(instrument->XMLNode(), "INSTALLED", "-1");
  return errors_->Count() == 0;
}

bool clsSchemeInstruments::PlaceChannels(const InstrumentPtr& instrument,
                                         const ObjectPtr& loggerObject, const std::string& key) {
  const auto logger = std::dynamic_pointer_cast<clsLoggerDef>(loggerObject);
  auto channels = instrument->Channels();
  if (!channels) return true;
  for (int16_t j = 1; j <= channels->Count(); ++j) {
    const InstChannelPtr channel = channels->Item(j);
    const std::string alias = channel->Alias();
    channel->Alias(GetUniqueAlias(alias.empty() ? channel->Key() : alias));
    if (!channel->Enabled() || channel->ChannelType() == 0 || !logger) continue;

    const LoggerInputChannelsPtr inputs = logger->InputChannels();
    const std::string wanted = channel->LoggerChannel();
    InputChannelPtr given;
    if (!wanted.empty()) {
      try {
        given = inputs->Item(wanted);
      } catch (const Error&) {
      }
      if (!given) {
        AddError("The specified channel can't be found on the logger", err::kAdd4,
                 std::string(kAddSource), true);
        return false;
      }
    } else {
      given = inputs->NextChannel(channel->ChannelType(), channel->Maximum(), channel->Minimum());
      if (!given) {
        AddError("There are no more available channels", err::kAdd5, std::string(kAddSource),
                 false);
        continue;
      }
    }
    inputs->Allocate(key, given->Key());
    channel->LoggerChannel(given);
  }
  return true;
}

void clsSchemeInstruments::MoveOutputs(const InstrumentPtr& instrument, const ObjectPtr& scheme) {
  auto outputs = instrument->Outputs();
  if (!outputs) return;
  const ObjectPtr schemeOutputs = scheme->Invoke("Outputs").ToObject();
  for (int16_t i = 1; i <= outputs->Count(); ++i) {
    const OutputPtr output = outputs->Item(i);
    if (!output->LoadToScheme()) continue;
    if (output->KeyUnique()) {
      if (!OutputKeyFree(schemeOutputs, output->Key())) continue;
    } else {
      output->Key(output->Parent() + "|" + output->Key());
      output->Name(output->Name() + " #" + IntegerText(instrument->Instance()));
    }
    schemeOutputs->Invoke("Add", {output});
    if (listener_) listener_->OutputAdded(output);
  }
  for (int16_t i = outputs->Count(); i >= 1; --i)
    if (outputs->Item(i)->LoadToScheme()) outputs->Remove(i);
}

void clsSchemeInstruments::MoveEvents(const InstrumentPtr& instrument, const ObjectPtr& scheme) {
  auto events = instrument->Events();
  if (!events) return;
  const ObjectPtr schemeEvents = scheme->Invoke("Events").ToObject();
  for (int16_t i = 1; i <= events->Count(); ++i) {
    const EventPtr event = events->Item(i);
    if (!event->LoadToScheme()) continue;
    if (event->KeyUnique()) {
      // Unlike outputs, no check first: an event whose key the scheme has is dropped quietly.
      try {
        schemeEvents->Invoke("Add", {event});
      } catch (...) {
      }
    } else {
      event->Key(instrument->Key() + "|" + event->Key());
      schemeEvents->Invoke("Add", {event});
    }
    if (listener_) listener_->EventAdded(event);
  }
  for (int16_t i = events->Count(); i >= 1; --i)
    if (events->Item(i)->LoadToScheme()) events->Remove(i);
}

// ---------------------------------------------------------------------------------------------
// Remove

void clsSchemeInstruments::Remove(const corvale::Index& index, bool query) {
  const corvale::Index at = ListIndex(index);
  const InstrumentPtr instrument = list_.Item(at);
  if (query) {
    if (!instrument->QueryUninstall()) return;
    bool cancel = false;
    Reindex();
    if (listener_) listener_->BeforeRemove(instrument, cancel);
    if (cancel) return;
  }
  const std::string key = instrument->Key();

  const auto logger = std::dynamic_pointer_cast<clsLoggerDef>(SchemeMember("Logger"));
  if (logger) {
    logger->Resources()->Deallocate(key, instrument->Resources());
    auto channels = instrument->Channels();
    for (int16_t j = 1; channels && j <= channels->Count(); ++j) {
      const std::string name = channels->Item(j)->LoggerChannel();
      if (!name.empty()) logger->InputChannels()->Deallocate(key, name);
    }
  }

  if (const ObjectPtr scheme = Scheme()) {
    for (const char* member : {"Outputs", "Events"}) {
      LateList list(scheme->Invoke(member).ToObject());
      for (int32_t i = list.Count(); i >= 1; --i)
        if (list.Item(i)->Invoke("Parent").ToString() == key) list.Remove(i);
    }
    // The last buffer is left out: that bound is what users' schemes were saved with.
    if (auto buffers =
            std::dynamic_pointer_cast<clsLogBuffers>(scheme->Invoke("LogBuffers").ToObject())) {
      for (int16_t b = 1; b <= buffers->Count() - 1; ++b)
        buffers->Item(b)->LogEntries()->RemoveEntriesOf(key);
    }
  }

  // The key may still stand on resources that no request of the instrument accounts for.
  if (logger) logger->Resources()->ReleaseUser(key);

  const int16_t position = list_.PositionOf(at);
  const std::string listKey = list_.KeyAt(position);
  xml::Node element = instrument->XMLNode();
  if (element && element.parentNode() == node_) node_.removeChild(element);
  list_.Remove(position);
  KeyOut(listKey.substr(1));
  instrument->Index(0);
  instrument->UnInstall();
  IndexStaleFrom(position);
  if (!disable_events_ && listener_) {
    Reindex();
    listener_->InstrumentRemoved(instrument);
  }
}

void clsSchemeInstruments::Clear() {
  while (list_.Count() > 0) Remove(1, false);
}

bool clsSchemeInstruments::Load(const std::string& /*fileName*/) { return false; }

bool clsSchemeInstruments::Save(const std::string& /*fileName*/) {
  Save();
  return errors_->Count() == 0;
}

// ---------------------------------------------------------------------------------------------
// Loading a saved scheme

void clsSchemeInstruments::XMLNode(xml::Node value) {
  if (value == node_) return;
  ResetList();
  node_ = std::move(value);
  for (const xml::Node& element : node_.selectNodes("INSTRUMENT")) LoadElement(element);
  for (const auto& entry : list_) {
    try {
      entry.item->Load();
    } catch (...) {
      AddError("Instrument Load method failed", err::kSchemeLoad, std::string(kLoadSource), false);
    }
  }
  RefreshAliasCache();
}

void clsSchemeInstruments::LoadElement(const xml::Node& element) {
  // Every statement runs even after one failed, each failure one entry with the text of the
  // step it belongs to, as a half-loaded scheme is still opened and shown to the user.
  const std::string baseClass = GetNodeText(element, "BASECLASS", "Corvale2.clsStdInstrument");
  InstrumentPtr instrument;
  std::string_view message;
  auto step = [&](std::string_view text, const auto& statement) {
    message = text;
    try {
      statement();
    } catch (...) {
      AddError(std::string(message), err::kSchemeLoad, std::string(kLoadSource), false);
    }
  };
  auto need = [&] {
    if (!instrument) throw Error(err::kObjectNotSet);
  };
  step("Unable to create the instrument base class " + baseClass, [&] {
    if (WildcardMatch(baseClass, "*.*|*")) {
      const size_t bar = baseClass.find('|');
      auto library =
          std::dynamic_pointer_cast<IInstruments>(CreateObject(baseClass.substr(0, bar)));
      if (!library) throw Error(err::kTypeMismatch);
      instrument = library->Item(baseClass.substr(bar + 1));
    } else {
      instrument = std::dynamic_pointer_cast<IInstrument>(CreateObject(baseClass));
    }
    need();
  });
  step("Instrument failed to load the XML node", [&] {
    need();
    instrument->XMLNode(element);
  });
  const std::string install = "Instrument Install method failed";
  step(install, [&] {
    need();
    instrument->Install(Scheme());
  });
  step(install, [&] {
    need();
    list_.Add(instrument, "@" + instrument->Key());
    KeyIn(instrument->Key());
  });
  step(install, [&] {
    need();
    instrument->Index(list_.Count());
  });
}

// ---------------------------------------------------------------------------------------------
// Late-bound members

Variant clsSchemeInstruments::Invoke(std::string_view member, const Args& args) {
  Reindex();
  const std::string name = UpperCase(member);
  if (name == "ADD") {
    const Placement placement = PlacementArgs(args);
    return Add(args[0].ToObjectAs<IInstrument>(), placement.before, placement.after);
  }
  if (name == "REMOVE") {
    if (args.empty() || args.size() > 2) throw Error(err::kInvalidProcedureCall);
    Remove(IndexArg(args[0]), args.size() > 1 && args[1].ToBool());
    return {};
  }
  if (name == "SAVE" && args.empty()) {
    Save();
    return {};
  }
  if (name == "BEFOREWRITE") return BeforeWrite();
  if (name == "BEFORECOMPILE") return BeforeCompile();
  if (name == "REFRESHALIASCACHE") {
    RefreshAliasCache();
    return {};
  }
  if (name == "GETUNIQUEALIAS" && args.size() == 1) return GetUniqueAlias(args[0].ToString());
  if (name == "RESOLVECHANNEL" && args.size() == 1)
    return Variant(ObjectPtr(ResolveChannel(args[0].ToString())));
  if (name == "NOTIFYCHANGE") {
    NotifyChange(args.empty() ? Variant() : args[0]);
    return {};
  }
  if (name == "ERRORS") return Variant(errors_);
  if (name == "SCHEME") {
    if (args.empty()) return Variant(Scheme());
    Scheme(args[0].ToObject());
    return {};
  }
  if (name == "LANGUAGE") {
    if (args.empty()) return language_;
    Language(args[0]);
    return {};
  }
  if (name == "DISABLEEVENTS" || name == "CHANGED") {
    bool& flag = name == "CHANGED" ? changed_ : disable_events_;
    if (args.empty()) return flag;
    flag = args[0].ToBool();
    return {};
  }
  if (name == "SHOWSETUP" && (args.size() == 2 || args.size() == 3)) {
    bool flag = args.size() == 3 && args[2].ToBool();
    ShowSetup(args[0].IsEmpty() ? 0 : args[0].ToInt32(), IndexArg(args[1]), flag);
    return Variant(flag);
  }
  return IInstruments::Invoke(member, args);
}

}  // namespace corvale

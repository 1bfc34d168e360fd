// clsSchemeInstruments: the instruments placed in one scheme, in the order of their INSTRUMENT
// elements. Adding one gives it a scheme key, checks it against the scheme's logger, allocates
// logger channels and resources, makes its channel aliases unique and moves its scheme-level
// outputs and events into the scheme; removing it gives all of that back. Problems go to
// Errors instead of being raised. The scheme object is reached by member name (Logger,
// Libraries, Outputs, Events, LogBuffers, SchemePath, SchemeName), so any host object serves.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "corvale/core/keyed_collection.h"
#include "corvale/core/listener.h"
#include "corvale/libraries/instruments.h"
#include "corvale/scheme/errors.h"

namespace corvale {

class clsInstChannel;

// The alias key of the alias cache: "x" and the two-digit upper-case hex windows-1252 code of
// every character, so that aliases differing only in case are different aliases ("Ab" ->
// "x4162").
std::string AliasKey(std::string_view alias);
// The alias without its trailing digits, and the digits. All digits (or empty): both empty.
std::pair<std::string, std::string> SplitTrailingNumber(std::string_view alias);

class clsSchemeInstruments : public IInstruments {
 public:
  clsSchemeInstruments();
  ~clsSchemeInstruments() override;

  // IInstruments. Name, Description, EditMode, Provider, Source, Version and Visibility are
  // kept in memory; the set has no icon and is no file (Load answers false).
  std::string Name() const override { return name_; }
  void Name(std::string value) override { name_ = std::move(value); }
  std::string Description() const override { return description_; }
  void Description(std::string value) override { description_ = std::move(value); }
  PicturePtr Icon() const override { return nullptr; }
  int16_t Count() const override { return list_.Count(); }
  // A position, or a scheme key (looked up as "@" + key); raises 9 when there is none.
  InstrumentPtr Item(const corvale::Index& index) override;
  InstrumentPtr LibraryItem(const corvale::Index& index) override { return Item(index); }
  int32_t EditMode() const override { return edit_mode_; }
  void EditMode(int32_t value) override { edit_mode_ = value; }
  std::string Provider() const override { return provider_; }
  void Provider(std::string value) override { provider_ = std::move(value); }
  std::string Source() const override { return source_; }
  void Source(std::string value) override { source_ = std::move(value); }
  float Version() const override { return version_; }
  void Version(float value) override { version_ = value; }
  int32_t Visibility() const override { return visibility_; }
  void Visibility(int32_t value) override { visibility_ = value; }
  // The scheme's INSTRUMENTS element. Setting it loads the saved instruments: each is made
  // again from its BASECLASS, installed and loaded; failures go to Errors and loading goes on.
  xml::Node XMLNode() const override {
    Reindex();
    return node_;
  }
  void XMLNode(xml::Node value);

  // Places an instrument in the scheme, at the end or before/after the member with a scheme
  // key. True when Errors is empty afterwards; a fatal check stops it with nothing rolled back.
  bool Add(InstrumentPtr instrument, const std::optional<corvale::Index>& before,
           const std::optional<corvale::Index>& after = std::nullopt);
  // The interface's Add: the instrument when it is in the set afterwards, else null.
  InstrumentPtr Add(InstrumentPtr instrument) override;
  // Removes a member (position or scheme key; raises 9 when there is none) and gives back
  // what it held. With query set the instrument and the listener may refuse.
  void Remove(const corvale::Index& index, bool query);
  void Remove(const corvale::Index& index) override { Remove(index, false); }
  void Clear() override;
  bool Load(const std::string& fileName) override;
  // Runs the Save pass; the set is saved with the scheme's document. True without errors.
  bool Save(const std::string& fileName) override;
  std::string ClassName() const override { return "Corvale2.clsSchemeInstruments"; }

  // The errors of the last operation.
  ErrorsPtr Errors() const { return errors_; }
  // The owning scheme; a link up the tree, so the scheme must outlive its use here.
  ObjectPtr Scheme() const { return scheme_.lock(); }
  void Scheme(ObjectPtr value) { scheme_ = value; }
  Variant Language() const { return language_; }
  void Language(Variant value) { language_ = std::move(value); }
  // While set, the added, removed and changed notifications are not raised.
  bool DisableEvents() const { return disable_events_; }
  void DisableEvents(bool value) { disable_events_ = value; }
  bool Changed() const { return changed_; }
  void Changed(bool value) { changed_ = value; }
  SchemeListenerPtr Listener() const { return listener_; }
  void Listener(SchemeListenerPtr value) { listener_ = std::move(value); }
  void NotifyChange(const Variant& change);

  // Rebuilds the alias cache from every member's channels; each duplicate is an error.
  void RefreshAliasCache();
  // The alias when it is not in use in the scheme, else its stem with the first free number;
  // the result is recorded as in use.
  std::string GetUniqueAlias(std::string_view alias);
  // The channel named "instrument key|channel key", or else the first channel (in scheme
  // order) whose alias is the text exactly; null when there is none.
  std::shared_ptr<clsInstChannel> ResolveChannel(std::string_view reference);

  // The passes: every member's hook in order; a failing hook is an error and the pass goes
  // on. Save first rebuilds the alias cache. BeforeWrite and BeforeCompile answer whether
  // Errors is empty afterwards.
  void Save();
  bool BeforeWrite();
  bool BeforeCompile();
  // Opens a member's setup: a program (a drive path after the path macros are expanded), a
  // setup-form class ("library.class" or "library.class|argument": an ISetupForm, reached by
  // member name; its Language is set and Show(instrument, flag[, argument]) is called, and a
  // boolean answer becomes the flag), or the default form. Raises 9 for an unknown member.
  // Called by member name, it answers the flag as it stands afterwards.
  void ShowSetup(int64_t ownerWindow, const corvale::Index& index, bool& flag);
  // The SetupForm text with its path macros expanded.
  std::string ExpandSetupMacros(std::string_view text) const;
  // How a program is started (default: the command line through /bin/sh, not waited for),
  // and how the default setup form is shown (default: nothing is shown).
  using ProgramRunner = std::function<void(const std::string& commandLine)>;
  using DefaultForm = std::function<void(int64_t owner, const InstrumentPtr&, bool& flag)>;
  void SetProgramRunner(ProgramRunner runner) { run_program_ = std::move(runner); }
  void SetDefaultForm(DefaultForm form) { default_form_ = std::move(form); }

  // Writes INDEX = position into every member whose INDEX is out of date. Removing members
  // leaves the later ones to this, so that emptying a scheme from the front costs one pass
  // instead of one per member; the set runs it before anything is read through it (Item,
  // XMLNode, the passes, ShowSetup, late-bound calls) and before it notifies its listener.
  // A host that reads Index of an instrument it holds runs it first.
  void Reindex() const;

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  bool AddSteps(const InstrumentPtr& instrument, const std::optional<corvale::Index>& before,
                const std::optional<corvale::Index>& after);
  bool PlaceChannels(const InstrumentPtr& instrument, const ObjectPtr& logger,
                     const std::string& key);
  void MoveOutputs(const InstrumentPtr& instrument, const ObjectPtr& scheme);
  void MoveEvents(const InstrumentPtr& instrument, const ObjectPtr& scheme);
  void LoadElement(const xml::Node& element);
  template <class Hook>
  void Pass(Hook hook, std::string_view suffix);

  void AddError(std::string description, int32_t number, std::string source, bool fatal);
  int16_t NextInstance(const std::string& catCode) const;
  bool InstrumentExists(const std::string& key) const;
  bool OutputKeyFree(const ObjectPtr& outputs, const std::string& key) const;
  // INDEX of the members from position on is stale until the next Reindex().
  void IndexStaleFrom(int16_t position);
  corvale::Index ListIndex(const corvale::Index& index) const;
  // A member joined or left the list under its scheme key: the key and instance indexes.
  void KeyIn(const std::string& key);
  void KeyOut(const std::string& key);
  void ResetList();
  ObjectPtr SchemeMember(std::string_view member) const;

  KeyedCollection<IInstrument> list_;
  ErrorsPtr errors_ = std::make_shared<clsErrors>();
  std::weak_ptr<Object> scheme_;
  xml::Node node_;
  SchemeListenerPtr listener_;
  Variant language_;
  bool disable_events_ = false;
  bool changed_ = false;
  mutable int16_t stale_from_ = 0;  // 0: every INDEX is up to date

  // Alias key -> alias, and per stem the number below which every candidate is taken (the
  // cache only grows until it is rebuilt, so the numbers stay true).
  std::unordered_map<std::string, std::string> aliases_;
  std::unordered_map<std::string, int64_t> alias_hints_;
  // Scheme keys of the members (exact case), and for every text before an underscore of a
  // key, the instance numbers of the keys it starts: NextInstance without a walk.
  std::unordered_map<std::string, int32_t> keys_;
  std::unordered_map<std::string, std::multiset<int64_t>> instances_;

  ProgramRunner run_program_;
  DefaultForm default_form_;

  std::string name_, description_, provider_, source_;
  int32_t edit_mode_ = 0;
  float version_ = 0;
  int32_t visibility_ = -1;
};

using SchemeInstrumentsPtr = std::shared_ptr<clsSchemeInstruments>;

}  // namespace corvale

// The passes of clsSchemeInstruments (Save, BeforeWrite, BeforeCompile) and ShowSetup.
#include <exception>
#include <string>
#include <utility>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/error_sink.h"
#include "corvale/core/host.h"
#include "corvale/core/registry.h"
#include "corvale/process/child_process.h"
#include "corvale/scheme/scheme_instruments.h"

namespace corvale {

namespace {

void ReplaceAll(std::string& text, std::string_view macro, std::string_view value) {
  for (size_t at = text.find(macro); at != std::string::npos;
       at = text.find(macro, at + value.size()))
    text.replace(at, macro.size(), value);
}

}  // namespace

template <class Hook>
void clsSchemeInstruments::Pass(Hook hook, std::string_view suffix) {
  const std::string outside = "clsSchemeInstruments:" + std::string(suffix);
  Reindex();
  for (int16_t i = 1; i <= list_.Count(); ++i) {
    InstrumentPtr instrument;
    try {
      instrument = list_.Item(i);
      hook(*instrument);
    } catch (...) {
      const std::exception_ptr failure = std::current_exception();
      std::string source = outside;
      if (instrument) {
        try {
          source = instrument->Name() + "-" + instrument->Description() + ":" + std::string(suffix);
        } catch (...) {
          // An instrument that cannot even name itself is reported as the set's failure.
        }
      }
      ReportFailure(*errors_, failure, source, false);
    }
  }
}

void clsSchemeInstruments::Save() {
  try {
    RefreshAliasCache();
  } catch (...) {
    ReportFailure(*errors_, std::current_exception(), "clsSchemeInstruments:Save()", false);
  }
  Pass([](IInstrument& instrument) { instrument.Save(); }, "Save()");
}

bool clsSchemeInstruments::BeforeWrite() {
  Pass([](IInstrument& instrument) { instrument.BeforeWrite(); }, "BeforeWrite()");
  return errors_->Count() == 0;
}

bool clsSchemeInstruments::BeforeCompile() {
  Pass([](IInstrument& instrument) { instrument.BeforeCompile(); }, "BeforeCompile()");
  return errors_->Count() == 0;
}

std::string clsSchemeInstruments::ExpandSetupMacros(std::string_view text) const {
  std::string expanded(text);
  std::string schemePath, schemeName;
  if (const ObjectPtr scheme = Scheme()) {
    schemePath = scheme->Invoke("SchemePath").ToString();
    schemeName = scheme->Invoke("SchemeName").ToString();
  }
  ReplaceAll(expanded, "$(SCHEME)", schemePath + schemeName);
  ReplaceAll(expanded, "$(SCHEMENAME)", schemeName);
  if (expanded.find("$(WINDIR)") != std::string::npos) {
    // The Windows folder keeps its case and always gets a backslash; the system folder below
    // is upper-cased and gets one only when it lacks it. Both as users' setup forms expect.
    std::string windows = Host().WindowsFolderName().substr(0, 255);
    ReplaceAll(expanded, "$(WINDIR)", windows + "\\");
  }
  if (expanded.find("$(WINSYSDIR)") != std::string::npos) {
    std::string system = Host().SystemFolderName().substr(0, 255);
    system = system.substr(0, system.find('\0'));
    if (!system.empty()) {
      system = std::string(TrimRightBlanks(system));
      if (system.empty() || system.back() != '\\') system += "\\";
      system = UpperCase(system);
    }
    ReplaceAll(expanded, "$(WINSYSDIR)", system);
  }
  return expanded;
}

void clsSchemeInstruments::ShowSetup(int64_t ownerWindow, const corvale::Index& index, bool& flag) {
  // Unlike Item and Remove, a key that already starts with "@" is taken as it is.
  corvale::Index at = index;
  if (index.IsKey() && (index.Key().empty() || index.Key()[0] != '@'))
    at = corvale::Index("@" + index.Key());
  Reindex();
  const InstrumentPtr member = list_.Item(at);

  const std::string form = member->SetupForm();
  if (flag || form.empty()) {
    if (default_form_) default_form_(ownerWindow, member, flag);
    return;
  }
  const std::string expanded = ExpandSetupMacros(form);
  if (WildcardMatch(expanded, "?:\\*")) {
    if (run_program_) {
      run_program_(expanded);
    } else if (!ChildProcess::StartDetached(expanded)) {
      throw Error(err::kFileNotFound, "Cannot run " + expanded);
    }
    return;
  }
  if (!WildcardMatch(form, "*.*")) return;
  std::string className = form;
  Args showArgs = {Variant(ObjectPtr(member)), Variant(flag)};
  if (WildcardMatch(form, "*|*")) {
    // The argument is the second "|" field only: "lib.Form|a|b" passes "a".
    const size_t bar = form.find('|');
    className = form.substr(0, bar);
    showArgs.emplace_back(form.substr(bar + 1, form.find('|', bar + 1) - bar - 1));
  }
  const ObjectPtr setupForm = CreateObject(className);
  try {
    setupForm->Invoke("Language", {language_});
  } catch (const Error&) {
    // A form without a language setting shows in its own.
  }
  const Variant answer = setupForm->Invoke("Show", showArgs);
  if (answer.IsBool()) flag = answer.ToBool();
}

}  // namespace corvale

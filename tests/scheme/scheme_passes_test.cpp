#include <gtest/gtest.h>

#include "corvale/core/registry.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/std_instrument.h"
#include "tests/scheme/scheme_fixture.h"

namespace corvale {
namespace {

using test::ErrorLines;
using test::MakeScheme;

// An instrument whose hooks fail as a broken loader would make them.
class FailingInstrument : public clsStdInstrument {
 public:
  bool Save() override {
    ++saves;
    if (fail) throw Error(75, "Disk full " + Name());
    return true;
  }
  bool BeforeWrite() override { throw Error(err::kInvalidProcedureCall); }
  bool BeforeCompile() override { return true; }
  int saves = 0;
  bool fail = true;
};

std::shared_ptr<FailingInstrument> Failing(const std::string& name, const std::string& code) {
  auto instrument = std::make_shared<FailingInstrument>();
  instrument->Name(name);
  instrument->CatCode(code);
  instrument->Description("Broken");
  instrument->LoggerTypes(-1);
  return instrument;
}

TEST(SchemePasses, FailingHooksBecomeErrorsInListOrderAndThePassGoesOn) {
  auto s = MakeScheme();
  auto& set = *s->instruments;
  set.Save();  // no instruments: nothing called, no error
  EXPECT_TRUE(set.BeforeCompile());
  EXPECT_EQ(set.Errors()->Count(), 0);

  auto a = Failing("Alpha", "A");
  auto b = Failing("Beta", "B");
  auto ok = Failing("Gamma", "G");
  ok->fail = false;
  set.Add(a, std::nullopt);
  set.Add(ok, std::nullopt);
  set.Add(b, std::string("G_01"));  // before Gamma
  set.Save();
  EXPECT_EQ(ok->saves, 1);
  ASSERT_EQ(set.Errors()->Count(), 2);
  EXPECT_EQ(set.Errors()->Item(1)->Source(), "Alpha #1-Broken:Save()");
  EXPECT_EQ(set.Errors()->Item(1)->Number(), 75);
  EXPECT_EQ(set.Errors()->Item(1)->Description(), "Disk full Alpha #1");
  EXPECT_EQ(set.Errors()->Item(2)->Source(), "Beta #1-Broken:Save()");
  EXPECT_FALSE(set.Errors()->Fatal());

  // The passes do not clear the list: entries pile up until the next Add.
  EXPECT_FALSE(set.BeforeWrite());
  ASSERT_EQ(set.Errors()->Count(), 5);
  EXPECT_EQ(set.Errors()->Item(3)->Source(), "Alpha #1-Broken:BeforeWrite()");
  EXPECT_EQ(set.Errors()->Item(5)->Number(), err::kInvalidProcedureCall);
  EXPECT_FALSE(set.BeforeCompile());  // nothing new, but the list is not empty
  EXPECT_EQ(set.Errors()->Count(), 5);

  // Save rebuilds the alias cache first, each duplicate one entry.
  set.Errors()->Clear();
  a->fail = b->fail = false;
  auto probe = s->Take("TMP");
  set.Add(probe, std::nullopt);
  probe->Channels()->Item(2)->Alias("Temp");
  set.Save();
  EXPECT_EQ(ErrorLines(set), std::vector<std::string>{"800403EA - Duplicate alias 'Temp' found "
                                                      "in instrument 'Temperature #1"});
}

class RecordingForm : public Object {
 public:
  Variant Invoke(std::string_view member, const Args& args) override {
    std::string call(member);
    for (const Variant& arg : args)
      call += " " + (arg.IsObject() ? arg.ToObject()->Invoke("Key").ToString() : arg.ToString());
    calls().push_back(call);
    return member == "Show" ? Variant(true) : Variant();
  }
  static std::vector<std::string>& calls() {
    static std::vector<std::string> list;
    return list;
  }
};

TEST(SchemePasses, ShowSetupRunsProgramsAndFormsWithTheMacrosExpanded) {
  auto s = MakeScheme();
  auto& set = *s->instruments;
  set.Add(s->Take("TMP"), std::nullopt);
  auto probe = set.Item(1);
  std::vector<std::string> programs;
  set.SetProgramRunner([&](const std::string& command) { programs.push_back(command); });
  std::vector<std::string> defaults;
  set.SetDefaultForm([&](int64_t owner, const InstrumentPtr& instrument, bool&) {
    defaults.push_back(std::to_string(owner) + " " + instrument->Key());
  });

  bool flag = false;
  set.ShowSetup(7, "TMP_01", flag);  // no SetupForm: the default form
  probe->SetupForm("$(SCHEME).exe /n $(SCHEMENAME)");
  set.ShowSetup(0, "TMP_01", flag);
  set.ShowSetup(0, "@TMP_01", flag);
  flag = true;
  set.ShowSetup(8, 1, flag);  // the flag asks for the default form
  EXPECT_EQ(programs, std::vector<std::string>(2, "C:\\Data\\Site1.exe /n Site1"));
  EXPECT_EQ(defaults, (std::vector<std::string>{"7 TMP_01", "8 TMP_01"}));
  EXPECT_EQ(test::ErrorOf([&] { set.ShowSetup(0, "TMP_09", flag); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(test::ErrorOf([&] { set.ShowSetup(0, 2, flag); }), err::kSubscriptOutOfRange);

  RegisterClassOf<RecordingForm>("Test.Form");
  set.Language("fr");
  flag = false;
  probe->SetupForm("Test.Form|Wiring|spare");
  set.ShowSetup(0, "TMP_01", flag);
  EXPECT_TRUE(flag);  // the form's answer
  probe->SetupForm("Test.Form");
  EXPECT_EQ(set.Invoke("ShowSetup", {Variant(0), Variant("TMP_01"), Variant(false)}).ToBool(),
            true);
  probe->SetupForm("NoDotNoDrive");  // shows nothing
  set.ShowSetup(0, "TMP_01", flag);
  EXPECT_EQ(RecordingForm::calls(),
            (std::vector<std::string>{"Language fr", "Show TMP_01 False Wiring", "Language fr",
                                      "Show TMP_01 False"}));
  UnregisterClass("Test.Form");

  // The Windows folder keeps its case and always gets "\"; the system folder is upper-cased and
  // gets one only when it lacks it.
  setenv("CORVALE_WINDIR", "C:\\Win", 1);
  setenv("CORVALE_WINSYSDIR", "c:\\win\\sys  ", 1);
  EXPECT_EQ(set.ExpandSetupMacros("$(WINDIR)a $(WINSYSDIR)b $(WINDIR)"),
            "C:\\Win\\a C:\\WIN\\SYS\\b C:\\Win\\");
  setenv("CORVALE_WINDIR", "", 1);
  setenv("CORVALE_WINSYSDIR", "C:\\S\\", 1);
  EXPECT_EQ(set.ExpandSetupMacros("$(WINDIR)|$(WINSYSDIR)"), "\\|C:\\S\\");
  unsetenv("CORVALE_WINDIR");
  unsetenv("CORVALE_WINSYSDIR");
}

}  // namespace
}  // namespace corvale

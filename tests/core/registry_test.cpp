#include "corvale/core/registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>

#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

class Gauge : public Object {
 public:
  std::string Name() const { return name_; }
  void Name(std::string value) { name_ = std::move(value); }
  int16_t Range() const { return range_; }
  void Range(int16_t value) { range_ = value; }
  bool Reset() {
    range_ = 0;
    return true;
  }

  Variant Invoke(std::string_view member, const Args& args) override {
    static const MemberTable<Gauge> members = {
        {"Name", MemberTable<Gauge>::Property(&Gauge::Name, &Gauge::Name)},
        {"Range", MemberTable<Gauge>::Property(&Gauge::Range, &Gauge::Range)},
        {"Reset", MemberTable<Gauge>::Method(&Gauge::Reset)},
        {"", MemberTable<Gauge>::Getter(&Gauge::Name)},
    };
    return members.Invoke(*this, member, args);
  }

 private:
  std::string name_ = "gauge";
  int16_t range_ = 10;
};

TEST(Registry, NamesIgnoreCaseAndFailuresRaise429) {
  RegisterClassOf<Gauge>("Test.Gauge");
  EXPECT_TRUE(IsClassRegistered("TEST.gauge"));
  EXPECT_NE(std::dynamic_pointer_cast<Gauge>(CreateObject("test.GAUGE")), nullptr);

  std::string description;
  EXPECT_EQ(ErrorOf([] { CreateObject("Test.Missing"); }, &description), err::kCannotCreateObject);
  EXPECT_NE(description.find("Test.Missing"), std::string::npos);

  RegisterClass("Test.Broken", []() -> ObjectPtr { throw std::runtime_error("no"); });
  EXPECT_EQ(ErrorOf([] { CreateObject("Test.Broken"); }), err::kCannotCreateObject);
  RegisterClass("Test.Null", []() -> ObjectPtr { return nullptr; });
  EXPECT_EQ(ErrorOf([] { CreateObject("Test.Null"); }), err::kCannotCreateObject);

  UnregisterClass("TEST.GAUGE");
  EXPECT_FALSE(IsClassRegistered("Test.Gauge"));
}

// Run as the first use of the registry: exits 0 when the host's class replaced a built-in
// one and the other built-ins are there.
void RegisterBeforeFirstUse() {
  RegisterClassOf<Gauge>("corvale2.xmlinstruments");
  bool replaced =
      std::dynamic_pointer_cast<Gauge>(CreateObject("Corvale2.XMLInstruments")) != nullptr;
  bool builtIns = IsClassRegistered("Corvale2.clsLibraryInstruments");
  std::exit(replaced && builtIns ? 0 : 1);
}

TEST(Registry, HostRegistrationsMadeFirstSurviveTheBuiltIns) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process, a fresh registry
  EXPECT_EXIT(RegisterBeforeFirstUse(), ::testing::ExitedWithCode(0), "");
}

TEST(Invoke, MembersByNameWithoutRegardToCase) {
  Gauge gauge;
  EXPECT_EQ(gauge.Invoke("NAME", {}).ToString(), "gauge");
  gauge.Invoke("name", {Variant("probe")});
  EXPECT_EQ(gauge.Name(), "probe");
  EXPECT_EQ(gauge.Invoke("", {}).ToString(), "probe");  // the default value
  gauge.Invoke("Range", {Variant("2.5")});              // text converts, ties to even
  EXPECT_EQ(gauge.Range(), 2);
  EXPECT_TRUE(gauge.Invoke("reset", {}).ToBool());
  EXPECT_EQ(gauge.Range(), 0);

  EXPECT_EQ(ErrorOf([&] { gauge.Invoke("Missing", {}); }), err::kNotSupported);
  EXPECT_EQ(ErrorOf([&] { gauge.Invoke("Reset", {Variant(1)}); }), err::kInvalidProcedureCall);
  EXPECT_EQ(ErrorOf([&] { gauge.Invoke("Range", {Variant("70000")}); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([&] { gauge.Invoke("Range", {Variant("many")}); }), err::kTypeMismatch);

  Object plain;  // an object without members answers nothing, not even a default value
  EXPECT_EQ(ErrorOf([&] { plain.Invoke("Name"); }), err::kNotSupported);
  EXPECT_EQ(ErrorOf([&] { plain.Invoke(""); }), err::kNotSupported);
}

TEST(Invoke, VariantConversions) {
  EXPECT_EQ(Variant(true).ToString(), "True");
  EXPECT_EQ(Variant(1.5).ToString(), "1.5");
  EXPECT_EQ(Variant(true).ToInt16(), -1);
  EXPECT_EQ(Variant(3.5).ToInt32(), 4);
  EXPECT_TRUE(Variant("True").ToBool());
  EXPECT_FALSE(Variant("false").ToBool());
  EXPECT_EQ(ErrorOf([] { Variant("yes").ToBool(); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { Variant(5).ToObject(); }), err::kTypeMismatch);
  EXPECT_EQ(Variant().ToObject(), nullptr);
  auto gauge = std::make_shared<Gauge>();
  EXPECT_EQ(Variant(gauge).ToObjectAs<Gauge>(), gauge);
  EXPECT_EQ(ErrorOf([&] { Variant(gauge).ToString(); }), err::kTypeMismatch);
}

}  // namespace
}  // namespace corvale

#include "corvale/libraries/register_library.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "corvale/core/registry.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::RecordingHost;
using List = std::vector<std::string>;

class RegisterLibraryTest : public ::testing::Test {
 protected:
  std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
  ScopedHostServices scope{host};
  clsRegisterLibrary registrar;

  std::map<std::string, std::string>& Section() {
    return host->settings[RecordingHost::Section("Harbour", "Libraries")];
  }
  void Store(const std::map<std::string, std::string>& values) { Section() = values; }
};

TEST_F(RegisterLibraryTest, RegisteringCompactsAndRewritesTheList) {
  Store({{"COUNT", "3"}, {"LIB1", "A.X"}, {"LIB3", "B.X"}});
  EXPECT_FALSE(registrar.Register("Harbour", "Libraries", "C.X"));
  EXPECT_EQ(Section(), (std::map<std::string, std::string>{
                           {"COUNT", "3"}, {"LIB1", "A.X"}, {"LIB2", "B.X"}, {"LIB3", "C.X"}}));
  EXPECT_EQ(clsRegisterLibrary::StartupList("Harbour", "Libraries"), (List{"A.X", "B.X", "C.X"}));

  // Already there (in another case): nothing added, but the section is still rewritten.
  Store({{"COUNT", "4"}, {"LIB1", ""}, {"LIB2", "A.X"}, {"LIB4", "B.X"}, {"STALE", "1"}});
  host->deletedSections.clear();
  registrar.Register("Harbour", "Libraries", "a.x");
  EXPECT_EQ(host->deletedSections, (List{"Harbour|Libraries"}));
  EXPECT_EQ(Section(),
            (std::map<std::string, std::string>{{"COUNT", "2"}, {"LIB1", "A.X"}, {"LIB2", "B.X"}}));

  // Text without "." is no library identifier.
  registrar.Register("Harbour", "Libraries", "plainname");
  EXPECT_EQ(clsRegisterLibrary::StartupList("Harbour", "Libraries"), (List{"A.X", "B.X"}));
}

TEST_F(RegisterLibraryTest, UnreadableCountsStartAFreshList) {
  registrar.Register("Harbour", "Libraries", "/srv/libraries/site.xml");
  EXPECT_EQ(Section(), (std::map<std::string, std::string>{{"COUNT", "1"},
                                                           {"LIB1", "/srv/libraries/site.xml"}}));

  Store({{"COUNT", "many"}, {"LIB1", "A.X"}});
  registrar.Register("Harbour", "Libraries", "Vendor.Library");
  EXPECT_EQ(clsRegisterLibrary::StartupList("Harbour", "Libraries"), (List{"Vendor.Library"}));

  Store({{"COUNT", "70000"}, {"LIB1", "A.X"}});  // beyond 16 bits: no entries either
  EXPECT_TRUE(clsRegisterLibrary::StartupList("Harbour", "Libraries").empty());
  registrar.Register("Harbour", "Libraries", "B.X");
  EXPECT_EQ(Section()["COUNT"], "1");

  // Other sections and applications are left alone.
  host->settings[RecordingHost::Section("Harbour", "Other")]["COUNT"] = "9";
  registrar.Register("Harbour", "Libraries", "C.X");
  EXPECT_EQ(host->settings[RecordingHost::Section("Harbour", "Other")]["COUNT"], "9");

  // Hosts create it by class name and call it by member name.
  ObjectPtr late = CreateObject("Corvale2.clsRegisterLibrary");
  EXPECT_FALSE(late->Invoke("register", {"Harbour", "Libraries", "D.X"}).ToBool());
  EXPECT_EQ(clsRegisterLibrary::StartupList("Harbour", "Libraries").back(), "D.X");
}

}  // namespace
}  // namespace corvale

// A host program built against the installed library: parses a document, logs a failure
// through its own message box, and reads the settings store back.
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/log.h"
#include "corvale/xml/xml.h"

namespace {

class QuietHost : public corvale::HostServices {
 public:
  int boxes = 0;
  corvale::MsgAnswer MessageBox(std::string_view, std::string_view, corvale::MsgIcon,
                                corvale::MsgButtons) override {
    ++boxes;
    return corvale::MsgAnswer::OK;
  }
};

int Fail(const std::string& what) {
  std::cerr << "host app: " << what << "\n";
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return Fail("usage: app WORK_FOLDER");
  const std::string work = argv[1];
  setenv("XDG_CONFIG_HOME", (work + "/config").c_str(), 1);

  auto host = std::make_shared<QuietHost>();
  corvale::ScopedHostServices scoped(host);

  corvale::xml::Document document = corvale::xml::Document::create();
  if (!document.loadXML("<LOGGERS><LOGGER><NAME>Field unit</NAME></LOGGER></LOGGERS>")) {
    return Fail("loadXML: " + document.parseError().reason);
  }
  if (document.documentElement().selectSingleNode("LOGGER").text() != "Field unit") {
    return Fail("unexpected text");
  }

  corvale::ErrorTrap trap("hostapp:main");
  trap.Step([] { throw corvale::Error(corvale::err::kSubscriptOutOfRange); });
  corvale::LogError(5, "host check", "hostapp:main", work + "/host.log");
  if (host->boxes != 2) return Fail("expected two message boxes");

  corvale::Host().SaveSetting("HostApp", "Startup", "COUNT", "1");
  if (corvale::Host().GetSetting("HostApp", "startup", "count", "0") != "1") {
    return Fail("settings did not read back");
  }
  std::cout << "host app: ok\n";
  return 0;
}

// The XML tree against hostile documents: deep nesting, entity expansion, external entities.
#include <gtest/gtest.h>

#include <chrono>

#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale::xml {
namespace {

std::string Nested(int depth) {
  std::string s;
  for (int i = 0; i < depth; ++i) s += "<a>";
  for (int i = 0; i < depth; ++i) s += "</a>";
  return s;
}

TEST(XmlHostile, NestingDeeperThanTheLimitIsAParseError) {
  Document doc = Document::create();
  ASSERT_TRUE(doc.loadXML("<KEEP/>"));
  EXPECT_TRUE(Document::create().loadXML(Nested(kMaxDepth)));
  EXPECT_FALSE(doc.loadXML(Nested(kMaxDepth + 1)));
  EXPECT_NE(doc.parseError().errorCode, 0);
  EXPECT_NE(doc.parseError().reason.find("10000"), std::string::npos);
  EXPECT_EQ(doc.parseError().line, 1);
  EXPECT_EQ(doc.documentElement().nodeName(), "KEEP");
}

TEST(XmlHostile, EntityAmplificationIsRejected) {
  std::string laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY lol \"lol\">\n";
  for (int i = 1; i <= 9; ++i) {
    laughs += "<!ENTITY lol" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k)
      laughs += "&lol" + (i == 1 ? std::string() : std::to_string(i - 1)) + ";";
    laughs += "\">\n";
  }
  laughs += "]>\n<lolz>&lol9;</lolz>\n";
  Document doc = Document::create();
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(doc.loadXML(laughs));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_NE(doc.parseError().errorCode, 0);
  EXPECT_TRUE(doc.documentElement().isNull());

  // Ordinary internal entities still expand.
  ASSERT_TRUE(doc.loadXML("<!DOCTYPE r [<!ENTITY deg \"&#176;C\">]><r>25&deg;</r>"));
  EXPECT_EQ(doc.documentElement().text(),
            "25\xC2\xB0"
            "C");
}

TEST(XmlHostile, ExternalEntitiesAndDtdsAreNeverRead) {
  std::string secret = test::WriteFile("secret.txt", "SECRET");
  std::string dtd = test::WriteFile("evil.dtd", "<!ENTITY leak SYSTEM \"file://" + secret + "\">");
  Document doc = Document::create();
  std::string general =
      "<!DOCTYPE r [<!ENTITY ext SYSTEM \"file://" + secret + "\">]><r>[&ext;]</r>";
  if (doc.loadXML(general)) {
    EXPECT_EQ(doc.documentElement().text(), "[]");
  }
  std::string external = "<!DOCTYPE r SYSTEM \"file://" + dtd + "\"><r>[&leak;]</r>";
  if (doc.loadXML(external)) {
    EXPECT_EQ(doc.documentElement().text(), "[]");
  }
  std::string parameter =
      "<!DOCTYPE r [<!ENTITY % p SYSTEM \"file://" + dtd + "\"> %p;]><r>[&leak;]</r>";
  if (doc.loadXML(parameter)) {
    EXPECT_EQ(doc.documentElement().text(), "[]");
  }
  EXPECT_EQ(doc.xml().find("SECRET"), std::string::npos);
}

}  // namespace
}  // namespace corvale::xml

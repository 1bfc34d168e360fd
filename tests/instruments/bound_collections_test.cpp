// The shell that channels, events and outputs share: rebinding, generated keys, removal and
// the errors of a missing item, checked on all three so none drifts from the others.
#include <gtest/gtest.h>

#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/outputs.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

template <class C>
void CheckShell(const std::string& container, const std::string& child,
                const std::string& firstKey) {
  SCOPED_TRACE(container);
  C collection;
  EXPECT_EQ(collection.XMLNode().nodeName(), container);
  EXPECT_EQ(collection.Count(), 0);

  const std::string body = "<" + child + "/><" + child + "><KEY>B</KEY></" + child + ">";
  xml::Node old = ParseNode("<" + container + ">" + body + "</" + container + ">");
  collection.XMLNode(old);
  ASSERT_EQ(collection.Count(), 2);
  EXPECT_EQ(collection.Item(corvale::Index(1))->Key(), firstKey);
  EXPECT_EQ(ChildText(old.selectNodes(child)[0], "KEY"), firstKey);
  EXPECT_EQ(collection.Item(corvale::Index("b"))->Key(), "B");

  // Rebinding empties the collection only: the old element keeps its children.
  xml::Node fresh = ParseNode("<" + container + "/>");
  collection.XMLNode(fresh);
  EXPECT_EQ(collection.Count(), 0);
  EXPECT_EQ(old.selectNodes(child).size(), 2u);

  collection.XMLNode(old);
  EXPECT_EQ(ErrorOf([&] { collection.Remove(corvale::Index("missing")); }), 9);
  EXPECT_EQ(ErrorOf([&] { collection.Item(corvale::Index(3)); }), 9);
  EXPECT_EQ(collection.Count(), 2);
  collection.Remove(corvale::Index("B"));
  EXPECT_EQ(old.selectNodes(child).size(), 1u);
  collection.Clear();
  EXPECT_EQ(collection.Count(), 0);
  EXPECT_TRUE(old.selectNodes(child).empty());

  const std::string twin = "<" + child + "><KEY>A</KEY></" + child + ">";
  EXPECT_EQ(
      ErrorOf([&] {
        collection.XMLNode(ParseNode("<" + container + ">" + twin + twin + "</" + container + ">"));
      }),
      457);
}

TEST(BoundCollections, BindGenerateKeysRemoveAndClearAlike) {
  CheckShell<clsInstChannels>("CHANNELS", "CHANNEL", "CHAN_0");
  CheckShell<clsEvents>("EVENTS", "EVENT", "EVENT01");
  CheckShell<clsOutputs>("OUTPUTS", "OUTPUT", "OUT_0");
}

}  // namespace
}  // namespace corvale

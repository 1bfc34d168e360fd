#include "corvale/core/keyed_collection.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

struct Thing {
  std::string name;
};
using Things = KeyedCollection<Thing>;

std::shared_ptr<Thing> Make(std::string name) { return std::make_shared<Thing>(Thing{name}); }

// The names in order, joined: "a b c".
std::string Order(const Things& things) {
  std::string out;
  for (const auto& entry : things) out += (out.empty() ? "" : " ") + entry.item->name;
  return out;
}

TEST(KeyedCollection, KeysIgnoreCaseAndPositionsStartAtOne) {
  Things things;
  EXPECT_EQ(things.Add(Make("a"), "Chan_0"), 1);
  EXPECT_EQ(things.Add(Make("b")), 2);  // no key
  EXPECT_EQ(things.Add(Make("c"), "Temp_\xC3\xA4"), 3);
  EXPECT_EQ(things.Count(), 3);
  EXPECT_EQ(things.Item("CHAN_0")->name, "a");
  EXPECT_EQ(things.Item("temp_\xC3\x84")->name, "c");
  EXPECT_EQ(things.PositionOf("chan_0"), 1);
  EXPECT_EQ(things.KeyAt(1), "Chan_0");  // kept as given
  EXPECT_EQ(things.Find("nothing"), nullptr);
}

TEST(KeyedCollection, InsertsBeforeAndAfterByPositionOrKey) {
  Things things;
  things.Add(Make("a"), "A");
  things.Add(Make("c"), "C");
  EXPECT_EQ(things.Add(Make("b"), "B", Index("c")), 2);
  EXPECT_EQ(things.Add(Make("d"), "D", std::nullopt, Index(3)), 4);
  EXPECT_EQ(things.Add(Make("first"), "", Index(1)), 1);
  EXPECT_EQ(things.Add(Make("a2"), "", std::nullopt, Index("a")), 3);
  EXPECT_EQ(Order(things), "first a a2 b c d");
  // Key look-ups follow the shifted positions.
  EXPECT_EQ(things.PositionOf("C"), 5);
  EXPECT_EQ(things.Item("d")->name, "d");
}

TEST(KeyedCollection, ErrorNumbers) {
  Things things;
  things.Add(Make("a"), "A");
  things.Add(Make("b"), "B");
  EXPECT_EQ(ErrorOf([&] { things.Item(0); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { things.Item(3); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { things.Item("Z"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { things.Remove("Z"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { things.Add(Make("x"), "a"); }), err::kDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { things.Add(Make("x"), "X", Index("Z")); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { things.Add(Make("x"), "X", Index(1), Index(2)); }),
            err::kInvalidProcedureCall);
  // Failed adds leave the collection as it was.
  EXPECT_EQ(Order(things), "a b");
  EXPECT_FALSE(things.Exists("X"));
}

TEST(KeyedCollection, RemovalAndReKeyKeepLookUpsRight) {
  Things things;
  for (const char* name : {"a", "b", "c", "d"}) things.Add(Make(name), name);
  EXPECT_EQ(things.Remove("B")->name, "b");
  EXPECT_EQ(things.PositionOf("c"), 2);
  EXPECT_EQ(things.Item("d")->name, "d");
  things.Remove(3);
  EXPECT_EQ(Order(things), "a c");

  things.ReKey("c", "NEW");
  EXPECT_FALSE(things.Exists("c"));
  EXPECT_EQ(things.Item("new")->name, "c");
  things.ReKey(2, "new");  // the same key in another case is no clash with itself
  EXPECT_EQ(things.KeyAt(2), "new");
  EXPECT_EQ(ErrorOf([&] { things.ReKey(2, "A"); }), err::kDuplicateKey);
  things.ReKey(1, "");  // a key can be dropped, and given to another item then
  things.ReKey(2, "a");
  EXPECT_EQ(things.Item("A")->name, "c");
}

}  // namespace
}  // namespace corvale

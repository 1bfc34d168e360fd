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

// Generated keys are always the first free number, also after removals and re-keying, however
// the number is written ("CHAN_1" and "chan_1" are one key; "EVENT1" is not "EVENT01").
TEST(KeyedCollection, GeneratedKeysTakeTheFirstFreeNumber) {
  Things things;
  for (const char* key : {"CHAN_0", "chan_2", "CHAN_01", "X"}) things.Add(Make(key), key);
  EXPECT_EQ(things.FirstFreeKey("CHAN_"), "CHAN_1");
  things.Add(Make("1"), things.FirstFreeKey("CHAN_"));
  EXPECT_EQ(things.FirstFreeKey("Chan_"), "Chan_3");
  things.Remove("CHAN_01");  // not a generated form: frees nothing
  EXPECT_EQ(things.FirstFreeKey("CHAN_"), "CHAN_3");
  things.Remove("chan_0");
  EXPECT_EQ(things.FirstFreeKey("CHAN_"), "CHAN_0");
  things.ReKey("CHAN_1", "Y");
  things.Add(Make("0"), "CHAN_0");
  EXPECT_EQ(things.FirstFreeKey("CHAN_"), "CHAN_1");
  things.Add(Make("e"), "EVENT1");
  EXPECT_EQ(things.FirstFreeKey("EVENT", 1, true), "EVENT01");
  things.Clear();
  EXPECT_EQ(things.FirstFreeKey("CHAN_"), "CHAN_0");
}

// Positions, keys and order stay right through long runs of adds and removals anywhere (the
// slots keep holes and are compacted now and then).
TEST(KeyedCollection, LongEditRunsMatchASimpleList) {
  Things things;
  std::vector<std::string> model;
  uint32_t seed = 12345;
  auto next = [&] { return seed = seed * 1103515245u + 12345u, (seed >> 8); };
  for (int step = 0; step < 4000; ++step) {
    const uint32_t choice = next() % 10;
    const std::string key = "K" + std::to_string(step);
    if (choice < 5 || model.empty()) {
      things.Add(Make(key), key);
      model.push_back(key);
    } else if (choice < 7) {
      const size_t at = next() % model.size();
      EXPECT_EQ(things.Add(Make(key), key, Index(static_cast<int>(at + 1))), at + 1);
      model.insert(model.begin() + static_cast<std::ptrdiff_t>(at), key);
    } else if (choice < 9) {
      const size_t at = next() % model.size();
      EXPECT_EQ(things.Remove(model[at])->name, model[at]);
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    } else {
      const size_t at = next() % model.size();
      EXPECT_EQ(things.Remove(static_cast<int>(at + 1))->name, model[at]);
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    }
    ASSERT_EQ(things.Count(), static_cast<int16_t>(model.size()));
    if (!model.empty()) {
      const size_t probe = next() % model.size();
      ASSERT_EQ(things.Item(static_cast<int>(probe + 1))->name, model[probe]);
      ASSERT_EQ(things.PositionOf(LowerCase(model[probe])), static_cast<int16_t>(probe + 1));
    }
  }
  std::string order;
  for (const std::string& key : model) order += (order.empty() ? "" : " ") + key;
  EXPECT_EQ(Order(things), order);
  // Removals alone compact the slots without rebuilding the key index: every key must still
  // lead to its own item.
  while (!model.empty()) {
    EXPECT_EQ(things.Remove(1)->name, model.front());
    model.erase(model.begin());
    if (model.size() > 2) {
      ASSERT_EQ(things.Item(model.back())->name, model.back());
      ASSERT_EQ(things.PositionOf(model[1]), 2);
    }
  }
  EXPECT_TRUE(things.Empty());
}

}  // namespace
}  // namespace corvale

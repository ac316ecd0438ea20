// The tables that source indexes and parsers keep by identifier.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/provider/first_index.h"
#include "ostra/provider/view_map.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Map = std::map<std::string, int>;

TEST(FirstIndex, KeepsTheFirstEntryOfEachWholeKey) {
  // Keys differ only in length, a NUL or a last byte; the second map repeats every key.
  const std::vector<std::string> keys = {
      "", "a", std::string("a\0", 2), std::string("a\0b", 3), "ab", "b", "ba"};
  Map first, second;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    first[keys[i]] = static_cast<int>(i);
    second[keys[i]] = -1;
  }
  for (int i = 0; i < 2000; ++i)  // enough to grow the table several times
    first["key" + std::to_string(i)] = 100 + i;

  FirstIndex<Map::value_type> index;
  for (const auto& entry : first)
    EXPECT_TRUE(index.Insert(entry));
  for (const auto& entry : second)
    EXPECT_FALSE(index.Insert(entry));
  EXPECT_EQ(index.size(), first.size());
  for (const auto& entry : first)
    EXPECT_EQ(index.Find(entry.first), &entry) << entry.first;
  EXPECT_EQ(index.Find("c"), nullptr);
  EXPECT_EQ(index.Find(std::string("b\0", 2)), nullptr);
  EXPECT_EQ(FirstIndex<Map::value_type>().Find("a"), nullptr);
}

// Identifiers whose standard hashes agree in their low 12 bits: they share a home slot in any
// table of up to 4096 slots, as a document made to slow the parser down would name them.
std::vector<std::string> CollidingKeys(std::size_t count) {
  std::vector<std::string> keys;
  std::size_t lowBits = 0;
  for (int i = 0; keys.size() < count; ++i) {
    std::string key = "service" + std::to_string(i);
    const std::size_t hash = std::hash<std::string_view>()(key) & 0xfff;
    if (keys.empty()) lowBits = hash;
    if (hash == lowBits) keys.push_back(std::move(key));
  }
  return keys;
}

TEST(ViewMap, GroupsByIdentifierAndSortsWhatIsLeft) {
  // More than the longest probe the map allows under the fast hash.
  std::vector<std::string> keys = CollidingKeys(100);
  keys.insert(keys.begin(), {"b", "a", "", "ab"});

  ViewMap<std::vector<int>> map;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    map[keys[i]].push_back(static_cast<int>(i));
    map[keys[i]].push_back(-static_cast<int>(i));
  }
  ViewMap<std::vector<int>> moved = std::move(map);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto* values = moved.Find(keys[i]);
    ASSERT_NE(values, nullptr) << keys[i];
    EXPECT_EQ(*values, (std::vector<int>{static_cast<int>(i), -static_cast<int>(i)}));
  }
  EXPECT_EQ(moved.Find("c"), nullptr);
  // Taking a group leaves it empty; Sorted passes over it.
  moved.Find("a")->clear();
  std::vector<std::string_view> left;
  for (const auto* entry : moved.Sorted([](const std::vector<int>& v) { return !v.empty(); }))
    left.push_back(entry->key);
  std::vector<std::string_view> expected(keys.begin(), keys.end());
  expected.erase(expected.begin() + 1);
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(left, expected);
}

}  // namespace

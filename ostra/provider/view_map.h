// ViewMap: values by identifier while a parser groups the records of a document, the identifiers
// being views into the document's own strings. A large document looks identifiers up hundreds of
// thousands of times; an open-addressing table of hashes does that with fewer memory reads than a
// node-based map.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <string_view>
#include <vector>

#include "ostra/provider/keyed_hash.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// The viewed characters must outlive the map. Values stay where they are as the map grows.
//
// Identifiers are hashed with the standard library's fast hash. A document whose identifiers are
// made to collide under it would make probes long: the first probe longer than kLongProbe moves
// the map to the keyed hash (KeyedHash), which such a document cannot aim at.
template <class V>
class ViewMap {
 public:
  struct Entry {
    std::string_view key;
    V value;
  };

  ViewMap() = default;
  // Moving keeps the entries where they are; a copy would point into the original.
  ViewMap(ViewMap&&) = default;
  ViewMap& operator=(ViewMap&&) = default;
  ViewMap(const ViewMap&) = delete;
  ViewMap& operator=(const ViewMap&) = delete;

  // The value of `key`, added empty when the key is new.
  V& operator[](std::string_view key) {
    if (2 * (entries_.size() + 1) > slots_.size()) {
      Rehash(slots_.empty() ? 16 : 2 * slots_.size(), false);
    }
    std::size_t hash = Hash(key);
    Slot& slot = slots_[SlotOf(key, hash)];
    if (slot.entry == nullptr) {
      entries_.push_back(Entry{key, V()});
      slot = Slot{&entries_.back(), hash};
    }
    return slot.entry->value;
  }

  // The value of `key`, or null.
  V* Find(std::string_view key) {
    if (entries_.empty()) return nullptr;
    std::size_t hash = Hash(key);
    Entry* entry = slots_[SlotOf(key, hash)].entry;
    return entry ? &entry->value : nullptr;
  }

  // The entries whose value `keep` accepts, in ascending byte order of the keys.
  template <class Keep>
  std::vector<Entry*> Sorted(Keep keep) {
    std::vector<Entry*> sorted;
    for (Entry& entry : entries_) {
      if (keep(entry.value)) sorted.push_back(&entry);
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const Entry* a, const Entry* b) { return a->key < b->key; });
    return sorted;
  }

 private:
  static constexpr std::size_t kLongProbe = 64;

  struct Slot {
    Entry* entry = nullptr;  // null: an empty slot
    std::size_t hash = 0;
  };

  std::size_t Hash(std::string_view key) const {
    return keyed_ ? KeyedHash(key) : std::hash<std::string_view>()(key);
  }

  // The slot of `key`, or the empty slot where it belongs; at most half of the slots are used.
  // A long probe moves the map to the keyed hash first, and `hash` with it.
  std::size_t SlotOf(std::string_view key, std::size_t& hash) {
    for (;;) {
      const std::size_t mask = slots_.size() - 1;
      std::size_t i = hash & mask;
      for (std::size_t probe = 0; probe < kLongProbe || keyed_; ++probe, i = (i + 1) & mask) {
        const Slot& slot = slots_[i];
        if (slot.entry == nullptr || (slot.hash == hash && slot.entry->key == key)) return i;
      }
      keyed_ = true;
      Rehash(slots_.size(), true);
      hash = Hash(key);
    }
  }

  // Places every entry anew in `size` slots, hashing the keys again when `hashAgain`.
  void Rehash(std::size_t size, bool hashAgain) {
    std::vector<Slot> old(size);
    old.swap(slots_);
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
      if (slot.entry == nullptr) continue;
      const std::size_t hash = hashAgain ? Hash(slot.entry->key) : slot.hash;
      std::size_t i = hash & mask;
      while (slots_[i].entry != nullptr)
        i = (i + 1) & mask;
      slots_[i] = Slot{slot.entry, hash};
    }
  }

  std::vector<Slot> slots_;    // a power of two in size, or empty
  std::deque<Entry> entries_;  // in the order keys were added
  bool keyed_ = false;         // whether Hash is the keyed hash
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

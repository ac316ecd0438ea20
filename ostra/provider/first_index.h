// FirstIndex: finds entries of name-keyed record maps by key in constant time, keeping the first
// entry added under each key. A source index adds the entries of its maps in walking order, so
// that a lookup answers what a walk in that order would have found first.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/provider/keyed_hash.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// An open-addressing hash table of pointers to map entries (std::pair<const std::string, V>):
// keys are neither copied nor owned, so the maps must outlive the index and never change while
// it is used. Identifiers are compared whole and byte for byte, embedded NULs included.
template <class Entry>
class FirstIndex {
 public:
  // Adds `entry` unless an entry of its key is there already; answers whether it was added.
  bool Insert(const Entry& entry) {
    if (2 * (size_ + 1) > slots_.size()) Grow();
    const std::size_t hash = Hash(entry.first);
    Slot& slot = slots_[SlotOf(entry.first, hash)];
    if (slot.entry != nullptr) return false;
    slot = Slot{&entry, hash};
    ++size_;
    return true;
  }

  // The first entry added under `key`, or null.
  const Entry* Find(std::string_view key) const {
    if (size_ == 0) return nullptr;
    return slots_[SlotOf(key, Hash(key))].entry;
  }

  std::size_t size() const { return size_; }

 private:
  struct Slot {
    const Entry* entry = nullptr;  // null: an empty slot
    std::size_t hash = 0;          // of the entry's key
  };

  static std::size_t Hash(std::string_view key) { return KeyedHash(key); }

  // The slot holding `key`, or the empty slot where it belongs. At most half of the slots are
  // used, so the probe ends soon; keys are read only where the hashes are equal.
  std::size_t SlotOf(std::string_view key, std::size_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
      const Slot& slot = slots_[i];
      if (slot.entry == nullptr ||
          (slot.hash == hash && std::string_view(slot.entry->first) == key))
        return i;
    }
  }

  void Grow() {
    std::vector<Slot> old(slots_.empty() ? 8 : 2 * slots_.size());
    old.swap(slots_);
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
      if (slot.entry == nullptr) continue;
      std::size_t i = slot.hash & mask;
      while (slots_[i].entry != nullptr)
        i = (i + 1) & mask;
      slots_[i] = slot;
    }
  }

  std::vector<Slot> slots_;  // a power of two in size, or empty
  std::size_t size_ = 0;
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// FirstIndex: finds entries of name-keyed record maps by key in constant time, keeping the first
// entry added under each key. A source index adds the entries of its maps in walking order, so
// that a lookup answers what a walk in that order would have found first.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

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
    const Entry*& slot = slots_[SlotOf(entry.first)];
    if (slot != nullptr) return false;
    slot = &entry;
    ++size_;
    return true;
  }

  // The first entry added under `key`, or null.
  const Entry* Find(std::string_view key) const {
    if (size_ == 0) return nullptr;
    return slots_[SlotOf(key)];
  }

  std::size_t size() const { return size_; }

 private:
  // The slot holding `key`, or the empty slot where it belongs. At most half of the slots are
  // used, so the probe ends soon.
  std::size_t SlotOf(std::string_view key) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = std::hash<std::string_view>()(key) & mask;; i = (i + 1) & mask) {
      const Entry* slot = slots_[i];
      if (slot == nullptr || std::string_view(slot->first) == key) return i;
    }
  }

  void Grow() {
    std::vector<const Entry*> old(slots_.empty() ? 8 : 2 * slots_.size(), nullptr);
    old.swap(slots_);
    for (const Entry* entry : old) {
      if (entry != nullptr) slots_[SlotOf(entry->first)] = entry;
    }
  }

  std::vector<const Entry*> slots_;  // a power of two in size, or empty
  std::size_t size_ = 0;
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

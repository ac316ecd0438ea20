#include "ostra/json/load_trace.h"

#include <unordered_map>
#include <utility>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace {

thread_local LoadTrace* tCurrent = nullptr;

}  // namespace

LoadTrace::LoadTrace() : outer_(tCurrent) {
  tCurrent = this;
}

LoadTrace::~LoadTrace() {
  tCurrent = outer_;
}

void LoadTrace::Note(const Messages& messages, const JsonValue* at) {
  if (tCurrent == nullptr || messages.empty()) return;
  tCurrent->entries_.push_back(Entry{messages.back(), at});
}

void LoadTrace::NoteFailure(const JsonValue& at) {
  if (tCurrent == nullptr) return;
  tCurrent->entries_.push_back(Entry{BaseMessage(std::string(), std::string(), {}), &at});
}

std::string PointerSegment(const std::string& name) {
  std::string segment;
  segment.reserve(name.size());
  for (const char c : name) {
    if (c == '~') {
      segment += "~0";
    } else if (c == '/') {
      segment += "~1";
    } else {
      segment += c;
    }
  }
  return segment;
}

std::vector<JsonPlace> LocateValues(const JsonValue& root,
                                    const std::vector<const JsonValue*>& values) {
  std::vector<JsonPlace> places(values.size());
  std::unordered_multimap<const JsonValue*, std::size_t> wanted;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] != nullptr) wanted.emplace(values[i], i);
  }
  std::size_t left = wanted.size();
  // The containers being walked, each with the index of the child taken last.
  struct Level {
    const JsonValue* container;
    std::size_t index;
  };
  std::vector<Level> path;
  const auto record = [&](const JsonValue* value, bool name) {
    const auto range = wanted.equal_range(value);
    for (auto it = range.first; it != range.second; ++it) {
      JsonPlace& place = places[it->second];
      place.found = true;
      place.name = name;
      for (const Level& level : path) {
        place.steps.push_back(level.index);
        place.pointer += '/';
        if (level.container->IsObject()) {
          const JsonValue& key = (level.container->MemberBegin() + level.index)->name;
          place.pointer += PointerSegment(std::string(key.GetString(), key.GetStringLength()));
        } else {
          place.pointer += std::to_string(level.index);
        }
      }
      --left;
    }
  };
  if (left == 0) return places;
  record(&root, false);
  if (root.IsObject() || root.IsArray()) path.push_back(Level{&root, SIZE_MAX});
  while (!path.empty() && left > 0) {
    Level& level = path.back();
    const JsonValue& container = *level.container;
    const std::size_t next = level.index + 1;
    const std::size_t size = container.IsObject() ? container.MemberCount() : container.Size();
    if (next >= size) {
      path.pop_back();
      continue;
    }
    level.index = next;
    const JsonValue* child;
    if (container.IsObject()) {
      const auto member = container.MemberBegin() + next;
      record(&member->name, true);
      child = &member->value;
    } else {
      child = &container[static_cast<rapidjson::SizeType>(next)];
    }
    record(child, false);
    if (child->IsObject() || child->IsArray()) path.push_back(Level{child, SIZE_MAX});
  }
  return places;
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

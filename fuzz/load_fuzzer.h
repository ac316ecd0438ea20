// What every domain's load fuzzer shares: parse the input, load it into a fresh store beside the
// bundled example of the domain, then ask the store everything it holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include <boost/optional.hpp>

#include "ostra/provider/parsed_metadata.h"

namespace OstraFuzz {

// A file spec of the domain; the path is never read, as sources come from parsed documents.
template <class Spec>
std::shared_ptr<const Spec> SpecOf() {
  auto spec = std::make_shared<Spec>();
  spec->description = "fuzz";
  spec->type = decltype(spec->type)(decltype(spec->type)::FILE);
  spec->filepath = "/nonexistent/fuzz.json";
  return spec;
}

inline std::shared_ptr<Ostra::Provider::Metadata::ParsedMetadata> Parse(const std::string& text) {
  std::istringstream in(text);
  std::list<Ostra::BaseMessage> messages;
  return Ostra::Provider::Metadata::ParseStream(in, messages);
}

// Loads the example `exampleFile` as source "a" and the input as source "b" (so that lookups
// merge over two sources), then runs `query` over the store. A failed load must leave the store
// as it was: one source, the same fingerprint.
template <class Container, class Spec, class Query>
int LoadAndQuery(const std::uint8_t* data, std::size_t size, const char* exampleFile, Query query) {
  static const std::string example = [exampleFile] {
    std::ifstream file(std::string(OSTRA_EXAMPLES_DIR "/") + exampleFile, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }();
  const auto store = Container::GetInstance();
  auto base = Parse(example);
  if (store->CreateSourceFromMetadata("a", *base, SpecOf<Spec>())) __builtin_trap();
  const std::string before = store->SourceFingerprint(boost::none);

  auto parsed = Parse(std::string(reinterpret_cast<const char*>(data), size));
  if (store->CreateSourceFromMetadata("b", *parsed, SpecOf<Spec>())) {
    if (store->ListSources().size() != 1 || store->SourceFingerprint(boost::none) != before) {
      __builtin_trap();
    }
  }
  query(*store);
  return 0;
}

// What the Metamodel and Authentication stores both answer: components, packages, services and
// their operations, each listed and then fetched.
template <class Store>
void QueryComponentTree(const Store& store) {
  for (const auto& id : store.ListComponents()) {
    store.ComponentInfo(id);
    store.ComponentFingerprint(id);
  }
  for (const auto& id : store.ListPackages())
    store.PackageInfo(id);
  for (const auto& id : store.ListServices()) {
    store.ServiceInfo(id);
    if (const auto operations = store.ListOperations(id)) {
      for (const auto& operation : *operations)
        store.OperationInfo(id, operation);
    }
  }
}

}  // namespace OstraFuzz

// Loads arbitrary bytes as a Metamodel source and reads back every record of the store.
#include "load_fuzzer.h"
#include "ostra/metamodel/json_metadata_container.h"

namespace {

namespace Metamodel = Ostra::Provider::Metadata::Metamodel;
using Spec = Com::Corvane::Ostra::Metadata::Metamodel::SourceSvc::CreateSpec;

void QueryAll(const Metamodel::MetadataContainer& store) {
  OstraFuzz::QueryComponentTree(store);
  for (const auto& id : store.ListEnumerations())
    store.EnumerationInfo(id);
  for (const auto& id : store.ListStructures())
    store.StructureInfo(id);
  for (const auto& id : store.ListResources())
    store.ListModels(id);
  store.ListHiddens();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return OstraFuzz::LoadAndQuery<Metamodel::MetadataContainer, Spec>(data, size, "metamodel.json",
                                                                     QueryAll);
}

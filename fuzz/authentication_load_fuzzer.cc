// Loads arbitrary bytes as an Authentication source and reads back every record of the store.
#include "load_fuzzer.h"
#include "ostra/authentication/json_metadata_container.h"

namespace {

namespace Authentication = Ostra::Provider::Metadata::Authentication;
using Spec = Com::Corvane::Ostra::Metadata::Authentication::SourceSvc::CreateSpec;

void QueryAll(const Authentication::MetadataContainer& store) {
  for (const auto& name : store.ListComponents()) {
    store.ComponentInfo(name);
    store.ComponentFingerprint(name);
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return OstraFuzz::LoadAndQuery<Authentication::MetadataContainer, Spec>(
      data, size, "authentication.json", QueryAll);
}

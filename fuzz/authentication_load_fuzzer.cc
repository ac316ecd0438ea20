// Loads arbitrary bytes as an Authentication source and reads back every record of the store.
#include "load_fuzzer.h"
#include "ostra/authentication/json_metadata_container.h"

namespace {

namespace Authentication = Ostra::Provider::Metadata::Authentication;
using Spec = Com::Corvane::Ostra::Metadata::Authentication::SourceSvc::CreateSpec;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return OstraFuzz::LoadAndQuery<Authentication::MetadataContainer, Spec>(
      data, size, "authentication.json",
      OstraFuzz::QueryComponentTree<Authentication::MetadataContainer>);
}

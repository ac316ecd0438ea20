// Loads arbitrary bytes as a Cli source and reads back every namespace and command of the store.
#include "load_fuzzer.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/cli/services.h"

namespace {

namespace Cli = Ostra::Provider::Metadata::Cli;
using Spec = Com::Corvane::Ostra::Metadata::Cli::SourceSvc::CreateSpec;

void QueryAll(const Cli::MetadataContainer& store) {
  for (const auto& identity : store.ListNamespaces()) {
    store.NamespaceInfo(identity);
    for (const auto& command : store.ListCommands(Cli::QualifiedName(identity)))
      store.CommandInfo(command);
  }
  for (const auto& command : store.ListCommands(boost::none))
    store.CommandInfo(command);
  store.NamespaceFingerprint();
  store.CommandFingerprint();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return OstraFuzz::LoadAndQuery<Cli::MetadataContainer, Spec>(data, size, "cli.json", QueryAll);
}

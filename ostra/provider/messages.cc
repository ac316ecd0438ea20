#include "ostra/provider/messages.h"

#include <string_view>
#include <unordered_map>

namespace Ostra {
namespace Provider {
namespace Metadata {

const CatalogueEntry kMessageCatalogue[] = {
    {"ostra.metada.cli.namespace.not.found", "Cli namespace not found: {1}"},
    {"ostra.metada.cli.command.not.found", "Cli command not found: {1}"},
    {"ostra.metada.cli.source.not.found", "Cli source not found: {1}"},
    {"ostra.metada.cli.source.file.not.found", "Cli source file not found: {1}"},
    {"ostra.metada.cli.source.exists", "Cli source already exists: {1}"},
    {"ostra.metadata.cli.parse.error", "Cli source file parse error : {1} at {2}"},
    {"ostra.metadata.json.invalid.field", "Json parse invalid field: {1}"},
    {"ostra.metadata.json.invalid.node.type", "Json parse invalid node type: {1}"},
    {"ostra.metadata.json.invalid.enum.value", "Json parse invalid enum value: {1}"},
    {"ostra.metadata.json.missing.field", "Json parse missing field: {1}"},
    {"ostra.metada.metamodel.source.not.found", "Metamodel source not found: {1}"},
    {"ostra.metada.metamodel.source.file.not.found", "Metamodel source file not found: {1}"},
    {"ostra.metada.metamodel.source.exists", "Metamodel source already exists: {1}"},
    {"ostra.metadata.metamodel.parse.error", "Metamodel source file parse error : {1} at {2}"},
    {"ostra.metada.metamodel.component.not.found", "Metamodel component not found: {1}"},
    {"ostra.metada.metamodel.package.not.found", "Metamodel package not found: {1}"},
    {"ostra.metada.metamodel.service.not.found", "Metamodel service not found: {1}"},
    {"ostra.metada.metamodel.operation.not.found", "Metamodel operation not found: {1}[{2}]"},
    {"ostra.metada.metamodel.structure.not.found", "Metamodel structure not found: {1}"},
    {"ostra.metada.metamodel.resource.not.found", "Metamodel resource not found: {1}"},
    {"ostra.metada.metamodel.enumeration.not.found", "Metamodel enumeration not found: {1}"},
    {"ostra.metada.authentication.source.not.found", "Authentication source not found: {1}"},
    {"ostra.metada.authentication.source.file.not.found",
     "Authentication source file not found: {1}"},
    {"ostra.metada.authentication.source.exists", "Authentication source already exists: {1}"},
    {"ostra.metadata.authentication.parse.error",
     "Authentication source file parse error : {1} at {2}"},
    {"ostra.metada.authentication.component.not.found", "Authentication component not found: {1}"},
    {"ostra.metada.authentication.package.not.found", "Authentication package not found: {1}"},
    {"ostra.metada.authentication.service.not.found", "Authentication service not found: {1}"},
    {"ostra.metada.authentication.operation.not.found",
     "Authentication operation not found: {1}[{2}]"},
    {"ostra.metada.authentication.invalid.service.id", "Authentication invalid service id: {1}"},
    {"ostra.metada.authentication.invalid.operation.id",
     "Authentication invalid operation id: {1}"},
    {"ostra.metadata.authentication.json.unknown.schema.name",
     "Authentication unknown schema name: {1}"},
    {nullptr, nullptr},
};

}  // namespace Metadata
}  // namespace Provider

template <>
std::string Message<Provider::Metadata::MetadataSvc>::DefaultMessageForId(const std::string& id) {
  // Parsers make a message for every optional member a document leaves out: ids are looked up by
  // hash.
  static const auto* const texts = [] {
    auto* byId = new std::unordered_map<std::string_view, const char*>();
    for (const auto* entry = Provider::Metadata::kMessageCatalogue; entry->id != nullptr; ++entry)
      byId->emplace(entry->id, entry->text);
    return byId;
  }();
  const auto it = texts->find(id);
  return it != texts->end() ? it->second : "Unknown message.";
}

}  // namespace Ostra

// ProviderHelper: what a host needs from the library. Per domain a store, the services bound over
// it, and loading a metadata file into it; and the names of the services that need no
// authentication.
//
//   auto store = Ostra::Provider::Metadata::Cli::MetadataContainer::GetInstance();
//   if (auto error = ProviderHelper::LoadCliMetadataFile("cli", "cli.json", store)) { ... }
//   for (const auto& service : ProviderHelper::CliInterfaces(store)) dispatcher.Add(service);
//
// Every call makes new objects; nothing is cached or global. The source services of the domains
// are in no bound list and not anonymous: a host that offers source management binds them itself,
// under its own access rules.
#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>

#include "ostra/authentication/metadata_container.h"
#include "ostra/cli/metadata_container.h"
#include "ostra/core/api_interface.h"
#include "ostra/metamodel/metadata_container.h"
#include "ostra/provider/parsed_metadata.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

class ProviderHelper {
 public:
  using BoundList = std::list<std::shared_ptr<Core::ApiInterface>>;
  using LoadError = std::shared_ptr<const Data::ErrorValue>;

  // Component, Enumeration, Package, Resource::Model, Resource, Service::Hidden,
  // Service::Operation, Service, Structure.
  static BoundList MetamodelInterfaces(const std::shared_ptr<Metamodel::MetadataContainer>& store);
  // Component, Package, Service, Service::Operation.
  static BoundList AuthnInterfaces(const std::shared_ptr<Authentication::MetadataContainer>& store);
  // Namespace, Command.
  static BoundList CliInterfaces(const std::shared_ptr<Cli::MetadataContainer>& store);
  // The service identifiers of the three lists above, fifteen in all.
  static std::set<std::string> MetadataAnonSvcNames();

  // Creates source `sourceId` from the file at `path` (described by the id): null on success,
  // otherwise the store's error (AlreadyExists, NotFound naming the path, InvalidArgument).
  static LoadError LoadMetamodelMetadataFile(
      const std::string& sourceId, const std::string& path,
      const std::shared_ptr<Metamodel::MetadataContainer>& store);
  static LoadError LoadAuthnMetadataFile(
      const std::string& sourceId, const std::string& path,
      const std::shared_ptr<Authentication::MetadataContainer>& store);
  static LoadError LoadCliMetadataFile(const std::string& sourceId, const std::string& path,
                                       const std::shared_ptr<Cli::MetadataContainer>& store);

  // The same from a document the host already read with ParseStream.
  static LoadError LoadMetamodelMetadataFile(
      const std::string& sourceId, ParsedMetadata& parsed,
      const std::shared_ptr<Metamodel::MetadataContainer>& store);
  static LoadError LoadAuthnMetadataFile(
      const std::string& sourceId, ParsedMetadata& parsed,
      const std::shared_ptr<Authentication::MetadataContainer>& store);
  static LoadError LoadCliMetadataFile(const std::string& sourceId, ParsedMetadata& parsed,
                                       const std::shared_ptr<Cli::MetadataContainer>& store);
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

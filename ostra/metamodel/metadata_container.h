// MetadataContainer: the Metamodel store as services and hosts see it.
//
// Queries walk the sources in ascending id order and, inside each, components, packages,
// services, structures and operations in ascending key order: lists concatenate in that order
// (duplicates kept) and lookups answer the first match. Identifiers match whole keys only. Nothing
// found is a null pointer, an empty string or an empty optional, never an error. Every operation
// may be called from any thread.
#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/data_value.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/provider/source_container.h"
#include "ostra/std_bindings/metamodel.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;
using ErrorPtr = std::shared_ptr<const Data::ErrorValue>;

// The source operations come first (see SourceContainer), then the queries.
class MetadataContainer
    : public SourceContainer<Binding::SourceSvc::CreateSpec, Binding::SourceSvc::Info> {
 public:
  // A new, empty store; every call makes another.
  static std::shared_ptr<MetadataContainer> GetInstance();

  virtual std::list<std::string> ListComponents() const = 0;
  // The component with its source's fingerprint.
  virtual std::shared_ptr<const Binding::ComponentData> ComponentInfo(
      const std::string& componentId) const = 0;
  virtual std::string ComponentFingerprint(const std::string& componentId) const = 0;
  virtual std::list<std::string> ListPackages() const = 0;
  virtual std::shared_ptr<const Binding::PackageInfo> PackageInfo(
      const std::string& packageId) const = 0;
  virtual std::list<std::string> ListServices() const = 0;
  virtual std::shared_ptr<const Binding::ServiceInfo> ServiceInfo(
      const std::string& serviceId) const = 0;
  // The operation names of the first service with that id; empty optional if there is none.
  virtual boost::optional<std::list<std::string>> ListOperations(
      const std::string& serviceId) const = 0;
  // From the first service of that id that has the operation.
  virtual std::shared_ptr<const Binding::OperationInfo> OperationInfo(
      const std::string& serviceId, const std::string& operationId) const = 0;
  // Always empty.
  virtual std::list<std::string> ListHiddens() const = 0;
  // Package enumerations, service enumerations, then those inside package structures and inside
  // service structures.
  virtual std::list<std::string> ListEnumerations() const = 0;
  virtual std::shared_ptr<const Binding::EnumerationInfo> EnumerationInfo(
      const std::string& enumerationId) const = 0;
  // Package structures, then service structures.
  virtual std::list<std::string> ListStructures() const = 0;
  virtual std::shared_ptr<const Binding::StructureInfo> StructureInfo(
      const std::string& structureId) const = 0;
  // The union of all sources' resources.
  virtual std::set<std::string> ListResources() const = 0;
  // The models of the resource in the last source (by id) that has it.
  virtual boost::optional<std::set<std::string>> ListModels(
      const std::string& resourceId) const = 0;

  virtual ~MetadataContainer() = default;
};

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

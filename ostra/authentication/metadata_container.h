// MetadataContainer: the Authentication store as services and hosts see it.
//
// Sources are never merged: lookups walk the sources in ascending id order (and inside each the
// components, packages, services and operations in key order) and answer the first match; lists
// concatenate, duplicates kept. Nothing found is null, an empty string or an empty optional.
// Every operation may be called from any thread.
#pragma once

#include <list>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/data_value.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/provider/source_container.h"
#include "ostra/std_bindings/authentication.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

namespace Binding = Com::Corvane::Ostra::Metadata::Authentication;
using ErrorPtr = std::shared_ptr<const Data::ErrorValue>;

// The source operations come first (see SourceContainer), then the queries.
class MetadataContainer
    : public SourceContainer<Binding::SourceSvc::CreateSpec, Binding::SourceSvc::Info> {
 public:
  // A new, empty store; every call makes another.
  static std::shared_ptr<MetadataContainer> GetInstance();

  virtual std::list<std::string> ListComponents() const = 0;
  virtual std::shared_ptr<const Binding::ComponentData> ComponentInfo(
      const std::string& componentName) const = 0;
  virtual std::string ComponentFingerprint(const std::string& componentName) const = 0;
  virtual std::list<std::string> ListPackages() const = 0;
  virtual std::shared_ptr<const Binding::PackageInfo> PackageInfo(
      const std::string& packageId) const = 0;
  virtual std::list<std::string> ListServices() const = 0;
  virtual std::shared_ptr<const Binding::ServiceInfo> ServiceInfo(
      const std::string& serviceId) const = 0;
  virtual boost::optional<std::list<std::string>> ListOperations(
      const std::string& serviceId) const = 0;
  virtual std::shared_ptr<const Binding::OperationInfo> OperationInfo(
      const std::string& serviceId, const std::string& operationName) const = 0;

  virtual ~MetadataContainer() = default;
};

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

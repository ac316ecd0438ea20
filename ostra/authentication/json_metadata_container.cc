#include "ostra/authentication/json_metadata_container.h"

#include <vector>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {
namespace {

// The loaded sources of one query, in id order.
using Loaded = std::vector<const SourceData*>;

// Visits the packages in walking order until visit answers true.
template <class Visit>
void EachPackage(const Loaded& sources, Visit visit) {
  for (const SourceData* source : sources) {
    for (const auto& component : source->components) {
      for (const auto& package : component.second->packages) {
        if (visit(package.first, *package.second)) return;
      }
    }
  }
}

JsonMetadataParser::RegisterCallbacks Register(SourceData& source) {
  return
      [&source](const std::string& name, const std::shared_ptr<Binding::ComponentInfo>& component) {
        source.RegisterComponentNode(name, component);
      };
}

}  // namespace

std::shared_ptr<MetadataContainer> MetadataContainer::GetInstance() {
  return std::make_shared<JsonMetadataContainer>();
}

bool AuthenticationSources::ParseDocument(const JsonDocument& document, SourceData& source,
                                          Messages& messages) {
  return JsonMetadataParser::LoadMetadataFromDoc(document, Register(source), messages);
}

void AuthenticationSources::Stamp(SourceData& source, const std::string& fingerprint) {
  source.sourceFingerprint = fingerprint;
  source.componentFingerprint = fingerprint;
}

std::list<std::string> JsonMetadataContainer::ListPackages() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> ids;
    EachPackage(sources, [&](const std::string& id, const Binding::PackageInfo&) {
      ids.push_back(id);
      return false;
    });
    return ids;
  });
}

std::shared_ptr<const Binding::PackageInfo> JsonMetadataContainer::PackageInfo(
    const std::string& packageId) const {
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<const Binding::PackageInfo> found;
    for (const SourceData* source : sources) {
      for (const auto& component : source->components) {
        const auto it = component.second->packages.find(packageId);
        if (it != component.second->packages.end()) return it->second;
      }
    }
    return found;
  });
}

std::list<std::string> JsonMetadataContainer::ListServices() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> ids;
    EachPackage(sources, [&](const std::string&, const Binding::PackageInfo& package) {
      for (const auto& service : package.services)
        ids.push_back(service.first);
      return false;
    });
    return ids;
  });
}

std::shared_ptr<const Binding::ServiceInfo> JsonMetadataContainer::ServiceInfo(
    const std::string& serviceId) const {
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<const Binding::ServiceInfo> found;
    EachPackage(sources, [&](const std::string&, const Binding::PackageInfo& package) {
      const auto it = package.services.find(serviceId);
      if (it != package.services.end()) found = it->second;
      return found != nullptr;
    });
    return found;
  });
}

boost::optional<std::list<std::string>> JsonMetadataContainer::ListOperations(
    const std::string& serviceId) const {
  const auto service = ServiceInfo(serviceId);
  if (!service) return boost::none;
  std::list<std::string> names;
  for (const auto& operation : service->operations)
    names.push_back(operation.first);
  return names;
}

std::shared_ptr<const Binding::OperationInfo> JsonMetadataContainer::OperationInfo(
    const std::string& serviceId, const std::string& operationName) const {
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<const Binding::OperationInfo> found;
    // A service of that id without the operation does not end the walk.
    EachPackage(sources, [&](const std::string&, const Binding::PackageInfo& package) {
      const auto service = package.services.find(serviceId);
      if (service == package.services.end()) return false;
      const auto it = service->second->operations.find(operationName);
      if (it != service->second->operations.end()) found = it->second;
      return found != nullptr;
    });
    return found;
  });
}

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

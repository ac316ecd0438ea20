#include "ostra/metamodel/json_metadata_container.h"

#include <utility>
#include <vector>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {
namespace {

// The loaded sources of one query, in id order.
using Loaded = std::vector<const SourceData*>;
template <class Record>
using Map = std::map<std::string, std::shared_ptr<const Record>>;

// Walks in query order, calling visit until it answers true; answers whether it did.
template <class Visit>
bool EachPackage(const Loaded& sources, Visit visit) {
  for (const SourceData* source : sources) {
    for (const auto& component : source->components) {
      for (const auto& package : component.second->packages) {
        if (visit(*package.second)) return true;
      }
    }
  }
  return false;
}

template <class Visit>
bool EachService(const Loaded& sources, Visit visit) {
  return EachPackage(sources, [&](const Binding::PackageInfo& package) {
    for (const auto& service : package.services) {
      if (visit(*service.second)) return true;
    }
    return false;
  });
}

// The maps of one kind of record, in query order, fetched from each package or each service.
template <class Record, class Owner>
using MapOf = const Map<Record>& (*)(const Owner&);

template <class Record, class Owner, class Visit>
bool EachMap(const Loaded& sources, MapOf<Record, Owner> select, Visit visit) {
  const auto visitOwner = [&](const Owner& owner) { return visit(select(owner)); };
  if constexpr (std::is_same_v<Owner, Binding::PackageInfo>) {
    return EachPackage(sources, visitOwner);
  } else {
    return EachService(sources, visitOwner);
  }
}

// Every structure of a map, in order.
template <class Visit>
bool EachStructure(const Map<Binding::StructureInfo>& structures, Visit visit) {
  for (const auto& structure : structures) {
    if (visit(*structure.second)) return true;
  }
  return false;
}

template <class Owner>
const Map<Binding::EnumerationInfo>& EnumerationsOf(const Owner& owner) {
  return owner.enumerations;
}
template <class Owner>
const Map<Binding::StructureInfo>& StructuresOf(const Owner& owner) {
  return owner.structures;
}

template <class Map>
void AppendKeys(std::list<std::string>& names, const Map& map) {
  for (const auto& entry : map)
    names.push_back(entry.first);
}

// The first record under `id` among the maps that EachMap visits.
template <class Record, class Owner>
std::shared_ptr<const Record> FindIn(const Loaded& sources, MapOf<Record, Owner> select,
                                     const std::string& id) {
  std::shared_ptr<const Record> found;
  EachMap<Record, Owner>(sources, select, [&](const Map<Record>& map) {
    const auto it = map.find(id);
    if (it != map.end()) found = it->second;
    return found != nullptr;
  });
  return found;
}

// The enumerations nested in the structures of every package (or every service), as maps.
template <class Owner, class Visit>
bool EachNestedEnumerations(const Loaded& sources, Visit visit) {
  return EachMap<Binding::StructureInfo, Owner>(
      sources, &StructuresOf<Owner>, [&](const Map<Binding::StructureInfo>& structures) {
        return EachStructure(structures, [&](const Binding::StructureInfo& structure) {
          return visit(structure.enumerations);
        });
      });
}

}  // namespace

std::shared_ptr<MetadataContainer> MetadataContainer::GetInstance() {
  return std::make_shared<JsonMetadataContainer>();
}

bool MetamodelSources::ParseDocument(const JsonDocument& document, SourceData& source,
                                     Messages& messages) {
  return JsonMetadataParser::LoadMetadataFromDoc(
      document,
      {[&source](const auto& component) { source.RegisterComponentNode(component); },
       [&source](const std::string& resource) { source.RegisterResoure(resource); },
       [&source](const std::string& resource, const std::string& model) {
         source.RegisterModel(resource, model);
       }},
      messages);
}

void MetamodelSources::Stamp(SourceData& source, const std::string& fingerprint) {
  source.fingerprint = fingerprint;
  source.componentFingerprint = fingerprint;
}

std::list<std::string> JsonMetadataContainer::ListPackages() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> names;
    for (const SourceData* source : sources) {
      for (const auto& component : source->components) {
        AppendKeys(names, component.second->packages);
      }
    }
    return names;
  });
}

std::shared_ptr<const Binding::PackageInfo> JsonMetadataContainer::PackageInfo(
    const std::string& packageId) const {
  return sources_.Read([&](const Loaded& sources) -> std::shared_ptr<const Binding::PackageInfo> {
    for (const SourceData* source : sources) {
      for (const auto& component : source->components) {
        const auto it = component.second->packages.find(packageId);
        if (it != component.second->packages.end()) return it->second;
      }
    }
    return nullptr;
  });
}

std::list<std::string> JsonMetadataContainer::ListServices() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> names;
    EachPackage(sources, [&](const Binding::PackageInfo& package) {
      AppendKeys(names, package.services);
      return false;
    });
    return names;
  });
}

std::shared_ptr<const Binding::ServiceInfo> JsonMetadataContainer::ServiceInfo(
    const std::string& serviceId) const {
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<const Binding::ServiceInfo> found;
    EachPackage(sources, [&](const Binding::PackageInfo& package) {
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
  AppendKeys(names, service->operations);
  return names;
}

std::shared_ptr<const Binding::OperationInfo> JsonMetadataContainer::OperationInfo(
    const std::string& serviceId, const std::string& operationId) const {
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<const Binding::OperationInfo> found;
    // A service of that id without the operation does not end the search.
    EachPackage(sources, [&](const Binding::PackageInfo& package) {
      const auto service = package.services.find(serviceId);
      if (service == package.services.end()) return false;
      const auto& operations = service->second->operations;
      const auto it = operations.find(operationId);
      if (it != operations.end()) found = it->second;
      return found != nullptr;
    });
    return found;
  });
}

std::list<std::string> JsonMetadataContainer::ListHiddens() const {
  return {};
}

std::list<std::string> JsonMetadataContainer::ListEnumerations() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> names;
    const auto append = [&names](const Map<Binding::EnumerationInfo>& enumerations) {
      AppendKeys(names, enumerations);
      return false;
    };
    EachMap<Binding::EnumerationInfo, Binding::PackageInfo>(
        sources, &EnumerationsOf<Binding::PackageInfo>, append);
    EachMap<Binding::EnumerationInfo, Binding::ServiceInfo>(
        sources, &EnumerationsOf<Binding::ServiceInfo>, append);
    EachNestedEnumerations<Binding::PackageInfo>(sources, append);
    EachNestedEnumerations<Binding::ServiceInfo>(sources, append);
    return names;
  });
}

std::shared_ptr<const Binding::EnumerationInfo> JsonMetadataContainer::EnumerationInfo(
    const std::string& enumerationId) const {
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<const Binding::EnumerationInfo> found;
    const auto find = [&](const Map<Binding::EnumerationInfo>& enumerations) {
      const auto it = enumerations.find(enumerationId);
      if (it != enumerations.end()) found = it->second;
      return found != nullptr;
    };
    // Four stages; each runs only when the ones before found nothing.
    EachMap<Binding::EnumerationInfo, Binding::PackageInfo>(
        sources, &EnumerationsOf<Binding::PackageInfo>, find) ||
        EachMap<Binding::EnumerationInfo, Binding::ServiceInfo>(
            sources, &EnumerationsOf<Binding::ServiceInfo>, find) ||
        EachNestedEnumerations<Binding::PackageInfo>(sources, find) ||
        EachNestedEnumerations<Binding::ServiceInfo>(sources, find);
    return found;
  });
}

std::list<std::string> JsonMetadataContainer::ListStructures() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> names;
    const auto append = [&names](const Map<Binding::StructureInfo>& structures) {
      AppendKeys(names, structures);
      return false;
    };
    EachMap<Binding::StructureInfo, Binding::PackageInfo>(
        sources, &StructuresOf<Binding::PackageInfo>, append);
    EachMap<Binding::StructureInfo, Binding::ServiceInfo>(
        sources, &StructuresOf<Binding::ServiceInfo>, append);
    return names;
  });
}

std::shared_ptr<const Binding::StructureInfo> JsonMetadataContainer::StructureInfo(
    const std::string& structureId) const {
  return sources_.Read([&](const Loaded& sources) {
    auto found = FindIn<Binding::StructureInfo, Binding::PackageInfo>(
        sources, &StructuresOf<Binding::PackageInfo>, structureId);
    if (!found) {
      found = FindIn<Binding::StructureInfo, Binding::ServiceInfo>(
          sources, &StructuresOf<Binding::ServiceInfo>, structureId);
    }
    return found;
  });
}

std::set<std::string> JsonMetadataContainer::ListResources() const {
  return sources_.Read([](const Loaded& sources) {
    std::set<std::string> resources;
    for (const SourceData* source : sources) {
      for (const auto& resource : source->resources)
        resources.insert(resource.first);
    }
    return resources;
  });
}

boost::optional<std::set<std::string>> JsonMetadataContainer::ListModels(
    const std::string& resourceId) const {
  return sources_.Read([&](const Loaded& sources) {
    // The last source that has the resource wins; models are not merged.
    boost::optional<std::set<std::string>> models;
    for (const SourceData* source : sources) {
      const auto it = source->resources.find(resourceId);
      if (it != source->resources.end()) models = it->second;
    }
    return models;
  });
}

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

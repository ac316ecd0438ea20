// ComponentIndex: the packages, services and operations of one source's components, found by
// identifier as a walk in walking order would find them: components by name, their packages, the
// packages' services and the services' operations, each map in key order. The Metamodel and
// Authentication sources hold one each, built once their components are final.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "ostra/provider/first_index.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// The entry type of a name-keyed record map.
template <class Map>
using EntryOf = typename Map::value_type;

template <class Component>
class ComponentIndex {
 public:
  using PackageMap = decltype(Component::packages);
  using Package = typename PackageMap::mapped_type::element_type;
  using ServiceMap = decltype(Package::services);
  using Service = typename ServiceMap::mapped_type::element_type;
  using OperationMap = decltype(Service::operations);
  using Operation = typename OperationMap::mapped_type::element_type;

  // Indexes `components` (name to component), which must not change while the index is used.
  template <class Components>
  void Build(const Components& components) {
    for (const auto& component : components) {
      for (const auto& package : component.second->packages) {
        packages_.Insert(package);
        for (const auto& service : package.second->services) {
          // A service id held by several services: see sharedOperations_.
          if (!services_.Insert(service)) sharedOperations_[service.first];
        }
      }
    }
    if (sharedOperations_.empty()) return;
    for (const auto& component : components) {
      for (const auto& package : component.second->packages) {
        for (const auto& service : package.second->services) {
          const auto shared = sharedOperations_.find(service.first);
          if (shared == sharedOperations_.end()) continue;
          for (const auto& operation : service.second->operations)
            shared->second.Insert(operation);
        }
      }
    }
  }

  // The first package, or service, of that id; null if the source has none.
  const std::shared_ptr<Package>* FindPackage(const std::string& id) const {
    const auto* entry = packages_.Find(id);
    return entry ? &entry->second : nullptr;
  }
  const std::shared_ptr<Service>* FindService(const std::string& id) const {
    const auto* entry = services_.Find(id);
    return entry ? &entry->second : nullptr;
  }

  // The operation of the first service of that id that has it; null if none has.
  const std::shared_ptr<Operation>* FindOperation(const std::string& serviceId,
                                                  const std::string& operationId) const {
    const auto* service = services_.Find(serviceId);
    if (service == nullptr) return nullptr;
    if (!sharedOperations_.empty()) {
      const auto shared = sharedOperations_.find(std::string_view(serviceId));
      if (shared != sharedOperations_.end()) {
        const auto* entry = shared->second.Find(operationId);
        return entry ? &entry->second : nullptr;
      }
    }
    const OperationMap& operations = service->second->operations;
    const auto it = operations.find(operationId);
    return it != operations.end() ? &it->second : nullptr;
  }

 private:
  FirstIndex<EntryOf<PackageMap>> packages_;
  FirstIndex<EntryOf<ServiceMap>> services_;
  // Service id to the operations of all its services, for ids that several services hold.
  std::map<std::string_view, FirstIndex<EntryOf<OperationMap>>, std::less<>> sharedOperations_;
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// The services of the API model tree, which the Metamodel and Authentication domains both offer
// over their stores: components (listed, looked up, fingerprinted), packages and services (listed,
// looked up) and the operations of a service. Tree names a domain's store, its interfaces and its
// not-found message ids:
//
//   struct Tree {
//     using Container = ...;  // with ListComponents, ComponentInfo, ComponentFingerprint,
//                             // ListPackages, PackageInfo, ListServices, ServiceInfo,
//                             // ListOperations and OperationInfo
//     using ComponentInterface = ..., PackageInterface = ..., ServiceInterface = ...,
//           OperationInterface = ...;
//     static constexpr const char* kComponentNotFoundId, kPackageNotFoundId,
//                                  kServiceNotFoundId, kOperationNotFoundId;
//   };
#pragma once

#include <list>
#include <memory>
#include <string>

#include "ostra/provider/service_adapter.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

template <class Tree>
struct ComponentLookup {
  using Interface = typename Tree::ComponentInterface;
  using Container = typename Tree::Container;
  static constexpr auto kList = &Container::ListComponents;
  static constexpr auto kGet = &Container::ComponentInfo;
  static constexpr const char* kNotFoundId = Tree::kComponentNotFoundId;
};

template <class Tree>
struct PackageLookup {
  using Interface = typename Tree::PackageInterface;
  using Container = typename Tree::Container;
  static constexpr auto kList = &Container::ListPackages;
  static constexpr auto kGet = &Container::PackageInfo;
  static constexpr const char* kNotFoundId = Tree::kPackageNotFoundId;
};

template <class Tree>
struct ServiceLookup {
  using Interface = typename Tree::ServiceInterface;
  using Container = typename Tree::Container;
  static constexpr auto kList = &Container::ListServices;
  static constexpr auto kGet = &Container::ServiceInfo;
  static constexpr const char* kNotFoundId = Tree::kServiceNotFoundId;
};

// Components are also fingerprinted; an unknown one is not found as for Get.
template <class Tree>
class ComponentService final
    : public ListGetAdapter<ComponentService<Tree>, ComponentLookup<Tree>> {
 public:
  using ListGetAdapter<ComponentService<Tree>, ComponentLookup<Tree>>::ListGetAdapter;

  void Fingerprint(const std::string& componentId, const std::shared_ptr<Core::AsyncActivation>&,
                   const AsyncResult<std::string>& result) override {
    CompleteOrNotFound(result, this->container_->ComponentFingerprint(componentId),
                       Tree::kComponentNotFoundId, componentId);
  }
};

template <class Tree>
using PackageService = ListGetService<PackageLookup<Tree>>;
template <class Tree>
using ServiceService = ListGetService<ServiceLookup<Tree>>;

// The operations of one service: an unknown service is not found for List, an unknown service or
// operation for Get.
template <class Tree>
class OperationService final
    : public ServiceAdapter<OperationService<Tree>, typename Tree::OperationInterface,
                            typename Tree::Container> {
 public:
  using Activation = std::shared_ptr<Core::AsyncActivation>;
  using Record = decltype(std::declval<const typename Tree::Container&>().OperationInfo(
      std::string(), std::string()));
  using ServiceAdapter<OperationService<Tree>, typename Tree::OperationInterface,
                       typename Tree::Container>::ServiceAdapter;

  void List(const std::string& serviceId, const Activation&,
            const AsyncResult<std::list<std::string>>& result) override {
    CompleteOrNotFound(result, this->container_->ListOperations(serviceId),
                       Tree::kServiceNotFoundId, serviceId);
  }
  void Get(const std::string& serviceId, const std::string& operationId, const Activation&,
           const AsyncResult<Record>& result) override {
    CompleteOrNotFound(result, this->container_->OperationInfo(serviceId, operationId),
                       Tree::kOperationNotFoundId, serviceId, operationId);
  }
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

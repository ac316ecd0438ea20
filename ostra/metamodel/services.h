// The ten Metamodel services: adapters of the service interfaces over the Metamodel store.
#pragma once

#include <memory>

#include "ostra/metamodel/metadata_container.h"
#include "ostra/provider/service_adapter.h"
#include "ostra/std_bindings/metamodel_services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

namespace ComponentSvc {

struct Lookup {
  using Interface = Binding::ComponentSvc::AsyncServiceInterface;
  using Container = MetadataContainer;
  static constexpr auto kList = &Container::ListComponents;
  static constexpr auto kGet = &Container::ComponentInfo;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.component.not.found";
};

class AsyncServiceImpl final : public ListGetAdapter<AsyncServiceImpl, Lookup> {
 public:
  using ListGetAdapter::ListGetAdapter;

  void Fingerprint(const std::string& componentId,
                   const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
                   const Ostra::AsyncResult<std::string>& result) override;
};

}  // namespace ComponentSvc

namespace PackageSvc {

struct Lookup {
  using Interface = Binding::PackageSvc::AsyncServiceInterface;
  using Container = MetadataContainer;
  static constexpr auto kList = &Container::ListPackages;
  static constexpr auto kGet = &Container::PackageInfo;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.package.not.found";
};

class AsyncServiceImpl final : public ListGetAdapter<AsyncServiceImpl, Lookup> {
 public:
  using ListGetAdapter::ListGetAdapter;
};

}  // namespace PackageSvc

namespace ServiceSvc {

struct Lookup {
  using Interface = Binding::ServiceSvc::AsyncServiceInterface;
  using Container = MetadataContainer;
  static constexpr auto kList = &Container::ListServices;
  static constexpr auto kGet = &Container::ServiceInfo;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.service.not.found";
};

class AsyncServiceImpl final : public ListGetAdapter<AsyncServiceImpl, Lookup> {
 public:
  using ListGetAdapter::ListGetAdapter;
};

}  // namespace ServiceSvc

namespace Service {
namespace OperationSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::Service::OperationSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::string& serviceId,
            const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
  void Get(
      const std::string& serviceId, const std::string& operationId,
      const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
      const Ostra::AsyncResult<std::shared_ptr<const Binding::OperationInfo>>& result) override;
};

}  // namespace OperationSvc
}  // namespace Service

namespace Service {
namespace HiddenSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::Service::HiddenSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
};

}  // namespace HiddenSvc
}  // namespace Service

namespace EnumerationSvc {

struct Lookup {
  using Interface = Binding::EnumerationSvc::AsyncServiceInterface;
  using Container = MetadataContainer;
  static constexpr auto kList = &Container::ListEnumerations;
  static constexpr auto kGet = &Container::EnumerationInfo;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.enumeration.not.found";
};

class AsyncServiceImpl final : public ListGetAdapter<AsyncServiceImpl, Lookup> {
 public:
  using ListGetAdapter::ListGetAdapter;
};

}  // namespace EnumerationSvc

namespace StructureSvc {

struct Lookup {
  using Interface = Binding::StructureSvc::AsyncServiceInterface;
  using Container = MetadataContainer;
  static constexpr auto kList = &Container::ListStructures;
  static constexpr auto kGet = &Container::StructureInfo;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.structure.not.found";
};

class AsyncServiceImpl final : public ListGetAdapter<AsyncServiceImpl, Lookup> {
 public:
  using ListGetAdapter::ListGetAdapter;
};

}  // namespace StructureSvc

namespace ResourceSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::ResourceSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::set<std::string>>& result) override;
};

}  // namespace ResourceSvc

namespace Resource {
namespace ModelSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::Resource::ModelSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::string& resourceId,
            const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::set<std::string>>& result) override;
};

}  // namespace ModelSvc
}  // namespace Resource

namespace SourceSvc {

struct Domain {
  using Interface = Binding::SourceSvc::AsyncServiceInterface;
  using Container = Metamodel::MetadataContainer;
  using CreateSpec = Binding::SourceSvc::CreateSpec;
  using Info = Binding::SourceSvc::Info;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.source.not.found";
  // Success of a mutation is signalled by leaving the result uncompleted.
  static constexpr bool kCompleteOnSuccess = false;
};

class AsyncServiceImpl final : public SourceServiceAdapter<AsyncServiceImpl, Domain> {
 public:
  using SourceServiceAdapter::SourceServiceAdapter;
};

}  // namespace SourceSvc

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

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

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::ComponentSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
  void Get(
      const std::string& componentId,
      const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
      const Ostra::AsyncResult<std::shared_ptr<const Binding::ComponentData>>& result) override;
  void Fingerprint(const std::string& componentId,
                   const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
                   const Ostra::AsyncResult<std::string>& result) override;
};

}  // namespace ComponentSvc

namespace PackageSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::PackageSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
  void Get(const std::string& packageId,
           const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
           const Ostra::AsyncResult<std::shared_ptr<const Binding::PackageInfo>>& result) override;
};

}  // namespace PackageSvc

namespace ServiceSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::ServiceSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
  void Get(const std::string& serviceId,
           const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
           const Ostra::AsyncResult<std::shared_ptr<const Binding::ServiceInfo>>& result) override;
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

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::EnumerationSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
  void Get(
      const std::string& enumerationId,
      const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
      const Ostra::AsyncResult<std::shared_ptr<const Binding::EnumerationInfo>>& result) override;
};

}  // namespace EnumerationSvc

namespace StructureSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::StructureSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::string>>& result) override;
  void Get(
      const std::string& structureId,
      const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
      const Ostra::AsyncResult<std::shared_ptr<const Binding::StructureInfo>>& result) override;
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

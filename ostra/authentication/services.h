// The Authentication services: adapters of the service interfaces over the Authentication store.
#pragma once

#include <memory>

#include "ostra/authentication/metadata_container.h"
#include "ostra/provider/service_adapter.h"
#include "ostra/std_bindings/authentication_services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

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

namespace SourceSvc {

struct Domain {
  using Interface = Binding::SourceSvc::AsyncServiceInterface;
  using Container = Authentication::MetadataContainer;
  using CreateSpec = Binding::SourceSvc::CreateSpec;
  using Info = Binding::SourceSvc::Info;
  static constexpr const char* kNotFoundId = "ostra.metada.authentication.source.not.found";
  // Success of a mutation is signalled by leaving the result uncompleted.
  static constexpr bool kCompleteOnSuccess = false;
};

class AsyncServiceImpl final : public SourceServiceAdapter<AsyncServiceImpl, Domain> {
 public:
  using SourceServiceAdapter::SourceServiceAdapter;
};

}  // namespace SourceSvc

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

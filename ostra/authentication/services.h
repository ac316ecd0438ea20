// The Authentication services: adapters of the service interfaces over the Authentication store.
//
// Each adapter holds the store and nothing else; a call makes one store call and completes its
// result with the answer, or with NotFound holding one catalogue message when nothing was found. A
// successful source mutation leaves its result uncompleted.
#pragma once

#include <memory>

#include "ostra/authentication/metadata_container.h"
#include "ostra/provider/tree_services.h"
#include "ostra/std_bindings/authentication_services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

// The model tree of this domain (see tree_services.h).
struct Tree {
  using Container = MetadataContainer;
  using ComponentInterface = Binding::ComponentSvc::AsyncServiceInterface;
  using PackageInterface = Binding::PackageSvc::AsyncServiceInterface;
  using ServiceInterface = Binding::ServiceSvc::AsyncServiceInterface;
  using OperationInterface = Binding::Service::OperationSvc::AsyncServiceInterface;
  // A missing component is reported with the Metamodel domain's message id.
  static constexpr const char* kComponentNotFoundId = "ostra.metada.metamodel.component.not.found";
  static constexpr const char* kPackageNotFoundId = "ostra.metada.authentication.package.not.found";
  static constexpr const char* kServiceNotFoundId = "ostra.metada.authentication.service.not.found";
  static constexpr const char* kOperationNotFoundId =
      "ostra.metada.authentication.operation.not.found";
};

namespace ComponentSvc {
using AsyncServiceImpl = ComponentService<Tree>;
}  // namespace ComponentSvc

namespace PackageSvc {
using AsyncServiceImpl = PackageService<Tree>;
}  // namespace PackageSvc

namespace ServiceSvc {
using AsyncServiceImpl = ServiceService<Tree>;
}  // namespace ServiceSvc

namespace Service {
namespace OperationSvc {
using AsyncServiceImpl = OperationService<Tree>;
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

using AsyncServiceImpl = SourceService<Domain>;

}  // namespace SourceSvc

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

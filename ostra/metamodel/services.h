// The ten Metamodel services: adapters of the service interfaces over the Metamodel store.
//
// Each adapter holds the store and nothing else; a call makes one store call and completes its
// result with the answer, or with NotFound holding one catalogue message when nothing was found. A
// successful source mutation leaves its result uncompleted.
#pragma once

#include <memory>

#include "ostra/metamodel/metadata_container.h"
#include "ostra/provider/tree_services.h"
#include "ostra/std_bindings/metamodel_services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

// The model tree of this domain (see tree_services.h).
struct Tree {
  using Container = MetadataContainer;
  using ComponentInterface = Binding::ComponentSvc::AsyncServiceInterface;
  using PackageInterface = Binding::PackageSvc::AsyncServiceInterface;
  using ServiceInterface = Binding::ServiceSvc::AsyncServiceInterface;
  using OperationInterface = Binding::Service::OperationSvc::AsyncServiceInterface;
  static constexpr const char* kComponentNotFoundId = "ostra.metada.metamodel.component.not.found";
  static constexpr const char* kPackageNotFoundId = "ostra.metada.metamodel.package.not.found";
  static constexpr const char* kServiceNotFoundId = "ostra.metada.metamodel.service.not.found";
  static constexpr const char* kOperationNotFoundId = "ostra.metada.metamodel.operation.not.found";
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

using AsyncServiceImpl = ListGetService<Lookup>;

}  // namespace EnumerationSvc

namespace StructureSvc {

struct Lookup {
  using Interface = Binding::StructureSvc::AsyncServiceInterface;
  using Container = MetadataContainer;
  static constexpr auto kList = &Container::ListStructures;
  static constexpr auto kGet = &Container::StructureInfo;
  static constexpr const char* kNotFoundId = "ostra.metada.metamodel.structure.not.found";
};

using AsyncServiceImpl = ListGetService<Lookup>;

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

using AsyncServiceImpl = SourceService<Domain>;

}  // namespace SourceSvc

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

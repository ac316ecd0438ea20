#include "ostra/std_bindings/metamodel_services.h"

#include "ostra/std_bindings/service_binding.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Metamodel {

namespace ComponentSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List),
       BindOperation("get", &AsyncServiceInterface::Get, {"component_id"}),
       BindOperation("fingerprint", &AsyncServiceInterface::Fingerprint, {"component_id"})});
}

}  // namespace ComponentSvc

namespace PackageSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List),
       BindOperation("get", &AsyncServiceInterface::Get, {"package_id"})});
}

}  // namespace PackageSvc

namespace ServiceSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List),
       BindOperation("get", &AsyncServiceInterface::Get, {"service_id"})});
}

}  // namespace ServiceSvc

namespace Service {
namespace OperationSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List, {"service_id"}),
       BindOperation("get", &AsyncServiceInterface::Get, {"service_id", "operation_id"})});
}

}  // namespace OperationSvc
}  // namespace Service

namespace Service {
namespace HiddenSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation), {BindOperation("list", &AsyncServiceInterface::List)});
}

}  // namespace HiddenSvc
}  // namespace Service

namespace EnumerationSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List),
       BindOperation("get", &AsyncServiceInterface::Get, {"enumeration_id"})});
}

}  // namespace EnumerationSvc

namespace StructureSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List),
       BindOperation("get", &AsyncServiceInterface::Get, {"structure_id"})});
}

}  // namespace StructureSvc

namespace ResourceSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation), {BindOperation("list", &AsyncServiceInterface::List)});
}

}  // namespace ResourceSvc

namespace Resource {
namespace ModelSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List, {"resource_id"})});
}

}  // namespace ModelSvc
}  // namespace Resource

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

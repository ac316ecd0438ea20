#include "ostra/std_bindings/authentication_services.h"

#include "ostra/std_bindings/service_binding.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Authentication {

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

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

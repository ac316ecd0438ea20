#include "ostra/authentication/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

using Activation = std::shared_ptr<Core::AsyncActivation>;
using Names = std::list<std::string>;

namespace ComponentSvc {
// A missing component is reported with the Metamodel domain's message id.
constexpr const char* kNotFound = "ostra.metada.metamodel.component.not.found";

void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListComponents());
}
void AsyncServiceImpl::Get(
    const std::string& componentId, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::ComponentData>>& result) {
  CompleteOrNotFound(result, container_->ComponentInfo(componentId), kNotFound, componentId);
}
void AsyncServiceImpl::Fingerprint(const std::string& componentId, const Activation&,
                                   const AsyncResult<std::string>& result) {
  CompleteOrNotFound(result, container_->ComponentFingerprint(componentId), kNotFound, componentId);
}
}  // namespace ComponentSvc

namespace PackageSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListPackages());
}
void AsyncServiceImpl::Get(const std::string& packageId, const Activation&,
                           const AsyncResult<std::shared_ptr<const Binding::PackageInfo>>& result) {
  CompleteOrNotFound(result, container_->PackageInfo(packageId),
                     "ostra.metada.authentication.package.not.found", packageId);
}
}  // namespace PackageSvc

namespace ServiceSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListServices());
}
void AsyncServiceImpl::Get(const std::string& serviceId, const Activation&,
                           const AsyncResult<std::shared_ptr<const Binding::ServiceInfo>>& result) {
  CompleteOrNotFound(result, container_->ServiceInfo(serviceId),
                     "ostra.metada.authentication.service.not.found", serviceId);
}
}  // namespace ServiceSvc

namespace Service {
namespace OperationSvc {
void AsyncServiceImpl::List(const std::string& serviceId, const Activation&,
                            const AsyncResult<Names>& result) {
  CompleteOrNotFound(result, container_->ListOperations(serviceId),
                     "ostra.metada.authentication.service.not.found", serviceId);
}
void AsyncServiceImpl::Get(
    const std::string& serviceId, const std::string& operationId, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::OperationInfo>>& result) {
  CompleteOrNotFound(result, container_->OperationInfo(serviceId, operationId),
                     "ostra.metada.authentication.operation.not.found", serviceId, operationId);
}
}  // namespace OperationSvc
}  // namespace Service

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

#include "ostra/authentication/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

using Activation = std::shared_ptr<Core::AsyncActivation>;
using Names = std::list<std::string>;

namespace ComponentSvc {
void AsyncServiceImpl::Fingerprint(const std::string& componentId, const Activation&,
                                   const AsyncResult<std::string>& result) {
  CompleteOrNotFound(result, container_->ComponentFingerprint(componentId), Lookup::kNotFoundId,
                     componentId);
}
}  // namespace ComponentSvc

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

#include "ostra/metamodel/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

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
                     "ostra.metada.metamodel.service.not.found", serviceId);
}
void AsyncServiceImpl::Get(
    const std::string& serviceId, const std::string& operationId, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::OperationInfo>>& result) {
  CompleteOrNotFound(result, container_->OperationInfo(serviceId, operationId),
                     "ostra.metada.metamodel.operation.not.found", serviceId, operationId);
}
}  // namespace OperationSvc

namespace HiddenSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListHiddens());
}
}  // namespace HiddenSvc
}  // namespace Service

namespace ResourceSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<std::set<std::string>>& result) {
  result(container_->ListResources());
}
}  // namespace ResourceSvc

namespace Resource {
namespace ModelSvc {
void AsyncServiceImpl::List(const std::string& resourceId, const Activation&,
                            const AsyncResult<std::set<std::string>>& result) {
  CompleteOrNotFound(result, container_->ListModels(resourceId),
                     "ostra.metada.metamodel.resource.not.found", resourceId);
}
}  // namespace ModelSvc
}  // namespace Resource

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

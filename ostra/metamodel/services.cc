#include "ostra/metamodel/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

using Activation = std::shared_ptr<Core::AsyncActivation>;
using Names = std::list<std::string>;

namespace Service {
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

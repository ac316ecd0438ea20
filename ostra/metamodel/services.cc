#include "ostra/metamodel/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

using Activation = std::shared_ptr<Core::AsyncActivation>;
using Names = std::list<std::string>;

namespace ComponentSvc {
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
                     "ostra.metada.metamodel.package.not.found", packageId);
}
}  // namespace PackageSvc

namespace ServiceSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListServices());
}
void AsyncServiceImpl::Get(const std::string& serviceId, const Activation&,
                           const AsyncResult<std::shared_ptr<const Binding::ServiceInfo>>& result) {
  CompleteOrNotFound(result, container_->ServiceInfo(serviceId),
                     "ostra.metada.metamodel.service.not.found", serviceId);
}
}  // namespace ServiceSvc

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

namespace EnumerationSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListEnumerations());
}
void AsyncServiceImpl::Get(
    const std::string& enumerationId, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::EnumerationInfo>>& result) {
  CompleteOrNotFound(result, container_->EnumerationInfo(enumerationId),
                     "ostra.metada.metamodel.enumeration.not.found", enumerationId);
}
}  // namespace EnumerationSvc

namespace StructureSvc {
void AsyncServiceImpl::List(const Activation&, const AsyncResult<Names>& result) {
  result(container_->ListStructures());
}
void AsyncServiceImpl::Get(
    const std::string& structureId, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::StructureInfo>>& result) {
  CompleteOrNotFound(result, container_->StructureInfo(structureId),
                     "ostra.metada.metamodel.structure.not.found", structureId);
}
}  // namespace StructureSvc

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

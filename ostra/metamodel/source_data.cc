#include "ostra/metamodel/source_data.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

SourceData::SourceData(const std::shared_ptr<const Binding::SourceSvc::CreateSpec>& createSpec)
    : spec(createSpec), info(Binding::SourceSvc::Info::Of(*createSpec)) {}

void SourceData::RegisterComponentNode(const std::shared_ptr<Binding::ComponentInfo>& component) {
  components[component->name] = component;
}

void SourceData::RegisterResoure(const std::string& resource) {
  resources[resource];
}

void SourceData::RegisterModel(const std::string& resource, const std::string& model) {
  resources[resource].insert(model);
}

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

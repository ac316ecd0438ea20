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

void SourceData::IndexComponents() {
  index.Build(components);
  for (const auto& component : components) {
    for (const auto& package : component.second->packages) {
      for (const auto& structure : package.second->structures) {
        structureStages[0].Insert(structure);
        for (const auto& enumeration : structure.second->enumerations)
          enumerationStages[2].Insert(enumeration);
      }
      for (const auto& enumeration : package.second->enumerations)
        enumerationStages[0].Insert(enumeration);
      for (const auto& service : package.second->services) {
        for (const auto& structure : service.second->structures) {
          structureStages[1].Insert(structure);
          for (const auto& enumeration : structure.second->enumerations)
            enumerationStages[3].Insert(enumeration);
        }
        for (const auto& enumeration : service.second->enumerations)
          enumerationStages[1].Insert(enumeration);
      }
    }
  }
}

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// SourceData: the index of one loaded Metamodel source. Filled by one parse on the loading thread,
// stamped with its fingerprints when the parse succeeded, then shared read-only.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "ostra/provider/component_index.h"
#include "ostra/std_bindings/metamodel.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;

class SourceData {
 public:
  explicit SourceData(const std::shared_ptr<const Binding::SourceSvc::CreateSpec>& createSpec);

  // Stores the component under its name; a later one of the same name replaces it.
  void RegisterComponentNode(const std::shared_ptr<Binding::ComponentInfo>& component);
  // Adds the resource with no models, unless it is known already. (The name is part of the
  // interface and keeps its spelling.)
  void RegisterResoure(const std::string& resource);
  // Adds a model to the resource's set, creating the resource when it is new.
  void RegisterModel(const std::string& resource, const std::string& model);
  // Builds the indexes below from the components, which stay as they are from then on.
  void IndexComponents();

  // The spec the source was created from; a reload loads from it again.
  std::shared_ptr<const Binding::SourceSvc::CreateSpec> spec;
  // What the source service's Get reports: the fields of its create spec.
  std::shared_ptr<Binding::SourceSvc::Info> info;
  std::map<std::string, std::shared_ptr<const Binding::ComponentInfo>> components;
  // Resource identifier to the names of its model structures.
  std::map<std::string, std::set<std::string>> resources;
  // Hex CRC32 of the source text, and the same text as every component of the source reports it.
  // Both are empty until the source loaded.
  std::string fingerprint;
  std::string componentFingerprint;

  // Lookups by identifier, each answering the first record of the id in walking order (components
  // by name, then packages, services, structures, each map in key order).
  ComponentIndex<Binding::ComponentInfo> index;
  template <class Record>
  using Index = FirstIndex<std::pair<const std::string, std::shared_ptr<const Record>>>;
  // Structures of packages, then of services: the stages in which a structure is looked for.
  std::array<Index<Binding::StructureInfo>, 2> structureStages;
  // Enumerations of packages, of services, inside package structures, inside service structures.
  std::array<Index<Binding::EnumerationInfo>, 4> enumerationStages;
};

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

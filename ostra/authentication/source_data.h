// SourceData: the index of one loaded Authentication source. Filled by one parse on the loading
// thread, stamped with its fingerprints when the parse succeeded, then shared read-only.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "ostra/provider/component_index.h"
#include "ostra/std_bindings/authentication.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

namespace Binding = Com::Corvane::Ostra::Metadata::Authentication;

class SourceData {
 public:
  explicit SourceData(const std::shared_ptr<const Binding::SourceSvc::CreateSpec>& spec);

  // A later component of the same name replaces the earlier one.
  void RegisterComponentNode(const std::string& name,
                             const std::shared_ptr<Binding::ComponentInfo>& component);

  // The spec the source was created from; a reload loads from it again.
  std::shared_ptr<const Binding::SourceSvc::CreateSpec> createSpec;
  // What the source service's Get reports: the fields of its create spec.
  std::shared_ptr<Binding::SourceSvc::Info> info;
  std::map<std::string, std::shared_ptr<const Binding::ComponentInfo>> components;
  // Hex CRC32 of the source text, as the source digest uses it and as its components report it.
  std::string sourceFingerprint;
  std::string componentFingerprint;
  // Packages, services and operations by identifier, built once the components are final.
  ComponentIndex<Binding::ComponentInfo> index;
};

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

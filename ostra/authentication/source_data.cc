#include "ostra/authentication/source_data.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

SourceData::SourceData(const std::shared_ptr<const Binding::SourceSvc::CreateSpec>& spec)
    : createSpec(spec), info(Binding::SourceSvc::Info::Of(*spec)) {}

void SourceData::RegisterComponentNode(const std::string& name,
                                       const std::shared_ptr<Binding::ComponentInfo>& component) {
  components[name] = component;
}

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

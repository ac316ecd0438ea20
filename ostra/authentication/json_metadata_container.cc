#include "ostra/authentication/json_metadata_container.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {
namespace {

JsonMetadataParser::RegisterCallbacks Register(SourceData& source) {
  return
      [&source](const std::string& name, const std::shared_ptr<Binding::ComponentInfo>& component) {
        source.RegisterComponentNode(name, component);
      };
}

}  // namespace

std::shared_ptr<MetadataContainer> MetadataContainer::GetInstance() {
  return std::make_shared<JsonMetadataContainer>();
}

bool AuthenticationSources::ParseDocument(const JsonDocument& document, SourceData& source,
                                          Messages& messages) {
  if (!JsonMetadataParser::LoadMetadataFromDoc(document, Register(source), messages)) return false;
  source.index.Build(source.components);
  return true;
}

void AuthenticationSources::Stamp(SourceData& source, const std::string& fingerprint) {
  source.sourceFingerprint = fingerprint;
  source.componentFingerprint = fingerprint;
}

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// JsonMetadataContainer: the Metamodel store over JSON sources.
//
// A source is stored only when its whole document loaded: a document that does not load is
// refused with an InvalidArgument error holding the parser's messages, and any failure leaves the
// store as it was. Every operation may be called from any thread (see SourceSet).
#pragma once

#include <memory>

#include "ostra/metamodel/json_metadata_parser.h"
#include "ostra/metamodel/metadata_container.h"
#include "ostra/metamodel/source_data.h"
#include "ostra/provider/source_set.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

// How Metamodel sources are read and fingerprinted.
struct MetamodelSources {
  using SourceData = Metamodel::SourceData;
  using CreateSpec = Binding::SourceSvc::CreateSpec;
  static constexpr const char* kSourceExistsId = "ostra.metada.metamodel.source.exists";
  static constexpr const char* kSourceNotFoundId = "ostra.metada.metamodel.source.not.found";
  static constexpr const char* kSourceFileNotFoundId =
      "ostra.metada.metamodel.source.file.not.found";

  static const std::shared_ptr<const CreateSpec>& SpecOf(const SourceData& source) {
    return source.spec;
  }
  static bool ParseDocument(const JsonDocument& document, SourceData& source, Messages& messages);
  // Source files are read with their packages one at a time (LoadMetadataFile).
  static std::shared_ptr<ParsedMetadata> ReadFile(const std::string& path, SourceData& source,
                                                  Messages& messages, bool& loaded);
  static void Stamp(SourceData& source, const std::string& fingerprint);
  static const std::string& SourceFingerprint(const SourceData& source) {
    return source.fingerprint;
  }
};

class JsonMetadataContainer final
    : public ComponentStore<MetadataContainer, MetamodelSources, Binding::ComponentData> {
 public:
  std::list<std::string> ListHiddens() const override;
  std::list<std::string> ListEnumerations() const override;
  std::shared_ptr<const Binding::EnumerationInfo> EnumerationInfo(
      const std::string& enumerationId) const override;
  std::list<std::string> ListStructures() const override;
  std::shared_ptr<const Binding::StructureInfo> StructureInfo(
      const std::string& structureId) const override;
  std::set<std::string> ListResources() const override;
  boost::optional<std::set<std::string>> ListModels(const std::string& resourceId) const override;
};

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

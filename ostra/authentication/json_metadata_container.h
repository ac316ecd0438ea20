// JsonMetadataContainer: the Authentication store over JSON sources.
//
// A source is stored only when its whole document loaded: a document that does not load is
// refused with an InvalidArgument error holding the parser's messages, and any failure leaves the
// store as it was. Every operation may be called from any thread (see SourceSet).
#pragma once

#include <memory>

#include "ostra/authentication/json_metadata_parser.h"
#include "ostra/authentication/metadata_container.h"
#include "ostra/authentication/source_data.h"
#include "ostra/provider/source_set.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

// How Authentication sources are read and fingerprinted.
struct AuthenticationSources {
  using SourceData = Authentication::SourceData;
  using CreateSpec = Binding::SourceSvc::CreateSpec;
  static constexpr const char* kSourceExistsId = "ostra.metada.authentication.source.exists";
  static constexpr const char* kSourceNotFoundId = "ostra.metada.authentication.source.not.found";
  static constexpr const char* kSourceFileNotFoundId =
      "ostra.metada.authentication.source.file.not.found";

  static const std::shared_ptr<const CreateSpec>& SpecOf(const SourceData& source) {
    return source.createSpec;
  }
  static bool ParseDocument(const JsonDocument& document, SourceData& source, Messages& messages);
  static void Stamp(SourceData& source, const std::string& fingerprint);
  static const std::string& SourceFingerprint(const SourceData& source) {
    return source.sourceFingerprint;
  }
};

class JsonMetadataContainer final
    : public ComponentStore<MetadataContainer, AuthenticationSources, Binding::ComponentData> {};

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

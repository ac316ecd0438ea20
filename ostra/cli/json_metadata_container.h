// JsonMetadataContainer: the Cli store over JSON sources.
//
// A source is stored only when its whole document loaded: a document that does not load is
// refused with an InvalidArgument error holding the parser's messages, and any failure leaves the
// store as it was. Every operation may be called from any thread (see SourceSet).
#pragma once

#include <memory>

#include "ostra/cli/json_metadata_parser.h"
#include "ostra/cli/metadata_container.h"
#include "ostra/cli/source_data.h"
#include "ostra/provider/source_set.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

// How Cli sources are read and fingerprinted.
struct CliSources {
  using SourceData = Cli::SourceData;
  using CreateSpec = Binding::SourceSvc::CreateSpec;
  static constexpr const char* kSourceExistsId = "ostra.metada.cli.source.exists";
  static constexpr const char* kSourceNotFoundId = "ostra.metada.cli.source.not.found";
  static constexpr const char* kSourceFileNotFoundId = "ostra.metada.cli.source.file.not.found";

  static const std::shared_ptr<const CreateSpec>& SpecOf(const SourceData& source) {
    return source.createSpec;
  }
  static bool ParseDocument(const JsonDocument& document, SourceData& source, Messages& messages);
  static void Stamp(SourceData& source, const std::string& fingerprint);
  static const std::string& SourceFingerprint(const SourceData& source) {
    return source.sourceFingerprint;
  }
};

class JsonMetadataContainer final : public SourceStore<MetadataContainer, CliSources> {
 public:
  std::list<NamespaceId> ListNamespaces() const override;
  std::shared_ptr<const Binding::Namespace_Svc::Info> NamespaceInfo(
      const NamespaceId& identity) const override;
  std::string NamespaceFingerprint() const override;
  std::list<CommandId> ListCommands(const boost::optional<std::string>& path) const override;
  std::shared_ptr<const Binding::CommandSvc::Info> CommandInfo(
      const CommandId& identity) const override;
  std::string CommandFingerprint() const override;
};

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

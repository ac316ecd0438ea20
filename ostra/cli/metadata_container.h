// MetadataContainer: the Cli store as services and hosts see it.
//
// Namespaces are merged across sources (one identity listed once, children united); commands are
// not (lookups answer the first source by id, lists concatenate). Nothing found is null, an empty
// list or an empty string. Every operation may be called from any thread.
#pragma once

#include <list>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/data_value.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/provider/source_container.h"
#include "ostra/std_bindings/cli.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

namespace Binding = Com::Corvane::Ostra::Metadata::Cli;
using ErrorPtr = std::shared_ptr<const Data::ErrorValue>;

// The source operations come first (see SourceContainer), then the queries.
class MetadataContainer
    : public SourceContainer<Binding::SourceSvc::CreateSpec, Binding::SourceSvc::Info> {
 public:
  // A new, empty store; every call makes another.
  static std::shared_ptr<MetadataContainer> GetInstance();

  // Every namespace of every source once, by path then name.
  virtual std::list<std::shared_ptr<const Binding::Namespace_Svc::Identity>> ListNamespaces()
      const = 0;
  // A new record: the children of every source's namespace of that identity, united and sorted.
  virtual std::shared_ptr<const Binding::Namespace_Svc::Info> NamespaceInfo(
      const std::shared_ptr<const Binding::Namespace_Svc::Identity>& identity) const = 0;
  virtual std::string NamespaceFingerprint() const = 0;
  // The commands of every source (of the namespace whose dotted path is `path`, when given).
  virtual std::list<std::shared_ptr<const Binding::CommandSvc::Identity>> ListCommands(
      const boost::optional<std::string>& path) const = 0;
  virtual std::shared_ptr<const Binding::CommandSvc::Info> CommandInfo(
      const std::shared_ptr<const Binding::CommandSvc::Identity>& identity) const = 0;
  virtual std::string CommandFingerprint() const = 0;

  virtual ~MetadataContainer() = default;
};

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

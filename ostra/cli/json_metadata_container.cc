#include "ostra/cli/json_metadata_container.h"

#include <set>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {
namespace {

using Loaded = SourceSet<CliSources>::Loaded;

MetadataParser::RegisterCallbacks Register(SourceData& source) {
  return {[&source](const std::shared_ptr<Binding::Namespace_Svc::Info>& info) {
            source.RegisterNsNode(info);
          },
          [&source](const std::shared_ptr<Binding::CommandSvc::Info>& info) {
            source.RegisterCmdNode(info);
          }};
}

}  // namespace

std::shared_ptr<MetadataContainer> MetadataContainer::GetInstance() {
  return std::make_shared<JsonMetadataContainer>();
}

bool CliSources::ParseDocument(const JsonDocument& document, SourceData& source,
                               Messages& messages) {
  return MetadataParser::LoadMetadataFromDoc(document, Register(source), messages);
}

void CliSources::Stamp(SourceData& source, const std::string& fingerprint) {
  source.sourceFingerprint = fingerprint;
  source.namespaceFingerprint = fingerprint;
  source.commandFingerprint = fingerprint;
}

std::list<NamespaceId> JsonMetadataContainer::ListNamespaces() const {
  return sources_.Read([](const Loaded& sources) {
    std::set<NamespaceId, CmpCliIds> ids;
    for (const SourceData* source : sources) {
      for (const auto& entry : source->namespaces)
        ids.insert(entry.first);
    }
    return std::list<NamespaceId>(ids.begin(), ids.end());
  });
}

std::shared_ptr<const Binding::Namespace_Svc::Info> JsonMetadataContainer::NamespaceInfo(
    const NamespaceId& identity) const {
  if (!identity) return nullptr;
  return sources_.Read([&](const Loaded& sources) {
    std::shared_ptr<Binding::Namespace_Svc::Info> answer;
    std::set<NamespaceId, CmpCliIds> children;
    for (const SourceData* source : sources) {
      const auto it = source->namespaces.find(identity);
      if (it == source->namespaces.end()) continue;
      // Identity and description come from the last source met before any children were.
      if (children.empty()) {
        answer = std::make_shared<Binding::Namespace_Svc::Info>();
        answer->identity = it->second->identity;
        answer->description = it->second->description;
      }
      children.insert(it->second->children.begin(), it->second->children.end());
    }
    if (answer) answer->children.assign(children.begin(), children.end());
    return std::shared_ptr<const Binding::Namespace_Svc::Info>(std::move(answer));
  });
}

std::string JsonMetadataContainer::NamespaceFingerprint() const {
  return sources_.Digest(boost::none,
                         [](const SourceData& source) { return source.namespaceFingerprint; });
}

std::list<CommandId> JsonMetadataContainer::ListCommands(
    const boost::optional<std::string>& path) const {
  return sources_.Read([&](const Loaded& sources) {
    std::list<CommandId> ids;
    if (!path) {
      for (const SourceData* source : sources) {
        for (const auto& entry : source->commands)
          ids.push_back(entry.first);
      }
      return ids;
    }
    // Commands are ordered by path first: those of one path are neighbours.
    const auto first = std::make_shared<const Binding::CommandSvc::Identity>(
        Binding::CommandSvc::Identity{*path, std::string()});
    for (const SourceData* source : sources) {
      for (auto it = source->commands.lower_bound(first);
           it != source->commands.end() && it->first->path == *path; ++it) {
        ids.push_back(it->first);
      }
    }
    return ids;
  });
}

std::shared_ptr<const Binding::CommandSvc::Info> JsonMetadataContainer::CommandInfo(
    const CommandId& identity) const {
  if (!identity) return nullptr;
  return sources_.Read([&](const Loaded& sources) {
    for (const SourceData* source : sources) {
      const auto it = source->commands.find(identity);
      if (it != source->commands.end())
        return std::shared_ptr<const Binding::CommandSvc::Info>(it->second);
    }
    return std::shared_ptr<const Binding::CommandSvc::Info>();
  });
}

std::string JsonMetadataContainer::CommandFingerprint() const {
  return sources_.Digest(boost::none,
                         [](const SourceData& source) { return source.commandFingerprint; });
}

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

#include "ostra/cli/source_data.h"

#include <algorithm>
#include <utility>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

using Binding::Namespace_Svc::Identity;

SourceData::SourceData(const std::shared_ptr<const Binding::SourceSvc::CreateSpec>& spec)
    : createSpec(spec), info(Binding::SourceSvc::Info::Of(*spec)) {}

NamespaceId SourceData::Str2NsId(const std::string& dotted) {
  const auto dot = dotted.rfind('.');
  if (dot == std::string::npos) return std::make_shared<const Identity>(Identity{"", dotted});
  return std::make_shared<const Identity>(Identity{dotted.substr(0, dot), dotted.substr(dot + 1)});
}

void SourceData::RegisterNsNode(const std::shared_ptr<Binding::Namespace_Svc::Info>& node) {
  const NamespaceId key = node->identity;
  const auto it = namespaces.find(key);
  if (it == namespaces.end()) {
    namespaces.emplace(key, node);
  } else if (it->second->description.size() <= node->description.size()) {
    it->second->description = node->description;
  }
  RegisterWithParent(key);
}

// Walks up iteratively rather than through RegisterNsNode, so that a deeply dotted path cannot
// exhaust the stack; a made-up ancestor is known to be absent, where RegisterNsNode would store it.
void SourceData::RegisterWithParent(const NamespaceId& id) {
  NamespaceId child = id;
  for (;;) {
    NamespaceId parent = Str2NsId(child->path);
    const auto it = namespaces.find(parent);
    if (it != namespaces.end()) {
      auto& children = it->second->children;
      const bool listed = std::any_of(children.begin(), children.end(),
                                      [&](const NamespaceId& c) { return SameCliId(*c, *child); });
      if (!listed) children.push_back(child);
      return;
    }
    auto made = std::make_shared<Binding::Namespace_Svc::Info>();
    made->identity = parent;
    made->description = parent->name.empty() ? "Root namespace" : parent->name + " namespace";
    made->children.push_back(child);
    namespaces.emplace(parent, std::move(made));
    child = std::move(parent);
  }
}

void SourceData::RegisterCmdNode(const std::shared_ptr<Binding::CommandSvc::Info>& node) {
  commands[node->identity] = node;
}

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// SourceData: the index of one loaded Cli source, its namespaces as a tree and its commands.
// Filled by one parse on the loading thread, stamped with its fingerprints when the parse
// succeeded, then shared read-only.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "ostra/std_bindings/cli.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

namespace Binding = Com::Corvane::Ostra::Metadata::Cli;
using NamespaceId = std::shared_ptr<const Binding::Namespace_Svc::Identity>;
using CommandId = std::shared_ptr<const Binding::CommandSvc::Identity>;

// The one order of identities: by path, then by name, byte-wise. Equal when neither is less.
struct CmpCliIds {
  template <class Identity>
  bool operator()(const Identity& a, const Identity& b) const {
    const int path = a.path.compare(b.path);
    return path != 0 ? path < 0 : a.name.compare(b.name) < 0;
  }
  template <class Identity>
  bool operator()(const std::shared_ptr<const Identity>& a,
                  const std::shared_ptr<const Identity>& b) const {
    return (*this)(*a, *b);
  }
};

template <class Identity>
bool SameCliId(const Identity& a, const Identity& b) {
  return !CmpCliIds()(a, b) && !CmpCliIds()(b, a);
}

class SourceData {
 public:
  explicit SourceData(const std::shared_ptr<const Binding::SourceSvc::CreateSpec>& spec);

  // "a.b.c" is ("a.b", "c"), "a" is ("", "a"), "" is the root ("", "").
  static NamespaceId Str2NsId(const std::string& dotted);

  // Adds a namespace, or gives one already there the new description unless its own is longer;
  // then makes sure its ancestors exist up to the root and list it among their children.
  void RegisterNsNode(const std::shared_ptr<Binding::Namespace_Svc::Info>& node);
  // Appends `id` to its parent's children (once), making up missing ancestors on the way: each
  // made-up namespace is described as "<name> namespace", the root as "Root namespace". The root
  // is its own parent, so it lists itself among its children.
  void RegisterWithParent(const NamespaceId& id);
  // A later command with an equal identity replaces the earlier one.
  void RegisterCmdNode(const std::shared_ptr<Binding::CommandSvc::Info>& node);

  // The spec the source was created from; a reload loads from it again.
  std::shared_ptr<const Binding::SourceSvc::CreateSpec> createSpec;
  // What the source service's Get reports: the fields of its create spec.
  std::shared_ptr<Binding::SourceSvc::Info> info;
  std::map<NamespaceId, std::shared_ptr<Binding::Namespace_Svc::Info>, CmpCliIds> namespaces;
  std::map<CommandId, std::shared_ptr<Binding::CommandSvc::Info>, CmpCliIds> commands;
  // Hex CRC32 of the source text, all three alike.
  std::string sourceFingerprint;
  std::string namespaceFingerprint;
  std::string commandFingerprint;
};

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// MetadataParser: reads one Cli document, {"cli": [node, ...]}, and hands every namespace and
// command node to the registration callbacks in document order.
//
// Every member is read in a fixed order and reading stops at the first fault, leaving its message
// last in the list; a member of the wrong JSON type is reported with the Cli invalid-field id.
// Unknown formatter and generic texts are not faults: they give the enumeration's unknown value,
// keeping the text. Nothing is thrown for a bad document.
#pragma once

#include <functional>
#include <istream>
#include <memory>

#include "ostra/json/json_member.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/std_bindings/cli.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

namespace Binding = Com::Corvane::Ostra::Metadata::Cli;

// The Cli ids of a member of the wrong JSON type and of a node of an unknown type. They are not
// in the message catalogue, so their text is "Unknown message.".
struct CliIds {
  static constexpr const char* kInvalidField = "ostra.metadata.cli.json.invalid.field";
  static constexpr const char* kInvalidNodeType = "ostra.metadata.cli.json.invalid.node.type";
};

class MetadataParser {
 public:
  // Both must be set: an empty one raises std::bad_function_call when it would fire.
  struct RegisterCallbacks {
    std::function<void(const std::shared_ptr<Binding::Namespace_Svc::Info>&)> ns;
    std::function<void(const std::shared_ptr<Binding::CommandSvc::Info>&)> command;
  };

  // Parses `in` and loads the document; answers whether every node was read.
  static bool LoadMetadata(std::istream& in, const RegisterCallbacks& callbacks,
                           Messages& messages);
  // The same over a parsed document. A document that failed to parse yields the single message
  // "ostra.metadata.cli.parse.error" ({1} code, {2} offset) and no callback.
  static bool LoadMetadataFromDoc(const JsonDocument& document, const RegisterCallbacks& callbacks,
                                  Messages& messages);
};

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

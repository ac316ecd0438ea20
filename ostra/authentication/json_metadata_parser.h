// JsonMetadataParser: reads one Authentication document into one ComponentInfo per component
// described in it ("product" and "component"), each with the schemes of its packages, services and
// operations.
//
// Operations named in "operations" join the service of their identifier when "services" lists
// it, else a service of their own; services join the package of their identifier when "packages"
// lists it, else a package of their own. The first operation of a name in a service, and the
// first service of an identifier in a package, wins; a service listed twice gets its operations
// the first time; a package listed twice keeps the later member, without services. A scheme-name
// list names members of the same component's "schemes". Nothing is thrown for a bad document: each
// fault appends one message.
#pragma once

#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "ostra/json/json_member.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/std_bindings/authentication.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {

namespace Binding = Com::Corvane::Ostra::Metadata::Authentication;

class JsonMetadataParser {
 public:
  // Receives each finished component with its name; must be set.
  using RegisterCallbacks =
      std::function<void(const std::string& name, const std::shared_ptr<Binding::ComponentInfo>&)>;

  static bool LoadMetadata(std::istream& in, const RegisterCallbacks& callback, Messages& messages);
  // A document that failed to parse yields "ostra.metadata.authentication.parse.error" alone.
  static bool LoadMetadataFromDoc(const JsonDocument& document, const RegisterCallbacks& callback,
                                  Messages& messages);

  // The text before and after the last dot; no dot: an empty head and the whole text.
  static std::pair<std::string_view, std::string_view> SplitFqdn(std::string_view text);
};

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

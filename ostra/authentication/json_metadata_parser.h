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
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/json/json_member.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/provider/view_map.h"
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

  using SchemePtr = std::shared_ptr<const Binding::AuthenticationInfo>;
  // Scheme name to scheme, found by any text.
  using SchemeTable = std::map<std::string, SchemePtr, std::less<>>;
  // The schemes that a list names, as the table's own pointers.
  using SchemeRefs = std::vector<const SchemePtr*>;
  using OperationMap = decltype(Binding::ServiceInfo::operations);
  using ServiceMap = decltype(Binding::PackageInfo::services);
  // What a component's parse groups while it reads: the operations of each service identifier
  // not yet given to a service, and the services of each package identifier not yet given to a
  // package. Identifiers are views into the member names of the document, which outlives them.
  // The first entry of a name wins in each map.
  // A group is taken by swapping its map out, which leaves it empty.
  using OperationGroups = ViewMap<OperationMap>;
  using ServiceGroups = ViewMap<ServiceMap>;
  using PackageTable = std::map<std::string, std::shared_ptr<const Binding::PackageInfo>>;

 private:
  static bool ParseAuthentication(const RegisterCallbacks& callback, const JsonValue& section,
                                  Messages& messages);
  static bool ParseComponent(const RegisterCallbacks& callback, const JsonValue& component,
                             Messages& messages);
  static bool ParseSchemes(const JsonValue& schemes, SchemeTable& table, Messages& messages);
  static std::shared_ptr<const Binding::AuthenticationInfo> ParseAuthInfo(const JsonValue& scheme,
                                                                          Messages& messages);
  static bool ParseSchemeList(const SchemeTable& table, const JsonValue& value, SchemeRefs& schemes,
                              Messages& messages);
  static bool ParseOperations(const SchemeTable& table, const JsonValue& operations,
                              OperationGroups& groups, Messages& messages);
  static bool ParseServices(const SchemeTable& table, OperationGroups& operations,
                            const JsonValue& services, ServiceGroups& groups, Messages& messages);
  static bool CreateServicesFromOperations(OperationGroups& operations, ServiceGroups& services,
                                           Messages& messages);
  static bool ParsePackages(const SchemeTable& table, ServiceGroups& services,
                            const JsonValue& packages, PackageTable& packageTable,
                            Messages& messages);
  static bool CreatePackagesFromServices(ServiceGroups& services, PackageTable& packages,
                                         Messages& messages);
};

// Scheme type texts (already upper-cased): the table's names, and SESSIONAWARE for the
// session-aware type.
Binding::AuthenticationInfoEnumerations::SchemeType ParseSchemeTypeEnum(const std::string& upper);

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

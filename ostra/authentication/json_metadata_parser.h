// JsonMetadataParser: reads one Authentication document into one ComponentInfo per component
// described in it ("product" and "component"), each with the schemes of its packages, services and
// operations.
//
// Operations named in "operations" join the service of their identifier when "services" lists
// it, else a service of their own; services join the package of their identifier when "packages"
// lists it, else a package of their own. A scheme-name list names members of the same
// component's "schemes". Nothing is thrown for a bad document: each fault appends one message.
#pragma once

#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <string>
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
  static std::pair<std::string, std::string> SplitFqdn(const std::string& text);

  using SchemeTable = std::map<std::string, std::shared_ptr<const Binding::AuthenticationInfo>>;
  // Service identifier to (operation name, operation); package identifier to (service
  // identifier, service). Entries of one key keep their document order.
  using OperationPool =
      std::multimap<std::string,
                    std::pair<std::string, std::shared_ptr<const Binding::OperationInfo>>>;
  using ServicePool =
      std::multimap<std::string,
                    std::pair<std::string, std::shared_ptr<const Binding::ServiceInfo>>>;
  using PackageTable = std::map<std::string, std::shared_ptr<const Binding::PackageInfo>>;

 private:
  static bool ParseAuthentication(const RegisterCallbacks& callback, const JsonValue& section,
                                  Messages& messages);
  static bool ParseComponent(const RegisterCallbacks& callback, const JsonValue& component,
                             Messages& messages);
  static bool ParseSchemes(const JsonValue& schemes, SchemeTable& table, Messages& messages);
  static std::shared_ptr<const Binding::AuthenticationInfo> ParseAuthInfo(const JsonValue& scheme,
                                                                          Messages& messages);
  static bool ParseSchemeList(const SchemeTable& table, const JsonValue& value,
                              Binding::SchemeList& list, Messages& messages);
  static bool ParseOperations(const SchemeTable& table, const JsonValue& operations,
                              OperationPool& pool, Messages& messages);
  static bool ParseServices(const SchemeTable& table, OperationPool& operations,
                            const JsonValue& services, ServicePool& pool, Messages& messages);
  static bool CreateServicesFromOperations(OperationPool& operations, ServicePool& services,
                                           Messages& messages);
  static bool ParsePackages(const SchemeTable& table, ServicePool& services,
                            const JsonValue& packages, PackageTable& packageTable,
                            Messages& messages);
  static bool CreatePackagesFromServices(ServicePool& services, PackageTable& packages,
                                         Messages& messages);
};

// Scheme type texts (already upper-cased): the table's names, and SESSIONAWARE for the
// session-aware type.
Binding::AuthenticationInfoEnumerations::SchemeType ParseSchemeTypeEnum(const std::string& upper);

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

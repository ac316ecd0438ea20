#include "ostra/authentication/json_metadata_parser.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {
namespace {

using SchemeType = Binding::AuthenticationInfoEnumerations::SchemeType;

constexpr const char* kParseErrorId = "ostra.metadata.authentication.parse.error";
constexpr const char* kUnknownSchemeId = "ostra.metadata.authentication.json.unknown.schema.name";
constexpr const char* kInvalidOperationId =
    "ostra.metadata.authentication.json.invalid.operation.id";
constexpr const char* kInvalidServiceId = "ostra.metadata.authentication.json.invalid.service.id";

// Moves every pool entry under `key` into a map by entry name (the first of a name wins).
template <class Pool, class Map>
Map TakeEntries(Pool& pool, const std::string& key) {
  Map taken;
  const auto range = pool.equal_range(key);
  for (auto it = range.first; it != range.second; ++it)
    taken.emplace(it->second);
  pool.erase(range.first, range.second);
  return taken;
}

using OperationMap = std::map<std::string, std::shared_ptr<const Binding::OperationInfo>>;
using ServiceMap = std::map<std::string, std::shared_ptr<const Binding::ServiceInfo>>;

}  // namespace

SchemeType ParseSchemeTypeEnum(const std::string& upper) {
  if (upper == "SESSIONAWARE") return SchemeType::SESSION_AWARE;
  return EnumConverter<SchemeType>::Convert(upper);
}

std::pair<std::string, std::string> JsonMetadataParser::SplitFqdn(const std::string& text) {
  const auto dot = text.rfind('.');
  if (dot == std::string::npos) return {std::string(), text};
  return {text.substr(0, dot), text.substr(dot + 1)};
}

bool JsonMetadataParser::LoadMetadata(std::istream& in, const RegisterCallbacks& callback,
                                      Messages& messages) {
  JsonDocument document;
  ParseJson(in, document);
  return LoadMetadataFromDoc(document, callback, messages);
}

bool JsonMetadataParser::LoadMetadataFromDoc(const JsonDocument& document,
                                             const RegisterCallbacks& callback,
                                             Messages& messages) {
  if (!CheckParsed(document, kParseErrorId, messages)) return false;
  return static_cast<bool>(JsonObjectMember<void>(
      document, "authentication",
      [&callback](const JsonValue& section, Messages& m) {
        return ParseAuthentication(callback, section, m);
      },
      messages));
}

// "product", then "component": an absent one counts as read; the document succeeds when
// "component" does, and otherwise as "product" did.
bool JsonMetadataParser::ParseAuthentication(const RegisterCallbacks& callback,
                                             const JsonValue& section, Messages& messages) {
  const auto look = [&](const char* name) {
    const JsonValue* component = FindMemberValue(section, name, messages);
    if (component == nullptr) return true;
    if (!component->IsObject()) {
      AddMessage(messages, kInvalidFieldId, name);
      return false;
    }
    return ParseComponent(callback, *component, messages);
  };
  const bool product = look("product");
  const bool component = look("component");
  return component || product;
}

bool JsonMetadataParser::ParseComponent(const RegisterCallbacks& callback,
                                        const JsonValue& component, Messages& messages) {
  JsonMember<std::string> name(component, "name", messages);
  if (!name) return false;
  JsonOptObjectMember<SchemeTable> schemes(
      component, "schemes",
      [](const JsonValue& object, SchemeTable& table, Messages& m) {
        return ParseSchemes(object, table, m);
      },
      messages);
  if (!schemes) return false;
  const SchemeTable& table = schemes.Value();

  JsonOptObjectMember<OperationPool> operations(
      component, "operations",
      [&table](const JsonValue& object, OperationPool& pool, Messages& m) {
        return ParseOperations(table, object, pool, m);
      },
      messages);
  if (!operations) return false;
  OperationPool operationPool = operations.Take();

  JsonOptObjectMember<ServicePool> services(
      component, "services",
      [&](const JsonValue& object, ServicePool& pool, Messages& m) {
        return ParseServices(table, operationPool, object, pool, m);
      },
      messages);
  if (!services) return false;
  ServicePool servicePool = services.Take();
  // Its answer is ignored: operations it could not place are dropped, the component goes on.
  CreateServicesFromOperations(operationPool, servicePool, messages);

  JsonOptObjectMember<PackageTable> packages(
      component, "packages",
      [&](const JsonValue& object, PackageTable& packageTable, Messages& m) {
        return ParsePackages(table, servicePool, object, packageTable, m);
      },
      messages);
  if (!packages) return false;
  PackageTable packageTable = packages.Take();
  CreatePackagesFromServices(servicePool, packageTable, messages);

  auto info = std::make_shared<Binding::ComponentInfo>();
  info->packages = std::move(packageTable);
  callback(name.Value(), info);
  return true;
}

bool JsonMetadataParser::ParseSchemes(const JsonValue& schemes, SchemeTable& table,
                                      Messages& messages) {
  for (const auto& member : schemes.GetObject()) {
    auto info = ParseAuthInfo(member.value, messages);
    if (!info) return false;
    table[ValToString(member.name)] = std::move(info);
  }
  return true;
}

std::shared_ptr<const Binding::AuthenticationInfo> JsonMetadataParser::ParseAuthInfo(
    const JsonValue& scheme, Messages& messages) {
  JsonMember<std::string> name(scheme, "authenticationScheme", messages);
  if (!name) return nullptr;
  const JsonMember<SchemeType> type(scheme, "type", ParseSchemeTypeEnum, messages);
  if (!type) return nullptr;
  auto info = std::make_shared<Binding::AuthenticationInfo>();
  info->schemeType = type.Value();
  info->scheme = name.Take();
  // Only a session-aware scheme has (and needs) a session manager.
  if (info->schemeType.GetValue() == SchemeType::SESSION_AWARE) {
    JsonMember<std::string> manager(scheme, "sessionManager", messages);
    if (!manager) return nullptr;
    info->sessionManager = manager.Take();
  }
  return info;
}

// Every fault of a list is reported under the literal name "packages", whichever member holds
// the list, and an unknown scheme under the literal "id".
bool JsonMetadataParser::ParseSchemeList(const SchemeTable& table, const JsonValue& value,
                                         Binding::SchemeList& list, Messages& messages) {
  if (!value.IsArray()) {
    AddMessage(messages, kInvalidFieldId, "packages");
    return false;
  }
  for (const auto& element : value.GetArray()) {
    if (!element.IsString()) {
      AddMessage(messages, kInvalidFieldId, "packages");
      return false;
    }
    const auto scheme = table.find(ValToString(element));
    if (scheme == table.end()) {
      AddMessage(messages, kUnknownSchemeId, "id");
      return false;
    }
    list.push_back(scheme->second);
  }
  return true;
}

bool JsonMetadataParser::ParseOperations(const SchemeTable& table, const JsonValue& operations,
                                         OperationPool& pool, Messages& messages) {
  for (const auto& member : operations.GetObject()) {
    auto operation = std::make_shared<Binding::OperationInfo>();
    if (!ParseSchemeList(table, member.value, operation->schemes, messages)) return false;
    const std::string id = ValToString(member.name);
    auto parts = SplitFqdn(id);
    if (parts.first.empty() || parts.second.empty()) {
      AddMessage(messages, kInvalidOperationId, id);
      return false;
    }
    pool.emplace(std::move(parts.first), std::make_pair(std::move(parts.second), operation));
  }
  return true;
}

bool JsonMetadataParser::ParseServices(const SchemeTable& table, OperationPool& operations,
                                       const JsonValue& services, ServicePool& pool,
                                       Messages& messages) {
  for (const auto& member : services.GetObject()) {
    auto service = std::make_shared<Binding::ServiceInfo>();
    if (!ParseSchemeList(table, member.value, service->schemes, messages)) return false;
    const std::string id = ValToString(member.name);
    auto parts = SplitFqdn(id);
    if (parts.first.empty() || parts.second.empty()) {
      AddMessage(messages, kInvalidServiceId, id);
      return false;
    }
    service->operations = TakeEntries<OperationPool, OperationMap>(operations, id);
    pool.emplace(std::move(parts.first), std::make_pair(id, service));
  }
  return true;
}

bool JsonMetadataParser::CreateServicesFromOperations(OperationPool& operations,
                                                      ServicePool& services, Messages& messages) {
  while (!operations.empty()) {
    const std::string id = operations.begin()->first;
    auto service = std::make_shared<Binding::ServiceInfo>();
    service->operations = TakeEntries<OperationPool, OperationMap>(operations, id);
    auto parts = SplitFqdn(id);
    if (parts.first.empty() || parts.second.empty()) {
      AddMessage(messages, kInvalidServiceId, id);
      return false;
    }
    services.emplace(std::move(parts.first), std::make_pair(id, service));
  }
  return true;
}

bool JsonMetadataParser::ParsePackages(const SchemeTable& table, ServicePool& services,
                                       const JsonValue& packages, PackageTable& packageTable,
                                       Messages& messages) {
  for (const auto& member : packages.GetObject()) {
    auto package = std::make_shared<Binding::PackageInfo>();
    if (!ParseSchemeList(table, member.value, package->schemes, messages)) return false;
    const std::string id = ValToString(member.name);
    package->services = TakeEntries<ServicePool, ServiceMap>(services, id);
    packageTable[id] = std::move(package);
  }
  return true;
}

bool JsonMetadataParser::CreatePackagesFromServices(ServicePool& services, PackageTable& packages,
                                                    Messages&) {
  while (!services.empty()) {
    const std::string id = services.begin()->first;
    auto package = std::make_shared<Binding::PackageInfo>();
    package->services = TakeEntries<ServicePool, ServiceMap>(services, id);
    packages[id] = std::move(package);
  }
  return true;
}

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

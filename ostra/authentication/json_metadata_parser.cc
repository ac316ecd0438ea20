#include "ostra/authentication/json_metadata_parser.h"

#include <vector>

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

// The characters of a string value, as a view into the document.
std::string_view ViewOf(const JsonValue& value) {
  return std::string_view(value.GetString(), value.GetStringLength());
}

// Takes the group of `key`, leaving it empty; an empty map when there is none.
template <class Groups, class Map>
void TakeGroup(Groups& groups, std::string_view key, Map& into) {
  if (auto* group = groups.Find(key)) group->swap(into);
}

// Whether a group is still there: taking one leaves it empty.
template <class Map>
bool NotTaken(const Map& group) {
  return !group.empty();
}

Binding::SchemeList ListOf(const JsonMetadataParser::SchemeRefs& schemes) {
  Binding::SchemeList list;
  for (const auto* scheme : schemes)
    list.push_back(*scheme);
  return list;
}

}  // namespace

SchemeType ParseSchemeTypeEnum(const std::string& upper) {
  if (upper == "SESSIONAWARE") return SchemeType::SESSION_AWARE;
  return EnumConverter<SchemeType>::Convert(upper);
}

std::pair<std::string_view, std::string_view> JsonMetadataParser::SplitFqdn(std::string_view text) {
  const auto dot = text.rfind('.');
  if (dot == std::string_view::npos) return {std::string_view(), text};
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
      AddMessageAt(messages, *component, kInvalidFieldId, name);
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

  JsonOptObjectMember<OperationGroups> operations(
      component, "operations",
      [&table](const JsonValue& object, OperationGroups& groups, Messages& m) {
        return ParseOperations(table, object, groups, m);
      },
      messages);
  if (!operations) return false;
  OperationGroups operationGroups = operations.Take();

  JsonOptObjectMember<ServiceGroups> services(
      component, "services",
      [&](const JsonValue& object, ServiceGroups& groups, Messages& m) {
        return ParseServices(table, operationGroups, object, groups, m);
      },
      messages);
  if (!services) return false;
  ServiceGroups serviceGroups = services.Take();
  // Its answer is ignored: operations it could not place are dropped, the component goes on.
  CreateServicesFromOperations(operationGroups, serviceGroups, messages);

  JsonOptObjectMember<PackageTable> packages(
      component, "packages",
      [&](const JsonValue& object, PackageTable& packageTable, Messages& m) {
        return ParsePackages(table, serviceGroups, object, packageTable, m);
      },
      messages);
  if (!packages) return false;
  PackageTable packageTable = packages.Take();
  CreatePackagesFromServices(serviceGroups, packageTable, messages);

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
                                         SchemeRefs& schemes, Messages& messages) {
  if (!value.IsArray()) {
    AddMessageAt(messages, value, kInvalidFieldId, "packages");
    return false;
  }
  for (const auto& element : value.GetArray()) {
    if (!element.IsString()) {
      AddMessageAt(messages, element, kInvalidFieldId, "packages");
      return false;
    }
    const auto scheme = table.find(ViewOf(element));
    if (scheme == table.end()) {
      AddMessageAt(messages, element, kUnknownSchemeId, "id");
      return false;
    }
    schemes.push_back(&scheme->second);
  }
  return true;
}

// Operations are grouped by service identifier; within a group the first of a name wins.
// Operations that name the same schemes share one record: records are immutable, and a large
// document names a few lists of schemes many thousand times.
bool JsonMetadataParser::ParseOperations(const SchemeTable& table, const JsonValue& operations,
                                         OperationGroups& groups, Messages& messages) {
  std::map<SchemeRefs, std::shared_ptr<const Binding::OperationInfo>> records;
  SchemeRefs schemes;
  // Operations of one service are mostly listed together: their group is looked up once.
  std::string_view groupId;
  OperationMap* group = nullptr;
  for (const auto& member : operations.GetObject()) {
    schemes.clear();
    if (!ParseSchemeList(table, member.value, schemes, messages)) return false;
    const auto parts = SplitFqdn(ViewOf(member.name));
    if (parts.first.empty() || parts.second.empty()) {
      AddMessageAt(messages, member.name, kInvalidOperationId, ValToString(member.name));
      return false;
    }
    auto& record = records[schemes];
    if (!record) {
      auto operation = std::make_shared<Binding::OperationInfo>();
      operation->schemes = ListOf(schemes);
      record = std::move(operation);
    }
    if (group == nullptr || parts.first != groupId) {
      groupId = parts.first;
      group = &groups[groupId];
    }
    group->try_emplace(std::string(parts.second), record);
  }
  return true;
}

// Each service takes the operations of its identifier; a second service of the same identifier
// finds them taken. Services are grouped by package identifier, the first of an identifier
// winning.
bool JsonMetadataParser::ParseServices(const SchemeTable& table, OperationGroups& operations,
                                       const JsonValue& services, ServiceGroups& groups,
                                       Messages& messages) {
  SchemeRefs schemes;
  for (const auto& member : services.GetObject()) {
    schemes.clear();
    if (!ParseSchemeList(table, member.value, schemes, messages)) return false;
    const std::string_view id = ViewOf(member.name);
    const auto parts = SplitFqdn(id);
    if (parts.first.empty() || parts.second.empty()) {
      AddMessageAt(messages, member.name, kInvalidServiceId, std::string(id));
      return false;
    }
    auto service = std::make_shared<Binding::ServiceInfo>();
    service->schemes = ListOf(schemes);
    TakeGroup(operations, id, service->operations);
    groups[parts.first].try_emplace(std::string(id), std::move(service));
  }
  return true;
}

// The operations left make services of their own, in ascending order of their identifiers, up
// to the first identifier that names no package and service; the rest are dropped.
bool JsonMetadataParser::CreateServicesFromOperations(OperationGroups& operations,
                                                      ServiceGroups& services, Messages& messages) {
  for (auto* group : operations.Sorted(NotTaken<OperationMap>)) {
    const std::string_view id = group->key;
    auto service = std::make_shared<Binding::ServiceInfo>();
    service->operations.swap(group->value);
    const auto parts = SplitFqdn(id);
    if (parts.first.empty() || parts.second.empty()) {
      AddMessage(messages, kInvalidServiceId, std::string(id));
      return false;
    }
    services[parts.first].try_emplace(std::string(id), std::move(service));
  }
  return true;
}

// Each package takes the services of its identifier; a later member of the same identifier
// replaces the earlier one and finds them taken.
bool JsonMetadataParser::ParsePackages(const SchemeTable& table, ServiceGroups& services,
                                       const JsonValue& packages, PackageTable& packageTable,
                                       Messages& messages) {
  SchemeRefs schemes;
  for (const auto& member : packages.GetObject()) {
    schemes.clear();
    if (!ParseSchemeList(table, member.value, schemes, messages)) return false;
    const std::string_view id = ViewOf(member.name);
    auto package = std::make_shared<Binding::PackageInfo>();
    package->schemes = ListOf(schemes);
    TakeGroup(services, id, package->services);
    packageTable[std::string(id)] = std::move(package);
  }
  return true;
}

// The services left make packages of their own, with no schemes.
bool JsonMetadataParser::CreatePackagesFromServices(ServiceGroups& services, PackageTable& packages,
                                                    Messages&) {
  for (auto* group : services.Sorted(NotTaken<ServiceMap>)) {
    auto package = std::make_shared<Binding::PackageInfo>();
    package->services.swap(group->value);
    packages[std::string(group->key)] = std::move(package);
  }
  return true;
}

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

#include "ostra/authentication/json_metadata_parser.h"

#include <map>
#include <vector>

#include "ostra/provider/view_map.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Authentication {
namespace {

using namespace Binding;
using SchemeType = AuthenticationInfoEnumerations::SchemeType;
using Callback = JsonMetadataParser::RegisterCallbacks;

constexpr const char* kParseErrorId = "ostra.metadata.authentication.parse.error";
constexpr const char* kUnknownSchemeId = "ostra.metadata.authentication.json.unknown.schema.name";
constexpr const char* kInvalidOperationId =
    "ostra.metadata.authentication.json.invalid.operation.id";
constexpr const char* kInvalidServiceId = "ostra.metadata.authentication.json.invalid.service.id";

using SchemePtr = std::shared_ptr<const AuthenticationInfo>;
// Scheme name to scheme, found by any text.
using SchemeTable = std::map<std::string, SchemePtr, std::less<>>;
// The schemes that a list names, as the table's own pointers.
using SchemeRefs = std::vector<const SchemePtr*>;
using OperationMap = decltype(ServiceInfo::operations);
using ServiceMap = decltype(PackageInfo::services);
// What a component's parse groups while it reads: the operations of each service identifier not
// yet given to a service, and the services of each package identifier not yet given to a
// package. Identifiers are views into the member names of the document, which outlives them. The
// first entry of a name wins in each map. A group is taken by swapping its map out, which leaves
// it empty.
using OperationGroups = ViewMap<OperationMap>;
using ServiceGroups = ViewMap<ServiceMap>;
using PackageTable = std::map<std::string, std::shared_ptr<const PackageInfo>>;

// Scheme type texts (already upper-cased): the table's names, and SESSIONAWARE for the
// session-aware type.
SchemeType ParseSchemeTypeEnum(const std::string& upper) {
  if (upper == "SESSIONAWARE") return SchemeType::SESSION_AWARE;
  return EnumConverter<SchemeType>::Convert(upper);
}

// The characters of a string value, as a view into the document.
std::string_view ViewOf(const JsonValue& value) {
  return std::string_view(value.GetString(), value.GetStringLength());
}

// Whether an identifier splits into two parts that are not empty.
bool HasBothParts(const std::pair<std::string_view, std::string_view>& parts) {
  return !parts.first.empty() && !parts.second.empty();
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

// A fresh Info (an operation, service or package) that requires `schemes`.
template <class Info>
std::shared_ptr<Info> Requiring(const SchemeRefs& schemes) {
  auto info = std::make_shared<Info>();
  for (const auto* scheme : schemes)
    info->schemes.push_back(*scheme);
  return info;
}

// One read of one document: the callback to hand components to and the messages to append to.
class Reader : public RecordReader<Reader> {
 public:
  Reader(const Callback& callback, Messages& messages)
      : RecordReader(messages), callback_(callback) {}

  bool Document(const JsonValue& document) {
    return Object(document, "authentication", &Reader::ParseAuthentication);
  }

 private:
  // "product", then "component": an absent one counts as read; the document succeeds when
  // "component" does, and otherwise as "product" did.
  bool ParseAuthentication(const JsonValue& section) {
    const bool product = OptObject(section, "product", &Reader::ParseComponent);
    const bool component = OptObject(section, "component", &Reader::ParseComponent);
    return component || product;
  }

  bool ParseComponent(const JsonValue& component) {
    std::string name;
    read_ = Component();
    // The answer of CreateServicesFromOperations is ignored: operations it could not place are
    // dropped, and the component goes on.
    const bool ok =
        Text(component, "name", name) && OptObject(component, "schemes", &Reader::ParseSchemes) &&
        OptObject(component, "operations", &Reader::ParseOperations) &&
        OptObject(component, "services", &Reader::ParseServices) &&
        (CreateServicesFromOperations(), true) &&
        OptObject(component, "packages", &Reader::ParsePackages) && CreatePackagesFromServices();
    if (!ok) return false;
    auto info = std::make_shared<ComponentInfo>();
    info->packages = std::move(read_.packages);
    callback_(name, info);
    return true;
  }

  bool ParseSchemes(const JsonValue& schemes) {
    for (const auto& member : schemes.GetObject()) {
      auto info = ParseAuthInfo(member.value);
      if (!info) return false;
      read_.schemes[ValToString(member.name)] = std::move(info);
    }
    return true;
  }

  std::shared_ptr<const AuthenticationInfo> ParseAuthInfo(const JsonValue& scheme) {
    auto info = std::make_shared<AuthenticationInfo>();
    std::string manager;
    const auto sessionAware = [&info] {
      return info->schemeType.GetValue() == SchemeType::SESSION_AWARE;
    };
    const bool ok = Text(scheme, "authenticationScheme", info->scheme) &&
                    Enumerated(scheme, "type", info->schemeType, ParseSchemeTypeEnum) &&
                    // Only a session-aware scheme has (and needs) a session manager.
                    (!sessionAware() || Text(scheme, "sessionManager", manager));
    if (!ok) return nullptr;
    if (sessionAware()) info->sessionManager = std::move(manager);
    return info;
  }

  // Reads a scheme-name list into schemes_. Every fault of a list is reported under the literal
  // name "packages", whichever member holds the list, and an unknown scheme under the literal "id".
  bool ParseSchemeList(const JsonValue& value) {
    schemes_.clear();
    if (!CheckType(value, rapidjson::kArrayType, "packages", messages_)) return false;
    for (const auto& element : value.GetArray()) {
      if (!CheckType(element, rapidjson::kStringType, "packages", messages_)) return false;
      const auto scheme = read_.schemes.find(ViewOf(element));
      if (scheme == read_.schemes.end()) {
        AddMessageAt(messages_, element, kUnknownSchemeId, "id");
        return false;
      }
      schemes_.push_back(&scheme->second);
    }
    return true;
  }

  // Operations are grouped by service identifier; within a group the first of a name wins.
  // Operations that name the same schemes share one record: records are immutable, and a large
  // document names a few lists of schemes many thousand times.
  bool ParseOperations(const JsonValue& operations) {
    std::map<SchemeRefs, std::shared_ptr<const OperationInfo>> records;
    // Operations of one service are mostly listed together: their group is looked up once.
    std::string_view groupId;
    OperationMap* group = nullptr;
    for (const auto& member : operations.GetObject()) {
      if (!ParseSchemeList(member.value)) return false;
      const auto parts = JsonMetadataParser::SplitFqdn(ViewOf(member.name));
      if (!HasBothParts(parts)) {
        AddMessageAt(messages_, member.name, kInvalidOperationId, ValToString(member.name));
        return false;
      }
      auto& record = records[schemes_];
      if (!record) record = Requiring<OperationInfo>(schemes_);
      if (group == nullptr || parts.first != groupId) {
        groupId = parts.first;
        group = &read_.operations[groupId];
      }
      group->try_emplace(std::string(parts.second), record);
    }
    return true;
  }

  // Each service takes the operations of its identifier; a second service of the same identifier
  // finds them taken. Services are grouped by package identifier, the first of an identifier
  // winning.
  bool ParseServices(const JsonValue& services) {
    for (const auto& member : services.GetObject()) {
      if (!ParseSchemeList(member.value) ||
          !AddService(ViewOf(member.name), Requiring<ServiceInfo>(schemes_), &member.name)) {
        return false;
      }
    }
    return true;
  }

  // The operations left make services of their own, in ascending order of their identifiers, up
  // to the first identifier that names no package and service; the rest are dropped.
  bool CreateServicesFromOperations() {
    for (auto* group : read_.operations.Sorted(NotTaken<OperationMap>)) {
      if (!AddService(group->key, std::make_shared<ServiceInfo>())) return false;
    }
    return true;
  }

  // Gives `service` the operations of `id` and groups it under its package identifier, the
  // first of an identifier winning; an identifier without both parts is a fault, placed at `name`
  // when the identifier is a member name of the document.
  bool AddService(std::string_view id, std::shared_ptr<ServiceInfo> service,
                  const JsonValue* name = nullptr) {
    const auto parts = JsonMetadataParser::SplitFqdn(id);
    if (!HasBothParts(parts)) {
      if (name != nullptr) {
        AddMessageAt(messages_, *name, kInvalidServiceId, std::string(id));
      } else {
        AddMessage(messages_, kInvalidServiceId, std::string(id));
      }
      return false;
    }
    TakeGroup(read_.operations, id, service->operations);
    read_.services[parts.first].try_emplace(std::string(id), std::move(service));
    return true;
  }

  // Each package takes the services of its identifier; a later member of the same identifier
  // replaces the earlier one and finds them taken.
  bool ParsePackages(const JsonValue& packages) {
    for (const auto& member : packages.GetObject()) {
      if (!ParseSchemeList(member.value)) return false;
      AddPackage(ViewOf(member.name), Requiring<PackageInfo>(schemes_));
    }
    return true;
  }

  // The services left make packages of their own, with no schemes.
  bool CreatePackagesFromServices() {
    for (auto* group : read_.services.Sorted(NotTaken<ServiceMap>))
      AddPackage(group->key, std::make_shared<PackageInfo>());
    return true;
  }

  // Gives `package` the services of `id` and stores it under `id`, replacing one stored before.
  void AddPackage(std::string_view id, std::shared_ptr<PackageInfo> package) {
    TakeGroup(read_.services, id, package->services);
    read_.packages[std::string(id)] = std::move(package);
  }

  // What the component being read has gathered so far (see the pools above).
  struct Component {
    SchemeTable schemes;
    OperationGroups operations;
    ServiceGroups services;
    PackageTable packages;
  };

  const Callback& callback_;
  Component read_;
  SchemeRefs schemes_;  // of the scheme list being read
};

}  // namespace

std::pair<std::string_view, std::string_view> JsonMetadataParser::SplitFqdn(std::string_view text) {
  const auto dot = text.rfind('.');
  if (dot == std::string_view::npos) return {std::string_view(), text};
  return {text.substr(0, dot), text.substr(dot + 1)};
}

bool JsonMetadataParser::LoadMetadata(std::istream& in, const RegisterCallbacks& callback,
                                      Messages& messages) {
  return Reader::Read(in, kParseErrorId, callback, messages);
}

bool JsonMetadataParser::LoadMetadataFromDoc(const JsonDocument& document,
                                             const RegisterCallbacks& callback,
                                             Messages& messages) {
  return Reader::Read(document, kParseErrorId, callback, messages);
}

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// Authentication records: the schemes each component, package, service and operation requires.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/enum.h"
#include "ostra/core/type_converter.h"
#include "ostra/std_bindings/source.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Authentication {

namespace AuthenticationInfoEnumerations {
struct SchemeTypeTable {
  enum Value { SESSIONLESS, SESSION_AWARE, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"SESSIONLESS", "SESSION_AWARE", nullptr};
  };
};
using SchemeType = ::Ostra::BasicEnum<SchemeTypeTable>;
}  // namespace AuthenticationInfoEnumerations

// One authentication scheme; `sessionManager` is set for session-aware schemes only.
struct AuthenticationInfo {
  AuthenticationInfoEnumerations::SchemeType schemeType;
  boost::optional<std::string> sessionManager;
  std::string scheme;
};

using SchemeList = std::list<std::shared_ptr<const AuthenticationInfo>>;

struct OperationInfo {
  SchemeList schemes;
};

struct ServiceInfo {
  SchemeList schemes;
  std::map<std::string, std::shared_ptr<const OperationInfo>> operations;
};

struct PackageInfo {
  SchemeList schemes;
  std::map<std::string, std::shared_ptr<const ServiceInfo>> services;
};

struct ComponentInfo {
  std::map<std::string, std::shared_ptr<const PackageInfo>> packages;
};

struct ComponentData {
  std::shared_ptr<const ComponentInfo> info;
  std::string fingerprint;
};

struct AuthenticationDomain {
  static constexpr const char* kSourceServiceName =
      "com.corvane.ostra.metadata.authentication.source";
  static constexpr const char* kSourceCreateSpecName =
      "com.corvane.ostra.metadata.authentication.source.create_spec";
  static constexpr const char* kSourceInfoName =
      "com.corvane.ostra.metadata.authentication.source.info";
};

namespace SourceSvc {
using SourceType = Detail::SourceType<AuthenticationDomain>;
using CreateSpec = Detail::SourceCreateSpec<AuthenticationDomain>;
using Info = Detail::SourceInfo<AuthenticationDomain>;
}  // namespace SourceSvc

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Authentication::AuthenticationInfo> {
  static constexpr const char* kName =
      "com.corvane.ostra.metadata.authentication.authentication_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("schemeType", r.schemeType);
    field("sessionManager", r.sessionManager);
    field("scheme", r.scheme);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Authentication::OperationInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.authentication.operation_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("schemes", r.schemes);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Authentication::ServiceInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.authentication.service_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("schemes", r.schemes);
    field("operations", r.operations);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Authentication::PackageInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.authentication.package_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("schemes", r.schemes);
    field("services", r.services);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Authentication::ComponentInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.authentication.component_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("packages", r.packages);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Authentication::ComponentData> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.authentication.component_data";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("info", r.info);
    field("fingerprint", r.fingerprint);
  }
};

}  // namespace Data
}  // namespace Ostra

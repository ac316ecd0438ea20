// The Authentication service interfaces: for each service its asynchronous interface (operations in
// slot order), its binder and its identifier (TypeInfo name).
#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/api_interface.h"
#include "ostra/core/async_result.h"
#include "ostra/core/type_info.h"
#include "ostra/std_bindings/authentication.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Authentication {

namespace ComponentSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Get(const std::string& componentId,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const ComponentData>>& result) = 0;
  virtual void Fingerprint(const std::string& componentId,
                           const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                           const ::Ostra::AsyncResult<std::string>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace ComponentSvc

namespace PackageSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Get(const std::string& packageId,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const PackageInfo>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace PackageSvc

namespace ServiceSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Get(const std::string& serviceId,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const ServiceInfo>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace ServiceSvc

namespace Service {
namespace OperationSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::string& serviceId,
                    const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Get(const std::string& serviceId, const std::string& operationId,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const OperationInfo>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace OperationSvc
}  // namespace Service

// The source service has the shape every domain shares (see source.h).
namespace SourceSvc {
using AsyncServiceInterface = Detail::SourceServiceInterface<AuthenticationDomain>;
using AsyncServiceBinder = Detail::SourceServiceBinder<AuthenticationDomain>;
}  // namespace SourceSvc

}  // namespace Authentication
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct TypeInfo<
    Com::Corvane::Ostra::Metadata::Authentication::ComponentSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.authentication.component"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Authentication::PackageSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.authentication.package"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Authentication::ServiceSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.authentication.service"; }
};

template <>
struct TypeInfo<
    Com::Corvane::Ostra::Metadata::Authentication::Service::OperationSvc::AsyncServiceInterface> {
  static std::string name() {
    return "com.corvane.ostra.metadata.authentication.service.operation";
  }
};

}  // namespace Data
}  // namespace Ostra

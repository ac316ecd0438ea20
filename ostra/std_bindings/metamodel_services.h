// The Metamodel service interfaces: for each service its asynchronous interface (operations in
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
#include "ostra/std_bindings/metamodel.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Metamodel {

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

namespace Service {
namespace HiddenSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace HiddenSvc
}  // namespace Service

namespace EnumerationSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Get(const std::string& enumerationId,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const EnumerationInfo>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace EnumerationSvc

namespace StructureSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Get(const std::string& structureId,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const StructureInfo>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace StructureSvc

namespace ResourceSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::set<std::string>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace ResourceSvc

namespace Resource {
namespace ModelSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(const std::string& resourceId,
                    const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                    const ::Ostra::AsyncResult<std::set<std::string>>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace ModelSvc
}  // namespace Resource

// The source service has the shape every domain shares (see source.h).
namespace SourceSvc {
using AsyncServiceInterface = Detail::SourceServiceInterface<MetamodelDomain>;
using AsyncServiceBinder = Detail::SourceServiceBinder<MetamodelDomain>;
}  // namespace SourceSvc

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Metamodel::ComponentSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.component"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Metamodel::PackageSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.package"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Metamodel::ServiceSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.service"; }
};

template <>
struct TypeInfo<
    Com::Corvane::Ostra::Metadata::Metamodel::Service::OperationSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.service.operation"; }
};

template <>
struct TypeInfo<
    Com::Corvane::Ostra::Metadata::Metamodel::Service::HiddenSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.service.hidden"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Metamodel::EnumerationSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.enumeration"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Metamodel::StructureSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.structure"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Metamodel::ResourceSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.resource"; }
};

template <>
struct TypeInfo<
    Com::Corvane::Ostra::Metadata::Metamodel::Resource::ModelSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.metamodel.resource.model"; }
};

}  // namespace Data
}  // namespace Ostra

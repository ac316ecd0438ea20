// The Cli service interfaces: for each service its asynchronous interface (operations in slot
// order), its binder and its identifier (TypeInfo name).
#pragma once

#include <list>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/api_interface.h"
#include "ostra/core/async_result.h"
#include "ostra/core/type_info.h"
#include "ostra/std_bindings/cli.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Cli {

namespace Namespace_Svc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(
      const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
      const ::Ostra::AsyncResult<std::list<std::shared_ptr<const Identity>>>& result) = 0;
  virtual void Get(const std::shared_ptr<const Identity>& identity,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const Info>>& result) = 0;
  virtual void Fingerprint(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                           const ::Ostra::AsyncResult<std::string>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace Namespace_Svc

namespace CommandSvc {

class AsyncServiceInterface {
 public:
  virtual ~AsyncServiceInterface() = default;
  virtual void List(
      const boost::optional<std::string>& ns,
      const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
      const ::Ostra::AsyncResult<std::list<std::shared_ptr<const Identity>>>& result) = 0;
  virtual void Get(const std::shared_ptr<const Identity>& identity,
                   const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                   const ::Ostra::AsyncResult<std::shared_ptr<const Info>>& result) = 0;
  virtual void Fingerprint(const std::shared_ptr<::Ostra::Core::AsyncActivation>& activation,
                           const ::Ostra::AsyncResult<std::string>& result) = 0;
};

struct AsyncServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace CommandSvc

// The source service has the shape every domain shares (see source.h).
namespace SourceSvc {
using AsyncServiceInterface = Detail::SourceServiceInterface<CliDomain>;
using AsyncServiceBinder = Detail::SourceServiceBinder<CliDomain>;
}  // namespace SourceSvc

}  // namespace Cli
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Cli::Namespace_Svc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.cli.namespace"; }
};

template <>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Cli::CommandSvc::AsyncServiceInterface> {
  static std::string name() { return "com.corvane.ostra.metadata.cli.command"; }
};

}  // namespace Data
}  // namespace Ostra

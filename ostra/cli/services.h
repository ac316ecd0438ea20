// The Cli services: adapters of the service interfaces over the Cli store.
//
// Each adapter holds the store and nothing else; a call makes one store call and completes its
// result with the answer, or with NotFound holding one catalogue message when nothing was found. A
// successful source mutation completes its result with the empty value.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "ostra/cli/metadata_container.h"
#include "ostra/provider/service_adapter.h"
#include "ostra/std_bindings/cli_services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

// How an identity is named in messages: "path.name", or "name" at the top.
template <class Identity>
std::string QualifiedName(const std::shared_ptr<const Identity>& identity) {
  if (!identity) return std::string();
  return identity->path.empty() ? identity->name : identity->path + "." + identity->name;
}

namespace Namespace_Svc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::Namespace_Svc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using Identity = Binding::Namespace_Svc::Identity;
  using ServiceAdapter::ServiceAdapter;

  void List(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::shared_ptr<const Identity>>>& result) override;
  void Get(const std::shared_ptr<const Identity>& identity,
           const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
           const Ostra::AsyncResult<std::shared_ptr<const Binding::Namespace_Svc::Info>>& result)
      override;
  void Fingerprint(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
                   const Ostra::AsyncResult<std::string>& result) override;
};

}  // namespace Namespace_Svc

namespace CommandSvc {

class AsyncServiceImpl final
    : public ServiceAdapter<AsyncServiceImpl, Binding::CommandSvc::AsyncServiceInterface,
                            MetadataContainer> {
 public:
  using Identity = Binding::CommandSvc::Identity;
  using ServiceAdapter::ServiceAdapter;

  // A namespace given and no command in it is NotFound, whether or not the namespace exists.
  void List(const boost::optional<std::string>& ns,
            const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
            const Ostra::AsyncResult<std::list<std::shared_ptr<const Identity>>>& result) override;
  void Get(
      const std::shared_ptr<const Identity>& identity,
      const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
      const Ostra::AsyncResult<std::shared_ptr<const Binding::CommandSvc::Info>>& result) override;
  void Fingerprint(const std::shared_ptr<Ostra::Core::AsyncActivation>& activation,
                   const Ostra::AsyncResult<std::string>& result) override;
};

}  // namespace CommandSvc

namespace SourceSvc {

struct Domain {
  using Interface = Binding::SourceSvc::AsyncServiceInterface;
  using Container = Cli::MetadataContainer;
  using CreateSpec = Binding::SourceSvc::CreateSpec;
  using Info = Binding::SourceSvc::Info;
  static constexpr const char* kNotFoundId = "ostra.metada.cli.source.not.found";
  // Unlike the other domains, a successful mutation completes its result with the empty value.
  static constexpr bool kCompleteOnSuccess = true;
};

using AsyncServiceImpl = SourceService<Domain>;

}  // namespace SourceSvc

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

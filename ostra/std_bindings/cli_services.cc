#include "ostra/std_bindings/cli_services.h"

#include "ostra/std_bindings/service_binding.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Cli {

namespace Namespace_Svc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List),
       BindOperation("get", &AsyncServiceInterface::Get, {"identity"}),
       BindOperation("fingerprint", &AsyncServiceInterface::Fingerprint)});
}

}  // namespace Namespace_Svc

namespace CommandSvc {

std::shared_ptr<::Ostra::Core::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
  using ::Ostra::Core::BindOperation;
  return ::Ostra::Core::BindService<AsyncServiceInterface>(
      std::move(implementation),
      {BindOperation("list", &AsyncServiceInterface::List, {"namespace"}),
       BindOperation("get", &AsyncServiceInterface::Get, {"identity"}),
       BindOperation("fingerprint", &AsyncServiceInterface::Fingerprint)});
}

}  // namespace CommandSvc

}  // namespace Cli
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

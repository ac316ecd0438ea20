#include "ostra/cli/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {

using Activation = std::shared_ptr<Core::AsyncActivation>;
constexpr const char* kNamespaceNotFound = "ostra.metada.cli.namespace.not.found";

namespace {
// Completes with the record, or with NotFound naming the identity; the name is only made when
// it is needed.
template <class T, class Identity>
void CompleteOrNotFoundNamed(const AsyncResult<T>& result, T record, const char* id,
                             const std::shared_ptr<const Identity>& identity) {
  if (record) {
    result(std::move(record));
  } else {
    CompleteOrNotFound(result, record, id, QualifiedName(identity));
  }
}
}  // namespace

namespace Namespace_Svc {
void AsyncServiceImpl::List(const Activation&,
                            const AsyncResult<std::list<std::shared_ptr<const Identity>>>& result) {
  result(container_->ListNamespaces());
}
void AsyncServiceImpl::Get(
    const std::shared_ptr<const Identity>& identity, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::Namespace_Svc::Info>>& result) {
  CompleteOrNotFoundNamed(result, container_->NamespaceInfo(identity), kNamespaceNotFound,
                          identity);
}
void AsyncServiceImpl::Fingerprint(const Activation&, const AsyncResult<std::string>& result) {
  result(container_->NamespaceFingerprint());
}
}  // namespace Namespace_Svc

namespace CommandSvc {
void AsyncServiceImpl::List(const boost::optional<std::string>& ns, const Activation&,
                            const AsyncResult<std::list<std::shared_ptr<const Identity>>>& result) {
  auto commands = container_->ListCommands(ns);
  if (ns && commands.empty()) {
    result.error(MessageError<Com::Corvane::Ostra::Std::Errors::NotFound>(kNamespaceNotFound, *ns));
  } else {
    result(std::move(commands));
  }
}
void AsyncServiceImpl::Get(
    const std::shared_ptr<const Identity>& identity, const Activation&,
    const AsyncResult<std::shared_ptr<const Binding::CommandSvc::Info>>& result) {
  CompleteOrNotFoundNamed(result, container_->CommandInfo(identity),
                          "ostra.metada.cli.command.not.found", identity);
}
void AsyncServiceImpl::Fingerprint(const Activation&, const AsyncResult<std::string>& result) {
  result(container_->CommandFingerprint());
}
}  // namespace CommandSvc

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

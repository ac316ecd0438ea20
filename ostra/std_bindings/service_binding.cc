#include "ostra/std_bindings/service_binding.h"

namespace Ostra {
namespace Core {
namespace {

namespace Errors = Com::Corvane::Ostra::Std::Errors;

template <class E>
std::shared_ptr<const Data::ErrorValue> OneMessageError(const char* id, const std::string& text,
                                                        std::vector<std::string> args) {
  return Data::ErrorFactory::GetError<E>({BaseMessage(id, text, std::move(args))});
}

}  // namespace

std::shared_ptr<const Data::ErrorValue> UnknownOperationError(const std::string& serviceId,
                                                              const std::string& operationId) {
  return OneMessageError<Errors::NotFound>(
      "ostra.core.operation.not.found", "Operation not found: " + operationId + " of " + serviceId,
      {operationId, serviceId});
}

std::shared_ptr<const Data::ErrorValue> MissingInputError(const std::string& input) {
  return OneMessageError<Errors::InvalidArgument>("ostra.core.input.missing",
                                                  "Missing input: " + input, {input});
}

std::shared_ptr<const Data::ErrorValue> InvalidInputError(const std::string& input) {
  return OneMessageError<Errors::InvalidArgument>("ostra.core.input.invalid",
                                                  "Input of the wrong type: " + input, {input});
}

std::shared_ptr<const Data::ErrorValue> DroppedResultError(const std::string& operationId) {
  return OneMessageError<Errors::Error>(
      "ostra.core.result.dropped", "The operation gave no result: " + operationId, {operationId});
}

}  // namespace Core
}  // namespace Ostra

// ApiInterface: a service as the host's dispatcher sees it, with values in and values out.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ostra/core/async_result.h"
#include "ostra/core/data_value.h"

namespace Ostra {
namespace Core {

class ApiInterface {
 public:
  // Called once per Invoke: with the result value and a null error, or with a null value and the
  // error.
  using InvokeCallback = std::function<void(const std::shared_ptr<const Data::DataValue>& result,
                                            const std::shared_ptr<const Data::ErrorValue>& error)>;

  virtual ~ApiInterface() = default;

  // The service identifier, for example "com.corvane.ostra.metadata.cli.namespace".
  virtual const std::string& GetIdentifier() const = 0;
  // The operation identifiers in the service's slot order.
  virtual std::vector<std::string> GetOperationIdentifiers() const = 0;
  // The names of an operation's inputs in argument order; empty for an unknown operation.
  virtual std::vector<std::string> GetInputNames(const std::string& operationId) const = 0;

  // Converts the named inputs to native arguments, calls the implementation and converts its
  // result. An unknown operation or a missing or ill-typed input completes with an error value.
  virtual void Invoke(const std::string& operationId, const Data::StructValue& input,
                      const std::shared_ptr<AsyncActivation>& activation,
                      InvokeCallback done) const = 0;
};

}  // namespace Core
}  // namespace Ostra

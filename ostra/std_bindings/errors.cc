#include "ostra/std_bindings/errors.h"

#include <cstring>

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Std {
namespace Errors {

ErrorType::Value KindOf(const ::Ostra::Data::ErrorValue& error) {
  using ::Ostra::Data::RecordTraits;
  const std::string& name = error.GetName();
  if (name == RecordTraits<AlreadyExists>::kName) return ErrorType::ALREADY_EXISTS;
  if (name == RecordTraits<InvalidArgument>::kName) return ErrorType::INVALID_ARGUMENT;
  if (name == RecordTraits<NotFound>::kName) return ErrorType::NOT_FOUND;
  if (name == RecordTraits<Unsupported>::kName) return ErrorType::UNSUPPORTED;
  return ErrorType::ERROR;
}

}  // namespace Errors
}  // namespace Std
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

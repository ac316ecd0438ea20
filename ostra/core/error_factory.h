// ErrorFactory: from messages to error values and back.
#pragma once

#include <list>
#include <memory>
#include <utility>

#include "ostra/core/base_message.h"
#include "ostra/core/data_value.h"
#include "ostra/core/l10n.h"
#include "ostra/core/type_converter.h"

namespace Ostra {
namespace Data {

// Struct name of one message inside an error's "messages" list.
constexpr const char* kLocalizableMessageName = "com.corvane.ostra.std.localizable_message";

class ErrorFactory {
 public:
  // An error of kind E (a standard error structure: it declares its `kErrorType`) carrying
  // `messages` in order, with its error type set to E's own.
  template <class E>
  static std::shared_ptr<const ErrorValue> GetError(std::list<BaseMessage> messages) {
    E error;
    error.error_type = ErrorTypeOf<E>(E::kErrorType);
    const auto value = Convert(error);
    return value->WithField("messages", CastMessages(messages));
  }

  // An already built error structure as a value; its messages are kept as they are and an unset
  // error type becomes E's own.
  template <class E>
  static std::shared_ptr<const ErrorValue> GetError(const E& error) {
    if (error.error_type) return Convert(error);
    E typed = error;
    typed.error_type = ErrorTypeOf<E>(E::kErrorType);
    return Convert(typed);
  }

  // The messages as the list value an error's "messages" field holds.
  static std::shared_ptr<const ListValue> CastMessages(const std::list<BaseMessage>& messages);

  // The messages an error carries, in order; entries that are not well-formed messages are
  // skipped.
  static std::list<BaseMessage> GetMessages(const ErrorValue& error);

 private:
  template <class E>
  using ErrorTypeOf = typename decltype(E::error_type)::value_type;

  template <class E>
  static std::shared_ptr<const ErrorValue> Convert(const E& error) {
    const L10n::RequestLocalizer localizer{L10n::Localizer(), L10n::LocaleSpec()};
    return std::static_pointer_cast<const ErrorValue>(TypeConverter<E>::ToValue(error, localizer));
  }
};

}  // namespace Data
}  // namespace Ostra

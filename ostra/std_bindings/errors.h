// The standard error structures and their error-type enumeration.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include <boost/optional.hpp>

#include "ostra/core/data_value.h"
#include "ostra/core/enum.h"
#include "ostra/core/type_converter.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Std {

// One message of an error: its id, its default text with the arguments filled in, the arguments.
struct LocalizableMessage {
  std::string id;
  std::string default_message;
  std::list<std::string> args;
};

namespace Errors {

struct ErrorTypeTable {
  enum Value {
    ERROR,
    ALREADY_EXISTS,
    ABORTED,
    CANCELLED,
    CONFLICT,
    DEADLINE_EXCEEDED,
    FAILED_PRECONDITION,
    INVALID_ARGUMENT,
    INVALID_STATE,
    INTERNAL,
    LIMIT_EXCEEDED,
    NOT_ALLOWED,
    NOT_FOUND,
    NOT_IMPLEMENTED,
    OUT_OF_RANGE,
    PERMISSION_DENIED,
    RATE_LIMITED,
    RESOURCE_BUSY,
    RESOURCE_EXHAUSTED,
    SERVICE_UNAVAILABLE,
    TIMED_OUT,
    UNAUTHENTICATED,
    UNEXPECTED_INPUT,
    UNSUPPORTED,
    DATA_LOSS,
    UNKNOWN
  };
  struct Strings {
    static constexpr const char* const values[] = {"ERROR",
                                                   "ALREADY_EXISTS",
                                                   "ABORTED",
                                                   "CANCELLED",
                                                   "CONFLICT",
                                                   "DEADLINE_EXCEEDED",
                                                   "FAILED_PRECONDITION",
                                                   "INVALID_ARGUMENT",
                                                   "INVALID_STATE",
                                                   "INTERNAL",
                                                   "LIMIT_EXCEEDED",
                                                   "NOT_ALLOWED",
                                                   "NOT_FOUND",
                                                   "NOT_IMPLEMENTED",
                                                   "OUT_OF_RANGE",
                                                   "PERMISSION_DENIED",
                                                   "RATE_LIMITED",
                                                   "RESOURCE_BUSY",
                                                   "RESOURCE_EXHAUSTED",
                                                   "SERVICE_UNAVAILABLE",
                                                   "TIMED_OUT",
                                                   "UNAUTHENTICATED",
                                                   "UNEXPECTED_INPUT",
                                                   "UNSUPPORTED",
                                                   "DATA_LOSS",
                                                   nullptr};
  };
};
using ErrorType = ::Ostra::BasicEnum<ErrorTypeTable>;

// The fields every standard error has. The kinds below differ in their value name and error type.
struct Error {
  static constexpr ErrorType::Value kErrorType = ErrorType::ERROR;

  std::list<std::shared_ptr<const LocalizableMessage>> messages;
  boost::optional<::Ostra::Data::ValuePtr> data;
  boost::optional<ErrorType> error_type;
};

struct AlreadyExists : Error {
  static constexpr ErrorType::Value kErrorType = ErrorType::ALREADY_EXISTS;
};

struct InvalidArgument : Error {
  static constexpr ErrorType::Value kErrorType = ErrorType::INVALID_ARGUMENT;
  InvalidArgument() { error_type = ErrorType(kErrorType); }
};

struct NotFound : Error {
  static constexpr ErrorType::Value kErrorType = ErrorType::NOT_FOUND;
};

struct Unsupported : Error {
  static constexpr ErrorType::Value kErrorType = ErrorType::UNSUPPORTED;
};

// The error kind an error value is, read from its name; ERROR for any other name.
ErrorType::Value KindOf(const ::Ostra::Data::ErrorValue& error);

}  // namespace Errors
}  // namespace Std
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct RecordTraits<Com::Corvane::Ostra::Std::LocalizableMessage> {
  static constexpr const char* kName = "com.corvane.ostra.std.localizable_message";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("id", r.id);
    field("default_message", r.default_message);
    field("args", r.args);
  }
};

namespace Detail {
template <class E>
struct StandardErrorTraits {
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("messages", r.messages);
    field("data", r.data);
    field("error_type", r.error_type);
  }
};
}  // namespace Detail

template <>
struct RecordTraits<Com::Corvane::Ostra::Std::Errors::Error>
    : Detail::StandardErrorTraits<Com::Corvane::Ostra::Std::Errors::Error> {
  static constexpr const char* kName = "com.corvane.ostra.std.errors.error";
};
template <>
struct RecordTraits<Com::Corvane::Ostra::Std::Errors::AlreadyExists>
    : Detail::StandardErrorTraits<Com::Corvane::Ostra::Std::Errors::AlreadyExists> {
  static constexpr const char* kName = "com.corvane.ostra.std.errors.already_exists";
};
template <>
struct RecordTraits<Com::Corvane::Ostra::Std::Errors::InvalidArgument>
    : Detail::StandardErrorTraits<Com::Corvane::Ostra::Std::Errors::InvalidArgument> {
  static constexpr const char* kName = "com.corvane.ostra.std.errors.invalid_argument";
};
template <>
struct RecordTraits<Com::Corvane::Ostra::Std::Errors::NotFound>
    : Detail::StandardErrorTraits<Com::Corvane::Ostra::Std::Errors::NotFound> {
  static constexpr const char* kName = "com.corvane.ostra.std.errors.not_found";
};
template <>
struct RecordTraits<Com::Corvane::Ostra::Std::Errors::Unsupported>
    : Detail::StandardErrorTraits<Com::Corvane::Ostra::Std::Errors::Unsupported> {
  static constexpr const char* kName = "com.corvane.ostra.std.errors.unsupported";
};

}  // namespace Data
}  // namespace Ostra

// The machinery behind every AsyncServiceBinder: it binds an implementation of a service interface
// to an ApiInterface that takes named input values and answers values.
//
// A binder lists its operations in slot order, each with its identifier, its member function and
// the names of its inputs:
//
//   return Ostra::Core::BindService<AsyncServiceInterface>(
//       std::move(impl), {Ostra::Core::BindOperation("list", &AsyncServiceInterface::List),
//                         Ostra::Core::BindOperation("get", &AsyncServiceInterface::Get,
//                                                    {"component_id"})});
//
// Every operation's last two parameters are the activation and the AsyncResult; the ones before
// are its inputs. An input whose parameter is a boost::optional may be left out or null; every
// other input is required. A missing (or null) required input, or an input of the wrong shape,
// completes the call with an InvalidArgument error before the implementation is called.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/optional.hpp>

#include "ostra/core/api_interface.h"
#include "ostra/core/async_result.h"
#include "ostra/core/base_message.h"
#include "ostra/core/data_value.h"
#include "ostra/core/error_factory.h"
#include "ostra/core/l10n.h"
#include "ostra/core/type_converter.h"
#include "ostra/core/type_info.h"
#include "ostra/std_bindings/errors.h"

namespace Ostra {
namespace Core {

// Errors of the dispatch itself, each carrying one message.
std::shared_ptr<const Data::ErrorValue> UnknownOperationError(const std::string& serviceId,
                                                              const std::string& operationId);
std::shared_ptr<const Data::ErrorValue> MissingInputError(const std::string& input);
std::shared_ptr<const Data::ErrorValue> InvalidInputError(const std::string& input);
std::shared_ptr<const Data::ErrorValue> DroppedResultError(const std::string& operationId);

template <class I>
struct BoundOperation {
  using Invoker = std::function<void(I& impl, const Data::StructValue& input,
                                     const std::shared_ptr<AsyncActivation>& activation,
                                     const ApiInterface::InvokeCallback& done)>;
  std::string id;
  std::vector<std::string> inputs;
  Invoker invoke;
};

namespace Detail {

// An operation's input may be left out (or given as null) only where its parameter is a
// boost::optional. Every other input is required, a record held by shared pointer too: a null
// record never reaches the implementation.
template <class T>
struct IsOptionalInput : std::false_type {};
template <class T>
struct IsOptionalInput<boost::optional<T>> : std::true_type {};

template <class M>
struct MethodTraits;
template <class I, class... P>
struct MethodTraits<void (I::*)(P...)> {
  using Interface = I;
  using Params = std::tuple<std::decay_t<P>...>;
};

// Reports the outcome of one call exactly once: when the result is completed, or when every holder
// has dropped it uncompleted (success for a Void result, an error otherwise). Nothing is reported
// for a result dropped while an exception leaves the operation: the exception is the outcome.
class Completion {
 public:
  Completion(ApiInterface::InvokeCallback done, std::string operationId, bool voidResult)
      : done_(std::move(done)),
        operationId_(std::move(operationId)),
        voidResult_(voidResult),
        exceptionsAtStart_(std::uncaught_exceptions()) {}
  Completion(const Completion&) = delete;
  Completion& operator=(const Completion&) = delete;
  ~Completion() {
    if (reported_ || std::uncaught_exceptions() > exceptionsAtStart_) return;
    if (voidResult_) {
      done_(std::make_shared<const Data::VoidValue>(), nullptr);
    } else {
      done_(nullptr, DroppedResultError(operationId_));
    }
  }
  void Report(const Data::ValuePtr& value, const std::shared_ptr<const Data::ErrorValue>& error) {
    reported_ = true;
    done_(value, error);
  }

 private:
  ApiInterface::InvokeCallback done_;
  std::string operationId_;
  bool voidResult_;
  int exceptionsAtStart_;
  bool reported_ = false;
};

template <class M, std::size_t... k>
BoundOperation<typename MethodTraits<M>::Interface> MakeOperation(std::string id, M method,
                                                                  std::vector<std::string> inputs,
                                                                  std::index_sequence<k...>) {
  using Traits = MethodTraits<M>;
  using I = typename Traits::Interface;
  using Params = typename Traits::Params;
  constexpr std::size_t kInputs = sizeof...(k);
  using Result = std::tuple_element_t<kInputs + 1, Params>;
  using Value = typename Result::ValueType;

  auto invoke = [id, method, inputs](I& impl, const Data::StructValue& input,
                                     const std::shared_ptr<AsyncActivation>& activation,
                                     const ApiInterface::InvokeCallback& done) {
    std::tuple<std::tuple_element_t<k, Params>...> args;
    std::shared_ptr<const Data::ErrorValue> inputError;
    // Absent and null are the same: missing, unless the input is optional.
    auto read = [&](const std::string& name, auto& arg) {
      using Arg = std::decay_t<decltype(arg)>;
      constexpr bool kOptional = IsOptionalInput<Arg>::value;
      if (inputError) return;
      const Data::ValuePtr field = input.GetField(name);
      if (!field || Data::Detail::Unwrap(*field) == nullptr) {
        if (!kOptional) inputError = MissingInputError(name);
      } else if (!Data::TypeConverter<Arg>::FromValue(*field, arg)) {
        inputError = InvalidInputError(name);
      }
    };
    (read(inputs[k], std::get<k>(args)), ...);
    static_cast<void>(read);  // unused by operations without inputs
    if (inputError) {
      done(nullptr, inputError);
      return;
    }
    auto completion = std::make_shared<Completion>(done, id, std::is_same<Value, Void>::value);
    Result result([completion, id](const boost::optional<Value>& value,
                                   const std::shared_ptr<const Data::ErrorValue>& error,
                                   const std::shared_ptr<const Data::NativeError>&,
                                   const Progress&) {
      if (error || !value) {
        completion->Report(nullptr, error ? error : DroppedResultError(id));
        return;
      }
      const L10n::RequestLocalizer localizer{L10n::Localizer(), L10n::LocaleSpec()};
      completion->Report(Data::TypeConverter<Value>::ToValue(*value, localizer), nullptr);
    });
    completion.reset();  // the result's callback holds it from here on
    (impl.*method)(std::get<k>(args)..., activation, result);
  };
  return {std::move(id), std::move(inputs), std::move(invoke)};
}

template <class I>
class BoundService final : public ApiInterface {
 public:
  BoundService(std::shared_ptr<I> impl, std::vector<BoundOperation<I>> operations)
      : identifier_(Data::TypeInfo<I>::name()),
        impl_(std::move(impl)),
        operations_(std::move(operations)) {}

  const std::string& GetIdentifier() const override { return identifier_; }

  std::vector<std::string> GetOperationIdentifiers() const override {
    std::vector<std::string> ids;
    for (const auto& operation : operations_)
      ids.push_back(operation.id);
    return ids;
  }

  std::vector<std::string> GetInputNames(const std::string& operationId) const override {
    const BoundOperation<I>* operation = Find(operationId);
    return operation ? operation->inputs : std::vector<std::string>();
  }

  void Invoke(const std::string& operationId, const Data::StructValue& input,
              const std::shared_ptr<AsyncActivation>& activation,
              InvokeCallback done) const override {
    const BoundOperation<I>* operation = Find(operationId);
    if (operation == nullptr) {
      done(nullptr, UnknownOperationError(identifier_, operationId));
      return;
    }
    operation->invoke(*impl_, input, activation, done);
  }

 private:
  const BoundOperation<I>* Find(const std::string& operationId) const {
    for (const auto& operation : operations_) {
      if (operation.id == operationId) return &operation;
    }
    return nullptr;
  }

  std::string identifier_;
  std::shared_ptr<I> impl_;
  std::vector<BoundOperation<I>> operations_;
};

}  // namespace Detail

// One operation of a binder: its identifier, its member function, the names of its inputs.
template <class M, std::size_t N>
BoundOperation<typename Detail::MethodTraits<M>::Interface> BindOperation(
    std::string id, M method, const char* const (&inputs)[N]) {
  constexpr std::size_t kParams = std::tuple_size<typename Detail::MethodTraits<M>::Params>::value;
  static_assert(kParams == N + 2, "name every input; the activation and the result come last");
  return Detail::MakeOperation(std::move(id), method, std::vector<std::string>(inputs, inputs + N),
                               std::make_index_sequence<N>());
}

// An operation without inputs.
template <class M>
BoundOperation<typename Detail::MethodTraits<M>::Interface> BindOperation(std::string id,
                                                                          M method) {
  constexpr std::size_t kParams = std::tuple_size<typename Detail::MethodTraits<M>::Params>::value;
  static_assert(kParams == 2, "an operation with inputs names them");
  return Detail::MakeOperation(std::move(id), method, {}, std::make_index_sequence<0>());
}

template <class I>
std::shared_ptr<ApiInterface> BindService(std::shared_ptr<I> impl,
                                          std::vector<BoundOperation<I>> operations) {
  return std::make_shared<Detail::BoundService<I>>(std::move(impl), std::move(operations));
}

}  // namespace Core
}  // namespace Ostra

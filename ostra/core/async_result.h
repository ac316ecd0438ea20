// Asynchronous results: how a service operation hands back its value or its error.
#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <boost/optional.hpp>

#include "ostra/core/data_value.h"

namespace Ostra {

// The value of an operation that returns nothing.
struct Void {
  friend bool operator==(Void, Void) { return true; }
};

struct Progress {};

namespace Core {
// The context of one call. It may name the operation; nothing in this library reads it.
class AsyncActivation {
 public:
  AsyncActivation() = default;
  AsyncActivation(std::string serviceId, std::string operationId)
      : serviceId_(std::move(serviceId)), operationId_(std::move(operationId)) {}
  const std::string& GetServiceId() const { return serviceId_; }
  const std::string& GetOperationId() const { return operationId_; }

 private:
  std::string serviceId_;
  std::string operationId_;
};
}  // namespace Core

// After the first completion, every further completion ends the process: a result is completed
// at most once, and a second completion is a bug that must not go unnoticed.
struct AsyncResultTerminateCbPolicy {
  template <class Cb>
  static Cb AfterCompletion() {
    return [](const auto&...) { std::terminate(); };
  }
};

// A result slot that copies share. Completing it calls the callback with the value or the error.
template <class T, class Policy = AsyncResultTerminateCbPolicy>
class AsyncResult {
 public:
  using ValueType = T;
  using ResultCb = std::function<void(
      const boost::optional<T>& value, const std::shared_ptr<const Data::ErrorValue>& error,
      const std::shared_ptr<const Data::NativeError>& native, const Progress& progress)>;

  explicit AsyncResult(ResultCb callback) : state_(std::make_shared<State>(std::move(callback))) {}

  void operator()(const T& value) const { Complete(boost::optional<T>(value), nullptr); }
  void operator()(T&& value) const { Complete(boost::optional<T>(std::move(value)), nullptr); }
  void error(const std::shared_ptr<const Data::ErrorValue>& error) const {
    Complete(boost::none, error);
  }

 private:
  // The first completion takes the callback; only it touches `callback`, so a flag suffices.
  struct State {
    explicit State(ResultCb cb) : callback(std::move(cb)) {}
    std::atomic<bool> completed{false};
    ResultCb callback;
  };

  void Complete(const boost::optional<T>& value,
                const std::shared_ptr<const Data::ErrorValue>& error) const {
    ResultCb callback = state_->completed.exchange(true, std::memory_order_acq_rel)
                            ? Policy::template AfterCompletion<ResultCb>()
                            : std::move(state_->callback);
    if (callback) callback(value, error, nullptr, Progress());
  }

  std::shared_ptr<State> state_;
};

}  // namespace Ostra

// The frame every service adapter shares: one store call, then the result completed with the
// value, or with a NotFound error holding one catalogue message when the store found nothing.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/optional.hpp>

#include "ostra/core/async_result.h"
#include "ostra/provider/source_set.h"
#include "ostra/std_bindings/errors.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// The base of every adapter: it holds the store (read-only) and nothing else, and makes a fresh
// adapter per GetInstance call.
template <class Impl, class Interface, class Container>
class ServiceAdapter : public Interface {
 public:
  static std::shared_ptr<Impl> GetInstance(const std::shared_ptr<const Container>& container) {
    return std::make_shared<Impl>(container);
  }
  explicit ServiceAdapter(std::shared_ptr<const Container> container)
      : container_(std::move(container)) {}

 protected:
  std::shared_ptr<const Container> container_;
};

// What a store answers when it found nothing: null, an empty string, an empty optional.
template <class T>
bool IsAbsent(const std::shared_ptr<T>& value) {
  return value == nullptr;
}
inline bool IsAbsent(const std::string& value) {
  return value.empty();
}

// Completes `result` with `value`, or, when it is absent, with NotFound carrying the catalogue
// message `id` filled with `args`.
template <class T, class Value, class... Args>
void CompleteOrNotFound(const AsyncResult<T>& result, Value value, const char* id,
                        const Args&... args) {
  if (IsAbsent(value)) {
    result.error(MessageError<Com::Corvane::Ostra::Std::Errors::NotFound>(id, args...));
  } else {
    result(std::move(value));
  }
}

template <class T, class... Args>
void CompleteOrNotFound(const AsyncResult<T>& result, boost::optional<T> value, const char* id,
                        const Args&... args) {
  if (!value) {
    result.error(MessageError<Com::Corvane::Ostra::Std::Errors::NotFound>(id, args...));
  } else {
    result(std::move(*value));
  }
}

// A service over one kind of keyed record: List() names every record the store lists, Get(id)
// answers one, or NotFound with the catalogue message Lookup::kNotFoundId naming `id`. Lookup
// tells the Interface, the Container and the two store calls, kList and kGet.
template <class Impl, class Lookup>
class ListGetAdapter
    : public ServiceAdapter<Impl, typename Lookup::Interface, typename Lookup::Container> {
 public:
  using Activation = std::shared_ptr<Core::AsyncActivation>;
  using Record = std::invoke_result_t<decltype(Lookup::kGet), const typename Lookup::Container&,
                                      const std::string&>;
  using ServiceAdapter<Impl, typename Lookup::Interface,
                       typename Lookup::Container>::ServiceAdapter;

  void List(const Activation&, const AsyncResult<std::list<std::string>>& result) override {
    result(((*this->container_).*Lookup::kList)());
  }
  void Get(const std::string& id, const Activation&, const AsyncResult<Record>& result) override {
    CompleteOrNotFound(result, ((*this->container_).*Lookup::kGet)(id), Lookup::kNotFoundId, id);
  }
};

template <class Lookup>
class ListGetService final : public ListGetAdapter<ListGetService<Lookup>, Lookup> {
 public:
  using ListGetAdapter<ListGetService<Lookup>, Lookup>::ListGetAdapter;
};

// A source mutation: an error completes the result; success leaves it uncompleted unless
// `completeOnSuccess` (the Cli source service completes it with the empty value).
inline void CompleteMutation(const AsyncResult<Void>& result, const ErrorPtr& error,
                             bool completeOnSuccess) {
  if (error) {
    result.error(error);
  } else if (completeOnSuccess) {
    result(Void());
  }
}

// The source service of a domain: create, delete, get, list, reload and fingerprint its sources.
// Domain tells the types (Interface, Container, CreateSpec, Info), the not-found message id and
// whether a successful mutation completes its result.
template <class Domain>
class SourceService final : public ServiceAdapter<SourceService<Domain>, typename Domain::Interface,
                                                  typename Domain::Container> {
 public:
  using Activation = std::shared_ptr<Core::AsyncActivation>;
  using ServiceAdapter<SourceService<Domain>, typename Domain::Interface,
                       typename Domain::Container>::ServiceAdapter;

  void Create(const std::string& sourceId,
              const std::shared_ptr<const typename Domain::CreateSpec>& spec, const Activation&,
              const AsyncResult<Void>& result) override {
    CompleteMutation(result, Store()->CreateSource(sourceId, spec), Domain::kCompleteOnSuccess);
  }
  void Delete(const std::string& sourceId, const Activation&,
              const AsyncResult<Void>& result) override {
    CompleteMutation(result, Store()->DeleteSource(sourceId), Domain::kCompleteOnSuccess);
  }
  void Get(const std::string& sourceId, const Activation&,
           const AsyncResult<std::shared_ptr<const typename Domain::Info>>& result) override {
    CompleteOrNotFound(result, this->container_->SourcesInfo(sourceId), Domain::kNotFoundId,
                       sourceId);
  }
  void List(const Activation&, const AsyncResult<std::list<std::string>>& result) override {
    result(this->container_->ListSources());
  }
  void Reload(const boost::optional<std::string>& sourceId, const Activation&,
              const AsyncResult<Void>& result) override {
    CompleteMutation(result, Store()->ReloadSource(sourceId), Domain::kCompleteOnSuccess);
  }
  void Fingerprint(const boost::optional<std::string>& sourceId, const Activation&,
                   const AsyncResult<std::string>& result) override {
    CompleteOrNotFound(result, this->container_->SourceFingerprint(sourceId), Domain::kNotFoundId,
                       sourceId);
  }

 private:
  // The store guards its own source operations; adapters hold the read-only handle that every
  // adapter holds, over a store that was never created const.
  std::shared_ptr<typename Domain::Container> Store() const {
    return std::const_pointer_cast<typename Domain::Container>(this->container_);
  }
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

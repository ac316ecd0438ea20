// Host: what a server process does with the library, in one object. It makes the three stores,
// loads sources into them, binds the services (the bound lists and the three source services) and
// dispatches every request through ApiInterface::Invoke.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/optional.hpp>

#include "ostra/metadata_services.h"

namespace OstraTool {

using Ostra::Data::ValuePtr;
using ErrorPtr = std::shared_ptr<const Ostra::Data::ErrorValue>;

enum class Domain { kMetamodel, kAuthentication, kCli };

// "metamodel", "authentication" or "cli": the root member of the domain's documents.
const char* DomainName(Domain domain);
// The domain whose root member the document has; none for another document.
boost::optional<Domain> DomainOf(const Ostra::Provider::Metadata::JsonDocument& document);
// The domain that the first member of a text's root object names, for a text that does not parse
// (a truncated document); none when it names none.
boost::optional<Domain> DomainOfText(const std::string& text);

// Whether `operation` of the service identified as `service` creates, deletes or reloads sources.
bool ManagesSources(const std::string& service, const std::string& operation);

// Named inputs of an operation, built from native values.
class Input {
 public:
  template <class T>
  Input& Add(const char* name, const T& value) {
    fields_.emplace_back(name, Ostra::Data::TypeConverter<T>::ToValue(value, localizer_));
    return *this;
  }
  Ostra::Data::StructValue Build() const { return Ostra::Data::StructValue("", fields_); }

 private:
  Ostra::L10n::RequestLocalizer localizer_;
  std::vector<Ostra::Data::StructValue::Field> fields_;
};

class Host {
 public:
  Host();

  // Creates source `id` of `domain` from `path`; null on success.
  ErrorPtr Load(Domain domain, const std::string& id, const std::string& path);
  // The same from the document already parsed from `path`, which the source keeps as its file: it
  // shows as the source's path and a reload reads it again.
  ErrorPtr Load(Domain domain, const std::string& id, const std::string& path,
                Ostra::Provider::Metadata::ParsedMetadata& parsed);

  // A service by its identifier or by the identifier's tail after "com.corvane.ostra.metadata."
  // ("cli.command"); null when no such service is bound.
  std::shared_ptr<const Ostra::Core::ApiInterface> Find(const std::string& service) const;
  // The three stores, to compare them with another host's (see DiffModels).
  Ostra::Provider::Metadata::MetadataModel Model() const {
    return {metamodel_, authentication_, cli_};
  }

  // The identifiers of every bound service, in order.
  std::vector<std::string> Services() const;

  // The outcome of one call: a value, or an error.
  struct Reply {
    ValuePtr value;
    ErrorPtr error;
  };
  // Invokes `operation` of `service`; an unknown service answers NotFound. Any thread may call.
  Reply Call(const std::string& service, const std::string& operation,
             const Ostra::Data::StructValue& input) const;

  // Reloads source `id` of `domain` from its file (the store's ReloadSource).
  ErrorPtr Reload(Domain domain, const std::string& id) const;

  // How many source operations (create, delete, reload, through Call or Reload) have ended so far:
  // while it stays the same, so do the stores' answers.
  std::uint64_t Changes() const { return changes_.load(); }

  // Calls and converts the result to T; none when the call failed or the result is not a T.
  template <class T>
  boost::optional<T> Get(const std::string& service, const std::string& operation,
                         const Input& input = Input()) const {
    const Reply reply = Call(service, operation, input.Build());
    T native{};
    if (reply.error || !reply.value ||
        !Ostra::Data::TypeConverter<T>::FromValue(*reply.value, native)) {
      return boost::none;
    }
    return native;
  }

 private:
  std::shared_ptr<Ostra::Provider::Metadata::Metamodel::MetadataContainer> metamodel_;
  std::shared_ptr<Ostra::Provider::Metadata::Authentication::MetadataContainer> authentication_;
  std::shared_ptr<Ostra::Provider::Metadata::Cli::MetadataContainer> cli_;
  std::vector<std::shared_ptr<Ostra::Core::ApiInterface>> services_;
  mutable std::atomic<std::uint64_t> changes_{0};
};

// The prefix of every service identifier, which short names leave out.
constexpr const char* kServicePrefix = "com.corvane.ostra.metadata.";

}  // namespace OstraTool

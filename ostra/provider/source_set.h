// SourceSet: the sources of one domain's store, by identifier, and every operation that manages
// them. The three domain stores differ only in what a source index holds and how a document fills
// it; that is told by a Domain traits class:
//
//   struct Domain {
//     using SourceData = ...;   // constructible from the create spec; has `info`
//     using CreateSpec = ...;   // SourceSvc::CreateSpec of the domain
//     static constexpr const char* kSourceExistsId, kSourceNotFoundId, kSourceFileNotFoundId;
//     static const std::shared_ptr<const CreateSpec>& SpecOf(const SourceData&);
//     // The domain parser; a source that loaded is indexed before it is stored.
//     static bool ParseDocument(const JsonDocument&, SourceData&, Messages&);
//     static void Stamp(SourceData&, const std::string& fingerprint);   // all its fingerprints
//     // Optional: reads a source file its own way, with ParseSourceFile's and ParseDocument's
//     // answers (see ReadFile below).
//     static std::shared_ptr<ParsedMetadata> ReadFile(path, SourceData&, Messages&, bool& loaded);
//     static const std::string& SourceFingerprint(const SourceData&);
//   };
//
// One mutex guards the map. Every operation holds it for its whole run, except that creating a
// source loads it without the lock (a later insert under the same id wins) and reloading holds it
// while files are read. Source indexes are immutable once stored.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/optional.hpp>

#include "ostra/core/crc32.h"
#include "ostra/core/error_factory.h"
#include "ostra/provider/messages.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/std_bindings/errors.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

using ErrorPtr = std::shared_ptr<const Data::ErrorValue>;

// An error of kind E carrying one catalogue message.
template <class E, class... Args>
ErrorPtr MessageError(const char* id, const Args&... args) {
  return Data::ErrorFactory::GetError<E>({MetadataMessage(id, args...)});
}

template <class Domain>
class SourceSet {
 public:
  using SourceData = typename Domain::SourceData;
  using CreateSpec = typename Domain::CreateSpec;
  using SourcePtr = std::shared_ptr<const SourceData>;
  using Entry = std::pair<const std::string, SourcePtr>;
  using InfoPtr =
      std::shared_ptr<const typename decltype(std::declval<SourceData>().info)::element_type>;

  // Loads a source from the file its spec names. Null on failure, with `error` set; a null spec
  // is an InvalidArgument without messages.
  static std::shared_ptr<SourceData> LoadSource(const std::shared_ptr<const CreateSpec>& spec,
                                                ErrorPtr& error) {
    if (!CheckSpec(spec, error) || !CheckFileType(*spec, error)) return nullptr;
    auto source = std::make_shared<SourceData>(spec);
    // A spec without a path names no file that could be opened; nor does a directory.
    // The file is read once, parsed and fingerprinted from the same bytes; reading stops where
    // the text stops being JSON, so a file that never ends cannot hold the load.
    Messages messages;
    bool loaded = false;
    const auto parsed =
        spec->filepath ? ReadFile(*spec->filepath, *source, messages, loaded) : nullptr;
    if (!parsed) {
      error = MessageError<Com::Corvane::Ostra::Std::Errors::NotFound>(
          Domain::kSourceFileNotFoundId, spec->filepath.value_or(std::string()));
      return nullptr;
    }
    if (!loaded) {
      error = Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::InvalidArgument>(
          std::move(messages));
      return nullptr;
    }
    Domain::Stamp(*source, parsed->fingerprint);
    return source;
  }

  // Whether the domain reads its source files its own way (Domain::ReadFile).
  template <class D, class = void>
  struct ReadsFiles : std::false_type {};
  template <class D>
  struct ReadsFiles<D, std::void_t<decltype(&D::ReadFile)>> : std::true_type {};

  // Reads the file at `path` into `source`: null when it cannot be opened, else what was read
  // (its fingerprint) with `loaded` telling whether the source loaded.
  static std::shared_ptr<ParsedMetadata> ReadFile(const std::string& path, SourceData& source,
                                                  Messages& messages, bool& loaded) {
    if constexpr (ReadsFiles<Domain>::value) {
      return Domain::ReadFile(path, source, messages, loaded);
    } else {
      auto parsed = ParseSourceFile(path);
      loaded = parsed && Domain::ParseDocument(*parsed->document, source, messages);
      return parsed;
    }
  }

  // Builds a source from a parsed document. A spec that is not of the file type gives null and
  // leaves `error` untouched; a null spec is an InvalidArgument without messages.
  static std::shared_ptr<SourceData> LoadSource(const std::shared_ptr<const CreateSpec>& spec,
                                                ParsedMetadata& parsed, ErrorPtr& error) {
    if (!CheckSpec(spec, error)) return nullptr;
    auto source = std::make_shared<SourceData>(spec);
    if (spec->type.GetOrdinal() != 0) return nullptr;
    Messages messages;
    if (!parsed.document || !Domain::ParseDocument(*parsed.document, *source, messages)) {
      error = Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::InvalidArgument>(
          std::move(messages));
      return nullptr;
    }
    Domain::Stamp(*source, parsed.fingerprint);
    return source;
  }

  ErrorPtr Create(const std::string& id, const std::shared_ptr<const CreateSpec>& spec) {
    return Store(id, [&spec](ErrorPtr& error) { return LoadSource(spec, error); });
  }

  // A non-file spec stores the id without a source index; walks skip such entries.
  ErrorPtr CreateFromMetadata(const std::string& id, ParsedMetadata& parsed,
                              const std::shared_ptr<const CreateSpec>& spec) {
    return Store(id, [&](ErrorPtr& error) { return LoadSource(spec, parsed, error); });
  }

  ErrorPtr Delete(const std::string& id) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (sources_.erase(id) == 0) {
      return MessageError<Com::Corvane::Ostra::Std::Errors::NotFound>(Domain::kSourceNotFoundId,
                                                                      id);
    }
    return nullptr;
  }

  // Reloads every source, or the named one. Load failures are not reported: a source that fails
  // keeps its data, and so does every source after it in the same reload, since the one error
  // slot is shared. An unknown id answers NotFound with the "source exists" message.
  ErrorPtr Reload(const boost::optional<std::string>& id) {
    std::lock_guard<std::mutex> lock(mutex_);
    Reloader reload;
    if (!id) {
      for (auto& entry : sources_)
        reload(entry);
      return nullptr;
    }
    const auto it = sources_.find(*id);
    if (it == sources_.end()) {
      return MessageError<Com::Corvane::Ostra::Std::Errors::NotFound>(Domain::kSourceExistsId, id);
    }
    reload(*it);
    return nullptr;
  }

  std::list<std::string> List() const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::list<std::string> ids;
    for (const auto& entry : sources_)
      ids.push_back(entry.first);
    return ids;
  }

  InfoPtr Info(const std::string& id) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = sources_.find(id);
    if (it == sources_.end() || !it->second) return nullptr;
    return it->second->info;
  }

  // CRC32 over the fingerprint texts of all sources in id order, or of the named one; "" for an
  // unknown id.
  std::string Fingerprint(const boost::optional<std::string>& id) const {
    return Digest(id, &Domain::SourceFingerprint);
  }

  // CRC32 over the text `field` of every source (or of the named one), in id order.
  template <class Field>
  std::string Digest(const boost::optional<std::string>& id, Field field) const {
    CRC32 crc;
    std::lock_guard<std::mutex> lock(mutex_);
    if (!id) {
      for (const auto& entry : sources_) {
        if (entry.second) crc.Update(field(*entry.second));
      }
      return crc.Hexdigest();
    }
    const auto it = sources_.find(*id);
    if (it == sources_.end()) return std::string();
    if (it->second) crc.Update(field(*it->second));
    return crc.Hexdigest();
  }

  // The loaded sources in id order; entries stored without a source index are passed over.
  class Loaded {
   public:
    using Map = std::map<std::string, SourcePtr>;
    class Iterator {
     public:
      Iterator(typename Map::const_iterator it, typename Map::const_iterator end)
          : it_(it), end_(end) {
        Skip();
      }
      const SourceData* operator*() const { return it_->second.get(); }
      Iterator& operator++() {
        ++it_;
        Skip();
        return *this;
      }
      bool operator!=(const Iterator& other) const { return it_ != other.it_; }

     private:
      void Skip() {
        while (it_ != end_ && !it_->second)
          ++it_;
      }
      typename Map::const_iterator it_, end_;
    };

    explicit Loaded(const Map& sources) : sources_(sources) {}
    Iterator begin() const { return Iterator(sources_.begin(), sources_.end()); }
    Iterator end() const { return Iterator(sources_.end(), sources_.end()); }

   private:
    const Map& sources_;
  };

  // Answers read(sources), the loaded sources in id order, under the lock: a query sees the
  // store either before or after any source operation.
  template <class Reader>
  auto Read(Reader read) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return read(Loaded(sources_));
  }

 private:
  // Applied to entries in order; replaces an entry's index only while no reload has failed.
  struct Reloader {
    ErrorPtr error;
    void operator()(Entry& entry) {
      if (!entry.second) return;
      auto fresh = LoadSource(Domain::SpecOf(*entry.second), error);
      if (!error && fresh) entry.second = std::move(fresh);
    }
  };

  static bool CheckSpec(const std::shared_ptr<const CreateSpec>& spec, ErrorPtr& error) {
    if (spec) return true;
    error = Data::ErrorFactory::GetError(Com::Corvane::Ostra::Std::Errors::InvalidArgument());
    return false;
  }

  static bool CheckFileType(const CreateSpec& spec, ErrorPtr& error) {
    using Com::Corvane::Ostra::Std::Errors::InvalidArgument;
    using Com::Corvane::Ostra::Std::Errors::Unsupported;
    switch (spec.type.GetOrdinal()) {
      case 0:
        return true;
      case 1:
        error = Data::ErrorFactory::GetError(Unsupported());
        return false;
      default:
        error = Data::ErrorFactory::GetError(InvalidArgument());
        return false;
    }
  }

  // Checks the id, loads without the lock, stores under the lock (replacing a concurrent store).
  template <class Load>
  ErrorPtr Store(const std::string& id, Load load) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (sources_.count(id) != 0) {
        return MessageError<Com::Corvane::Ostra::Std::Errors::AlreadyExists>(
            Domain::kSourceExistsId, id);
      }
    }
    ErrorPtr error;
    auto source = load(error);
    if (error) return error;
    std::lock_guard<std::mutex> lock(mutex_);
    sources_[id] = std::move(source);
    return nullptr;
  }

  std::map<std::string, SourcePtr> sources_;  // guarded by mutex_
  mutable std::mutex mutex_;
};

// Implements the source operations of a domain's store interface over a SourceSet; the domain's
// store derives from it and adds its queries, which read `sources_`.
template <class Interface, class Domain>
class SourceStore : public Interface {
 public:
  using Sources = SourceSet<Domain>;
  using CreateSpec = typename Domain::CreateSpec;
  using SourceData = typename Domain::SourceData;

  // Loads a source from its spec's file, or from a parsed document (see SourceSet).
  static std::shared_ptr<SourceData> LoadSource(const std::shared_ptr<const CreateSpec>& spec,
                                                ErrorPtr& error) {
    return Sources::LoadSource(spec, error);
  }
  static std::shared_ptr<SourceData> LoadSource(const std::shared_ptr<const CreateSpec>& spec,
                                                ParsedMetadata& parsed, ErrorPtr& error) {
    return Sources::LoadSource(spec, parsed, error);
  }

  ErrorPtr CreateSource(const std::string& sourceId,
                        const std::shared_ptr<const CreateSpec>& spec) override {
    return sources_.Create(sourceId, spec);
  }
  ErrorPtr CreateSourceFromMetadata(const std::string& sourceId, ParsedMetadata& parsed,
                                    const std::shared_ptr<const CreateSpec>& spec) override {
    return sources_.CreateFromMetadata(sourceId, parsed, spec);
  }
  ErrorPtr DeleteSource(const std::string& sourceId) override { return sources_.Delete(sourceId); }
  ErrorPtr ReloadSource(const boost::optional<std::string>& sourceId) override {
    return sources_.Reload(sourceId);
  }
  std::list<std::string> ListSources() const override { return sources_.List(); }
  typename Sources::InfoPtr SourcesInfo(const std::string& sourceId) const override {
    return sources_.Info(sourceId);
  }
  std::string SourceFingerprint(const boost::optional<std::string>& sourceId) const override {
    return sources_.Fingerprint(sourceId);
  }

 protected:
  Sources sources_;
};

// The queries of the domains whose sources hold components by name (`components`), each with
// packages, services and operations, indexed by a ComponentIndex (`index`). Components are answered
// with the fingerprint their source reports (`componentFingerprint`). Lists run in walking order;
// lookups answer the first match in that order, a few index lookups per source.
template <class Interface, class Domain, class ComponentData>
class ComponentStore : public SourceStore<Interface, Domain> {
 public:
  using SourceData = typename Domain::SourceData;
  using Loaded = typename SourceSet<Domain>::Loaded;
  using Index = decltype(std::declval<SourceData>().index);
  using PackagePtr = std::shared_ptr<typename Index::Package>;
  using ServicePtr = std::shared_ptr<typename Index::Service>;
  using OperationPtr = std::shared_ptr<typename Index::Operation>;

  std::list<std::string> ListComponents() const override {
    return this->sources_.Read([](const Loaded& sources) {
      std::list<std::string> names;
      for (const SourceData* source : sources) {
        for (const auto& component : source->components)
          names.push_back(component.first);
      }
      return names;
    });
  }

  std::shared_ptr<const ComponentData> ComponentInfo(const std::string& name) const override {
    return this->sources_.Read([&](const Loaded& sources) -> std::shared_ptr<const ComponentData> {
      const SourceData* source = SourceOf(sources, name);
      if (source == nullptr) return nullptr;
      auto data = std::make_shared<ComponentData>();
      data->info = source->components.at(name);
      data->fingerprint = source->componentFingerprint;
      return data;
    });
  }

  std::string ComponentFingerprint(const std::string& name) const override {
    return this->sources_.Read([&](const Loaded& sources) {
      const SourceData* source = SourceOf(sources, name);
      return source ? source->componentFingerprint : std::string();
    });
  }

  std::list<std::string> ListPackages() const override {
    return this->sources_.Read([](const Loaded& sources) {
      std::list<std::string> ids;
      for (const SourceData* source : sources) {
        for (const auto& component : source->components) {
          for (const auto& package : component.second->packages)
            ids.push_back(package.first);
        }
      }
      return ids;
    });
  }

  PackagePtr PackageInfo(const std::string& packageId) const override {
    return this->sources_.Read([&](const Loaded& sources) -> PackagePtr {
      for (const SourceData* source : sources) {
        if (const auto* package = source->index.FindPackage(packageId)) return *package;
      }
      return nullptr;
    });
  }

  std::list<std::string> ListServices() const override {
    return this->sources_.Read([](const Loaded& sources) {
      std::list<std::string> ids;
      for (const SourceData* source : sources) {
        for (const auto& component : source->components) {
          for (const auto& package : component.second->packages) {
            for (const auto& service : package.second->services)
              ids.push_back(service.first);
          }
        }
      }
      return ids;
    });
  }

  ServicePtr ServiceInfo(const std::string& serviceId) const override {
    return this->sources_.Read(
        [&](const Loaded& sources) { return FindService(sources, serviceId); });
  }

  // The operation names of the first service of that id.
  boost::optional<std::list<std::string>> ListOperations(
      const std::string& serviceId) const override {
    return this->sources_.Read(
        [&](const Loaded& sources) -> boost::optional<std::list<std::string>> {
          const ServicePtr service = FindService(sources, serviceId);
          if (!service) return boost::none;
          std::list<std::string> names;
          for (const auto& operation : service->operations)
            names.push_back(operation.first);
          return names;
        });
  }

  // A service of that id without the operation does not end the search: later services of the
  // id, in that source or later ones, are tried.
  OperationPtr OperationInfo(const std::string& serviceId,
                             const std::string& operationId) const override {
    return this->sources_.Read([&](const Loaded& sources) -> OperationPtr {
      for (const SourceData* source : sources) {
        if (const auto* operation = source->index.FindOperation(serviceId, operationId)) {
          return *operation;
        }
      }
      return nullptr;
    });
  }

 private:
  static const SourceData* SourceOf(const Loaded& sources, const std::string& name) {
    for (const SourceData* source : sources) {
      if (source->components.count(name) != 0) return source;
    }
    return nullptr;
  }

  static ServicePtr FindService(const Loaded& sources, const std::string& serviceId) {
    for (const SourceData* source : sources) {
      if (const auto* service = source->index.FindService(serviceId)) return *service;
    }
    return nullptr;
  }
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

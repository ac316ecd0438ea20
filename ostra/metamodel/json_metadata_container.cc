#include "ostra/metamodel/json_metadata_container.h"

#include <array>
#include <type_traits>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {
namespace {

using Loaded = SourceSet<MetamodelSources>::Loaded;

// Calls visit with every package (Owner = PackageInfo) or every service (Owner = ServiceInfo), in
// walking order.
template <class Owner, class Visit>
void EachOwner(const Loaded& sources, Visit visit) {
  for (const SourceData* source : sources) {
    for (const auto& component : source->components) {
      for (const auto& package : component.second->packages) {
        if constexpr (std::is_same_v<Owner, Binding::PackageInfo>) {
          visit(*package.second);
        } else {
          for (const auto& service : package.second->services)
            visit(*service.second);
        }
      }
    }
  }
}

template <class Map>
void AppendKeys(std::list<std::string>& names, const Map& map) {
  for (const auto& entry : map)
    names.push_back(entry.first);
}

// The stages run in turn, each over all sources; a stage runs only when the ones before found
// nothing. A package enumeration of a later source thus beats a service enumeration of an earlier.
template <class Record, std::size_t Stages>
std::shared_ptr<const Record> FindInStages(
    const Loaded& sources, std::array<SourceData::Index<Record>, Stages> SourceData::*stages,
    const std::string& id) {
  for (std::size_t stage = 0; stage < Stages; ++stage) {
    for (const SourceData* source : sources) {
      if (const auto* entry = (source->*stages)[stage].Find(id)) return entry->second;
    }
  }
  return nullptr;
}

}  // namespace

std::shared_ptr<MetadataContainer> MetadataContainer::GetInstance() {
  return std::make_shared<JsonMetadataContainer>();
}

namespace {

JsonMetadataParser::RegisterCallbacks Register(SourceData& source) {
  return {[&source](const auto& component) { source.RegisterComponentNode(component); },
          [&source](const std::string& resource) { source.RegisterResoure(resource); },
          [&source](const std::string& resource, const std::string& model) {
            source.RegisterModel(resource, model);
          }};
}

}  // namespace

bool MetamodelSources::ParseDocument(const JsonDocument& document, SourceData& source,
                                     Messages& messages) {
  const bool loaded = JsonMetadataParser::LoadMetadataFromDoc(document, Register(source), messages);
  if (loaded) source.IndexComponents();
  return loaded;
}

std::shared_ptr<ParsedMetadata> MetamodelSources::ReadFile(const std::string& path,
                                                           SourceData& source, Messages& messages,
                                                           bool& loaded) {
  auto parsed = JsonMetadataParser::LoadMetadataFile(path, Register(source), messages, loaded);
  if (loaded) source.IndexComponents();
  return parsed;
}

void MetamodelSources::Stamp(SourceData& source, const std::string& fingerprint) {
  source.fingerprint = fingerprint;
  source.componentFingerprint = fingerprint;
}

std::list<std::string> JsonMetadataContainer::ListHiddens() const {
  return {};
}

// Four passes: package enumerations, service enumerations, then the enumerations inside package
// structures and inside service structures.
std::list<std::string> JsonMetadataContainer::ListEnumerations() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> names;
    const auto own = [&names](const auto& owner) { AppendKeys(names, owner.enumerations); };
    const auto nested = [&names](const auto& owner) {
      for (const auto& structure : owner.structures)
        AppendKeys(names, structure.second->enumerations);
    };
    EachOwner<Binding::PackageInfo>(sources, own);
    EachOwner<Binding::ServiceInfo>(sources, own);
    EachOwner<Binding::PackageInfo>(sources, nested);
    EachOwner<Binding::ServiceInfo>(sources, nested);
    return names;
  });
}

std::shared_ptr<const Binding::EnumerationInfo> JsonMetadataContainer::EnumerationInfo(
    const std::string& enumerationId) const {
  return sources_.Read([&](const Loaded& sources) {
    return FindInStages(sources, &SourceData::enumerationStages, enumerationId);
  });
}

std::list<std::string> JsonMetadataContainer::ListStructures() const {
  return sources_.Read([](const Loaded& sources) {
    std::list<std::string> names;
    const auto own = [&names](const auto& owner) { AppendKeys(names, owner.structures); };
    EachOwner<Binding::PackageInfo>(sources, own);
    EachOwner<Binding::ServiceInfo>(sources, own);
    return names;
  });
}

std::shared_ptr<const Binding::StructureInfo> JsonMetadataContainer::StructureInfo(
    const std::string& structureId) const {
  return sources_.Read([&](const Loaded& sources) {
    return FindInStages(sources, &SourceData::structureStages, structureId);
  });
}

std::set<std::string> JsonMetadataContainer::ListResources() const {
  return sources_.Read([](const Loaded& sources) {
    std::set<std::string> resources;
    for (const SourceData* source : sources) {
      for (const auto& resource : source->resources)
        resources.insert(resource.first);
    }
    return resources;
  });
}

boost::optional<std::set<std::string>> JsonMetadataContainer::ListModels(
    const std::string& resourceId) const {
  return sources_.Read([&](const Loaded& sources) {
    // The last source that has the resource wins; models are not merged.
    const std::set<std::string>* models = nullptr;
    for (const SourceData* source : sources) {
      const auto it = source->resources.find(resourceId);
      if (it != source->resources.end()) models = &it->second;
    }
    return models ? boost::make_optional(*models) : boost::none;
  });
}

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

// The stores answer lookups from per-source indexes. Here every query is compared with a plain walk
// over the same sources in walking order, on generated documents whose few names repeat across
// packages, services, structures, components and sources.
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "metamodel/documents.h"
#include "ostra/authentication/json_metadata_container.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/core/json.h"
#include "ostra/core/type_converter.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "test_store.h"

namespace {

namespace Metadata = Ostra::Provider::Metadata;
namespace Mm = Com::Corvane::Ostra::Metadata::Metamodel;
namespace Au = Com::Corvane::Ostra::Metadata::Authentication;
namespace CliB = Com::Corvane::Ostra::Metadata::Cli;

// A fixed pseudo-random sequence, so that every run tests the same documents.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  int Next(int bound) {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<int>((state_ >> 33) % static_cast<std::uint64_t>(bound));
  }
  // One of the names prefix0 .. prefix{count-1}.
  std::string Name(const std::string& prefix, int count) {
    return prefix + std::to_string(Next(count));
  }

 private:
  std::uint64_t state_;
};

// Joins `count` items made by `make`.
template <class Make>
std::string Items(int count, Make make) {
  std::string items;
  for (int i = 0; i < count; ++i)
    items += (i ? "," : "") + make();
  return items;
}

// Loads each text as a source of `store` (ids in the order given) and answers the source indexes
// a walk reads, loaded apart from the store.
template <class Store, class Container>
std::vector<std::shared_ptr<typename Container::SourceData>> LoadAll(
    Store& store, const std::vector<std::string>& texts) {
  using Spec = typename Container::CreateSpec;
  std::vector<std::shared_ptr<typename Container::SourceData>> walked;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::string id(1, static_cast<char>('a' + i));
    auto parsed = OstraTest::Parse(texts[i]);
    Metadata::ErrorPtr error;
    walked.push_back(Container::LoadSource(OstraTest::FileSpec<Spec>(""), *parsed, error));
    EXPECT_NE(walked.back(), nullptr);
    EXPECT_EQ(store->CreateSourceFromMetadata(id, *parsed, OstraTest::FileSpec<Spec>("")), nullptr);
  }
  // An entry without a source index sorts after the others; lookups pass over it.
  auto remote = std::make_shared<Spec>(*OstraTest::FileSpec<Spec>(""));
  remote->type = decltype(remote->type)::REMOTE;
  EXPECT_EQ(store->CreateSourceFromMetadata("z", *OstraTest::Parse(texts.front()), remote),
            nullptr);
  return walked;
}

// ---- Metamodel

// A document of random names; every record carries a documentation text of its own, "d" and the
// count `next`, which tells records apart across documents.
std::string MetamodelDocument(Random& random, int& next) {
  namespace D = OstraTest::MetamodelDocs;
  const auto enumerations = [&] {
    return Items(random.Next(3), [&] { return D::Enumeration(random.Name("e", 4)); });
  };
  const auto structures = [&] {
    return Items(random.Next(3), [&] {
      const std::string name = random.Name("t", 4);
      return D::Structure(name, "", "{}", "STRUCTURE", "", enumerations());
    });
  };
  const auto service = [&] {
    const std::string name = random.Name("s", 4), inner = enumerations(), types = structures();
    return D::Service(name,
                      Items(random.Next(4), [&] { return D::Operation(random.Name("o", 4)); }),
                      types, inner);
  };
  const auto package = [&] {
    const std::string name = random.Name("p", 4), inner = enumerations(), types = structures();
    return D::Package(name, types, Items(random.Next(4), service), "{}", inner);
  };
  const std::string component = random.Name("c", 2);
  std::string text = D::NamedDoc(component, Items(1 + random.Next(3), package));
  const std::string empty = R"("documentation":"")";
  for (auto at = text.find(empty); at != std::string::npos; at = text.find(empty, at))
    text.replace(at, empty.size(), R"("documentation":"d)" + std::to_string(next++) + "\"");
  return text;
}

// Entries of one kind of record in walking order: sources, components, packages, services,
// structures, each map in key order.
template <class Record>
using Entries = std::vector<std::pair<std::string, std::shared_ptr<const Record>>>;

template <class Map, class Record>
void Append(Entries<Record>& entries, const Map& map) {
  entries.insert(entries.end(), map.begin(), map.end());
}

template <class Record>
std::list<std::string> Keys(const std::vector<const Entries<Record>*>& stages) {
  std::list<std::string> keys;
  for (const auto* stage : stages) {
    for (const auto& entry : *stage)
      keys.push_back(entry.first);
  }
  return keys;
}

// The first record of `id`, stage by stage; null if there is none.
template <class Record>
std::shared_ptr<const Record> First(const std::vector<const Entries<Record>*>& stages,
                                    const std::string& id) {
  for (const auto* stage : stages) {
    for (const auto& entry : *stage) {
      if (entry.first == id) return entry.second;
    }
  }
  return nullptr;
}

// The documentation that tells records apart; "-" for none.
template <class Pointer>
std::string Doc(const Pointer& record) {
  return record ? record->documentation : "-";
}

std::string Names(const boost::optional<std::list<std::string>>& names) {
  if (!names) return "-";
  std::string text;
  for (const auto& name : *names)
    text += name + " ";
  return text;
}

// The operation names of the first service `id`, or none.
template <class Service>
boost::optional<std::list<std::string>> OperationsOf(const Entries<Service>& services,
                                                     const std::string& id) {
  const auto found = First<Service>({&services}, id);
  if (!found) return boost::none;
  std::list<std::string> names;
  for (const auto& operation : found->operations)
    names.push_back(operation.first);
  return names;
}

// The operation from the first service `service` that has it.
template <class Service>
auto OperationOf(const Entries<Service>& services, const std::string& service,
                 const std::string& operation) {
  for (const auto& entry : services) {
    const auto it = entry.second->operations.find(operation);
    if (entry.first == service && it != entry.second->operations.end()) return it->second;
  }
  return decltype(services.front().second->operations.begin()->second)();
}

// Every lookup of the Metamodel store answered by walking the sources.
struct MetamodelWalk {
  explicit MetamodelWalk(
      const std::vector<std::shared_ptr<Metadata::Metamodel::SourceData>>& sources) {
    for (const auto& source : sources) {
      for (const auto& component : source->components) {
        for (const auto& package : component.second->packages) {
          packages.push_back(package);
          const Mm::PackageInfo& p = *package.second;
          Append(structures[0], p.structures);
          Append(enumerations[0], p.enumerations);
          for (const auto& structure : p.structures)
            Append(enumerations[2], structure.second->enumerations);
          for (const auto& service : p.services) {
            services.push_back(service);
            Append(structures[1], service.second->structures);
            Append(enumerations[1], service.second->enumerations);
            for (const auto& structure : service.second->structures)
              Append(enumerations[3], structure.second->enumerations);
          }
        }
      }
    }
  }

  std::vector<const Entries<Mm::StructureInfo>*> StructureStages() const {
    return {&structures[0], &structures[1]};
  }
  std::vector<const Entries<Mm::EnumerationInfo>*> EnumerationStages() const {
    return {&enumerations[0], &enumerations[1], &enumerations[2], &enumerations[3]};
  }
  Entries<Mm::PackageInfo> packages;
  Entries<Mm::ServiceInfo> services;
  Entries<Mm::StructureInfo> structures[2];  // of packages, of services
  Entries<Mm::EnumerationInfo>
      enumerations[4];  // of packages, of services, inside their structures
};

using MetamodelStore = std::shared_ptr<Metadata::Metamodel::MetadataContainer>;

// Compares every lookup and list of `store` with the walk over `texts`, loaded as its sources.
void ExpectMetamodelLookupsAsWalked(const std::vector<std::string>& texts) {
  MetamodelStore store = Metadata::Metamodel::MetadataContainer::GetInstance();
  const MetamodelWalk walk(
      LoadAll<MetamodelStore, Metadata::Metamodel::JsonMetadataContainer>(store, texts));
  EXPECT_EQ(store->ListPackages(), Keys<Mm::PackageInfo>({&walk.packages}));
  EXPECT_EQ(store->ListServices(), Keys<Mm::ServiceInfo>({&walk.services}));
  EXPECT_EQ(store->ListStructures(), Keys(walk.StructureStages()));
  EXPECT_EQ(store->ListEnumerations(), Keys(walk.EnumerationStages()));
  // The generated names end in 0 to 3; 4 is a name that no record has.
  for (int i = 0; i <= 4; ++i) {
    const std::string n = std::to_string(i);
    SCOPED_TRACE("name number " + n);
    EXPECT_EQ(Doc(store->PackageInfo("p" + n)),
              Doc(First<Mm::PackageInfo>({&walk.packages}, "p" + n)));
    EXPECT_EQ(Doc(store->ServiceInfo("s" + n)),
              Doc(First<Mm::ServiceInfo>({&walk.services}, "s" + n)));
    EXPECT_EQ(Names(store->ListOperations("s" + n)), Names(OperationsOf(walk.services, "s" + n)));
    EXPECT_EQ(Doc(store->StructureInfo("t" + n)), Doc(First(walk.StructureStages(), "t" + n)));
    EXPECT_EQ(Doc(store->EnumerationInfo("e" + n)), Doc(First(walk.EnumerationStages(), "e" + n)));
    for (int j = 0; j <= 4; ++j) {
      const std::string o = "o" + std::to_string(j);
      EXPECT_EQ(Doc(store->OperationInfo("s" + n, o)), Doc(OperationOf(walk.services, "s" + n, o)))
          << o;
    }
  }
}

TEST(LookupDifferential, MetamodelLookupsAnswerAsTheWalk) {
  for (std::uint64_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    int next = 0;
    ExpectMetamodelLookupsAsWalked({MetamodelDocument(random, next),
                                    MetamodelDocument(random, next),
                                    MetamodelDocument(random, next)});
  }
}

// A stage runs over all sources before the next one starts: source b's package enumeration and
// package structure beat those that source a has in a service.
TEST(LookupDifferential, MetamodelStagesSpanAllSources) {
  namespace D = OstraTest::MetamodelDocs;
  const auto named = [](std::string record, const std::string& documentation) {
    const std::string empty = R"("documentation":"")";
    return record.replace(record.find(empty), empty.size(),
                          R"("documentation":")" + documentation + "\"");
  };
  const std::string a =
      D::Doc(D::Package("pa", "",
                        D::Service("s", "", named(D::Structure("t", ""), "a service"),
                                   named(D::Enumeration("e"), "a service"))));
  const std::string b = D::Doc(D::Package("pb", named(D::Structure("t", ""), "b package"), "", "{}",
                                          named(D::Enumeration("e"), "b package")));
  MetamodelStore store = Metadata::Metamodel::MetadataContainer::GetInstance();
  LoadAll<MetamodelStore, Metadata::Metamodel::JsonMetadataContainer>(store, {a, b});
  EXPECT_EQ(Doc(store->EnumerationInfo("e")), "b package");
  EXPECT_EQ(Doc(store->StructureInfo("t")), "b package");
  ExpectMetamodelLookupsAsWalked({a, b});
}

// ---- Authentication

// Records have no names of their own: each gets a scheme list of its own (the digits of a count,
// as scheme names), which tells records apart.
class AuthenticationDocs {
 public:
  explicit AuthenticationDocs(std::uint64_t seed) : random_(seed) {}

  std::string Document() {
    return R"({"authentication":{"product":{)" + Component() + R"(},"component":{)" + Component() +
           "}}}";
  }

 private:
  std::string Component() {
    std::string schemes;
    for (int k = 0; k < 10; ++k) {
      schemes += std::string(k ? "," : "") + "\"k" + std::to_string(k) +
                 R"(":{"authenticationScheme":"scheme)" + std::to_string(k) +
                 R"(","type":"SESSIONLESS"})";
    }
    const auto members = [&](int count, auto id) {
      return Items(count, [&] { return "\"" + id() + "\":" + Schemes(); });
    };
    const auto package = [&] {
      return random_.Next(3) == 0 ? std::string("p.q") : random_.Name("p", 2);
    };
    const auto service = [&] { return package() + "." + random_.Name("s", 2); };
    return R"("name":")" + random_.Name("c", 2) + R"(","schemes":{)" + schemes +
           R"(},"operations":{)" +
           members(random_.Next(8), [&] { return service() + "." + random_.Name("o", 3); }) +
           R"(},"services":{)" + members(random_.Next(4), service) + R"(},"packages":{)" +
           members(random_.Next(3), package) + "}";
  }
  std::string Schemes() {
    std::string list;
    for (const char digit : std::to_string(next_++))
      list += std::string(list.empty() ? "" : ",") + "\"k" + digit + "\"";
    return "[" + list + "]";
  }

  Random random_;
  int next_ = 1;
};

template <class Pointer>
std::string Json(const Pointer& record) {
  if (!record) return "-";
  using Record = std::decay_t<decltype(*record)>;
  return Ostra::Data::ToJson(
      *Ostra::Data::TypeConverter<Record>::ToValue(*record, Ostra::L10n::RequestLocalizer()));
}

TEST(LookupDifferential, AuthenticationLookupsAnswerAsTheWalk) {
  using Store = std::shared_ptr<Metadata::Authentication::MetadataContainer>;
  for (std::uint64_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    AuthenticationDocs docs(seed);
    Store store = Metadata::Authentication::MetadataContainer::GetInstance();
    Entries<Au::PackageInfo> packages;
    Entries<Au::ServiceInfo> services;
    for (const auto& source : LoadAll<Store, Metadata::Authentication::JsonMetadataContainer>(
             store, {docs.Document(), docs.Document(), docs.Document()})) {
      for (const auto& component : source->components) {
        Append(packages, component.second->packages);
        for (const auto& package : component.second->packages)
          Append(services, package.second->services);
      }
    }
    EXPECT_EQ(store->ListPackages(), Keys<Au::PackageInfo>({&packages}));
    EXPECT_EQ(store->ListServices(), Keys<Au::ServiceInfo>({&services}));
    for (const char* package : {"p0", "p1", "p.q", "p2", "p"}) {
      EXPECT_EQ(Json(store->PackageInfo(package)),
                Json(First<Au::PackageInfo>({&packages}, package)));
      for (const char* name : {"s0", "s1", "s2"}) {
        const std::string service = std::string(package) + "." + name;
        SCOPED_TRACE(service);
        EXPECT_EQ(Json(store->ServiceInfo(service)),
                  Json(First<Au::ServiceInfo>({&services}, service)));
        EXPECT_EQ(Names(store->ListOperations(service)), Names(OperationsOf(services, service)));
        for (const char* operation : {"o0", "o1", "o2", "o3"}) {
          const auto walked = OperationOf(services, service, operation);
          EXPECT_EQ(Json(store->OperationInfo(service, operation)), Json(walked)) << operation;
        }
      }
    }
  }
}

// ---- Cli

// Commands of a few paths and names, each described by a text of its own.
std::string CliDocument(Random& random, int& next) {
  static const char* const kPaths[] = {"", "a", "a.b", "ab", "b"};
  return R"({"cli":[)" +
         Items(random.Next(12),
               [&] {
                 return R"({"type":"command","path":")" + std::string(kPaths[random.Next(5)]) +
                        R"(","name":")" + random.Name("n", 3) + R"(","description":"d)" +
                        std::to_string(next++) +
                        R"(","node_metadata":{"service_id":"x","operation_id":"y"}})";
               }) +
         "]}";
}

TEST(LookupDifferential, CliCommandsAnswerAsTheWalk) {
  using Store = std::shared_ptr<Metadata::Cli::MetadataContainer>;
  using Identity = CliB::CommandSvc::Identity;
  for (std::uint64_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    int next = 0;
    Store store = Metadata::Cli::MetadataContainer::GetInstance();
    const auto sources = LoadAll<Store, Metadata::Cli::JsonMetadataContainer>(
        store, {CliDocument(random, next), CliDocument(random, next), CliDocument(random, next)});
    for (const boost::optional<std::string>& path :
         {boost::optional<std::string>(), boost::make_optional(std::string()),
          boost::make_optional(std::string("a")), boost::make_optional(std::string("a.b")),
          boost::make_optional(std::string("ab")), boost::make_optional(std::string("c"))}) {
      std::vector<std::string> walked, listed;
      for (const auto& source : sources) {
        for (const auto& command : source->commands) {
          if (!path || command.first->path == *path)
            walked.push_back(command.first->path + "/" + command.first->name);
        }
      }
      for (const auto& id : store->ListCommands(path))
        listed.push_back(id->path + "/" + id->name);
      EXPECT_EQ(listed, walked) << (path ? *path : "(all)");
      if (!path) continue;
      for (const char* name : {"n0", "n1", "n2", "n3"}) {
        const auto identity = std::make_shared<const Identity>(Identity{*path, name});
        std::string first = "-";
        for (const auto& source : sources) {
          const auto it = source->commands.find(identity);
          if (it != source->commands.end()) {
            first = it->second->description;
            break;
          }
        }
        const auto info = store->CommandInfo(identity);
        EXPECT_EQ(info ? info->description : "-", first) << *path << "/" << name;
      }
    }
  }
}

}  // namespace

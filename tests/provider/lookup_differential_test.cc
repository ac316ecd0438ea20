// The stores answer lookups from per-source indexes. Here every query is compared with a plain walk
// over the same sources in walking order, on generated documents whose few names repeat across
// packages, services, structures, components and sources.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
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

// A fixed pseudo-random sequence, so that every run tests the same documents.
struct Random {
  std::mt19937 engine;
  int Next(int bound) { return static_cast<int>(engine() % static_cast<unsigned>(bound)); }
  // One of the names prefix0 .. prefix{count-1}.
  std::string Name(const std::string& prefix, int count) {
    return prefix + std::to_string(Next(count));
  }
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
template <class Container, class Store>
std::vector<std::shared_ptr<typename Container::SourceData>> LoadAll(
    Store& store, const std::vector<std::string>& texts) {
  using Spec = typename Container::CreateSpec;
  std::vector<std::shared_ptr<typename Container::SourceData>> walked;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    auto parsed = OstraTest::Parse(texts[i]);
    Metadata::ErrorPtr error;
    walked.push_back(Container::LoadSource(OstraTest::FileSpec<Spec>(""), *parsed, error));
    EXPECT_NE(walked.back(), nullptr);
    EXPECT_EQ(store->CreateSourceFromMetadata(std::string(1, static_cast<char>('a' + i)), *parsed,
                                              OstraTest::FileSpec<Spec>("")),
              nullptr);
  }
  // An entry without a source index sorts after the others; lookups pass over it.
  auto remote = std::make_shared<Spec>(*OstraTest::FileSpec<Spec>(""));
  remote->type = decltype(remote->type)::REMOTE;
  EXPECT_EQ(store->CreateSourceFromMetadata("z", *OstraTest::Parse(texts.front()), remote),
            nullptr);
  return walked;
}

// A record as JSON, "-" for none: records of the same name differ in their documentation or
// scheme lists.
template <class Pointer>
std::string Json(const Pointer& record) {
  if (!record) return "-";
  using Record = std::decay_t<decltype(*record)>;
  return Ostra::Data::ToJson(
      *Ostra::Data::TypeConverter<Record>::ToValue(*record, Ostra::L10n::RequestLocalizer()));
}

// Records of one kind in walking order: each key with its record as JSON.
using Entries = std::vector<std::pair<std::string, std::string>>;

template <class Map>
void Append(Entries& entries, const Map& map) {
  for (const auto& entry : map)
    entries.emplace_back(entry.first, Json(entry.second));
}

std::list<std::string> Keys(const Entries& entries) {
  std::list<std::string> keys;
  for (const auto& entry : entries)
    keys.push_back(entry.first);
  return keys;
}

// The first record of `key`; "-" if there is none.
std::string First(const Entries& entries, const std::string& key) {
  const auto it =
      std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e.first == key; });
  return it == entries.end() ? "-" : it->second;
}

// Packages, services, the operation names of each service, operations ("service/operation") and
// the Metamodel's structures and enumerations of the sources in walking order: sources,
// components, packages, services, each map in key order. Structures are looked up in packages,
// then services; enumerations in packages, services, structures of packages, structures of
// services: each stage runs over all sources.
struct Walk {
  template <class Source>
  explicit Walk(const std::vector<std::shared_ptr<Source>>& sources) {
    Entries stages[6];
    for (const auto& source : sources) {
      for (const auto& component : source->components) {
        Append(packages, component.second->packages);
        for (const auto& package : component.second->packages) {
          Types(*package.second, stages, 0);
          Append(services, package.second->services);
          for (const auto& service : package.second->services) {
            Types(*service.second, stages, 1);
            std::list<std::string> names;
            for (const auto& operation : service.second->operations) {
              names.push_back(operation.first);
              operations.emplace_back(service.first + "/" + operation.first,
                                      Json(operation.second));
            }
            operationLists.emplace_back(service.first, Json(boost::make_optional(names)));
          }
        }
      }
    }
    for (int stage = 0; stage < 6; ++stage) {
      Entries& kind = stage < 2 ? structures : enumerations;
      kind.insert(kind.end(), stages[stage].begin(), stages[stage].end());
    }
  }
  // Metamodel packages (stage 0) and services (stage 1) hold structures and enumerations.
  template <class Record>
  static void Types(const Record& record, Entries* stages, int stage) {
    if constexpr (std::is_same_v<Record, Mm::PackageInfo> ||
                  std::is_same_v<Record, Mm::ServiceInfo>) {
      Append(stages[stage], record.structures);
      Append(stages[2 + stage], record.enumerations);
      for (const auto& structure : record.structures)
        Append(stages[4 + stage], structure.second->enumerations);
    }
  }
  Entries packages, services, operationLists, operations, structures, enumerations;
};

// Compares the package, service and operation lookups of `store` with `walk`, for every package,
// service and operation name given.
template <class Store>
void ExpectLookupsAsWalked(const Store& store, const Walk& walk,
                           const std::vector<std::string>& packages,
                           const std::vector<std::string>& services,
                           const std::vector<std::string>& operations) {
  EXPECT_EQ(store->ListPackages(), Keys(walk.packages));
  EXPECT_EQ(store->ListServices(), Keys(walk.services));
  for (const auto& package : packages)
    EXPECT_EQ(Json(store->PackageInfo(package)), First(walk.packages, package)) << package;
  for (const auto& service : services) {
    SCOPED_TRACE(service);
    EXPECT_EQ(Json(store->ServiceInfo(service)), First(walk.services, service));
    EXPECT_EQ(Json(store->ListOperations(service)), First(walk.operationLists, service));
    for (const auto& operation : operations) {
      EXPECT_EQ(Json(store->OperationInfo(service, operation)),
                First(walk.operations, service + "/" + operation))
          << operation;
    }
  }
}

// prefix0 .. prefix4: the generated names end in 0 to 3, and 4 is a name that no record has.
std::vector<std::string> Numbered(const std::string& prefix) {
  std::vector<std::string> names;
  for (int i = 0; i <= 4; ++i)
    names.push_back(prefix + std::to_string(i));
  return names;
}

// `text` with each empty documentation replaced by one that `make` gives.
template <class Make>
std::string Documented(std::string text, Make make) {
  const std::string empty = R"("documentation":"")";
  for (auto at = text.find(empty); at != std::string::npos; at = text.find(empty, at))
    text.replace(at, empty.size(), R"("documentation":")" + std::string(make()) + "\"");
  return text;
}

// A Metamodel document of random names; every record carries a documentation text of its own, "d"
// and the count `next`, which tells records apart across documents.
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
  return Documented(D::NamedDoc(random.Name("c", 2), Items(1 + random.Next(3), package)),
                    [&] { return "d" + std::to_string(next++); });
}

// Compares every lookup and list of a Metamodel store with the walk over `texts`, loaded as its
// sources.
void ExpectMetamodelLookupsAsWalked(const std::vector<std::string>& texts) {
  const auto store = Metadata::Metamodel::MetadataContainer::GetInstance();
  const Walk walk(LoadAll<Metadata::Metamodel::JsonMetadataContainer>(store, texts));
  EXPECT_EQ(store->ListStructures(), Keys(walk.structures));
  EXPECT_EQ(store->ListEnumerations(), Keys(walk.enumerations));
  for (const auto& name : Numbered("t"))
    EXPECT_EQ(Json(store->StructureInfo(name)), First(walk.structures, name)) << name;
  for (const auto& name : Numbered("e"))
    EXPECT_EQ(Json(store->EnumerationInfo(name)), First(walk.enumerations, name)) << name;
  ExpectLookupsAsWalked(store, walk, Numbered("p"), Numbered("s"), Numbered("o"));
}

// A stage runs over all sources before the next one starts: source b's package enumeration and
// package structure beat those that source a has in a service.
TEST(LookupDifferential, MetamodelStagesSpanAllSources) {
  namespace D = OstraTest::MetamodelDocs;
  const std::string a = Documented(
      D::Doc(D::Package("pa", "", D::Service("s", "", D::Structure("t", ""), D::Enumeration("e")))),
      [] { return "a service"; });
  const std::string b =
      Documented(D::Doc(D::Package("pb", D::Structure("t", ""), "", "{}", D::Enumeration("e"))),
                 [] { return "b package"; });
  const auto store = Metadata::Metamodel::MetadataContainer::GetInstance();
  LoadAll<Metadata::Metamodel::JsonMetadataContainer>(store, {a, b});
  const auto doc = [](const auto& record) { return record ? record->documentation : "-"; };
  EXPECT_EQ(doc(store->EnumerationInfo("e")), "b package");
  EXPECT_EQ(doc(store->StructureInfo("t")), "b package");
  ExpectMetamodelLookupsAsWalked({a, b});
}

// An Authentication document of random names. Records have no names of their own: each gets a
// scheme list of its own (the digits of the count `next`, as scheme names).
std::string AuthenticationDocument(Random& random, int& next) {
  const auto component = [&] {
    std::string schemes;
    for (int k = 0; k < 10; ++k) {
      schemes += std::string(k ? "," : "") + "\"k" + std::to_string(k) +
                 R"(":{"authenticationScheme":"scheme)" + std::to_string(k) +
                 R"(","type":"SESSIONLESS"})";
    }
    const auto members = [&](int count, auto id) {
      return Items(count, [&] {
        std::string list;
        for (const char digit : std::to_string(next++))
          list += std::string(list.empty() ? "" : ",") + "\"k" + digit + "\"";
        return "\"" + id() + "\":[" + list + "]";
      });
    };
    const auto package = [&] { return random.Next(3) == 0 ? "p.q" : random.Name("p", 2); };
    const auto service = [&] { return package() + "." + random.Name("s", 2); };
    return R"("name":")" + random.Name("c", 2) + R"(","schemes":{)" + schemes +
           R"(},"operations":{)" +
           members(random.Next(8), [&] { return service() + "." + random.Name("o", 3); }) +
           R"(},"services":{)" + members(random.Next(4), service) + R"(},"packages":{)" +
           members(random.Next(3), package) + "}";
  };
  const std::string product = component();
  return R"({"authentication":{"product":{)" + product + R"(},"component":{)" + component() + "}}}";
}

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

TEST(LookupDifferential, LookupsAnswerAsTheWalk) {
  const std::vector<std::string> packages = {"p0", "p1", "p.q", "p2", "p"};
  std::vector<std::string> services;
  for (const auto& package : packages) {
    for (const char* name : {"s0", "s1", "s2"})
      services.push_back(package + "." + name);
  }
  using Identity = Com::Corvane::Ostra::Metadata::Cli::CommandSvc::Identity;
  for (std::uint64_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    // Three documents made by `make` from this seed, with records counted from `first`.
    const auto documents = [seed](std::string (*make)(Random&, int&), int first) {
      Random random{std::mt19937(seed)};
      return std::vector<std::string>{make(random, first), make(random, first),
                                      make(random, first)};
    };
    ExpectMetamodelLookupsAsWalked(documents(MetamodelDocument, 0));
    const auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
    ExpectLookupsAsWalked(authentication,
                          Walk(LoadAll<Metadata::Authentication::JsonMetadataContainer>(
                              authentication, documents(AuthenticationDocument, 1))),
                          packages, services, {"o0", "o1", "o2", "o3"});
    const auto store = Metadata::Cli::MetadataContainer::GetInstance();
    const auto sources =
        LoadAll<Metadata::Cli::JsonMetadataContainer>(store, documents(CliDocument, 0));
    Entries commands;  // "path/name" and description, in walking order
    for (const auto& source : sources) {
      for (const auto& command : source->commands) {
        commands.emplace_back(command.first->path + "/" + command.first->name,
                              command.second->description);
      }
    }
    for (const auto& path : std::vector<boost::optional<std::string>>{
             boost::none, std::string(), std::string("a"), std::string("a.b"), std::string("ab"),
             std::string("c")}) {
      std::list<std::string> walked, listed;
      for (const auto& command : commands) {
        if (!path || command.first.substr(0, command.first.rfind('/')) == *path)
          walked.push_back(command.first);
      }
      for (const auto& id : store->ListCommands(path))
        listed.push_back(id->path + "/" + id->name);
      EXPECT_EQ(listed, walked) << (path ? *path : "(all)");
      if (!path) continue;
      for (const char* name : {"n0", "n1", "n2", "n3"}) {
        const auto info =
            store->CommandInfo(std::make_shared<const Identity>(Identity{*path, name}));
        EXPECT_EQ(info ? info->description : "-", First(commands, *path + "/" + name))
            << *path << "/" << name;
      }
    }
  }
}

}  // namespace

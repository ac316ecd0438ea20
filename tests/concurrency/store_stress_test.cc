// Several threads create, delete, reload and query one store over real files. Run under
// ThreadSanitizer in CI; here it also checks that nothing is lost or mixed up.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "metamodel/documents.h"
#include "ostra/authentication/json_metadata_container.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/cli/services.h"
#include "ostra/metamodel/services.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
namespace Binding = Com::Corvane::Ostra::Metadata;
namespace Cli = Ostra::Provider::Metadata::Cli;
namespace Metamodel = Ostra::Provider::Metadata::Metamodel;
constexpr int kRounds = 120;

// Per domain: the document of source `id`, what must hold while source `id` is loaded, and the
// queries run while the sources change. (A file rewritten while it is reloaded: the changing-files
// test.)
struct MetamodelDomain {
  using Container = Metamodel::MetadataContainer;
  using Spec = Binding::Metamodel::SourceSvc::CreateSpec;
  static std::string Text(const std::string& id) {
    using namespace MetamodelDocs;
    return NamedDoc(id, Package("p." + id, "", Service("s", Operation("op"))),
                    R"({"Resource":{"value":"R"}})");
  }
  static void Created(const std::shared_ptr<Container>& store, const std::string& id) {
    const auto component = store->ComponentInfo(id);
    ASSERT_NE(component, nullptr) << id;
    EXPECT_EQ(component->info->name, id);
  }
  static void Query(const std::shared_ptr<Container>& store) {
    for (const auto& name : store->ListComponents()) {
      const auto data = store->ComponentInfo(name);
      EXPECT_TRUE(!data || data->info->name == name) << name;
    }
    const auto resources = store->ListResources();  // empty before the first create
    EXPECT_TRUE(resources.empty() || resources == std::set<std::string>{"R"});
    store->OperationInfo("s", "op");
    store->ListEnumerations();
    Metamodel::ComponentSvc::AsyncServiceImpl::GetInstance(store)->List(
        nullptr, Ostra::AsyncResult<std::list<std::string>>([](const auto&...) {}));
  }
};

struct AuthenticationDomain {
  using Container = Ostra::Provider::Metadata::Authentication::MetadataContainer;
  using Spec = Binding::Authentication::SourceSvc::CreateSpec;
  static std::string Text(const std::string& id) {
    return R"({"authentication":{"component":{"name":")" + id +
           R"(","operations":{"p.s.op":[]}}}})";
  }
  static void Created(const std::shared_ptr<Container>& store, const std::string& id) {
    EXPECT_NE(store->ComponentInfo(id), nullptr) << id;
  }
  static void Query(const std::shared_ptr<Container>& store) {
    for (const auto& service : store->ListServices()) {  // gone if its sources were deleted since
      const auto operations = store->ListOperations(service);
      EXPECT_TRUE(!operations || operations->size() == 1u);
    }
    store->OperationInfo("p.s", "op");
  }
};

// Every source shares the namespace tree above its own command.
struct CliDomain {
  using Container = Cli::MetadataContainer;
  using Spec = Binding::Cli::SourceSvc::CreateSpec;
  using Identity = Binding::Cli::Namespace_Svc::Identity;
  static std::string Text(const std::string& id) {
    return R"({"cli":[{"type":"namespace","path":"fleet","name":")" + id +
           R"(","description":"d"},{"type":"command","path":"fleet.)" + id +
           R"(","name":"run",)"
           R"("description":"d","node_metadata":{"service_id":"s","operation_id":"o"}}]})";
  }
  static void Created(const std::shared_ptr<Container>& store, const std::string& id) {
    EXPECT_EQ(store->ListCommands("fleet." + id).size(), 1u) << id;
  }
  static void Query(const std::shared_ptr<Container>& store) {
    for (const auto& id : store->ListNamespaces())
      store->NamespaceInfo(id);
    const auto fleet =
        store->NamespaceInfo(std::make_shared<const Identity>(Identity{"", "fleet"}));
    EXPECT_TRUE(!fleet || !fleet->children.empty());
    store->NamespaceFingerprint();
    Cli::Namespace_Svc::AsyncServiceImpl::GetInstance(store)->List(
        nullptr,
        Ostra::AsyncResult<std::list<std::shared_ptr<const Identity>>>([](const auto&...) {}));
  }
};

template <class Domain>
class Churn : public StoreTest<typename Domain::Container, typename Domain::Spec> {};
using Domains = testing::Types<MetamodelDomain, AuthenticationDomain, CliDomain>;
TYPED_TEST_SUITE(Churn, Domains);

// Two creators make sources "s0" to "sN" (even and odd rounds) and delete half of them again,
// while one thread reloads every source and another queries in a loop.
TYPED_TEST(Churn, ConcurrentSourceOperationsLoseNothing) {
  const auto& store = this->store_;
  std::vector<std::string> paths;
  for (int round = 0; round < kRounds; ++round)
    paths.push_back(
        this->Write(std::to_string(round), TypeParam::Text("s" + std::to_string(round))));
  const auto creator = [&](int first) {
    for (int round = first; round < kRounds; round += 2) {
      const std::string id = "s" + std::to_string(round);
      EXPECT_EQ(store->CreateSource(id, FileSpec<typename TypeParam::Spec>(paths[round])), nullptr)
          << id;
      TypeParam::Created(store, id);
      if (round % 4 < 2) {
        EXPECT_EQ(store->DeleteSource(id), nullptr) << id;
      }
    }
  };
  std::atomic<bool> done{false};
  std::thread even(creator, 0), odd(creator, 1);
  std::thread reloader([&] {
    while (!done)
      EXPECT_EQ(store->ReloadSource(boost::none), nullptr);
  });
  std::thread querier([&] {
    while (!done) {
      TypeParam::Query(store);
      EXPECT_EQ(store->SourceFingerprint(boost::none).size(), 8u);
    }
  });
  even.join();
  odd.join();
  done = true;
  reloader.join();
  querier.join();
  std::list<std::string> expected;
  for (int round = 0; round < kRounds; ++round)
    if (round % 4 >= 2) expected.push_back("s" + std::to_string(round));
  expected.sort();
  EXPECT_EQ(store->ListSources(), expected);
  for (const auto& id : expected) {
    EXPECT_EQ(store->SourceFingerprint(id), Crc(Crc(TypeParam::Text(id)))) << id;
    TypeParam::Created(store, id);
  }
}

}  // namespace

// Several threads create, delete, reload and query one store over real files. Run under
// ThreadSanitizer in CI; here it also checks that nothing is lost or mixed up.
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
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
namespace Metamodel = Ostra::Provider::Metadata::Metamodel;
namespace Auth = Ostra::Provider::Metadata::Authentication;
namespace Cli = Ostra::Provider::Metadata::Cli;
constexpr int kRounds = 120;

template <class Container, class Spec>
class Churn : public StoreTest<Container, Spec> {
 protected:
  // Two creators make sources "<prefix>0" to "<prefix>N" from `text(id)` (even and odd rounds),
  // call `created(id)` after each create and delete half of them again, while one thread reloads
  // every source and another runs `query` in a loop. Answers the ids that must remain, in order.
  std::list<std::string> Run(const std::string& prefix,
                             const std::function<std::string(const std::string&)>& text,
                             const std::function<void(const std::string&)>& created,
                             const std::function<void()>& query) {
    std::vector<std::string> paths;
    for (int round = 0; round < kRounds; ++round)
      paths.push_back(this->Write(std::to_string(round), text(prefix + std::to_string(round))));
    const auto creator = [&](int first) {
      for (int round = first; round < kRounds; round += 2) {
        const std::string id = prefix + std::to_string(round);
        EXPECT_EQ(this->store_->CreateSource(id, FileSpec<Spec>(paths[round])), nullptr) << id;
        created(id);
        if (round % 4 < 2) {
          EXPECT_EQ(this->store_->DeleteSource(id), nullptr) << id;
        }
      }
    };
    std::atomic<bool> done{false};
    std::thread even(creator, 0), odd(creator, 1);
    std::thread reloader([&] {
      while (!done)
        EXPECT_EQ(this->store_->ReloadSource(boost::none), nullptr);
    });
    std::thread querier([&] {
      while (!done)
        query();
    });
    even.join();
    odd.join();
    done = true;
    reloader.join();
    querier.join();
    std::list<std::string> expected;
    for (int round = 0; round < kRounds; ++round) {
      if (round % 4 >= 2) expected.push_back(prefix + std::to_string(round));
    }
    expected.sort();
    return expected;
  }
};

std::string MetamodelText(const std::string& component) {
  using namespace MetamodelDocs;
  return NamedDoc(component, Package("p." + component, "", Service("s", Operation("op"))),
                  R"({"Resource":{"value":"R"}})");
}

using MetamodelChurn =
    Churn<Metamodel::MetadataContainer, Binding::Metamodel::SourceSvc::CreateSpec>;

TEST_F(MetamodelChurn, ConcurrentSourceOperationsLoseNothing) {
  // A shared source whose file is rewritten while the others reload it.
  const std::string shared = Write("shared", MetamodelText("shared"));
  ASSERT_EQ(store_->CreateSource("shared", FileSpec(shared)), nullptr);
  auto components = Metamodel::ComponentSvc::AsyncServiceImpl::GetInstance(store_);
  int round = 0;
  auto expected = Run(
      "a", MetamodelText,
      [this](const std::string& id) {
        const auto component = store_->ComponentInfo(id);
        ASSERT_NE(component, nullptr) << id;
        EXPECT_EQ(component->info->name, id);
      },
      [&] {
        for (const auto& name : store_->ListComponents()) {
          const auto data = store_->ComponentInfo(name);
          if (data) {
            EXPECT_EQ(data->info->name, name);
          }
        }
        EXPECT_EQ(store_->SourceFingerprint(boost::none).size(), 8u);
        EXPECT_EQ(store_->ListResources(), std::set<std::string>{"R"});
        store_->OperationInfo("s", "op");
        store_->ListEnumerations();
        components->List(nullptr, Ostra::AsyncResult<std::list<std::string>>(
                                      [](const auto&, const auto&, const auto&, const auto&) {}));
        EXPECT_EQ(store_->ReloadSource(std::string("shared")), nullptr);
        if (++round % 4 == 0) std::ofstream(shared, std::ios::trunc) << MetamodelText("shared");
      });
  expected.push_back("shared");
  expected.sort();
  EXPECT_EQ(store_->ListSources(), expected);
  for (const auto& id : expected)
    EXPECT_EQ(store_->ComponentFingerprint(id), Crc(MetamodelText(id))) << id;
}

using AuthChurn = Churn<Auth::MetadataContainer, Binding::Authentication::SourceSvc::CreateSpec>;

std::string AuthText(const std::string& component) {
  return R"({"authentication":{"component":{"name":")" + component +
         R"(","operations":{"p.s.op":[]}}}})";
}

TEST_F(AuthChurn, ConcurrentSourceOperationsLoseNothing) {
  const auto expected = Run(
      "c", AuthText,
      [this](const std::string& id) { EXPECT_NE(store_->ComponentInfo(id), nullptr) << id; },
      [this] {
        for (const auto& service : store_->ListServices()) {
          EXPECT_TRUE(store_->ListOperations(service));
        }
        store_->OperationInfo("p.s", "op");
        store_->SourceFingerprint(boost::none);
      });
  EXPECT_EQ(store_->ListSources(), expected);
  for (const auto& id : expected)
    EXPECT_EQ(store_->ComponentFingerprint(id), Crc(AuthText(id)));
}

using CliChurn = Churn<Cli::MetadataContainer, Binding::Cli::SourceSvc::CreateSpec>;

// Every source shares the namespace tree above its own command.
std::string CliText(const std::string& name) {
  return R"({"cli":[{"type":"namespace","path":"fleet","name":")" + name +
         R"(","description":"d"},{"type":"command","path":"fleet.)" + name +
         R"(","name":"run",)"
         R"("description":"d","node_metadata":{"service_id":"s","operation_id":"o"}}]})";
}

TEST_F(CliChurn, ConcurrentSourceOperationsLoseNothing) {
  using Identity = Binding::Cli::Namespace_Svc::Identity;
  const auto fleet = std::make_shared<const Identity>(Identity{"", "fleet"});
  auto namespaces = Cli::Namespace_Svc::AsyncServiceImpl::GetInstance(store_);
  const auto expected = Run(
      "n", CliText,
      [this](const std::string& id) {
        EXPECT_EQ(store_->ListCommands("fleet." + id).size(), 1u) << id;
      },
      [&] {
        for (const auto& id : store_->ListNamespaces())
          store_->NamespaceInfo(id);
        const auto info = store_->NamespaceInfo(fleet);
        if (info) {
          EXPECT_FALSE(info->children.empty());
        }
        store_->NamespaceFingerprint();
        namespaces->List(nullptr, Ostra::AsyncResult<std::list<std::shared_ptr<const Identity>>>(
                                      [](const auto&, const auto&, const auto&, const auto&) {}));
      });
  EXPECT_EQ(store_->ListSources(), expected);
  EXPECT_EQ(store_->ListCommands(boost::none).size(), expected.size());
  EXPECT_EQ(store_->NamespaceInfo(fleet)->children.size(), expected.size());
}

}  // namespace

// Several threads create, delete, reload and query one store over real files. Run under
// ThreadSanitizer in CI; here it also checks that nothing is lost or mixed up.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
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
using namespace OstraTest::MetamodelDocs;
constexpr int kRounds = 60;

std::string Text(const std::string& component) {
  return NamedDoc(component, Package("p." + component, "", Service("s", Operation("op"))),
                  R"({"Resource":{"value":"R"}})");
}

TEST_F(MetamodelStoreTest, ConcurrentSourceOperationsLoseNothing) {
  // Each creator owns its ids: it keeps the odd rounds' sources and deletes the even ones.
  const auto creator = [this](const std::string& prefix, std::vector<std::string> paths) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string id = prefix + std::to_string(round);
      const auto error = store_->CreateSource(id, FileSpec(paths[round]));
      EXPECT_EQ(error, nullptr) << id;
      const auto component = store_->ComponentInfo(id);
      ASSERT_NE(component, nullptr) << id;
      EXPECT_EQ(component->info->name, id);
      if (round % 2 == 0) {
        EXPECT_EQ(store_->DeleteSource(id), nullptr) << id;
      }
    }
  };
  std::vector<std::string> pathsA, pathsB;
  for (int round = 0; round < kRounds; ++round) {
    pathsA.push_back(Write("a" + std::to_string(round), Text("a" + std::to_string(round))));
    pathsB.push_back(Write("b" + std::to_string(round), Text("b" + std::to_string(round))));
  }
  // A shared source whose file is rewritten while others reload it.
  const std::string shared = Write("shared", Text("shared"));
  ASSERT_EQ(store_->CreateSource("shared", FileSpec(shared)), nullptr);

  std::atomic<bool> done{false};
  std::thread a(creator, "a", pathsA);
  std::thread b(creator, "b", pathsB);
  std::thread reloader([&] {
    for (int round = 0; !done; ++round) {
      EXPECT_EQ(store_->ReloadSource(boost::none), nullptr);
      EXPECT_EQ(store_->ReloadSource(std::string("shared")), nullptr);
      if (round % 4 == 0) std::ofstream(shared, std::ios::trunc) << Text("shared");
    }
  });
  std::thread querier([&] {
    namespace Impl = Ostra::Provider::Metadata::Metamodel;
    auto components = Impl::ComponentSvc::AsyncServiceImpl::GetInstance(store_);
    while (!done) {
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
    }
  });
  a.join();
  b.join();
  done = true;
  reloader.join();
  querier.join();

  std::set<std::string> expected{"shared"};
  for (int round = 1; round < kRounds; round += 2) {
    expected.insert("a" + std::to_string(round));
    expected.insert("b" + std::to_string(round));
  }
  const auto listed = store_->ListSources();
  EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), expected);
  EXPECT_EQ(listed.size(), expected.size());
  for (const auto& id : expected) {
    ASSERT_NE(store_->ComponentInfo(id), nullptr) << id;
    EXPECT_EQ(store_->ComponentFingerprint(id), Crc(Text(id))) << id;
  }
}

}  // namespace

namespace {

// Two creators make sources "<prefix>0" to "<prefix>N" from `paths` (even and odd rounds), call
// `created(id)` after each create and delete half of them again, while one thread reloads every
// source and another runs `query` in a loop. Answers the ids that must remain, in order.
template <class Store, class Spec, class Created, class Query>
std::list<std::string> Churn(Store& store, const std::vector<std::string>& paths,
                             const std::string& prefix, Created created, Query query) {
  const int count = static_cast<int>(paths.size());
  const auto creator = [&](int first) {
    for (int round = first; round < count; round += 2) {
      const std::string id = prefix + std::to_string(round);
      EXPECT_EQ(store.CreateSource(id, OstraTest::FileSpec<Spec>(paths[round])), nullptr);
      created(id);
      if (round % 4 < 2) {
        EXPECT_EQ(store.DeleteSource(id), nullptr) << id;
      }
    }
  };
  std::atomic<bool> done{false};
  std::thread even(creator, 0);
  std::thread odd(creator, 1);
  std::thread reloader([&] {
    while (!done)
      EXPECT_EQ(store.ReloadSource(boost::none), nullptr);
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
  for (int round = 0; round < count; ++round) {
    if (round % 4 >= 2) expected.push_back(prefix + std::to_string(round));
  }
  expected.sort();
  return expected;
}

namespace Auth = Ostra::Provider::Metadata::Authentication;
using AuthSpec = Com::Corvane::Ostra::Metadata::Authentication::SourceSvc::CreateSpec;
using AuthenticationStoreTest = OstraTest::StoreTest<Auth::MetadataContainer, AuthSpec>;

std::string AuthText(const std::string& component) {
  return R"({"authentication":{"component":{"name":")" + component +
         R"(","operations":{"p.s.op":[]}}}})";
}

TEST_F(AuthenticationStoreTest, ConcurrentSourceOperationsLoseNothing) {
  std::vector<std::string> paths;
  for (int round = 0; round < 2 * kRounds; ++round) {
    paths.push_back(Write(std::to_string(round), AuthText("c" + std::to_string(round))));
  }
  const auto expected = Churn<Auth::MetadataContainer, AuthSpec>(
      *store_, paths, "c",
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
    EXPECT_EQ(store_->ComponentFingerprint(id), OstraTest::Crc(AuthText(id)));
}

namespace CliImpl = Ostra::Provider::Metadata::Cli;
using CliSpec = Com::Corvane::Ostra::Metadata::Cli::SourceSvc::CreateSpec;
using CliStoreTest = OstraTest::StoreTest<CliImpl::MetadataContainer, CliSpec>;

// Every source shares the namespace tree above its own command.
std::string CliText(const std::string& name) {
  return R"({"cli":[{"type":"namespace","path":"fleet","name":")" + name +
         R"(","description":"d"},{"type":"command","path":"fleet.)" + name +
         R"(","name":"run",)"
         R"("description":"d","node_metadata":{"service_id":"s","operation_id":"o"}}]})";
}

TEST_F(CliStoreTest, ConcurrentSourceOperationsLoseNothing) {
  using Identity = Com::Corvane::Ostra::Metadata::Cli::Namespace_Svc::Identity;
  std::vector<std::string> paths;
  for (int round = 0; round < 2 * kRounds; ++round) {
    paths.push_back(Write(std::to_string(round), CliText("n" + std::to_string(round))));
  }
  const auto fleet = std::make_shared<const Identity>(Identity{"", "fleet"});
  auto namespaces = CliImpl::Namespace_Svc::AsyncServiceImpl::GetInstance(store_);
  const auto expected = Churn<CliImpl::MetadataContainer, CliSpec>(
      *store_, paths, "n",
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

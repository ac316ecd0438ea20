// Every allocation of a source operation and of a service call fails in turn: the std::bad_alloc
// reaches the caller, nothing leaks, and the store answers as before and still works.
//
// This binary replaces the global operator new and delete, so it runs on its own.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "ostra/authentication/json_metadata_container.h"
#include "ostra/authentication/services.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/cli/services.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/metamodel/services.h"
#include "test_store.h"

namespace {

// Allocations still to succeed before one throws; negative: none throws.
std::atomic<long> allowed{-1};
// Allocations made and not yet freed.
std::atomic<long> live{0};
// Whether an allocation was refused since this was last cleared.
std::atomic<bool> refused{false};

void* Allocate(std::size_t size, bool nothrow) {
  const bool refuse = allowed.load() >= 0 && allowed.fetch_sub(1) == 0;
  refused = refused || refuse;
  void* p = refuse ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (p == nullptr) {
    if (nothrow) return nullptr;
    throw std::bad_alloc();
  }
  ++live;
  return p;
}

void Free(void* p) {
  if (p == nullptr) return;
  --live;
  std::free(p);
}

}  // namespace

void* operator new(std::size_t size) {
  return Allocate(size, false);
}
void* operator new[](std::size_t size) {
  return Allocate(size, false);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, true);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, true);
}
void operator delete(void* p) noexcept {
  Free(p);
}
void operator delete[](void* p) noexcept {
  Free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  Free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  Free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
  Free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  Free(p);
}

namespace {

using namespace OstraTest;
namespace Metamodel = Ostra::Provider::Metadata::Metamodel;
namespace Authentication = Ostra::Provider::Metadata::Authentication;
namespace Cli = Ostra::Provider::Metadata::Cli;

// Runs `operation` with the N-th allocation failing, for N = 1, 2, ... until it needs fewer than
// N. A refused nothrow allocation need not make the operation fail (the standard library's
// sorts fall back to working in place). Each round starts from `prepare`, which answers a check
// that the store still answers as it did before the operation, and ends with `reset`, which drops
// the store. Answers the number of rounds that failed.
int FailEachAllocation(const std::function<std::function<void()>()>& prepare,
                       const std::function<void()>& operation, const std::function<void()>& reset) {
  // One round without failures first, so that what the library sets up once is set up.
  prepare();
  operation();
  reset();
  for (long n = 0;; ++n) {
    const long before = live.load();
    bool threw = false;
    {
      const std::function<void()> check = prepare();
      refused = false;
      allowed = n;
      try {
        operation();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      allowed = -1;
      if (threw) {
        check();
        operation();  // the store still works
      }
      reset();
    }
    EXPECT_EQ(live.load(), before) << "allocation " << n + 1 << " failing leaks";
    if (!refused || testing::Test::HasFailure()) return static_cast<int>(n);
  }
}

// A store of one domain with source "a" loaded from the domain's example, a second file "b"
// holding the example too, and what the store answers before an operation fails.
template <class Container, class Spec>
class AllocationTest : public TempFilesTest {
 protected:
  using Query = std::function<std::string(const Container&)>;

  // A fresh store holding "a", and the check that it still answers as it did then.
  std::function<void()> Fresh(const Query& query) {
    store_ = Container::GetInstance();
    EXPECT_EQ(store_->CreateSource("a", FileSpec<Spec>(a_)), nullptr);
    const std::string sources = Snapshot(query);
    return [this, sources, query] { EXPECT_EQ(Snapshot(query), sources); };
  }

  // Every source with its fingerprint, then the domain's answer.
  std::string Snapshot(const Query& query) const {
    std::string text;
    for (const auto& id : store_->ListSources())
      text += id + "=" + store_->SourceFingerprint(id) + " ";
    return text + store_->SourceFingerprint(boost::none) + " " + query(*store_);
  }

  // Holding the domain's example in "a" and "b": creates "b", reloads, and runs `call`.
  void CreateReloadAndCall(const std::string& example, const Query& query,
                           const std::function<void()>& call) {
    a_ = Write("a", ExampleText(example));
    b_ = Write("b", ExampleText(example));
    const auto fresh = [&] { return Fresh(query); };
    const auto reset = [this] { store_.reset(); };
    const int create = FailEachAllocation(
        fresh, [&] { ASSERT_EQ(store_->CreateSource("b", FileSpec<Spec>(b_)), nullptr); }, reset);
    // A reload reads and parses the file again even when it has not changed.
    const int reload = FailEachAllocation(
        fresh, [&] { ASSERT_EQ(store_->ReloadSource(boost::none), nullptr); }, reset);
    const int service = FailEachAllocation(fresh, call, reset);
    EXPECT_GT(create, 100);
    EXPECT_GT(reload, 100);
    EXPECT_GT(service, 0);
  }

  // Asks `service` for the record of `key`; the call must answer one.
  template <class T, class Service, class Key>
  void Get(const std::shared_ptr<Service>& service, const Key& key) {
    Outcome<std::shared_ptr<const T>> outcome;
    service->Get(key, activation_, outcome.Result());
    ASSERT_TRUE(outcome.value && *outcome.value);
  }

  std::shared_ptr<Container> store_;
  const std::shared_ptr<Ostra::Core::AsyncActivation> activation_ =
      std::make_shared<Ostra::Core::AsyncActivation>();
  std::string a_, b_;
};

namespace Binding = Com::Corvane::Ostra::Metadata;
using MetamodelAllocation =
    AllocationTest<Metamodel::MetadataContainer, Binding::Metamodel::SourceSvc::CreateSpec>;
using AuthenticationAllocation = AllocationTest<Authentication::MetadataContainer,
                                                Binding::Authentication::SourceSvc::CreateSpec>;
using CliAllocation = AllocationTest<Cli::MetadataContainer, Binding::Cli::SourceSvc::CreateSpec>;

TEST_F(MetamodelAllocation, EveryFailureIsReportedAndChangesNothing) {
  CreateReloadAndCall(
      "metamodel.json",
      [](const Metamodel::MetadataContainer& store) {
        std::string text;
        for (const auto& id : store.ListStructures())
          text += id + (store.StructureInfo(id) ? "+ " : "- ");
        return text;
      },
      [this] {
        Get<Binding::Metamodel::ComponentData>(
            Metamodel::ComponentSvc::AsyncServiceImpl::GetInstance(store_), "com.larkspur.fleet");
      });
}

TEST_F(AuthenticationAllocation, EveryFailureIsReportedAndChangesNothing) {
  CreateReloadAndCall(
      "authentication.json",
      [](const Authentication::MetadataContainer& store) {
        std::string text;
        for (const auto& id : store.ListServices())
          text += id + (store.ServiceInfo(id) ? "+ " : "- ");
        return text;
      },
      [this] {
        Get<Binding::Authentication::ComponentData>(
            Authentication::ComponentSvc::AsyncServiceImpl::GetInstance(store_),
            "com.larkspur.fleet");
      });
}

TEST_F(CliAllocation, EveryFailureIsReportedAndChangesNothing) {
  using Identity = Binding::Cli::Namespace_Svc::Identity;
  CreateReloadAndCall(
      "cli.json",
      [](const Cli::MetadataContainer& store) {
        std::string text;
        for (const auto& identity : store.ListNamespaces())
          text += Cli::QualifiedName(identity) + " ";
        return text + store.NamespaceFingerprint() + " " + store.CommandFingerprint();
      },
      [this] {
        Get<Binding::Cli::Namespace_Svc::Info>(
            Cli::Namespace_Svc::AsyncServiceImpl::GetInstance(store_),
            std::make_shared<const Identity>(Identity{"", "fleet"}));
      });
}

}  // namespace

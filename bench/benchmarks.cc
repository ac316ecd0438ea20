// Benchmarks of the load path and the services. Every measurement has its baseline in the same
// run (named in the comment above it); bench/README.md lists the ratios.
#include <benchmark/benchmark.h>

#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "generator.h"
#include "ostra/metadata_services.h"

namespace {

using namespace OstraBench;
namespace Metadata = Ostra::Provider::Metadata;
using Ostra::Provider::Metadata::ProviderHelper;

enum DomainArg { kMetamodel, kAuthentication, kCli };

// Documents by domain and size in MiB, written once per process.
struct Corpus {
  std::string text;
  std::string path;
};
const Corpus& Document(int domain, int mib) {
  static std::map<std::pair<int, int>, Corpus> corpora;
  auto& corpus = corpora[{domain, mib}];
  if (corpus.text.empty()) {
    const std::size_t bytes = static_cast<std::size_t>(mib) * kMiB;
    corpus.text = domain == kMetamodel        ? MetamodelDocument(bytes)
                  : domain == kAuthentication ? AuthenticationDocument(bytes)
                                              : CliDocument(bytes);
    static const char* const kNames[] = {"metamodel", "authentication", "cli"};
    corpus.path =
        WriteTemp(std::string(kNames[domain]) + "-" + std::to_string(mib) + ".json", corpus.text);
  }
  return corpus;
}

void Bytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

// Baseline of the parse and load benchmarks: RapidJSON's DOM parse of the bytes in memory.
void BM_InMemoryParse(benchmark::State& state) {
  const auto& corpus = Document(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse(corpus.text.data(), corpus.text.size());
    benchmark::DoNotOptimize(document.HasParseError());
  }
  Bytes(state, corpus.text.size());
}

// ParseStream over the file, as hosts call it.
void BM_ParseStream(benchmark::State& state) {
  const auto& corpus = Document(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  std::list<Ostra::BaseMessage> messages;
  for (auto _ : state) {
    std::ifstream file(corpus.path, std::ios::binary);
    benchmark::DoNotOptimize(Metadata::ParseStream(file, messages));
  }
  Bytes(state, corpus.text.size());
}

// The former load path, for the record: rapidjson's stream wrapper over the file, then a second
// reading of the file for the fingerprint.
void BM_StreamWrapperParse(benchmark::State& state) {
  const auto& corpus = Document(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    std::ifstream file(corpus.path, std::ios::binary);
    Metadata::JsonDocument document;
    rapidjson::BasicIStreamWrapper<std::istream> wrapper(file);
    document.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(wrapper);
    file.clear();
    file.seekg(0);
    benchmark::DoNotOptimize(Ostra::CRC32(file).Hexdigest());
  }
  Bytes(state, corpus.text.size());
}

// A whole CreateSource, file to stored source. Each load goes into a new store; making the store
// and destroying it again are outside the measured time.
template <class Container, class Load>
void MeasureLoads(benchmark::State& state, const std::string& path, Load load) {
  for (auto _ : state) {
    state.PauseTiming();
    std::shared_ptr<Container> store = Container::GetInstance();
    state.ResumeTiming();
    if (load("s", path, store)) state.SkipWithError("the document did not load");
    state.PauseTiming();
    store.reset();
    state.ResumeTiming();
  }
}

void BM_CreateSource(benchmark::State& state) {
  const int domain = static_cast<int>(state.range(0));
  const auto& corpus = Document(domain, static_cast<int>(state.range(1)));
  using LoadError = ProviderHelper::LoadError;
  if (domain == kMetamodel) {
    using Store = std::shared_ptr<Metadata::Metamodel::MetadataContainer>;
    MeasureLoads<Metadata::Metamodel::MetadataContainer>(
        state, corpus.path,
        [](const std::string& id, const std::string& path, const Store& store) -> LoadError {
          return ProviderHelper::LoadMetamodelMetadataFile(id, path, store);
        });
  } else if (domain == kAuthentication) {
    using Store = std::shared_ptr<Metadata::Authentication::MetadataContainer>;
    MeasureLoads<Metadata::Authentication::MetadataContainer>(
        state, corpus.path,
        [](const std::string& id, const std::string& path, const Store& store) -> LoadError {
          return ProviderHelper::LoadAuthnMetadataFile(id, path, store);
        });
  } else {
    using Store = std::shared_ptr<Metadata::Cli::MetadataContainer>;
    MeasureLoads<Metadata::Cli::MetadataContainer>(
        state, corpus.path,
        [](const std::string& id, const std::string& path, const Store& store) -> LoadError {
          return ProviderHelper::LoadCliMetadataFile(id, path, store);
        });
  }
  Bytes(state, corpus.text.size());
}

// Baseline of CRC32: memcpy of the same bytes.
void BM_Memcpy(benchmark::State& state) {
  const auto& corpus = Document(kMetamodel, static_cast<int>(state.range(0)));
  std::string copy(corpus.text.size(), '\0');
  for (auto _ : state) {
    std::memcpy(&copy[0], corpus.text.data(), corpus.text.size());
    benchmark::ClobberMemory();
  }
  Bytes(state, corpus.text.size());
}

void BM_CRC32(benchmark::State& state) {
  const auto& corpus = Document(kMetamodel, static_cast<int>(state.range(0)));
  for (auto _ : state) {
    Ostra::CRC32 crc;
    crc.Update(corpus.text);
    benchmark::DoNotOptimize(crc.Hexdigest());
  }
  Bytes(state, corpus.text.size());
}

// Stores of each domain holding `count` sources of 256 KiB each, made once per process.
struct Stores {
  std::shared_ptr<Metadata::Metamodel::MetadataContainer> metamodel =
      Metadata::Metamodel::MetadataContainer::GetInstance();
  std::shared_ptr<Metadata::Authentication::MetadataContainer> authentication =
      Metadata::Authentication::MetadataContainer::GetInstance();
  std::shared_ptr<Metadata::Cli::MetadataContainer> cli =
      Metadata::Cli::MetadataContainer::GetInstance();
  std::string lastComponent;
};
const Stores& StoresOf(int count) {
  static std::map<int, Stores> made;
  auto found = made.find(count);
  if (found != made.end()) return found->second;
  Stores& stores = made[count];
  for (int i = 0; i < count; ++i) {
    const std::string id = "s" + std::to_string(100 + i);
    const std::string component = "com.bench" + std::to_string(i);
    const std::string prefix = "svc-" + std::to_string(i) + "-";
    bool ok = !ProviderHelper::LoadMetamodelMetadataFile(
        id, WriteTemp(prefix + "metamodel.json", MetamodelDocument(kMiB / 4, component)),
        stores.metamodel);
    ok &= !ProviderHelper::LoadAuthnMetadataFile(
        id, WriteTemp(prefix + "authentication.json", AuthenticationDocument(kMiB / 4, component)),
        stores.authentication);
    ok &= !ProviderHelper::LoadCliMetadataFile(
        id, WriteTemp(prefix + "cli.json", CliDocument(kMiB / 4, "root" + std::to_string(i))),
        stores.cli);
    if (!ok) std::abort();
    stores.lastComponent = component;
  }
  return stores;
}

template <class T>
Ostra::AsyncResult<T> Sink() {
  return Ostra::AsyncResult<T>([](const boost::optional<T>& value, const auto&, const auto&,
                                  const auto&) { benchmark::DoNotOptimize(value); });
}

// Result objects are the caller's: a host makes one per request before it calls the adapter. They
// are made here in batches outside the measured time, so that the adapter is measured alone;
// BM_MakeResult tells what making and completing one costs.
template <class T>
class Results {
 public:
  explicit Results(benchmark::State& state) : state_(state) {}
  const Ostra::AsyncResult<T>& Next() {
    if (next_ == batch_.size()) {
      state_.PauseTiming();
      batch_.clear();
      for (int i = 0; i < 4096; ++i)
        batch_.push_back(Sink<T>());
      next_ = 0;
      state_.ResumeTiming();
    }
    return batch_[next_++];
  }

 private:
  benchmark::State& state_;
  std::vector<Ostra::AsyncResult<T>> batch_;
  std::size_t next_ = 0;
};

void BM_MakeResult(benchmark::State& state) {
  const auto value = std::make_shared<const std::string>("x");
  for (auto _ : state)
    Sink<std::shared_ptr<const std::string>>()(value);
  state.SetItemsProcessed(state.iterations());
}

const auto kActivation = std::make_shared<Ostra::Core::AsyncActivation>();

// Get of the last source's entry, through the adapter (Adapter = 1) or straight from the store
// (the baseline, Adapter = 0). Sources: state.range(0).
template <int Domain, bool Adapter>
void BM_Get(benchmark::State& state) {
  const Stores& stores = StoresOf(static_cast<int>(state.range(0)));
  const std::string& component = stores.lastComponent;
  const std::string package = component + ".pkg3";
  using CommandIdentity = Com::Corvane::Ostra::Metadata::Cli::CommandSvc::Identity;
  const auto command = std::make_shared<const CommandIdentity>(
      CommandIdentity{"root" + std::to_string(state.range(0) - 1) + ".group0.pkg3", "svc1-op2"});
  if constexpr (Domain == kMetamodel) {
    auto adapter =
        Metadata::Metamodel::ComponentSvc::AsyncServiceImpl::GetInstance(stores.metamodel);
    for (auto _ : state) {
      if constexpr (Adapter) {
        adapter->Get(
            component, kActivation,
            Sink<std::shared_ptr<const Com::Corvane::Ostra::Metadata::Metamodel::ComponentData>>());
      } else {
        benchmark::DoNotOptimize(stores.metamodel->ComponentInfo(component));
      }
    }
  } else if constexpr (Domain == kAuthentication) {
    auto adapter =
        Metadata::Authentication::PackageSvc::AsyncServiceImpl::GetInstance(stores.authentication);
    for (auto _ : state) {
      if constexpr (Adapter) {
        adapter->Get(package, kActivation,
                     Sink<std::shared_ptr<
                         const Com::Corvane::Ostra::Metadata::Authentication::PackageInfo>>());
      } else {
        benchmark::DoNotOptimize(stores.authentication->PackageInfo(package));
      }
    }
  } else {
    auto adapter = Metadata::Cli::CommandSvc::AsyncServiceImpl::GetInstance(stores.cli);
    for (auto _ : state) {
      if constexpr (Adapter) {
        adapter->Get(
            command, kActivation,
            Sink<std::shared_ptr<const Com::Corvane::Ostra::Metadata::Cli::CommandSvc::Info>>());
      } else {
        benchmark::DoNotOptimize(stores.cli->CommandInfo(command));
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// List of every entry of a kind, through the adapter or straight from the store.
template <int Domain, bool Adapter>
void BM_List(benchmark::State& state) {
  const Stores& stores = StoresOf(static_cast<int>(state.range(0)));
  using Names = std::list<std::string>;
  if constexpr (Domain == kMetamodel) {
    auto adapter = Metadata::Metamodel::ServiceSvc::AsyncServiceImpl::GetInstance(stores.metamodel);
    Results<Names> results(state);
    for (auto _ : state) {
      if constexpr (Adapter) {
        adapter->List(kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.metamodel->ListServices());
      }
    }
  } else if constexpr (Domain == kAuthentication) {
    auto adapter =
        Metadata::Authentication::ServiceSvc::AsyncServiceImpl::GetInstance(stores.authentication);
    Results<Names> results(state);
    for (auto _ : state) {
      if constexpr (Adapter) {
        adapter->List(kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.authentication->ListServices());
      }
    }
  } else {
    using Ids =
        std::list<std::shared_ptr<const Com::Corvane::Ostra::Metadata::Cli::CommandSvc::Identity>>;
    auto adapter = Metadata::Cli::CommandSvc::AsyncServiceImpl::GetInstance(stores.cli);
    Results<Ids> results(state);
    for (auto _ : state) {
      if constexpr (Adapter) {
        adapter->List(boost::none, kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.cli->ListCommands(boost::none));
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// One store queried from several threads at once (compare the 2-thread rate with the 1-thread
// rate): a lookup and a fingerprint, each under the store's lock.
void BM_QueryThreads(benchmark::State& state) {
  const Stores& stores = StoresOf(16);
  for (auto _ : state) {
    benchmark::DoNotOptimize(stores.metamodel->ComponentInfo(stores.lastComponent));
    benchmark::DoNotOptimize(stores.metamodel->SourceFingerprint(boost::none));
  }
  state.SetItemsProcessed(state.iterations());
}

// DiffModels of two models made of the same three documents: every definition is looked up and
// compared, none differs. Baseline: BM_CreateSource of the three documents.
void BM_DiffModels(benchmark::State& state) {
  const int mib = static_cast<int>(state.range(0));
  const auto model = [mib]() -> Metadata::MetadataModel {
    auto metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
    auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
    auto cli = Metadata::Cli::MetadataContainer::GetInstance();
    ProviderHelper::LoadMetamodelMetadataFile("s", Document(kMetamodel, mib).path, metamodel);
    ProviderHelper::LoadAuthnMetadataFile("s", Document(kAuthentication, mib).path, authentication);
    ProviderHelper::LoadCliMetadataFile("s", Document(kCli, mib).path, cli);
    return {metamodel, authentication, cli};
  };
  const auto before = model(), after = model();
  for (auto _ : state) {
    const auto changes = Metadata::DiffModels(before, after);
    if (!changes.empty()) state.SkipWithError("the same documents differ");
    benchmark::DoNotOptimize(changes.data());
  }
}

void Sizes(benchmark::internal::Benchmark* bench) {
  for (const int domain : {kMetamodel, kAuthentication, kCli}) {
    for (const int mib : {1, 10})
      bench->Args({domain, mib});
  }
  bench->ArgNames({"domain", "MiB"})->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_InMemoryParse)->Apply(Sizes);
BENCHMARK(BM_ParseStream)->Apply(Sizes);
BENCHMARK(BM_StreamWrapperParse)->Apply(Sizes);
BENCHMARK(BM_CreateSource)->Apply(Sizes);
BENCHMARK(BM_Memcpy)->Arg(10)->ArgName("MiB");
BENCHMARK(BM_CRC32)->Arg(10)->ArgName("MiB");
BENCHMARK_TEMPLATE(BM_Get, kMetamodel, false)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_Get, kMetamodel, true)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_Get, kAuthentication, false)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_Get, kAuthentication, true)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_Get, kCli, false)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_Get, kCli, true)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_List, kMetamodel, false)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_List, kMetamodel, true)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_List, kAuthentication, false)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_List, kAuthentication, true)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_List, kCli, false)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK_TEMPLATE(BM_List, kCli, true)->Arg(1)->Arg(16)->ArgName("sources");
BENCHMARK(BM_MakeResult);
BENCHMARK(BM_DiffModels)->Arg(1)->ArgName("MiB")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QueryThreads)->Threads(1)->Threads(2)->UseRealTime();

BENCHMARK_MAIN();

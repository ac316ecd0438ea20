// Benchmarks of the load path, the lookups and the services. Every measurement has its baseline in
// the same run; the table of ratios at the end of the output is what bench/README.md reports.
#include <benchmark/benchmark.h>

#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "generator.h"
#include "ostra/metadata_services.h"

namespace {

using namespace OstraBench;
namespace Metadata = Ostra::Provider::Metadata;
namespace MetamodelB = Com::Corvane::Ostra::Metadata::Metamodel;
namespace AuthenticationB = Com::Corvane::Ostra::Metadata::Authentication;
namespace CliB = Com::Corvane::Ostra::Metadata::Cli;
using Ostra::Provider::Metadata::ProviderHelper;
using MetamodelStore = std::shared_ptr<Metadata::Metamodel::MetadataContainer>;
using AuthenticationStore = std::shared_ptr<Metadata::Authentication::MetadataContainer>;
using CliStore = std::shared_ptr<Metadata::Cli::MetadataContainer>;

enum Domain { kMetamodel, kAuthentication, kCli };
const char* const kDomainNames[] = {"metamodel", "authentication", "cli"};
const char* const kShapeNames[] = {"documented", "dense"};

// A document of one domain, shape and size in MiB, made once per process and written to a file.
struct Corpus {
  std::string text;
  std::string path;
};
const Corpus& Document(Domain domain, Shape shape, int mib) {
  static std::map<std::tuple<Domain, Shape, int>, Corpus> corpora;
  auto& corpus = corpora[{domain, shape, mib}];
  if (corpus.text.empty()) {
    const std::size_t bytes = static_cast<std::size_t>(mib) * kMiB;
    corpus.text = domain == kMetamodel        ? MetamodelDocument(bytes, "com.bench", shape)
                  : domain == kAuthentication ? AuthenticationDocument(bytes, "com.bench", shape)
                                              : CliDocument(bytes, "bench", shape);
    corpus.path =
        WriteTemp(std::string(kDomainNames[domain]) + "-" + kShapeNames[static_cast<int>(shape)] +
                      "-" + std::to_string(mib) + ".json",
                  corpus.text);
  }
  return corpus;
}

// The three stores, one of which is used.
struct Stores {
  MetamodelStore metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
  AuthenticationStore authentication = Metadata::Authentication::MetadataContainer::GetInstance();
  CliStore cli = Metadata::Cli::MetadataContainer::GetInstance();
  // Loads a file as source `id` of the store of its domain; answers whether it loaded.
  bool Load(Domain domain, const std::string& id, const std::string& path) const {
    switch (domain) {
      case kMetamodel:
        return !ProviderHelper::LoadMetamodelMetadataFile(id, path, metamodel);
      case kAuthentication:
        return !ProviderHelper::LoadAuthnMetadataFile(id, path, authentication);
      default:
        return !ProviderHelper::LoadCliMetadataFile(id, path, cli);
    }
  }
  void Delete(Domain domain, const std::string& id) const {
    if (domain == kMetamodel) metamodel->DeleteSource(id);
    if (domain == kAuthentication) authentication->DeleteSource(id);
    if (domain == kCli) cli->DeleteSource(id);
  }
};

void Bytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

// ---- Loading

// Baseline of the load benchmarks: RapidJSON's DOM parse of the same bytes in memory.
void InMemoryParse(benchmark::State& state, Domain domain, Shape shape, int mib) {
  const auto& corpus = Document(domain, shape, mib);
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse(corpus.text.data(), corpus.text.size());
    benchmark::DoNotOptimize(document.HasParseError());
  }
  Bytes(state, corpus.text.size());
}

// ParseStream over the file, as hosts call it.
void ParseStream(benchmark::State& state, Domain domain, Shape shape, int mib) {
  const auto& corpus = Document(domain, shape, mib);
  std::list<Ostra::BaseMessage> messages;
  for (auto _ : state) {
    std::ifstream file(corpus.path, std::ios::binary);
    benchmark::DoNotOptimize(Metadata::ParseStream(file, messages));
  }
  Bytes(state, corpus.text.size());
}

// A whole CreateSource, file to stored source. Each load goes into a new store; making the store
// and destroying it again are outside the measured time.
void CreateSource(benchmark::State& state, Domain domain, Shape shape, int mib) {
  const auto& corpus = Document(domain, shape, mib);
  for (auto _ : state) {
    state.PauseTiming();
    auto stores = std::make_unique<Stores>();
    state.ResumeTiming();
    if (!stores->Load(domain, "s", corpus.path)) state.SkipWithError("the document did not load");
    state.PauseTiming();
    stores.reset();
    state.ResumeTiming();
  }
  Bytes(state, corpus.text.size());
}

// Deleting a loaded source, which frees its whole tree (as a reload does with the old one).
void DestroySource(benchmark::State& state, Domain domain, Shape shape, int mib) {
  const auto& corpus = Document(domain, shape, mib);
  for (auto _ : state) {
    state.PauseTiming();
    Stores stores;
    if (!stores.Load(domain, "s", corpus.path)) state.SkipWithError("the document did not load");
    state.ResumeTiming();
    stores.Delete(domain, "s");
  }
  Bytes(state, corpus.text.size());
}

// Baseline of CRC32: memcpy of the same bytes.
void Memcpy(benchmark::State& state) {
  const auto& corpus = Document(kMetamodel, Shape::kDocumented, 10);
  std::string copy(corpus.text.size(), '\0');
  for (auto _ : state) {
    std::memcpy(&copy[0], corpus.text.data(), corpus.text.size());
    benchmark::ClobberMemory();
  }
  Bytes(state, corpus.text.size());
}

void Crc32(benchmark::State& state) {
  const auto& corpus = Document(kMetamodel, Shape::kDocumented, 10);
  for (auto _ : state) {
    Ostra::CRC32 crc;
    crc.Update(corpus.text);
    benchmark::DoNotOptimize(crc.Hexdigest());
  }
  Bytes(state, corpus.text.size());
}

// ---- Lookups in one source of a given size: absent ids, and the last ids in walking order

const Stores& OneSource(Domain domain, Shape shape, int mib) {
  static std::map<std::tuple<Domain, Shape, int>, Stores> made;
  const auto key = std::make_tuple(domain, shape, mib);
  auto found = made.find(key);
  if (found != made.end()) return found->second;
  Stores& stores = made[key];
  if (!stores.Load(domain, "s", Document(domain, shape, mib).path)) std::abort();
  return stores;
}

// A lookup: prepare(stores) runs once, then query() is measured.
using Query = std::function<void()>;
using Lookup = std::function<Query(const Stores&)>;

struct LookupCase {
  const char* name;
  Domain domain;
  Lookup lookup;
};

const std::string kAbsent = "com.bench.absent";

std::vector<LookupCase> LookupCases() {
  const auto last = [](const std::list<std::string>& names) { return names.back(); };
  return {
      {"metamodel.EnumerationInfo(absent)", kMetamodel,
       [](const Stores& s) -> Query {
         return [m = s.metamodel] { benchmark::DoNotOptimize(m->EnumerationInfo(kAbsent)); };
       }},
      {"metamodel.EnumerationInfo(last)", kMetamodel,
       [last](const Stores& s) -> Query {
         return [m = s.metamodel, id = last(s.metamodel->ListEnumerations())] {
           benchmark::DoNotOptimize(m->EnumerationInfo(id));
         };
       }},
      {"metamodel.StructureInfo(absent)", kMetamodel,
       [](const Stores& s) -> Query {
         return [m = s.metamodel] { benchmark::DoNotOptimize(m->StructureInfo(kAbsent)); };
       }},
      {"metamodel.StructureInfo(last)", kMetamodel,
       [last](const Stores& s) -> Query {
         return [m = s.metamodel, id = last(s.metamodel->ListStructures())] {
           benchmark::DoNotOptimize(m->StructureInfo(id));
         };
       }},
      {"metamodel.PackageInfo(absent)", kMetamodel,
       [](const Stores& s) -> Query {
         return [m = s.metamodel] { benchmark::DoNotOptimize(m->PackageInfo(kAbsent)); };
       }},
      {"metamodel.ServiceInfo(absent)", kMetamodel,
       [](const Stores& s) -> Query {
         return [m = s.metamodel] { benchmark::DoNotOptimize(m->ServiceInfo(kAbsent)); };
       }},
      {"metamodel.ServiceInfo(last)", kMetamodel,
       [last](const Stores& s) -> Query {
         return [m = s.metamodel, id = last(s.metamodel->ListServices())] {
           benchmark::DoNotOptimize(m->ServiceInfo(id));
         };
       }},
      {"metamodel.ListOperations(last)", kMetamodel,
       [last](const Stores& s) -> Query {
         return [m = s.metamodel, id = last(s.metamodel->ListServices())] {
           benchmark::DoNotOptimize(m->ListOperations(id));
         };
       }},
      {"metamodel.OperationInfo(absent)", kMetamodel,
       [last](const Stores& s) -> Query {
         return [m = s.metamodel, id = last(s.metamodel->ListServices())] {
           benchmark::DoNotOptimize(m->OperationInfo(id, kAbsent));
         };
       }},
      {"metamodel.OperationInfo(last)", kMetamodel,
       [last](const Stores& s) -> Query {
         const std::string service = last(s.metamodel->ListServices());
         return [m = s.metamodel, service, id = last(*s.metamodel->ListOperations(service))] {
           benchmark::DoNotOptimize(m->OperationInfo(service, id));
         };
       }},
      {"authentication.PackageInfo(absent)", kAuthentication,
       [](const Stores& s) -> Query {
         return [a = s.authentication] { benchmark::DoNotOptimize(a->PackageInfo(kAbsent)); };
       }},
      {"authentication.ServiceInfo(last)", kAuthentication,
       [last](const Stores& s) -> Query {
         return [a = s.authentication, id = last(s.authentication->ListServices())] {
           benchmark::DoNotOptimize(a->ServiceInfo(id));
         };
       }},
      {"authentication.OperationInfo(absent)", kAuthentication,
       [last](const Stores& s) -> Query {
         return [a = s.authentication, id = last(s.authentication->ListServices())] {
           benchmark::DoNotOptimize(a->OperationInfo(id, kAbsent));
         };
       }},
      {"cli.CommandInfo(last)", kCli,
       [](const Stores& s) -> Query {
         return [c = s.cli, id = s.cli->ListCommands(boost::none).back()] {
           benchmark::DoNotOptimize(c->CommandInfo(id));
         };
       }},
      {"cli.ListCommands(last path)", kCli,
       [](const Stores& s) -> Query {
         return [c = s.cli, path = s.cli->ListCommands(boost::none).back()->path] {
           benchmark::DoNotOptimize(c->ListCommands(path));
         };
       }},
  };
}

void MeasureLookup(benchmark::State& state, const LookupCase& lookup, Shape shape, int mib) {
  const Query query = lookup.lookup(OneSource(lookup.domain, shape, mib));
  for (auto _ : state)
    query();
  state.SetItemsProcessed(state.iterations());
}

// ---- Adapters: the same call through the adapter and straight from the store

// Stores of each domain holding `count` sources of 256 KiB each, made once per process.
struct ManySources : Stores {
  std::string lastComponent;
};
const ManySources& StoresOf(int count) {
  static std::map<int, ManySources> made;
  auto found = made.find(count);
  if (found != made.end()) return found->second;
  ManySources& stores = made[count];
  for (int i = 0; i < count; ++i) {
    const std::string id = "s" + std::to_string(100 + i);
    const std::string component = "com.bench" + std::to_string(i);
    const std::string prefix = "svc-" + std::to_string(i) + "-";
    bool ok =
        stores.Load(kMetamodel, id,
                    WriteTemp(prefix + "metamodel.json", MetamodelDocument(kMiB / 4, component)));
    ok &= stores.Load(
        kAuthentication, id,
        WriteTemp(prefix + "authentication.json", AuthenticationDocument(kMiB / 4, component)));
    ok &= stores.Load(
        kCli, id,
        WriteTemp(prefix + "cli.json", CliDocument(kMiB / 4, "root" + std::to_string(i))));
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
// MakeResult tells what making and completing one costs.
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

void MakeResult(benchmark::State& state) {
  const auto value = std::make_shared<const std::string>("x");
  for (auto _ : state)
    Sink<std::shared_ptr<const std::string>>()(value);
  state.SetItemsProcessed(state.iterations());
}

// Completing a result made beforehand, as an adapter does after its store call: the part of an
// adapter's cost that the result contract fixes (one atomic completion, the callback called and
// let go). The value is null, so that no reference count is counted in.
void CompleteResult(benchmark::State& state) {
  Results<std::shared_ptr<const std::string>> results(state);
  for (auto _ : state)
    results.Next()(nullptr);
  state.SetItemsProcessed(state.iterations());
}

const auto kActivation = std::make_shared<Ostra::Core::AsyncActivation>();

// Get of the last source's entry, through the adapter or straight from the store (the baseline).
void Get(benchmark::State& state, Domain domain, bool adapter, int sources) {
  const ManySources& stores = StoresOf(sources);
  const std::string& component = stores.lastComponent;
  const std::string package = component + ".pkg3";
  using CommandIdentity = CliB::CommandSvc::Identity;
  const auto command = std::make_shared<const CommandIdentity>(
      CommandIdentity{"root" + std::to_string(sources - 1) + ".group0.pkg3", "svc1-op2"});
  if (domain == kMetamodel) {
    auto service =
        Metadata::Metamodel::ComponentSvc::AsyncServiceImpl::GetInstance(stores.metamodel);
    Results<std::shared_ptr<const MetamodelB::ComponentData>> results(state);
    for (auto _ : state) {
      if (adapter) {
        service->Get(component, kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.metamodel->ComponentInfo(component));
      }
    }
  } else if (domain == kAuthentication) {
    auto service =
        Metadata::Authentication::PackageSvc::AsyncServiceImpl::GetInstance(stores.authentication);
    Results<std::shared_ptr<const AuthenticationB::PackageInfo>> results(state);
    for (auto _ : state) {
      if (adapter) {
        service->Get(package, kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.authentication->PackageInfo(package));
      }
    }
  } else {
    auto service = Metadata::Cli::CommandSvc::AsyncServiceImpl::GetInstance(stores.cli);
    Results<std::shared_ptr<const CliB::CommandSvc::Info>> results(state);
    for (auto _ : state) {
      if (adapter) {
        service->Get(command, kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.cli->CommandInfo(command));
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// List of every entry of a kind, through the adapter or straight from the store.
void List(benchmark::State& state, Domain domain, bool adapter, int sources) {
  const ManySources& stores = StoresOf(sources);
  using Names = std::list<std::string>;
  if (domain == kMetamodel) {
    auto service = Metadata::Metamodel::ServiceSvc::AsyncServiceImpl::GetInstance(stores.metamodel);
    Results<Names> results(state);
    for (auto _ : state) {
      if (adapter) {
        service->List(kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.metamodel->ListServices());
      }
    }
  } else if (domain == kAuthentication) {
    auto service =
        Metadata::Authentication::ServiceSvc::AsyncServiceImpl::GetInstance(stores.authentication);
    Results<Names> results(state);
    for (auto _ : state) {
      if (adapter) {
        service->List(kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.authentication->ListServices());
      }
    }
  } else {
    using Ids = std::list<std::shared_ptr<const CliB::CommandSvc::Identity>>;
    auto service = Metadata::Cli::CommandSvc::AsyncServiceImpl::GetInstance(stores.cli);
    Results<Ids> results(state);
    for (auto _ : state) {
      if (adapter) {
        service->List(boost::none, kActivation, results.Next());
      } else {
        benchmark::DoNotOptimize(stores.cli->ListCommands(boost::none));
      }
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// DiffModels of two models made of the same three documents (one per domain): every definition
// is looked up and compared, none differs. Baseline: CreateSource of the three documents.
void DiffModels(benchmark::State& state, Shape shape, int mib) {
  const auto model = [&]() -> Metadata::MetadataModel {
    Stores stores;
    for (const Domain domain : {kMetamodel, kAuthentication, kCli}) {
      if (!stores.Load(domain, "s", Document(domain, shape, mib).path)) std::abort();
    }
    return {stores.metamodel, stores.authentication, stores.cli};
  };
  const auto before = model(), after = model();
  for (auto _ : state) {
    const auto changes = Metadata::DiffModels(before, after);
    if (!changes.empty()) state.SkipWithError("the same documents differ");
    benchmark::DoNotOptimize(changes.data());
  }
}

// One store queried from several threads at once (compare the 2-thread rate with the 1-thread
// rate): a lookup and a fingerprint, each under the store's lock.
void QueryThreads(benchmark::State& state) {
  const ManySources& stores = StoresOf(16);
  for (auto _ : state) {
    benchmark::DoNotOptimize(stores.metamodel->ComponentInfo(stores.lastComponent));
    benchmark::DoNotOptimize(stores.metamodel->SourceFingerprint(boost::none));
  }
  state.SetItemsProcessed(state.iterations());
}

// ---- Registration and the table of ratios

std::string Name(const char* what, Domain domain, Shape shape, int mib) {
  return std::string(what) + "/" + kDomainNames[domain] + "/" +
         kShapeNames[static_cast<int>(shape)] + "/" + std::to_string(mib) + "MiB";
}
std::string Name(const char* what, Domain domain, bool adapter, int sources) {
  return std::string(what) + "/" + kDomainNames[domain] + "/" + (adapter ? "adapter" : "store") +
         "/" + std::to_string(sources) + "sources";
}

// A row of the table: numerator and denominator benchmark (or benchmarks joined by " + ", whose
// times add up), with how the ratio reads.
struct Ratio {
  std::string label;
  std::string numerator;
  std::string denominator;
  bool rate = false;  // a ratio of items per second rather than of times
};
std::vector<Ratio>& Ratios() {
  static std::vector<Ratio> ratios;
  return ratios;
}

void Register() {
  const Shape shapes[] = {Shape::kDocumented, Shape::kDense};
  for (const Domain domain : {kMetamodel, kAuthentication, kCli}) {
    for (const Shape shape : shapes) {
      for (const int mib : {1, 10}) {
        using Fn = void (*)(benchmark::State&, Domain, Shape, int);
        for (const auto& [what, fn] : {std::pair<const char*, Fn>{"InMemoryParse", InMemoryParse},
                                       {"ParseStream", ParseStream},
                                       {"CreateSource", CreateSource},
                                       {"DestroySource", DestroySource}}) {
          benchmark::RegisterBenchmark(Name(what, domain, shape, mib).c_str(), fn, domain, shape,
                                       mib)
              ->Unit(benchmark::kMillisecond);
        }
      }
      const std::string what = std::string(kDomainNames[domain]) + " " +
                               kShapeNames[static_cast<int>(shape)] + " 10 MiB";
      const std::string parse = Name("InMemoryParse", domain, shape, 10);
      Ratios().push_back({"ParseStream, " + what + " / in-memory parse",
                          Name("ParseStream", domain, shape, 10), parse});
      Ratios().push_back({"CreateSource, " + what + " / in-memory parse",
                          Name("CreateSource", domain, shape, 10), parse});
      Ratios().push_back({"destroying the source, " + what + " / in-memory parse",
                          Name("DestroySource", domain, shape, 10), parse});
    }
  }
  benchmark::RegisterBenchmark("Memcpy/10MiB", Memcpy)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("CRC32/10MiB", Crc32)->Unit(benchmark::kMillisecond);
  Ratios().push_back({"CRC32 / memcpy of the same bytes", "CRC32/10MiB", "Memcpy/10MiB"});

  static const std::vector<LookupCase> lookups = LookupCases();
  for (const LookupCase& lookup : lookups) {
    for (const Shape shape : shapes) {
      const auto name = [&](int mib) {
        return std::string("Lookup/") + lookup.name + "/" + kShapeNames[static_cast<int>(shape)] +
               "/" + std::to_string(mib) + "MiB";
      };
      for (const int mib : {1, 10}) {
        benchmark::RegisterBenchmark(name(mib).c_str(), MeasureLookup, lookup, shape, mib);
      }
      Ratios().push_back({std::string(lookup.name) + ", " + kShapeNames[static_cast<int>(shape)] +
                              ": 10 MiB / 1 MiB model",
                          name(10), name(1)});
    }
  }

  for (const Domain domain : {kMetamodel, kAuthentication, kCli}) {
    for (const int sources : {1, 16}) {
      for (const bool adapter : {false, true}) {
        benchmark::RegisterBenchmark(Name("Get", domain, adapter, sources).c_str(), Get, domain,
                                     adapter, sources);
        benchmark::RegisterBenchmark(Name("List", domain, adapter, sources).c_str(), List, domain,
                                     adapter, sources);
      }
      const std::string what =
          std::string(kDomainNames[domain]) + ", " + std::to_string(sources) + " source(s)";
      Ratios().push_back({"adapter Get / store call, " + what, Name("Get", domain, true, sources),
                          Name("Get", domain, false, sources)});
      Ratios().push_back({"adapter List / store call, " + what, Name("List", domain, true, sources),
                          Name("List", domain, false, sources)});
    }
  }
  for (const Shape shape : shapes) {
    for (const int mib : {1, 10}) {
      const std::string suffix = std::string("/") + kShapeNames[static_cast<int>(shape)] + "/" +
                                 std::to_string(mib) + "MiB";
      benchmark::RegisterBenchmark(("DiffModels" + suffix).c_str(), DiffModels, shape, mib)
          ->Unit(benchmark::kMillisecond);
      Ratios().push_back(
          {"DiffModels of the three " + suffix.substr(1) + " documents / loading them",
           "DiffModels" + suffix,
           Name("CreateSource", kMetamodel, shape, mib) + " + " +
               Name("CreateSource", kAuthentication, shape, mib) + " + " +
               Name("CreateSource", kCli, shape, mib)});
    }
  }
  benchmark::RegisterBenchmark("MakeResult", MakeResult);
  benchmark::RegisterBenchmark("CompleteResult", CompleteResult);
  benchmark::RegisterBenchmark("QueryThreads", QueryThreads)->Threads(1)->Threads(2)->UseRealTime();
  Ratios().push_back({"calls per second, two querying threads / one",
                      "QueryThreads/real_time/threads:2", "QueryThreads/real_time/threads:1",
                      true});
}

// The console output, then the table of ratios over the medians (or the single runs).
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Color : OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      const double seconds =
          (run.run_name.str().find("real_time") != std::string::npos ? run.GetAdjustedRealTime()
                                                                     : run.GetAdjustedCPUTime()) /
          benchmark::GetTimeUnitMultiplier(run.time_unit);
      const auto rate = run.counters.find("items_per_second");
      measured_[run.run_name.str()] = {seconds,
                                       rate == run.counters.end() ? 0.0 : rate->second.value};
    }
  }
  void Finalize() override {
    std::printf("\n%-78s %8s\n", "Ratio (medians of one run)", "");
    for (const Ratio& ratio : Ratios()) {
      const auto n = measured_.find(ratio.numerator);
      if (n == measured_.end()) continue;
      double seconds = 0, rate = 0;
      bool complete = true;
      for (std::size_t begin = 0; begin <= ratio.denominator.size();) {
        std::size_t end = ratio.denominator.find(" + ", begin);
        if (end == std::string::npos) end = ratio.denominator.size();
        const auto d = measured_.find(ratio.denominator.substr(begin, end - begin));
        complete = complete && d != measured_.end();
        if (d != measured_.end()) {
          seconds += d->second.first;
          rate += d->second.second;
        }
        begin = end + 3;
      }
      if (!complete) continue;
      const double value = ratio.rate ? n->second.second / rate : n->second.first / seconds;
      std::printf("%-78s %8.2f\n", ratio.label.c_str(), value);
    }
    ConsoleReporter::Finalize();
  }

 private:
  std::map<std::string, std::pair<double, double>> measured_;  // seconds per iteration, rate
};

}  // namespace

int main(int argc, char** argv) {
  Register();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}

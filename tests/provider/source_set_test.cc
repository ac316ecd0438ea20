// The source operations that the three stores share, run over each domain: creating, deleting,
// reloading and fingerprinting sources, through the store and through its source service, and
// failures that change nothing.
#include <gtest/gtest.h>

#include <cstdio>

#include <boost/optional/optional_io.hpp>

#include "metamodel/documents.h"
#include "ostra/metadata_services.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
namespace Metadata = Ostra::Provider::Metadata;
namespace Binding = Com::Corvane::Ostra::Metadata;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;
using Strings = std::list<std::string>;

// Names joined by spaces.
template <class List>
std::string Joined(const List& names) {
  std::string text;
  for (const auto& name : names)
    text += (text.empty() ? "" : " ") + name;
  return text;
}

// Per domain: its store, spec and source service, a document naming one top-level record, a
// document that parses but does not load with the messages it gets, what the store holds (the
// names of its top-level records) and the fingerprints its records report.
template <class S, class Sp, class Svc>
struct Domain {
  using Store = S;
  using Spec = Sp;
  using Sources = Svc;
};

// The domains whose records are components, which report their source's text fingerprint.
template <class S, class Sp, class Svc>
struct ComponentDomain : Domain<S, Sp, Svc> {
  static constexpr bool kCompletesOnSuccess = false;
  static std::string Held(const S& store) { return Joined(store.ListComponents()); }
  static std::string Prints(const S& store) {
    return store.ComponentFingerprint("a") + " " + store.ComponentInfo("a")->fingerprint + " " +
           store.ComponentFingerprint("zz");
  }
  static std::string ExpectedPrints(const std::string& a, const std::string&) {
    return Crc(a) + " " + Crc(a) + " ";
  }
};

struct MetamodelDomain : ComponentDomain<Metadata::Metamodel::MetadataContainer,
                                         Binding::Metamodel::SourceSvc::CreateSpec,
                                         Metadata::Metamodel::SourceSvc::AsyncServiceImpl> {
  static constexpr const char* kName = "metamodel";
  static constexpr const char* kTitle = "Metamodel";
  static constexpr const char* kInvalid = R"({"metamodel":{"component":[]}})";
  static constexpr const char* kInvalidMessages = "invalid component";
  static std::string Doc(const std::string& name) {
    return MetamodelDocs::NamedDoc(name, MetamodelDocs::Package("p"));
  }
};

struct AuthenticationDomain
    : ComponentDomain<Metadata::Authentication::MetadataContainer,
                      Binding::Authentication::SourceSvc::CreateSpec,
                      Metadata::Authentication::SourceSvc::AsyncServiceImpl> {
  static constexpr const char* kName = "authentication";
  static constexpr const char* kTitle = "Authentication";
  static constexpr const char* kInvalid =
      R"({"authentication":{"product":{},"component":{"name":1}}})";
  static constexpr const char* kInvalidMessages = "missing name; invalid name";
  static std::string Doc(const std::string& name) {
    return R"({"authentication":{"component":{"name":")" + name +
           R"(","operations":{},"services":{"p.s":[]}}}})";
  }
};

struct CliDomain : Domain<Metadata::Cli::MetadataContainer, Binding::Cli::SourceSvc::CreateSpec,
                          Metadata::Cli::SourceSvc::AsyncServiceImpl> {
  static constexpr const char* kName = "cli";
  static constexpr const char* kTitle = "Cli";
  static constexpr bool kCompletesOnSuccess = true;
  static constexpr const char* kInvalid =
      R"({"cli":[{"type":"namespace","path":"","name":"m","description":"M"},{"type":"link"}]})";
  static constexpr const char* kInvalidMessages = "ostra.metadata.cli.json.invalid.node.type type";
  static std::string Doc(const std::string& name) {
    return R"({"cli":[{"type":"namespace","path":"","name":")" + name + R"(","description":"d"}]})";
  }
  static std::string Held(const Metadata::Cli::MetadataContainer& store) {
    std::vector<std::string> names;
    for (const auto& id : store.ListNamespaces()) {
      if (!id->name.empty()) names.push_back(id->name);
    }
    return Joined(names);
  }
  // Namespaces and commands report the fingerprint of all sources.
  static std::string Prints(const Metadata::Cli::MetadataContainer& store) {
    return store.NamespaceFingerprint() + " " + store.CommandFingerprint();
  }
  static std::string ExpectedPrints(const std::string& a, const std::string& b) {
    return Crc(Crc(a) + Crc(b)) + " " + Crc(Crc(a) + Crc(b));
  }
};

template <class Domain>
class SourceSetTest : public StoreTest<typename Domain::Store, typename Domain::Spec> {
 protected:
  using Spec = typename Domain::Spec;
  std::string Id(const std::string& what) const {
    return std::string(what == "parse.error" ? "ostra.metadata." : "ostra.metada.") +
           Domain::kName + "." + what;
  }
  std::shared_ptr<const Spec> File(const std::string& path) { return FileSpec<Spec>(path); }
  std::string Held() const { return Domain::Held(*this->store_); }
  std::shared_ptr<Spec> SpecOf(const std::string& path,
                               decltype(Spec::type) type = decltype(Spec::type)::FILE) {
    auto spec = std::make_shared<Spec>(*FileSpec<Spec>(path));
    spec->type = type;
    return spec;
  }
};

using Domains = testing::Types<MetamodelDomain, AuthenticationDomain, CliDomain>;
TYPED_TEST_SUITE(SourceSetTest, Domains);

TYPED_TEST(SourceSetTest, CreateListInfoAndDelete) {
  auto& store = *this->store_;
  const std::string b = this->Add("b", TypeParam::Doc("b"));
  const std::string a = this->Add("a", TypeParam::Doc("a"));
  EXPECT_EQ(store.ListSources(), (Strings{"a", "b"}));
  EXPECT_EQ(this->Held(), "a b");
  const auto info = store.SourcesInfo("b");
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->description, "test source");
  EXPECT_EQ(*info->filepath, b);
  EXPECT_EQ(store.SourcesInfo("zz"), nullptr);

  EXPECT_EQ(OnlyMessage(*store.DeleteSource("zz")), this->Id("source.not.found") + ": zz");
  EXPECT_EQ(store.DeleteSource("a"), nullptr);
  EXPECT_EQ(store.ListSources(), Strings{"b"});
  EXPECT_EQ(this->Held(), "b");
  // Deleting and creating again reads the file again.
  this->Write("a", TypeParam::Doc("a2"));
  EXPECT_EQ(store.CreateSource("a", this->File(a)), nullptr);
  EXPECT_EQ(this->Held(), "a2 b");
}

TYPED_TEST(SourceSetTest, FailedCreatesChangeNothing) {
  using Type = decltype(TypeParam::Spec::type);
  auto& store = *this->store_;
  this->Add("a", TypeParam::Doc("a"));
  const std::string missing = testing::TempDir() + "/does-not-exist.json";
  const auto pathless = this->SpecOf("");
  pathless->filepath = boost::none;
  const auto parsed = Parse(TypeParam::Doc("x"));
  const auto file = [this](const std::string& path) { return this->File(path); };
  const auto create = [&](const auto& spec) { return store.CreateSource("b", spec); };
  const std::string exists = "ALREADY_EXISTS " + this->Id("source.exists") + " a",
                    notFound = "NOT_FOUND " + this->Id("source.file.not.found") + " ",
                    syntax = "INVALID_ARGUMENT " + this->Id("parse.error") + " 3 ";
  // Each failure: its kind and its messages.
  const std::pair<Metadata::ErrorPtr, std::string> cases[] = {
      {store.CreateSource("a", file(this->Write("x", TypeParam::Doc("x")))), exists},
      {store.CreateSourceFromMetadata("a", *parsed, file("")), exists},
      {create(file(missing)), notFound + missing},
      {create(pathless), notFound},
      {create(file(testing::TempDir())), notFound + testing::TempDir()},
      {create(file(this->Write("b", "{\"x\":"))), syntax + "5"},
      {store.CreateSourceFromMetadata("b", *Parse("["), file("")), syntax + "1"},
      {create(file(this->Write("c", TypeParam::kInvalid))),
       "INVALID_ARGUMENT " + std::string(TypeParam::kInvalidMessages)},
      {create(this->SpecOf(missing, Type::REMOTE)), "UNSUPPORTED "},
      {create(this->SpecOf(missing, Type::Unknown("PIGEON"))), "INVALID_ARGUMENT "},
      {create(nullptr), "INVALID_ARGUMENT "},
      {store.CreateSourceFromMetadata("b", *parsed, nullptr), "INVALID_ARGUMENT "},
  };
  for (const auto& c : cases) {
    ASSERT_NE(c.first, nullptr) << c.second;
    EXPECT_EQ(Kind(KindOf(*c.first)).GetText() + " " +
                  Brief(Ostra::Data::ErrorFactory::GetMessages(*c.first)),
              c.second);
  }
  EXPECT_EQ(store.ListSources(), Strings{"a"});
  EXPECT_EQ(this->Held(), "a");
}

TYPED_TEST(SourceSetTest, ReloadKeepsOldDataFromTheFirstFailureOn) {
  auto& store = *this->store_;
  const std::string a = this->Add("a", TypeParam::Doc("a"));
  this->Add("b", TypeParam::Doc("b"));
  this->Add("c", TypeParam::Doc("c"));
  this->Write("a", TypeParam::Doc("a2"));
  this->Write("b", "not json");
  this->Write("c", TypeParam::Doc("c2"));
  EXPECT_EQ(store.ReloadSource(boost::none), nullptr);
  EXPECT_EQ(this->Held(), "a2 b c");
  // A named reload of a good file replaces it; a vanished file keeps the old data, silently.
  EXPECT_EQ(store.ReloadSource(std::string("c")), nullptr);
  EXPECT_EQ(this->Held(), "a2 b c2");
  std::remove(a.c_str());
  EXPECT_EQ(store.ReloadSource(std::string("a")), nullptr);
  EXPECT_EQ(this->Held(), "a2 b c2");
  // An unknown id: NotFound with the "exists" message.
  const auto error = store.ReloadSource(std::string("zz"));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(Kind(KindOf(*error)).GetText() + " " + OnlyMessage(*error),
            "NOT_FOUND " + this->Id("source.exists") + ": zz");
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*error).front().GetDefaultMessage(),
            std::string(TypeParam::kTitle) + " source already exists: zz");
}

// Files and parsed documents keep the fingerprint of their text, and the set's follows id order.
// A remote spec stores the id without data; queries and reloads pass over it.
TYPED_TEST(SourceSetTest, FingerprintsFollowIdOrderAndRemoteSourcesHoldNoData) {
  auto& store = *this->store_;
  EXPECT_EQ(store.SourceFingerprint(boost::none), "00000000");
  const std::string a = TypeParam::Doc("a"), b = TypeParam::Doc("b");
  this->Add("b", b);
  const auto parsed = Parse(a);
  EXPECT_EQ(store.CreateSourceFromMetadata("a", *parsed, this->File("")), nullptr);
  EXPECT_EQ(store.SourceFingerprint(std::string("a")), Crc(Crc(a)));
  EXPECT_EQ(store.SourceFingerprint(std::string("b")), Crc(Crc(b)));
  EXPECT_EQ(store.SourceFingerprint(std::string("zz")), "");
  EXPECT_EQ(store.SourceFingerprint(boost::none), Crc(Crc(a) + Crc(b)));
  EXPECT_EQ(TypeParam::Prints(store), TypeParam::ExpectedPrints(a, b));
  EXPECT_EQ(store.CreateSourceFromMetadata(
                "r", *parsed, this->SpecOf("", decltype(TypeParam::Spec::type)::REMOTE)),
            nullptr);
  EXPECT_EQ(store.ListSources(), (Strings{"a", "b", "r"}));
  EXPECT_EQ(this->Held(), "a b");
  EXPECT_EQ(store.SourcesInfo("r"), nullptr);
  EXPECT_EQ(store.ReloadSource(boost::none), nullptr);
  EXPECT_EQ(this->Held(), "a b");
}

TYPED_TEST(SourceSetTest, SourceServiceCompletesFailuresAlways) {
  auto sources = TypeParam::Sources::GetInstance(this->store_);
  const auto activation = std::make_shared<Ostra::Core::AsyncActivation>();
  const std::string path = this->Write("a", TypeParam::Doc("a"));
  Outcome<Ostra::Void> created, again, reloaded, deleted, deletedAgain, unknown;
  sources->Create("a", this->File(path), activation, created.Result());
  EXPECT_EQ(created.calls, TypeParam::kCompletesOnSuccess ? 1 : 0);
  EXPECT_EQ(created.error, nullptr);
  EXPECT_EQ(this->Held(), "a");
  sources->Create("a", this->File(path), activation, again.Result());
  ASSERT_EQ(again.calls, 1);
  EXPECT_EQ(KindOf(*again.error), Kind::ALREADY_EXISTS);
  sources->Reload(std::string("zz"), activation, unknown.Result());
  EXPECT_EQ(KindOf(*unknown.error), Kind::NOT_FOUND);

  Outcome<std::string> fingerprint, unknownFingerprint, whole;
  sources->Fingerprint(std::string("a"), activation, fingerprint.Result());
  EXPECT_EQ(fingerprint.value, Crc(Crc(TypeParam::Doc("a"))));
  sources->Fingerprint(boost::none, activation, whole.Result());
  EXPECT_EQ(whole.value, this->store_->SourceFingerprint(boost::none));
  sources->Fingerprint(std::string("zz"), activation, unknownFingerprint.Result());
  EXPECT_EQ(unknownFingerprint.Error(), this->Id("source.not.found") + ": zz");

  sources->Reload(boost::none, activation, reloaded.Result());
  sources->Delete("a", activation, deleted.Result());
  sources->Delete("a", activation, deletedAgain.Result());
  EXPECT_EQ(reloaded.calls + deleted.calls, TypeParam::kCompletesOnSuccess ? 2 : 0);
  EXPECT_EQ(reloaded.error, nullptr);
  EXPECT_EQ(deletedAgain.Error(), this->Id("source.not.found") + ": a");
  EXPECT_TRUE(this->store_->ListSources().empty());
}

}  // namespace

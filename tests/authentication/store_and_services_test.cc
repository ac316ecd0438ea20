#include "ostra/authentication/json_metadata_container.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include "ostra/authentication/services.h"
#include "ostra/core/json.h"
#include "test_outcome.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
namespace Impl = Ostra::Provider::Metadata::Authentication;
namespace Binding = Com::Corvane::Ostra::Metadata::Authentication;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;
using Strings = std::list<std::string>;

using AuthenticationStoreTest = StoreTest<Impl::MetadataContainer, Binding::SourceSvc::CreateSpec>;

// A component with one package holding one service of the given operations (no schemes).
std::string Doc(const std::string& component, const std::string& service,
                const std::string& operations) {
  std::string members;
  for (const char op : operations) {
    members += std::string(members.empty() ? "" : ",") + "\"" + service + "." + op + "\":[]";
  }
  return R"({"authentication":{"component":{"name":")" + component + R"(","operations":{)" +
         members + R"(},"services":{")" + service + R"(":[]}}}})";
}

TEST_F(AuthenticationStoreTest, WalksSourcesInIdOrderFirstMatchWins) {
  const std::string textB = Doc("shared", "p.q.s", "xy");
  const std::string textA = Doc("shared", "p.q.s", "");
  Add("b", textB);
  Add("a", textA);
  Add("c", Doc("other", "p.q.t", "z"));
  EXPECT_EQ(store_->ListComponents(), (Strings{"shared", "shared", "other"}));
  EXPECT_EQ(store_->ComponentInfo("shared")->fingerprint, Crc(textA));
  EXPECT_EQ(store_->ComponentFingerprint("shared"), Crc(textA));
  EXPECT_EQ(store_->ListPackages(), (Strings{"p.q", "p.q", "p.q"}));
  EXPECT_EQ(store_->ListServices(), (Strings{"p.q.s", "p.q.s", "p.q.t"}));
  // The first p.q.s (source a) has no operations: an engaged, empty list.
  EXPECT_EQ(*store_->ListOperations("p.q.s"), Strings{});
  EXPECT_FALSE(store_->ListOperations("p.q.zz"));
  // A service without the operation does not end the walk: source b has it.
  ASSERT_NE(store_->OperationInfo("p.q.s", "x"), nullptr);
  EXPECT_EQ(store_->OperationInfo("p.q.s", "w"), nullptr);
  EXPECT_EQ(store_->SourceFingerprint(std::string("a")), Crc(Crc(textA)));
  EXPECT_EQ(store_->SourceFingerprint(std::string("zz")), "");
}

TEST_F(AuthenticationStoreTest, SourceErrorsUseTheDomainsMessages) {
  Add("a", Doc("ca", "p.q.s", ""));
  Add("b", Doc("cb", "p.q.s", ""));
  const auto unknown = store_->ReloadSource(std::string("zz"));
  EXPECT_EQ(KindOf(*unknown), Kind::NOT_FOUND);
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*unknown).front().GetDefaultMessage(),
            "Authentication source already exists: zz");
  EXPECT_EQ(OnlyMessage(*store_->CreateSource("a", FileSpec<Binding::SourceSvc::CreateSpec>(""))),
            "ostra.metada.authentication.source.exists: a");
  EXPECT_EQ(OnlyMessage(*store_->DeleteSource("zz")),
            "ostra.metada.authentication.source.not.found: zz");
  const auto broken = store_->CreateSource(
      "x", FileSpec<Binding::SourceSvc::CreateSpec>(Write("x", R"({"authentication":{
        "product":{},"component":{}}})")));
  EXPECT_EQ(KindOf(*broken), Kind::INVALID_ARGUMENT);
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*broken).size(), 2u);
  EXPECT_EQ(store_->ListSources(), (Strings{"a", "b"}));
}

TEST_F(AuthenticationStoreTest, ServicesReportAbsenceWithTheirMessages) {
  Add("a", Doc("c", "p.q.s", ""));
  const auto activation = std::make_shared<Ostra::Core::AsyncActivation>();
  Outcome<std::shared_ptr<const Binding::ComponentData>> component;
  Impl::ComponentSvc::AsyncServiceImpl::GetInstance(store_)->Get("zz", activation,
                                                                 component.Result());
  // The component service reports the Metamodel component message.
  EXPECT_EQ(OnlyMessage(*component.error), "ostra.metada.metamodel.component.not.found: zz");
  Outcome<std::string> componentFingerprint;
  Impl::ComponentSvc::AsyncServiceImpl::GetInstance(store_)->Fingerprint(
      "c", activation, componentFingerprint.Result());
  EXPECT_EQ(componentFingerprint.value, store_->ComponentFingerprint("c"));
  Outcome<Strings> packages;
  Impl::PackageSvc::AsyncServiceImpl::GetInstance(store_)->List(activation, packages.Result());
  ASSERT_TRUE(packages.value);
  EXPECT_EQ(*packages.value, Strings{"p.q"});

  auto operations = Impl::Service::OperationSvc::AsyncServiceImpl::GetInstance(store_);
  Outcome<Strings> known, unknown;
  operations->List("p.q.s", activation, known.Result());
  EXPECT_TRUE(known.value && known.value->empty());
  operations->List("p.q.zz", activation, unknown.Result());
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*unknown.error).front().GetDefaultMessage(),
            "Authentication service not found: p.q.zz");
  Outcome<std::shared_ptr<const Binding::OperationInfo>> operation;
  operations->Get("p.q.s", "op", activation, operation.Result());
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*operation.error).front().GetDefaultMessage(),
            "Authentication operation not found: p.q.s[op]");

  auto sources = Impl::SourceSvc::AsyncServiceImpl::GetInstance(store_);
  Outcome<std::string> all;
  sources->Fingerprint(boost::none, activation, all.Result());
  EXPECT_EQ(*all.value, store_->SourceFingerprint(boost::none));
  Outcome<Ostra::Void> created, failed;
  sources->Create("b", FileSpec<Binding::SourceSvc::CreateSpec>(Write("b", Doc("d", "p.q.t", ""))),
                  activation, created.Result());
  EXPECT_EQ(created.calls, 0);  // success leaves the result uncompleted
  sources->Reload(std::string("zz"), activation, failed.Result());
  EXPECT_EQ(KindOf(*failed.error), Kind::NOT_FOUND);

  // Through the binder and Invoke, as a host calls it.
  const auto api = Binding::PackageSvc::AsyncServiceBinder::BindImplementation(
      Impl::PackageSvc::AsyncServiceImpl::GetInstance(store_));
  EXPECT_EQ(api->GetIdentifier(), "com.corvane.ostra.metadata.authentication.package");
  std::string answer;
  const auto input = Ostra::Data::FromJson(R"({"package_id":"p.q"})");
  api->Invoke("get", static_cast<const Ostra::Data::StructValue&>(*input), activation,
              [&](const Ostra::Data::ValuePtr& value, const auto&) {
                answer = Ostra::Data::ToJson(*value);
              });
  EXPECT_EQ(answer, Ostra::Data::ToJson(*Ostra::Data::TypeConverter<Binding::PackageInfo>::ToValue(
                        *store_->PackageInfo("p.q"), Ostra::L10n::RequestLocalizer())));
}

}  // namespace

#include "ostra/metamodel/services.h"

#include <gtest/gtest.h>

#include "metamodel/documents.h"
#include "ostra/core/json.h"
#include "ostra/std_bindings/service_binding.h"
#include "test_outcome.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;
namespace Impl = Ostra::Provider::Metadata::Metamodel;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;
using Ostra::AsyncResult;
using Ostra::Data::ErrorValue;

class MetamodelServicesTest : public MetamodelStoreTest {
 protected:
  template <class Svc>
  std::shared_ptr<Svc> Make() {
    return Svc::GetInstance(store_);
  }
  const std::shared_ptr<Ostra::Core::AsyncActivation> activation_ =
      std::make_shared<Ostra::Core::AsyncActivation>();
};

TEST_F(MetamodelServicesTest, SourceMutationsLeaveSuccessUncompleted) {
  auto sources = Make<Impl::SourceSvc::AsyncServiceImpl>();
  const std::string path = Write("a", NamedDoc("c", Package("p", "", Service("s"))));
  Outcome<Ostra::Void> created;
  sources->Create("a", FileSpec(path), activation_, created.Result());
  EXPECT_EQ(created.calls, 0);
  EXPECT_EQ(store_->ListSources(), std::list<std::string>{"a"});

  Outcome<Ostra::Void> again;
  sources->Create("a", FileSpec(path), activation_, again.Result());
  ASSERT_EQ(again.calls, 1);
  EXPECT_EQ(KindOf(*again.error), Kind::ALREADY_EXISTS);

  Outcome<Ostra::Void> reloaded, deleted, deletedAgain;
  sources->Reload(boost::none, activation_, reloaded.Result());
  sources->Delete("a", activation_, deleted.Result());
  sources->Delete("a", activation_, deletedAgain.Result());
  EXPECT_EQ(reloaded.calls + deleted.calls, 0);
  EXPECT_EQ(deletedAgain.Error(), "ostra.metada.metamodel.source.not.found: a");
}

TEST_F(MetamodelServicesTest, AbsenceBecomesNotFoundWithOneMessage) {
  Add("a", NamedDoc("c", Package("p", "", Service("s"))));
  Outcome<std::string> fingerprint;
  Make<Impl::ComponentSvc::AsyncServiceImpl>()->Fingerprint("zz", activation_,
                                                            fingerprint.Result());
  EXPECT_EQ(KindOf(*fingerprint.error), Kind::NOT_FOUND);
  EXPECT_EQ(fingerprint.Error(), "ostra.metada.metamodel.component.not.found: zz");

  auto operations = Make<Impl::Service::OperationSvc::AsyncServiceImpl>();
  Outcome<std::list<std::string>> none, unknown;
  operations->List("s", activation_, none.Result());
  ASSERT_TRUE(none.value);  // a known service without operations: an empty list
  EXPECT_TRUE(none.value->empty());
  operations->List("zz", activation_, unknown.Result());
  EXPECT_EQ(unknown.Error(), "ostra.metada.metamodel.service.not.found: zz");

  Outcome<std::shared_ptr<const MetamodelBinding::OperationInfo>> operation;
  operations->Get("s", "op", activation_, operation.Result());
  EXPECT_EQ(operation.Error(), "ostra.metada.metamodel.operation.not.found: s op");
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*operation.error).front().GetDefaultMessage(),
            "Metamodel operation not found: s[op]");

  Outcome<std::set<std::string>> models;
  Make<Impl::Resource::ModelSvc::AsyncServiceImpl>()->List("R", activation_, models.Result());
  EXPECT_EQ(models.Error(), "ostra.metada.metamodel.resource.not.found: R");

  auto sources = Make<Impl::SourceSvc::AsyncServiceImpl>();
  Outcome<std::string> whole, unknownSource;
  sources->Fingerprint(boost::none, activation_, whole.Result());
  EXPECT_EQ(whole.value->size(), 8u);
  sources->Fingerprint(std::string("zz"), activation_, unknownSource.Result());
  EXPECT_EQ(unknownSource.Error(), "ostra.metada.metamodel.source.not.found: zz");

  Outcome<std::list<std::string>> hidden;
  Make<Impl::Service::HiddenSvc::AsyncServiceImpl>()->List(activation_, hidden.Result());
  ASSERT_TRUE(hidden.value);
  EXPECT_TRUE(hidden.value->empty());
}

// The bound services of a store, by identifier.
std::map<std::string, std::shared_ptr<Ostra::Core::ApiInterface>> BindAll(
    const std::shared_ptr<const Impl::MetadataContainer>& store) {
  namespace B = Com::Corvane::Ostra::Metadata::Metamodel;
  std::map<std::string, std::shared_ptr<Ostra::Core::ApiInterface>> bound;
  const std::shared_ptr<Ostra::Core::ApiInterface> all[] = {
      B::ComponentSvc::AsyncServiceBinder::BindImplementation(
          Impl::ComponentSvc::AsyncServiceImpl::GetInstance(store)),
      B::PackageSvc::AsyncServiceBinder::BindImplementation(
          Impl::PackageSvc::AsyncServiceImpl::GetInstance(store)),
      B::ServiceSvc::AsyncServiceBinder::BindImplementation(
          Impl::ServiceSvc::AsyncServiceImpl::GetInstance(store)),
      B::Service::OperationSvc::AsyncServiceBinder::BindImplementation(
          Impl::Service::OperationSvc::AsyncServiceImpl::GetInstance(store)),
      B::Service::HiddenSvc::AsyncServiceBinder::BindImplementation(
          Impl::Service::HiddenSvc::AsyncServiceImpl::GetInstance(store)),
      B::EnumerationSvc::AsyncServiceBinder::BindImplementation(
          Impl::EnumerationSvc::AsyncServiceImpl::GetInstance(store)),
      B::StructureSvc::AsyncServiceBinder::BindImplementation(
          Impl::StructureSvc::AsyncServiceImpl::GetInstance(store)),
      B::ResourceSvc::AsyncServiceBinder::BindImplementation(
          Impl::ResourceSvc::AsyncServiceImpl::GetInstance(store)),
      B::Resource::ModelSvc::AsyncServiceBinder::BindImplementation(
          Impl::Resource::ModelSvc::AsyncServiceImpl::GetInstance(store)),
      B::SourceSvc::AsyncServiceBinder::BindImplementation(
          Impl::SourceSvc::AsyncServiceImpl::GetInstance(store)),
  };
  for (const auto& api : all)
    bound[api->GetIdentifier()] = api;
  return bound;
}

// Calls an operation with JSON input; answers the result as JSON or "error: <first message>".
std::string Invoke(const Ostra::Core::ApiInterface& api, const std::string& operation,
                   const std::string& input) {
  std::string answer = "(no completion)";
  const auto value = Ostra::Data::FromJson(input);
  api.Invoke(operation, static_cast<const Ostra::Data::StructValue&>(*value),
             std::make_shared<Ostra::Core::AsyncActivation>(),
             [&](const Ostra::Data::ValuePtr& result, const std::shared_ptr<const ErrorValue>& e) {
               answer = e ? "error: " + OnlyMessage(*e) : Ostra::Data::ToJson(*result);
             });
  return answer;
}

template <class T>
std::string AsJson(const T& native) {
  return Ostra::Data::ToJson(
      *Ostra::Data::TypeConverter<T>::ToValue(native, Ostra::L10n::RequestLocalizer()));
}

TEST_F(MetamodelServicesTest, InvokeAnswersWhatTheStoreAnswers) {
  const auto bound = BindAll(store_);
  const std::string prefix = "com.corvane.ostra.metadata.metamodel.";
  ASSERT_EQ(bound.size(), 10u);
  const auto& sources = *bound.at(prefix + "source");
  const std::string example = OSTRA_EXAMPLES_DIR "/metamodel.json";
  EXPECT_EQ(Invoke(sources, "create",
                   R"({"source_id":"fleet","spec":{"description":"d","type":"FILE","filepath":")" +
                       example + R"("}})"),
            "null");  // a Void success
  EXPECT_EQ(Invoke(sources, "list", "{}"), R"(["fleet"])");

  EXPECT_EQ(
      Invoke(*bound.at(prefix + "component"), "get", R"({"component_id":"com.larkspur.fleet"})"),
      AsJson(store_->ComponentInfo("com.larkspur.fleet")));
  EXPECT_EQ(Invoke(*bound.at(prefix + "service.operation"), "get",
                   R"({"service_id":"com.larkspur.fleet.routes.planner","operation_id":"plan"})"),
            AsJson(store_->OperationInfo("com.larkspur.fleet.routes.planner", "plan")));
  EXPECT_EQ(Invoke(*bound.at(prefix + "enumeration"), "list", "{}"),
            AsJson(store_->ListEnumerations()));
  EXPECT_EQ(Invoke(*bound.at(prefix + "resource.model"), "list",
                   R"({"resource_id":"com.larkspur.fleet.Vehicle"})"),
            R"(["com.larkspur.fleet.vehicles.VehicleSpec"])");
  EXPECT_EQ(Invoke(sources, "fingerprint", "{}"), "\"" + store_->SourceFingerprint({}) + "\"");
  // Every other query: the store's answer, or NotFound with the service's own message.
  const std::string vehicles = "com.larkspur.fleet.vehicles";
  const std::string planner = "com.larkspur.fleet.routes.planner";
  const std::string fuel = "com.larkspur.fleet.vehicles.FuelType";
  struct Query {
    const char *service, *operation;
    std::string input, expected;
  } const queries[] = {
      {"package", "list", "{}", AsJson(store_->ListPackages())},
      {"package", "get", R"({"package_id":")" + vehicles + R"("})",
       AsJson(store_->PackageInfo(vehicles))},
      {"package", "get", R"({"package_id":"nope"})",
       "error: ostra.metada.metamodel.package.not.found: nope"},
      {"service", "list", "{}", AsJson(store_->ListServices())},
      {"service", "get", R"({"service_id":")" + planner + R"("})",
       AsJson(store_->ServiceInfo(planner))},
      {"service", "get", R"({"service_id":"nope"})",
       "error: ostra.metada.metamodel.service.not.found: nope"},
      {"enumeration", "get", R"({"enumeration_id":")" + fuel + R"("})",
       AsJson(store_->EnumerationInfo(fuel))},
      {"enumeration", "get", R"({"enumeration_id":"nope"})",
       "error: ostra.metada.metamodel.enumeration.not.found: nope"},
      {"structure", "list", "{}", AsJson(store_->ListStructures())},
      {"resource", "list", "{}", AsJson(store_->ListResources())},
  };
  for (const Query& query : queries) {
    SCOPED_TRACE(std::string(query.service) + "." + query.operation + " " + query.input);
    EXPECT_NE(query.expected, "null");
    EXPECT_EQ(Invoke(*bound.at(prefix + query.service), query.operation, query.input),
              query.expected);
  }
  EXPECT_EQ(Invoke(*bound.at(prefix + "structure"), "get", R"({"structure_id":"nope"})"),
            "error: ostra.metada.metamodel.structure.not.found: nope");
  EXPECT_EQ(Invoke(*bound.at(prefix + "structure"), "get", R"({"structure":"nope"})"),
            "error: ostra.core.input.missing: structure_id");
  EXPECT_EQ(Invoke(sources, "create", R"({"source_id":"x","spec":{"type":"FILE"}})"),
            "error: ostra.core.input.invalid: spec");
  EXPECT_EQ(Invoke(sources, "delete", R"({"source_id":"fleet"})"), "null");
  EXPECT_EQ(Invoke(sources, "list", "{}"), "[]");
}

}  // namespace

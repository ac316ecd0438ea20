// Every input of every operation of the 18 bound services, left out, null or of the wrong type:
// a required input is refused with an InvalidArgument before the implementation runs; an optional
// one keeps its meaning when it is absent.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ostra/core/json.h"
#include "ostra/metadata_services.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using Ostra::Provider::Metadata::ProviderHelper;
namespace Metadata = Ostra::Provider::Metadata;
namespace Binding = Com::Corvane::Ostra::Metadata;
namespace Errors = Com::Corvane::Ostra::Std::Errors;

// A well-formed value of every input name; records are objects.
const std::map<std::string, std::string> kSample = {
    {"component_id", R"("c")"},
    {"package_id", R"("p")"},
    {"service_id", R"("s")"},
    {"operation_id", R"("o")"},
    {"enumeration_id", R"("e")"},
    {"structure_id", R"("t")"},
    {"resource_id", R"("r")"},
    {"source_id", R"("x")"},
    {"namespace", R"("n")"},
    {"spec", R"({"description":"d","type":"FILE","filepath":"/no/such/file.json"})"},
    {"identity", R"({"path":"","name":"n"})"},
};

// The inputs that may be left out: service (without its prefix), operation, input.
const std::set<std::vector<std::string>> kOptional = {
    {"metamodel.source", "reload", "source_id"},
    {"metamodel.source", "fingerprint", "source_id"},
    {"authentication.source", "reload", "source_id"},
    {"authentication.source", "fingerprint", "source_id"},
    {"cli.source", "reload", "source_id"},
    {"cli.source", "fingerprint", "source_id"},
    {"cli.command", "list", "namespace"},
};

struct Outcome {
  Ostra::Data::ValuePtr value;
  std::shared_ptr<const Ostra::Data::ErrorValue> error;
  std::string Describe() const {
    if (!error) return "(no error)";
    return Errors::ErrorType(Errors::KindOf(*error)).GetText() + " " + OnlyMessage(*error);
  }
};

Outcome Call(const Ostra::Core::ApiInterface& service, const std::string& operation,
             const std::string& input) {
  const auto value = Ostra::Data::FromJson(input);
  Outcome outcome;
  service.Invoke(operation, static_cast<const Ostra::Data::StructValue&>(*value),
                 std::make_shared<Ostra::Core::AsyncActivation>(),
                 [&](const Ostra::Data::ValuePtr& result, const auto& error) {
                   outcome.value = result;
                   outcome.error = error;
                 });
  return outcome;
}

// The input object of `inputs` with their samples, `name` given as `value` (left out when empty).
std::string Input(const std::vector<std::string>& inputs, const std::string& name,
                  const std::string& value) {
  std::string text = "{";
  for (const auto& input : inputs) {
    const std::string& given = input == name ? value : kSample.at(input);
    if (given.empty()) continue;
    text += (text.size() > 1 ? "," : "") + ("\"" + input + "\":") + given;
  }
  return text + "}";
}

TEST(ServiceInputs, RequiredInputsAreRefusedBeforeTheCallAndOptionalOnesMayBeLeftOut) {
  const auto metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
  const auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
  const auto cli = Metadata::Cli::MetadataContainer::GetInstance();
  ProviderHelper::BoundList services = ProviderHelper::MetamodelInterfaces(metamodel);
  services.splice(services.end(), ProviderHelper::AuthnInterfaces(authentication));
  services.splice(services.end(), ProviderHelper::CliInterfaces(cli));
  services.push_back(Binding::Metamodel::SourceSvc::AsyncServiceBinder::BindImplementation(
      Metadata::Metamodel::SourceSvc::AsyncServiceImpl::GetInstance(metamodel)));
  services.push_back(Binding::Authentication::SourceSvc::AsyncServiceBinder::BindImplementation(
      Metadata::Authentication::SourceSvc::AsyncServiceImpl::GetInstance(authentication)));
  services.push_back(Binding::Cli::SourceSvc::AsyncServiceBinder::BindImplementation(
      Metadata::Cli::SourceSvc::AsyncServiceImpl::GetInstance(cli)));
  ASSERT_EQ(services.size(), 18u);

  std::size_t required = 0, optional = 0;
  for (const auto& service : services) {
    const std::string name = service->GetIdentifier().substr(27);  // after the common prefix
    for (const auto& operation : service->GetOperationIdentifiers()) {
      const auto inputs = service->GetInputNames(operation);
      for (const auto& input : inputs) {
        SCOPED_TRACE(name + " " + operation + " " + input);
        const bool record = kSample.at(input)[0] == '{';
        // Wrong types: a number, and a text or a record lacking a field.
        for (const std::string& wrong :
             {std::string("5"), std::string(record ? R"("n")" : R"({"path":""})"),
              std::string(record ? R"({"path":""})" : "[]")}) {
          EXPECT_EQ(Call(*service, operation, Input(inputs, input, wrong)).Describe(),
                    "INVALID_ARGUMENT ostra.core.input.invalid: " + input)
              << wrong;
        }
        for (const std::string& absent : {std::string(), std::string("null")}) {
          const Outcome outcome = Call(*service, operation, Input(inputs, input, absent));
          if (kOptional.count({name, operation, input}) != 0) {
            // The call goes on: whatever it answers, it is not about the input.
            EXPECT_EQ(outcome.Describe().find("ostra.core.input"), std::string::npos)
                << outcome.Describe();
          } else {
            EXPECT_EQ(outcome.Describe(), "INVALID_ARGUMENT ostra.core.input.missing: " + input)
                << (absent.empty() ? "left out" : "null");
          }
        }
        ++(kOptional.count({name, operation, input}) != 0 ? optional : required);
      }
    }
  }
  EXPECT_EQ(optional, kOptional.size());
  EXPECT_EQ(required, 31u);
  EXPECT_TRUE(metamodel->ListSources().empty());
  EXPECT_TRUE(authentication->ListSources().empty());
  EXPECT_TRUE(cli->ListSources().empty());
}

}  // namespace

// The 18 bound services of the three domains over the bundled examples, called as a host calls
// them: each operation answers what its store answers or NotFound with its own message, and every
// input left out, null or of the wrong type is refused before the implementation runs unless it
// is optional.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <tuple>
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

const std::string kPrefix = "com.corvane.ostra.metadata.", kExamples = OSTRA_EXAMPLES_DIR "/";

class Services : public testing::Test {
 protected:
  void SetUp() override {
    // Loaded through the helper: from files, and the Authentication document parsed first.
    ASSERT_EQ(
        ProviderHelper::LoadMetamodelMetadataFile("m", kExamples + "metamodel.json", metamodel_),
        nullptr);
    ASSERT_EQ(ProviderHelper::LoadAuthnMetadataFile("a", *Parse(ExampleText("authentication.json")),
                                                    authentication_),
              nullptr);
    ASSERT_EQ(ProviderHelper::LoadCliMetadataFile("c", kExamples + "cli.json", cli_), nullptr);
    ProviderHelper::BoundList all = ProviderHelper::MetamodelInterfaces(metamodel_);
    all.splice(all.end(), ProviderHelper::AuthnInterfaces(authentication_));
    all.splice(all.end(), ProviderHelper::CliInterfaces(cli_));
    all.push_back(Binding::Metamodel::SourceSvc::AsyncServiceBinder::BindImplementation(
        Metadata::Metamodel::SourceSvc::AsyncServiceImpl::GetInstance(metamodel_)));
    all.push_back(Binding::Authentication::SourceSvc::AsyncServiceBinder::BindImplementation(
        Metadata::Authentication::SourceSvc::AsyncServiceImpl::GetInstance(authentication_)));
    all.push_back(Binding::Cli::SourceSvc::AsyncServiceBinder::BindImplementation(
        Metadata::Cli::SourceSvc::AsyncServiceImpl::GetInstance(cli_)));
    for (const auto& service : all)  // by identifier, after the common prefix
      services_[service->GetIdentifier().substr(kPrefix.size())] = service;
  }
  // Calls an operation with JSON input: the result as JSON, "KIND id: args" for an error, or
  // "(no completion)".
  std::string Call(const std::string& service, const std::string& operation,
                   const std::string& input) const {
    std::string answer = "(no completion)";
    const auto value = Ostra::Data::FromJson(input);
    services_.at(service)->Invoke(operation, static_cast<const Ostra::Data::StructValue&>(*value),
                                  std::make_shared<Ostra::Core::AsyncActivation>(),
                                  [&](const Ostra::Data::ValuePtr& result, const auto& e) {
                                    answer = e ? Errors::ErrorType(Errors::KindOf(*e)).GetText() +
                                                     " " + OnlyMessage(*e)
                                               : Ostra::Data::ToJson(*result);
                                  });
    return answer;
  }

  std::shared_ptr<Metadata::Metamodel::MetadataContainer> metamodel_ =
      Metadata::Metamodel::MetadataContainer::GetInstance();
  std::shared_ptr<Metadata::Authentication::MetadataContainer> authentication_ =
      Metadata::Authentication::MetadataContainer::GetInstance();
  std::shared_ptr<Metadata::Cli::MetadataContainer> cli_ =
      Metadata::Cli::MetadataContainer::GetInstance();
  std::map<std::string, std::shared_ptr<Ostra::Core::ApiInterface>> services_;
};

template <class T>
std::string AsJson(const T& native) {
  return Ostra::Data::ToJson(
      *Ostra::Data::TypeConverter<T>::ToValue(native, Ostra::L10n::RequestLocalizer()));
}
std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

TEST_F(Services, EveryServiceAnswersWhatItsStoreAnswers) {
  ASSERT_EQ(services_.size(), 18u);
  const std::string fleet = "com.larkspur.fleet", vehicles = fleet + ".vehicles";
  const std::string planner = fleet + ".routes.planner", registry = vehicles + ".registry";
  const std::string fuel = vehicles + ".FuelType", spec = vehicles + ".VehicleSpec";
  using CmdId = Binding::Cli::CommandSvc::Identity;
  using NsId = Binding::Cli::Namespace_Svc::Identity;
  const auto raise = std::make_shared<const CmdId>(CmdId{"fleet.telemetry.alerts", "raise"});
  const auto routes = std::make_shared<const NsId>(NsId{"fleet", "routes"});
  const std::string notFound = "NOT_FOUND ostra.metada.";
  const auto& mm = *metamodel_;
  const auto& au = *authentication_;
  // Service, operation, input and the answer.
  using Case = std::tuple<const char*, const char*, std::string, std::string>;
  // The inputs of operation and identity lookups.
  const auto op = [](const std::string& service, const char* operation) {
    return R"({"service_id":")" + service + R"(","operation_id":")" + operation + "\"}";
  };
  const auto identity = [](const char* path, const char* name) {
    return R"({"identity":{"path":")" + std::string(path) + R"(","name":")" + name + "\"}}";
  };
  std::vector<Case> cases = {
      {"metamodel.component", "list", "{}", AsJson(mm.ListComponents())},
      {"metamodel.package", "list", "{}", AsJson(mm.ListPackages())},
      {"metamodel.service", "list", "{}", AsJson(mm.ListServices())},
      {"metamodel.service.operation", "get", op(planner, "plan"),
       AsJson(mm.OperationInfo(planner, "plan"))},
      {"metamodel.service.operation", "get", op(planner, "zz"),
       notFound + "metamodel.operation.not.found: " + planner + " zz"},
      {"metamodel.service.hidden", "list", "{}", "[]"},
      {"metamodel.enumeration", "list", "{}", AsJson(mm.ListEnumerations())},
      {"metamodel.structure", "list", "{}", AsJson(mm.ListStructures())},
      {"metamodel.resource", "list", "{}", AsJson(mm.ListResources())},
      {"metamodel.source", "list", "{}", R"(["m"])"},
      {"metamodel.source", "fingerprint", "{}", Quoted(mm.SourceFingerprint(boost::none))},
      // The helper describes a source by its id, and a parsed one by no path.
      {"metamodel.source", "get", R"({"source_id":"m"})",
       R"({"description":"m","type":"FILE","filepath":")" + kExamples +
           "metamodel.json\",\"address\":null}"},
      {"authentication.source", "get", R"({"source_id":"a"})",
       R"({"description":"a","type":"FILE","filepath":null,"address":null})"},
      {"metamodel.source", "delete", R"({"source_id":"zz"})",
       notFound + "metamodel.source.not.found: zz"},
      {"authentication.component", "list", "{}", AsJson(au.ListComponents())},
      {"authentication.component", "fingerprint", R"({"component_id":")" + fleet + "\"}",
       Quoted(Crc(ExampleText("authentication.json")))},
      {"authentication.package", "list", "{}", AsJson(au.ListPackages())},
      {"authentication.service", "list", "{}", AsJson(au.ListServices())},
      {"authentication.service.operation", "list", R"({"service_id":")" + registry + "\"}",
       AsJson(*au.ListOperations(registry))},
      {"authentication.service.operation", "list", R"({"service_id":"p.q.zz"})",
       notFound + "authentication.service.not.found: p.q.zz"},
      {"authentication.service.operation", "get", op(registry, "retire"),
       AsJson(au.OperationInfo(registry, "retire"))},
      {"authentication.service.operation", "get", op(registry, "zz"),
       notFound + "authentication.operation.not.found: " + registry + " zz"},
      {"authentication.source", "list", "{}", R"(["a"])"},
      {"cli.namespace", "list", "{}", AsJson(cli_->ListNamespaces())},
      {"cli.namespace", "get", identity("fleet", "routes"), AsJson(cli_->NamespaceInfo(routes))},
      {"cli.namespace", "get", identity("fleet", "x"),
       notFound + "cli.namespace.not.found: fleet.x"},
      {"cli.namespace", "fingerprint", "{}", Quoted(cli_->NamespaceFingerprint())},
      {"cli.command", "list", "{}", AsJson(cli_->ListCommands(boost::none))},
      {"cli.command", "list", R"({"namespace":"fleet.routes"})",
       AsJson(cli_->ListCommands(std::string("fleet.routes")))},
      // A namespace that exists but holds no command is not found.
      {"cli.command", "list", R"({"namespace":"fleet"})",
       notFound + "cli.namespace.not.found: fleet"},
      {"cli.command", "get", identity("fleet.telemetry.alerts", "raise"),
       AsJson(cli_->CommandInfo(raise))},
      {"cli.command", "get", identity("", "run"), notFound + "cli.command.not.found: run"},
      {"cli.command", "get", identity("fleet.routes", "run"),
       notFound + "cli.command.not.found: fleet.routes.run"},
      {"cli.command", "fingerprint", "{}", Quoted(cli_->CommandFingerprint())},
      {"cli.source", "list", "{}", R"(["c"])"},
      {"cli.source", "fingerprint", R"({"source_id":"c"})",
       Quoted(cli_->SourceFingerprint(std::string("c")))},
  };
  // `found` for `id`, NotFound with the `kind` message (the service's by default) for "zz"; the
  // input is named after the kind: "component_id" for "metamodel.component".
  const auto lookup = [&](const char* service, const char* operation, const std::string& id,
                          const std::string& found, std::string kind = "") {
    kind = kind.empty() ? service : kind;
    const std::string member = "{\"" + kind.substr(kind.rfind('.') + 1) + "_id\":\"";
    cases.push_back({service, operation, member + id + "\"}", found});
    cases.push_back({service, operation, member + "zz\"}", notFound + kind + ".not.found: zz"});
  };
  lookup("metamodel.component", "get", fleet, AsJson(mm.ComponentInfo(fleet)));
  lookup("metamodel.component", "fingerprint", fleet, Quoted(Crc(ExampleText("metamodel.json"))));
  lookup("metamodel.package", "get", vehicles, AsJson(mm.PackageInfo(vehicles)));
  lookup("metamodel.service", "get", planner, AsJson(mm.ServiceInfo(planner)));
  lookup("metamodel.service.operation", "list", planner, AsJson(*mm.ListOperations(planner)),
         "metamodel.service");
  lookup("metamodel.enumeration", "get", fuel, AsJson(mm.EnumerationInfo(fuel)));
  lookup("metamodel.structure", "get", spec, AsJson(mm.StructureInfo(spec)));
  lookup("metamodel.resource.model", "list", fleet + ".Vehicle", "[\"" + spec + "\"]",
         "metamodel.resource");
  // The component service reports the Metamodel message.
  lookup("authentication.component", "get", fleet, AsJson(au.ComponentInfo(fleet)),
         "metamodel.component");
  lookup("authentication.package", "get", vehicles, AsJson(au.PackageInfo(vehicles)));
  lookup("authentication.service", "get", registry, AsJson(au.ServiceInfo(registry)));
  std::set<std::string> called;
  for (const auto& [service, operation, input, expected] : cases) {
    SCOPED_TRACE(std::string(service) + "." + operation + " " + input);
    EXPECT_NE(expected.substr(0, 4), "null");
    EXPECT_EQ(Call(service, operation, input), expected);
    called.insert(service);
  }
  EXPECT_EQ(called.size(), 18u);
  // Source mutations through Invoke: a Void success answers null.
  const std::string created =
      Call("metamodel.source", "create",
           R"({"source_id":"n","spec":{"description":"d","type":"FILE","filepath":")" + kExamples +
               R"(metamodel.json"}})");
  EXPECT_EQ(created, "null");
  EXPECT_EQ(Call("metamodel.source", "delete", R"({"source_id":"n"})"), "null");
  EXPECT_EQ(Call("metamodel.source", "list", "{}"), R"(["m"])");
  // The bundled documents describe one product: every command calls an operation that the
  // Metamodel example defines. (The made-up ancestor of the alerts namespace: the tool's summary
  // test.)
  const auto commands = cli_->ListCommands(boost::none);
  EXPECT_EQ(commands.size(), 12u);
  for (const auto& id : commands) {
    const auto command = cli_->CommandInfo(id);
    EXPECT_NE(metamodel_->OperationInfo(command->service_id, command->operation_id), nullptr)
        << command->service_id << " " << command->operation_id;
  }
  EXPECT_EQ(cli_->NamespaceInfo(std::make_shared<const NsId>(NsId{"", "fleet"}))->children.size(),
            3u);
}

// The helper binds the services in a fixed order, and all but the source services anonymously.
TEST_F(Services, HelperBindsInOrderAndAllButSourceServicesAnonymously) {
  const auto identifiers = [](const ProviderHelper::BoundList& list) {
    std::string text;
    for (const auto& service : list)
      text += service->GetIdentifier().substr(kPrefix.size()) + " ";
    return text;
  };
  EXPECT_EQ(identifiers(ProviderHelper::MetamodelInterfaces(metamodel_)),
            "metamodel.component metamodel.enumeration metamodel.package metamodel.resource.model "
            "metamodel.resource metamodel.service.hidden metamodel.service.operation "
            "metamodel.service metamodel.structure ");
  EXPECT_EQ(identifiers(ProviderHelper::CliInterfaces(cli_)), "cli.namespace cli.command ");
  std::set<std::string> anonymous;
  for (const auto& service : services_) {
    if (service.first.find(".source") == std::string::npos)
      anonymous.insert(kPrefix + service.first);
  }
  EXPECT_EQ(anonymous.size(), 15u);
  EXPECT_EQ(ProviderHelper::MetadataAnonSvcNames(), anonymous);
}

// clang-format off
// A well-formed value of every input name; records are objects.
const std::map<std::string, std::string> kSample = {
    {"component_id", R"("c")"}, {"package_id", R"("p")"}, {"service_id", R"("s")"},
    {"operation_id", R"("o")"}, {"enumeration_id", R"("e")"}, {"structure_id", R"("t")"},
    {"resource_id", R"("r")"}, {"source_id", R"("x")"}, {"namespace", R"("n")"},
    {"identity", R"({"path":"","name":"n"})"},
    {"spec", R"({"description":"d","type":"FILE","filepath":"/no/such/file.json"})"}};

// The inputs that may be left out: service, operation, input.
const std::set<std::vector<std::string>> kOptional = {
    {"metamodel.source", "reload", "source_id"}, {"metamodel.source", "fingerprint", "source_id"},
    {"authentication.source", "reload", "source_id"},
    {"authentication.source", "fingerprint", "source_id"},
    {"cli.source", "reload", "source_id"}, {"cli.source", "fingerprint", "source_id"},
    {"cli.command", "list", "namespace"}};
// clang-format on

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

TEST_F(Services, RequiredInputsAreRefusedBeforeTheCallAndOptionalOnesMayBeLeftOut) {
  std::size_t required = 0, optional = 0;
  for (const auto& service : services_) {
    const std::string& name = service.first;
    for (const auto& operation : service.second->GetOperationIdentifiers()) {
      const auto inputs = service.second->GetInputNames(operation);
      for (const auto& input : inputs) {
        SCOPED_TRACE(name + " " + operation + " " + input);
        const bool record = kSample.at(input)[0] == '{';
        // Wrong types: a number, and a text or a record lacking a field.
        for (const std::string wrong :
             {"5", record ? R"("n")" : R"({"path":""})", record ? R"({"path":""})" : "[]"}) {
          EXPECT_EQ(Call(name, operation, Input(inputs, input, wrong)),
                    "INVALID_ARGUMENT ostra.core.input.invalid: " + input)
              << wrong;
        }
        const bool isOptional = kOptional.count({name, operation, input}) != 0;
        for (const std::string absent : {"", "null"}) {
          const std::string answer = Call(name, operation, Input(inputs, input, absent));
          if (isOptional) {  // the call goes on: whatever it answers, it is not about the input
            EXPECT_EQ(answer.find("ostra.core.input"), std::string::npos) << answer;
          } else {
            EXPECT_EQ(answer, "INVALID_ARGUMENT ostra.core.input.missing: " + input) << absent;
          }
        }
        ++(isOptional ? optional : required);
      }
    }
  }
  EXPECT_EQ(optional, kOptional.size());
  EXPECT_EQ(required, 31u);
  EXPECT_EQ(metamodel_->ListSources(), std::list<std::string>{"m"});
  EXPECT_EQ(authentication_->ListSources(), std::list<std::string>{"a"});
  EXPECT_EQ(cli_->ListSources(), std::list<std::string>{"c"});
}

}  // namespace

#include "ostra/cli/services.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include "ostra/cli/json_metadata_container.h"
#include "ostra/core/json.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "test_outcome.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
namespace Impl = Ostra::Provider::Metadata::Cli;
namespace Binding = Com::Corvane::Ostra::Metadata::Cli;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;
using Spec = Binding::SourceSvc::CreateSpec;
using CmdIdentity = Binding::CommandSvc::Identity;
using NsIdentity = Binding::Namespace_Svc::Identity;
using CmdIds = std::list<std::shared_ptr<const CmdIdentity>>;

class CliServicesTest : public StoreTest<Impl::MetadataContainer, Spec> {
 protected:
  const std::shared_ptr<Ostra::Core::AsyncActivation> activation_ =
      std::make_shared<Ostra::Core::AsyncActivation>();
};

TEST_F(CliServicesTest, AbsenceIsNotFoundWithQualifiedNames) {
  auto commands = Impl::CommandSvc::AsyncServiceImpl::GetInstance(store_);
  Outcome<CmdIds> all;
  commands->List(boost::none, activation_, all.Result());
  ASSERT_TRUE(all.value);
  EXPECT_TRUE(all.value->empty());

  Add("a", R"({"cli":[{"type":"namespace","path":"","name":"fleet","description":"d"},
    {"type":"command","path":"","name":"top","description":"d",
     "node_metadata":{"service_id":"s","operation_id":"o"}}]})");
  // A namespace that exists but holds no command is reported as not found.
  Outcome<CmdIds> empty, top;
  commands->List(std::string("fleet"), activation_, empty.Result());
  EXPECT_EQ(empty.Error(), "ostra.metada.cli.namespace.not.found: fleet");
  EXPECT_EQ(KindOf(*empty.error), Kind::NOT_FOUND);
  commands->List(std::string(""), activation_, top.Result());
  EXPECT_EQ(top.value->size(), 1u);

  using CmdInfo = std::shared_ptr<const Binding::CommandSvc::Info>;
  Outcome<CmdInfo> bare, nested;
  commands->Get(std::make_shared<const CmdIdentity>(CmdIdentity{"", "run"}), activation_,
                bare.Result());
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*bare.error).front().GetDefaultMessage(),
            "Cli command not found: run");
  commands->Get(std::make_shared<const CmdIdentity>(CmdIdentity{"fleet.routes", "run"}),
                activation_, nested.Result());
  EXPECT_EQ(nested.Error(), "ostra.metada.cli.command.not.found: fleet.routes.run");

  Outcome<std::shared_ptr<const Binding::Namespace_Svc::Info>> ns;
  Impl::Namespace_Svc::AsyncServiceImpl::GetInstance(store_)->Get(
      std::make_shared<const NsIdentity>(NsIdentity{"fleet", "x"}), activation_, ns.Result());
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*ns.error).front().GetDefaultMessage(),
            "Cli namespace not found: fleet.x");
}

TEST_F(CliServicesTest, SourceMutationsCompleteOnSuccess) {
  auto sources = Impl::SourceSvc::AsyncServiceImpl::GetInstance(store_);
  Outcome<Ostra::Void> created, deleted, failed;
  sources->Create("a", FileSpec<Spec>(Write("a", R"({"cli":[]})")), activation_, created.Result());
  EXPECT_EQ(created.calls, 1);
  EXPECT_TRUE(created.value && !created.error);
  sources->Reload(std::string("zz"), activation_, failed.Result());
  EXPECT_EQ(KindOf(*failed.error), Kind::NOT_FOUND);
  Outcome<std::string> fingerprint, unknown;
  sources->Fingerprint(std::string("a"), activation_, fingerprint.Result());
  EXPECT_EQ(*fingerprint.value, Crc(Crc(R"({"cli":[]})")));
  sources->Fingerprint(std::string("zz"), activation_, unknown.Result());
  EXPECT_EQ(unknown.Error(), "ostra.metada.cli.source.not.found: zz");
  Outcome<std::string> namespaces, commands;
  Impl::Namespace_Svc::AsyncServiceImpl::GetInstance(store_)->Fingerprint(activation_,
                                                                          namespaces.Result());
  Impl::CommandSvc::AsyncServiceImpl::GetInstance(store_)->Fingerprint(activation_,
                                                                       commands.Result());
  EXPECT_EQ(namespaces.value, store_->NamespaceFingerprint());
  EXPECT_EQ(commands.value, store_->CommandFingerprint());
  sources->Delete("a", activation_, deleted.Result());
  EXPECT_EQ(deleted.calls, 1);
  EXPECT_TRUE(store_->ListSources().empty());
}

TEST_F(CliServicesTest, BoundServicesAnswerHostCalls) {
  store_->CreateSource("cli", FileSpec<Spec>(OSTRA_EXAMPLES_DIR "/cli.json"));
  const auto api = Binding::CommandSvc::AsyncServiceBinder::BindImplementation(
      Impl::CommandSvc::AsyncServiceImpl::GetInstance(store_));
  EXPECT_EQ(api->GetIdentifier(), "com.corvane.ostra.metadata.cli.command");
  EXPECT_EQ(Binding::Namespace_Svc::AsyncServiceBinder::BindImplementation(
                Impl::Namespace_Svc::AsyncServiceImpl::GetInstance(store_))
                ->GetIdentifier(),
            "com.corvane.ostra.metadata.cli.namespace");
  EXPECT_EQ(Ostra::Data::TypeInfo<Binding::SourceSvc::AsyncServiceInterface>::name(),
            "com.corvane.ostra.metadata.cli.source");

  std::string answer;
  const auto input =
      Ostra::Data::FromJson(R"({"identity":{"path":"fleet.telemetry.alerts","name":"raise"}})");
  api->Invoke("get", static_cast<const Ostra::Data::StructValue&>(*input), activation_,
              [&](const Ostra::Data::ValuePtr& value, const auto&) {
                answer = value ? Ostra::Data::ToJson(*value) : "(none)";
              });
  const auto raise = store_->CommandInfo(
      std::make_shared<const CmdIdentity>(CmdIdentity{"fleet.telemetry.alerts", "raise"}));
  ASSERT_NE(raise, nullptr);
  EXPECT_EQ(answer,
            Ostra::Data::ToJson(*Ostra::Data::TypeConverter<Binding::CommandSvc::Info>::ToValue(
                *raise, Ostra::L10n::RequestLocalizer())));
}

// The bundled documents describe one product: every command calls an operation that the Metamodel
// example defines, and the made-up ancestor of the alerts namespace exists.
TEST_F(CliServicesTest, BundledExampleCommandsCallMetamodelOperations) {
  ASSERT_EQ(store_->CreateSource("cli", FileSpec<Spec>(OSTRA_EXAMPLES_DIR "/cli.json")), nullptr);
  const auto metamodel = Ostra::Provider::Metadata::Metamodel::MetadataContainer::GetInstance();
  ASSERT_EQ(metamodel->CreateSource("m", FileSpec(OSTRA_EXAMPLES_DIR "/metamodel.json")), nullptr);
  const auto commands = store_->ListCommands(boost::none);
  EXPECT_EQ(commands.size(), 12u);
  for (const auto& id : commands) {
    const auto command = store_->CommandInfo(id);
    EXPECT_NE(metamodel->OperationInfo(command->service_id, command->operation_id), nullptr)
        << command->service_id << " " << command->operation_id;
  }
  const auto telemetry =
      store_->NamespaceInfo(std::make_shared<const NsIdentity>(NsIdentity{"fleet", "telemetry"}));
  ASSERT_NE(telemetry, nullptr);
  EXPECT_EQ(telemetry->description, "telemetry namespace");
  const auto fleet =
      store_->NamespaceInfo(std::make_shared<const NsIdentity>(NsIdentity{"", "fleet"}));
  EXPECT_EQ(fleet->description,
            "Larkspur Fleet: vehicles, routes and telemetry of a delivery fleet.");
  EXPECT_EQ(fleet->children.size(), 3u);
}

}  // namespace

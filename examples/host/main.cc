// A minimal host of the metadata services, built against the installed library.
//
//   host EXAMPLES_DIR
//
// It makes the three stores, loads the bundled documents, binds the services as a server would
// register them with its dispatcher, and dispatches one request: the Cli command service's "get"
// of the "plan" command in namespace "fleet.routes".
#include <ostra/metadata_services.h>

#include <iostream>
#include <map>
#include <memory>
#include <string>

using Ostra::Provider::Metadata::ProviderHelper;
namespace Metadata = Ostra::Provider::Metadata;

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: host EXAMPLES_DIR\n";
    return 1;
  }
  const std::string dir = argv[1];

  // One store per domain, kept for as long as the host serves.
  const auto metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
  const auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
  const auto cli = Metadata::Cli::MetadataContainer::GetInstance();

  // Loading answers null, or the error with its messages.
  for (const auto& error :
       {ProviderHelper::LoadMetamodelMetadataFile("metamodel", dir + "/metamodel.json", metamodel),
        ProviderHelper::LoadAuthnMetadataFile("authentication", dir + "/authentication.json",
                                              authentication),
        ProviderHelper::LoadCliMetadataFile("cli", dir + "/cli.json", cli)}) {
    if (!error) continue;
    for (const auto& message : Ostra::Data::ErrorFactory::GetMessages(*error))
      std::cerr << message.GetId() << ": " << message.GetDefaultMessage() << "\n";
    return 3;
  }

  // The dispatcher: services by identifier. All of them may be offered without authentication.
  std::map<std::string, std::shared_ptr<Ostra::Core::ApiInterface>> dispatcher;
  for (const auto& list :
       {ProviderHelper::MetamodelInterfaces(metamodel),
        ProviderHelper::AuthnInterfaces(authentication), ProviderHelper::CliInterfaces(cli)}) {
    for (const auto& service : list)
      dispatcher[service->GetIdentifier()] = service;
  }
  const auto anonymous = ProviderHelper::MetadataAnonSvcNames();
  std::cout << dispatcher.size() << " services, " << anonymous.size() << " anonymous\n";

  // A client's request, as the dispatcher receives it: service, operation, named inputs.
  const auto input = Ostra::Data::FromJson(R"({"identity":{"path":"fleet.routes","name":"plan"}})");
  int status = 2;
  dispatcher.at("com.corvane.ostra.metadata.cli.command")
      ->Invoke("get", static_cast<const Ostra::Data::StructValue&>(*input),
               std::make_shared<Ostra::Core::AsyncActivation>(),
               [&status](const Ostra::Data::ValuePtr& value,
                         const std::shared_ptr<const Ostra::Data::ErrorValue>& error) {
                 if (error) {
                   std::cerr << Ostra::Data::ToJson(*error) << "\n";
                   return;
                 }
                 const auto& command = static_cast<const Ostra::Data::StructValue&>(*value);
                 std::cout << "fleet.routes.plan calls "
                           << Ostra::Data::ToJson(*command.GetField("service_id")) << " "
                           << Ostra::Data::ToJson(*command.GetField("operation_id")) << "\n";
                 status = 0;
               });
  return status;
}

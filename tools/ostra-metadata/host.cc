#include "host.h"

#include <algorithm>

namespace OstraTool {

namespace Metadata = Ostra::Provider::Metadata;
namespace Binding = Com::Corvane::Ostra::Metadata;
using Metadata::ProviderHelper;

const char* DomainName(Domain domain) {
  switch (domain) {
    case Domain::kMetamodel:
      return "metamodel";
    case Domain::kAuthentication:
      return "authentication";
    case Domain::kCli:
      return "cli";
  }
  return "";
}

boost::optional<Domain> DomainOf(const Metadata::JsonDocument& document) {
  if (document.HasParseError() || !document.IsObject()) return boost::none;
  for (const Domain domain : {Domain::kMetamodel, Domain::kAuthentication, Domain::kCli}) {
    if (Metadata::FindMember(document, DomainName(domain)) != document.MemberEnd()) return domain;
  }
  return boost::none;
}

boost::optional<Domain> DomainOfText(const std::string& text) {
  const std::size_t open =
      text.find_first_not_of(" \t\r\n", text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0);
  if (open == std::string::npos || text[open] != '{') return boost::none;
  const std::size_t quote = text.find_first_not_of(" \t\r\n", open + 1);
  if (quote == std::string::npos) return boost::none;
  for (const Domain domain : {Domain::kMetamodel, Domain::kAuthentication, Domain::kCli}) {
    const std::string name = std::string("\"") + DomainName(domain) + "\"";
    if (text.compare(quote, name.size(), name) == 0) return domain;
  }
  return boost::none;
}

bool ManagesSources(const std::string& service, const std::string& operation) {
  static const std::string kSourceServices[] = {
      std::string(kServicePrefix) + "metamodel.source",
      std::string(kServicePrefix) + "authentication.source",
      std::string(kServicePrefix) + "cli.source"};
  return (operation == "create" || operation == "delete" || operation == "reload") &&
         std::find(std::begin(kSourceServices), std::end(kSourceServices), service) !=
             std::end(kSourceServices);
}

Host::Host()
    : metamodel_(Metadata::Metamodel::MetadataContainer::GetInstance()),
      authentication_(Metadata::Authentication::MetadataContainer::GetInstance()),
      cli_(Metadata::Cli::MetadataContainer::GetInstance()) {
  const auto append = [this](const ProviderHelper::BoundList& list) {
    services_.insert(services_.end(), list.begin(), list.end());
  };
  append(ProviderHelper::MetamodelInterfaces(metamodel_));
  append(ProviderHelper::AuthnInterfaces(authentication_));
  append(ProviderHelper::CliInterfaces(cli_));
  // Source management is in no bound list: a host binds it under its own rules. This one offers
  // it to whoever runs the tool.
  services_.push_back(Binding::Metamodel::SourceSvc::AsyncServiceBinder::BindImplementation(
      Metadata::Metamodel::SourceSvc::AsyncServiceImpl::GetInstance(metamodel_)));
  services_.push_back(Binding::Authentication::SourceSvc::AsyncServiceBinder::BindImplementation(
      Metadata::Authentication::SourceSvc::AsyncServiceImpl::GetInstance(authentication_)));
  services_.push_back(Binding::Cli::SourceSvc::AsyncServiceBinder::BindImplementation(
      Metadata::Cli::SourceSvc::AsyncServiceImpl::GetInstance(cli_)));
}

namespace {

// A file source spec described by its id, as ProviderHelper makes them.
template <class Spec>
std::shared_ptr<const Spec> FileSpec(const std::string& id, const std::string& path) {
  auto spec = std::make_shared<Spec>();
  spec->description = id;
  spec->type = decltype(spec->type)::FILE;
  spec->filepath = path;
  return spec;
}

template <class Spec, class Store>
ErrorPtr LoadParsed(const Store& store, const std::string& id, const std::string& path,
                    Metadata::ParsedMetadata& parsed) {
  return store->CreateSourceFromMetadata(id, parsed, FileSpec<Spec>(id, path));
}

}  // namespace

ErrorPtr Host::Load(Domain domain, const std::string& id, const std::string& path) {
  switch (domain) {
    case Domain::kMetamodel:
      return ProviderHelper::LoadMetamodelMetadataFile(id, path, metamodel_);
    case Domain::kAuthentication:
      return ProviderHelper::LoadAuthnMetadataFile(id, path, authentication_);
    case Domain::kCli:
      return ProviderHelper::LoadCliMetadataFile(id, path, cli_);
  }
  return nullptr;
}

ErrorPtr Host::Load(Domain domain, const std::string& id, const std::string& path,
                    Metadata::ParsedMetadata& parsed) {
  switch (domain) {
    case Domain::kMetamodel:
      return LoadParsed<Binding::Metamodel::SourceSvc::CreateSpec>(metamodel_, id, path, parsed);
    case Domain::kAuthentication:
      return LoadParsed<Binding::Authentication::SourceSvc::CreateSpec>(authentication_, id, path,
                                                                        parsed);
    case Domain::kCli:
      return LoadParsed<Binding::Cli::SourceSvc::CreateSpec>(cli_, id, path, parsed);
  }
  return nullptr;
}

std::shared_ptr<const Ostra::Core::ApiInterface> Host::Find(const std::string& service) const {
  for (const auto& bound : services_) {
    const std::string& id = bound->GetIdentifier();
    if (id == service || id == kServicePrefix + service) return bound;
  }
  return nullptr;
}

std::vector<std::string> Host::Services() const {
  std::vector<std::string> ids;
  for (const auto& bound : services_)
    ids.push_back(bound->GetIdentifier());
  return ids;
}

Host::Reply Host::Call(const std::string& service, const std::string& operation,
                       const Ostra::Data::StructValue& input) const {
  Reply reply;
  const auto bound = Find(service);
  if (!bound) {
    reply.error = Ostra::Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::NotFound>(
        {Ostra::BaseMessage("ostra.tool.service.not.found", "No such service: " + service,
                            {service})});
    return reply;
  }
  bound->Invoke(operation, input, std::make_shared<Ostra::Core::AsyncActivation>(),
                [&reply](const ValuePtr& value, const ErrorPtr& error) {
                  reply.value = value;
                  reply.error = error;
                });
  if (ManagesSources(bound->GetIdentifier(), operation)) ++changes_;
  return reply;
}

ErrorPtr Host::Reload(Domain domain, const std::string& id) const {
  ErrorPtr error;
  switch (domain) {
    case Domain::kMetamodel:
      error = metamodel_->ReloadSource(id);
      break;
    case Domain::kAuthentication:
      error = authentication_->ReloadSource(id);
      break;
    case Domain::kCli:
      error = cli_->ReloadSource(id);
      break;
  }
  ++changes_;
  return error;
}

}  // namespace OstraTool

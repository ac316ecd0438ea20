#include "ostra/provider/provider_helper.h"

#include <boost/optional.hpp>

#include "ostra/authentication/services.h"
#include "ostra/cli/services.h"
#include "ostra/metamodel/services.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace {

namespace MetamodelBinding = Com::Corvane::Ostra::Metadata::Metamodel;
namespace AuthnBinding = Com::Corvane::Ostra::Metadata::Authentication;
namespace CliBinding = Com::Corvane::Ostra::Metadata::Cli;

// Binds the adapter Impl of one service over `store` with the service's binder.
template <class Impl, class Binder, class Store>
std::shared_ptr<Core::ApiInterface> Bind(const Store& store) {
  return Binder::BindImplementation(Impl::GetInstance(store));
}

// A file source spec described by its id; without a path for an already parsed document.
template <class Spec>
std::shared_ptr<const Spec> FileSpec(const std::string& sourceId,
                                     boost::optional<std::string> path) {
  auto spec = std::make_shared<Spec>();
  spec->description = sourceId;
  spec->type = decltype(spec->type)::FILE;
  spec->filepath = std::move(path);
  return spec;
}

template <class Spec, class Store>
ProviderHelper::LoadError LoadFile(const std::string& sourceId, const std::string& path,
                                   const Store& store) {
  return store->CreateSource(sourceId, FileSpec<Spec>(sourceId, path));
}

template <class Spec, class Store>
ProviderHelper::LoadError LoadParsed(const std::string& sourceId, ParsedMetadata& parsed,
                                     const Store& store) {
  return store->CreateSourceFromMetadata(sourceId, parsed, FileSpec<Spec>(sourceId, boost::none));
}

}  // namespace

ProviderHelper::BoundList ProviderHelper::MetamodelInterfaces(
    const std::shared_ptr<Metamodel::MetadataContainer>& store) {
  namespace Impl = Metamodel;
  namespace B = MetamodelBinding;
  return {
      Bind<Impl::ComponentSvc::AsyncServiceImpl, B::ComponentSvc::AsyncServiceBinder>(store),
      Bind<Impl::EnumerationSvc::AsyncServiceImpl, B::EnumerationSvc::AsyncServiceBinder>(store),
      Bind<Impl::PackageSvc::AsyncServiceImpl, B::PackageSvc::AsyncServiceBinder>(store),
      Bind<Impl::Resource::ModelSvc::AsyncServiceImpl, B::Resource::ModelSvc::AsyncServiceBinder>(
          store),
      Bind<Impl::ResourceSvc::AsyncServiceImpl, B::ResourceSvc::AsyncServiceBinder>(store),
      Bind<Impl::Service::HiddenSvc::AsyncServiceImpl, B::Service::HiddenSvc::AsyncServiceBinder>(
          store),
      Bind<Impl::Service::OperationSvc::AsyncServiceImpl,
           B::Service::OperationSvc::AsyncServiceBinder>(store),
      Bind<Impl::ServiceSvc::AsyncServiceImpl, B::ServiceSvc::AsyncServiceBinder>(store),
      Bind<Impl::StructureSvc::AsyncServiceImpl, B::StructureSvc::AsyncServiceBinder>(store)};
}

ProviderHelper::BoundList ProviderHelper::AuthnInterfaces(
    const std::shared_ptr<Authentication::MetadataContainer>& store) {
  namespace Impl = Authentication;
  namespace B = AuthnBinding;
  return {Bind<Impl::ComponentSvc::AsyncServiceImpl, B::ComponentSvc::AsyncServiceBinder>(store),
          Bind<Impl::PackageSvc::AsyncServiceImpl, B::PackageSvc::AsyncServiceBinder>(store),
          Bind<Impl::ServiceSvc::AsyncServiceImpl, B::ServiceSvc::AsyncServiceBinder>(store),
          Bind<Impl::Service::OperationSvc::AsyncServiceImpl,
               B::Service::OperationSvc::AsyncServiceBinder>(store)};
}

ProviderHelper::BoundList ProviderHelper::CliInterfaces(
    const std::shared_ptr<Cli::MetadataContainer>& store) {
  return {
      Bind<Cli::Namespace_Svc::AsyncServiceImpl, CliBinding::Namespace_Svc::AsyncServiceBinder>(
          store),
      Bind<Cli::CommandSvc::AsyncServiceImpl, CliBinding::CommandSvc::AsyncServiceBinder>(store)};
}

std::set<std::string> ProviderHelper::MetadataAnonSvcNames() {
  using Data::TypeInfo;
  namespace M = MetamodelBinding;
  namespace A = AuthnBinding;
  namespace C = CliBinding;
  return {TypeInfo<C::Namespace_Svc::AsyncServiceInterface>::name(),
          TypeInfo<C::CommandSvc::AsyncServiceInterface>::name(),
          TypeInfo<A::ComponentSvc::AsyncServiceInterface>::name(),
          TypeInfo<A::PackageSvc::AsyncServiceInterface>::name(),
          TypeInfo<A::ServiceSvc::AsyncServiceInterface>::name(),
          TypeInfo<A::Service::OperationSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::ComponentSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::EnumerationSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::PackageSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::Resource::ModelSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::ResourceSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::Service::HiddenSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::Service::OperationSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::ServiceSvc::AsyncServiceInterface>::name(),
          TypeInfo<M::StructureSvc::AsyncServiceInterface>::name()};
}

ProviderHelper::LoadError ProviderHelper::LoadMetamodelMetadataFile(
    const std::string& sourceId, const std::string& path,
    const std::shared_ptr<Metamodel::MetadataContainer>& store) {
  return LoadFile<MetamodelBinding::SourceSvc::CreateSpec>(sourceId, path, store);
}
ProviderHelper::LoadError ProviderHelper::LoadAuthnMetadataFile(
    const std::string& sourceId, const std::string& path,
    const std::shared_ptr<Authentication::MetadataContainer>& store) {
  return LoadFile<AuthnBinding::SourceSvc::CreateSpec>(sourceId, path, store);
}
ProviderHelper::LoadError ProviderHelper::LoadCliMetadataFile(
    const std::string& sourceId, const std::string& path,
    const std::shared_ptr<Cli::MetadataContainer>& store) {
  return LoadFile<CliBinding::SourceSvc::CreateSpec>(sourceId, path, store);
}

ProviderHelper::LoadError ProviderHelper::LoadMetamodelMetadataFile(
    const std::string& sourceId, ParsedMetadata& parsed,
    const std::shared_ptr<Metamodel::MetadataContainer>& store) {
  return LoadParsed<MetamodelBinding::SourceSvc::CreateSpec>(sourceId, parsed, store);
}
ProviderHelper::LoadError ProviderHelper::LoadAuthnMetadataFile(
    const std::string& sourceId, ParsedMetadata& parsed,
    const std::shared_ptr<Authentication::MetadataContainer>& store) {
  return LoadParsed<AuthnBinding::SourceSvc::CreateSpec>(sourceId, parsed, store);
}
ProviderHelper::LoadError ProviderHelper::LoadCliMetadataFile(
    const std::string& sourceId, ParsedMetadata& parsed,
    const std::shared_ptr<Cli::MetadataContainer>& store) {
  return LoadParsed<CliBinding::SourceSvc::CreateSpec>(sourceId, parsed, store);
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

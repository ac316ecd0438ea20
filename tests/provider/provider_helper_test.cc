#include "ostra/provider/provider_helper.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <sstream>

#include "test_store.h"

namespace {

using namespace OstraTest;
using Ostra::Provider::Metadata::ProviderHelper;
namespace Metadata = Ostra::Provider::Metadata;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;

std::vector<std::string> Identifiers(const ProviderHelper::BoundList& list) {
  std::vector<std::string> ids;
  for (const auto& service : list)
    ids.push_back(service->GetIdentifier());
  return ids;
}

TEST(ProviderHelper, BoundListsInOrderAndEveryBoundServiceIsAnonymous) {
  const std::string prefix = "com.corvane.ostra.metadata.";
  EXPECT_EQ(
      Identifiers(ProviderHelper::CliInterfaces(Metadata::Cli::MetadataContainer::GetInstance())),
      (std::vector<std::string>{prefix + "cli.namespace", prefix + "cli.command"}));
  const auto metamodel = Identifiers(
      ProviderHelper::MetamodelInterfaces(Metadata::Metamodel::MetadataContainer::GetInstance()));
  EXPECT_EQ(metamodel, (std::vector<std::string>{
                           prefix + "metamodel.component", prefix + "metamodel.enumeration",
                           prefix + "metamodel.package", prefix + "metamodel.resource.model",
                           prefix + "metamodel.resource", prefix + "metamodel.service.hidden",
                           prefix + "metamodel.service.operation", prefix + "metamodel.service",
                           prefix + "metamodel.structure"}));
  const auto authentication = Identifiers(
      ProviderHelper::AuthnInterfaces(Metadata::Authentication::MetadataContainer::GetInstance()));
  EXPECT_EQ(authentication.size(), 4u);

  std::set<std::string> bound(metamodel.begin(), metamodel.end());
  bound.insert(authentication.begin(), authentication.end());
  bound.insert(prefix + "cli.namespace");
  bound.insert(prefix + "cli.command");
  const auto anonymous = ProviderHelper::MetadataAnonSvcNames();
  EXPECT_EQ(anonymous.size(), 15u);
  EXPECT_EQ(anonymous, bound);  // so no source service
}

class ProviderHelperLoadTest : public TempFilesTest {};

TEST_F(ProviderHelperLoadTest, LoadsAreTheStoresOwnAnswers) {
  const auto store = Metadata::Cli::MetadataContainer::GetInstance();
  const auto other = Metadata::Cli::MetadataContainer::GetInstance();
  const std::string path = Write("a", R"({"cli":[]})");
  EXPECT_EQ(ProviderHelper::LoadCliMetadataFile("a", path, store), nullptr);
  EXPECT_TRUE(other->ListSources().empty());  // stores are independent
  const auto info = store->SourcesInfo("a");
  EXPECT_EQ(info->description, "a");
  EXPECT_EQ(info->filepath, path);

  // A second load of the id leaves the first source as it was.
  const std::string before = store->SourceFingerprint(std::string("a"));
  const auto again = ProviderHelper::LoadCliMetadataFile("a", Write("b", R"({"cli":[{}]})"), store);
  EXPECT_EQ(KindOf(*again), Kind::ALREADY_EXISTS);
  EXPECT_EQ(store->SourceFingerprint(std::string("a")), before);

  const auto metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
  const auto missing = ProviderHelper::LoadMetamodelMetadataFile("m", "/no/such.json", metamodel);
  EXPECT_EQ(KindOf(*missing), Kind::NOT_FOUND);
  EXPECT_EQ(OnlyMessage(*missing), "ostra.metada.metamodel.source.file.not.found: /no/such.json");

  // The parsed form: the created source names no file.
  const auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
  const auto parsed = Parse(R"({"authentication":{"component":{"name":"c"}}})");
  EXPECT_EQ(ProviderHelper::LoadAuthnMetadataFile("p", *parsed, authentication), nullptr);
  EXPECT_FALSE(authentication->SourcesInfo("p")->filepath);
  EXPECT_EQ(authentication->ComponentFingerprint("c"), parsed->fingerprint);
}

}  // namespace

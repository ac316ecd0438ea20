#include "ostra/metamodel/json_metadata_container.h"

#include <gtest/gtest.h>

#include "metamodel/documents.h"
#include "ostra/metamodel/source_data.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;
namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;

TEST(MetamodelSourceData, RegistrationRules) {
  Ostra::Provider::Metadata::Metamodel::SourceData source(FileSpec("unused"));
  EXPECT_EQ(source.info->type.GetValue(), Binding::SourceSvc::SourceType::FILE);
  // A resource declared again keeps the models registered in between; a model may come first.
  source.RegisterResoure("R");
  source.RegisterModel("R", "m1");
  source.RegisterModel("R", "m1");
  source.RegisterResoure("R");
  source.RegisterModel("S", "m2");
  EXPECT_EQ(source.resources.at("R"), std::set<std::string>{"m1"});
  EXPECT_EQ(source.resources.at("S"), std::set<std::string>{"m2"});
  // A later component of a name replaces the earlier.
  for (const char* documentation : {"first", "second"}) {
    auto component = std::make_shared<Binding::ComponentInfo>();
    component->name = "c";
    component->documentation = documentation;
    source.RegisterComponentNode(component);
  }
  ASSERT_EQ(source.components.size(), 1u);
  EXPECT_EQ(source.components.at("c")->documentation, "second");
}

// What the differential lookup test leaves out: components, resources and models.
TEST_F(MetamodelStoreTest, MergeRulesAcrossSources) {
  const std::string model = Structure("m",
                                      Field("k", R"({"category":"BUILTIN","primitive_type":"ID"})",
                                            R"({"Resource":{"value":"R"},"ModelKey":{}})"),
                                      R"({"Model":{}})");
  Add("b", NamedDoc("shared", Package("p1", "", Service("s", "", model)),
                    R"({"Resource":{"value":["R","S"]}})"));
  const std::string a = NamedDoc("shared", Package("p0"), R"({"Resource":{"value":"R"}})");
  Add("a", a);

  EXPECT_EQ(store_->ListComponents(), (std::list<std::string>{"shared", "shared"}));
  EXPECT_EQ(store_->ComponentInfo("shared")->fingerprint, Crc(a));  // the first source's
  // Resources are a union; models come from the last source that has the resource.
  EXPECT_EQ(store_->ListResources(), (std::set<std::string>{"R", "S"}));
  EXPECT_EQ(*store_->ListModels("R"), std::set<std::string>{"m"});
  EXPECT_TRUE(store_->ListModels("S")->empty());
  EXPECT_FALSE(store_->ListModels("T"));
  EXPECT_TRUE(store_->ListHiddens().empty());
}

}  // namespace

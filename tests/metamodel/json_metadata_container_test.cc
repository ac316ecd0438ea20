#include "ostra/metamodel/json_metadata_container.h"

#include <gtest/gtest.h>

#include "metamodel/documents.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;
using Strings = std::list<std::string>;

std::string OneService(const std::string& component, const std::string& package,
                       const std::string& service, const std::string& operations) {
  return NamedDoc(component, Package(package, "", Service(service, operations)));
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

  EXPECT_EQ(store_->ListComponents(), (Strings{"shared", "shared"}));
  EXPECT_EQ(store_->ComponentInfo("shared")->fingerprint, Crc(a));  // the first source's
  // Resources are a union; models come from the last source that has the resource.
  EXPECT_EQ(store_->ListResources(), (std::set<std::string>{"R", "S"}));
  EXPECT_EQ(*store_->ListModels("R"), std::set<std::string>{"m"});
  EXPECT_TRUE(store_->ListModels("S")->empty());
  EXPECT_FALSE(store_->ListModels("T"));
  EXPECT_TRUE(store_->ListHiddens().empty());
}

TEST_F(MetamodelStoreTest, RecordsOutliveTheirSource) {
  Add("a", OneService("c", "p", "s", Operation("op")));
  const auto component = store_->ComponentInfo("c");
  const auto operation = store_->OperationInfo("s", "op");
  Write("a", OneService("c2", "p", "s", ""));
  EXPECT_EQ(store_->ReloadSource(boost::none), nullptr);
  EXPECT_EQ(store_->DeleteSource("a"), nullptr);
  EXPECT_EQ(store_->ComponentInfo("c"), nullptr);
  EXPECT_EQ(component->info->name, "c");
  EXPECT_EQ(operation->name, "op");
}

}  // namespace

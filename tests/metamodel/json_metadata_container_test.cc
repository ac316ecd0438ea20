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

TEST_F(MetamodelStoreTest, MergeRulesAcrossSources) {
  const std::string modelStructure =
      Structure("m",
                Field("k", R"({"category":"BUILTIN","primitive_type":"ID"})",
                      R"({"Resource":{"value":"R"},"ModelKey":{}})"),
                R"({"Model":{}})");
  Add("b", NamedDoc("shared",
                    Package("p1",
                            Structure("pm", "") + "," +
                                Structure("holder", "", "{}", "STRUCTURE", "",
                                          Enumeration("e.nested") + "," + Enumeration("e")),
                            Service("s", Operation("late"), modelStructure, Enumeration("e.svc")),
                            R"({"Resource":{"value":["R","S"]}})")));
  const std::string a = NamedDoc("shared",
                                 Package("p0", "", Service("s", Operation("early"))) + "," +
                                     Package("p2", "", "", "{}", Enumeration("e")),
                                 R"({"Resource":{"value":"R"}})");
  Add("a", a);

  EXPECT_EQ(store_->ListComponents(), (Strings{"shared", "shared"}));
  EXPECT_EQ(store_->ComponentInfo("shared")->fingerprint, Crc(a));  // the first source's
  EXPECT_EQ(store_->ListPackages(), (Strings{"p0", "p2", "p1"}));
  EXPECT_EQ(store_->ListServices(), (Strings{"s", "s"}));
  // The first service "s" (source a) has no "late"; the search goes on to source b.
  EXPECT_EQ(*store_->ListOperations("s"), Strings{"early"});
  ASSERT_NE(store_->OperationInfo("s", "late"), nullptr);
  EXPECT_EQ(store_->OperationInfo("s", "late")->name, "late");
  EXPECT_EQ(store_->OperationInfo("s", "nope"), nullptr);
  EXPECT_FALSE(store_->ListOperations("zz"));

  // Enumerations: package ones, service ones, then those nested in structures.
  EXPECT_EQ(store_->ListEnumerations(), (Strings{"e", "e.svc", "e", "e.nested"}));
  EXPECT_EQ(store_->EnumerationInfo("e")->name, "e");
  EXPECT_NE(store_->EnumerationInfo("e.nested"), nullptr);
  EXPECT_EQ(store_->ListStructures(), (Strings{"holder", "pm", "m"}));
  EXPECT_EQ(store_->StructureInfo("m")->name, "m");
  EXPECT_EQ(store_->StructureInfo("e"), nullptr);

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

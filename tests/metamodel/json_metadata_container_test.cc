#include "ostra/metamodel/json_metadata_container.h"

#include <gtest/gtest.h>

#include <sstream>

#include "metamodel/documents.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;
using Strings = std::list<std::string>;

std::string OneService(const std::string& component, const std::string& package,
                       const std::string& service, const std::string& operations) {
  return NamedDoc(component, Package(package, "", Service(service, operations)));
}

TEST_F(MetamodelStoreTest, FailedCreatesChangeNothing) {
  Add("a", OneService("c", "p", "s", ""));
  const auto before = store_->ListSources();

  auto error = store_->CreateSource("a", FileSpec(Write("other", OneService("d", "q", "t", ""))));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(KindOf(*error), Kind::ALREADY_EXISTS);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metada.metamodel.source.exists: a");

  const std::string missing = testing::TempDir() + "/does-not-exist.json";
  error = store_->CreateSource("b", FileSpec(missing));
  EXPECT_EQ(KindOf(*error), Kind::NOT_FOUND);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metada.metamodel.source.file.not.found: " + missing);

  auto pathless = std::make_shared<MetamodelBinding::SourceSvc::CreateSpec>(*FileSpec(""));
  pathless->filepath = boost::none;
  EXPECT_EQ(KindOf(*store_->CreateSource("b", pathless)), Kind::NOT_FOUND);

  error = store_->CreateSource("b", FileSpec(Write("broken", "{\"metamodel\":")));
  EXPECT_EQ(KindOf(*error), Kind::INVALID_ARGUMENT);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metadata.metamodel.parse.error: 3 13");

  auto remote = std::make_shared<MetamodelBinding::SourceSvc::CreateSpec>(*FileSpec(missing));
  remote->type = MetamodelBinding::SourceSvc::SourceType::REMOTE;
  error = store_->CreateSource("b", remote);
  EXPECT_EQ(KindOf(*error), Kind::UNSUPPORTED);
  EXPECT_TRUE(Ostra::Data::ErrorFactory::GetMessages(*error).empty());
  remote->type = MetamodelBinding::SourceSvc::SourceType::Unknown("CARRIER_PIGEON");
  EXPECT_EQ(KindOf(*store_->CreateSource("b", remote)), Kind::INVALID_ARGUMENT);

  EXPECT_EQ(store_->ListSources(), before);
  EXPECT_EQ(store_->ListComponents(), Strings{"c"});
}

TEST_F(MetamodelStoreTest, DeleteAndInfo) {
  const std::string path = Add("a", OneService("c", "p", "s", ""));
  const auto info = store_->SourcesInfo("a");
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->description, "test source");
  EXPECT_EQ(*info->filepath, path);
  EXPECT_EQ(store_->SourcesInfo("zz"), nullptr);
  EXPECT_EQ(OnlyMessage(*store_->DeleteSource("zz")),
            "ostra.metada.metamodel.source.not.found: zz");
  EXPECT_EQ(store_->DeleteSource("a"), nullptr);
  EXPECT_TRUE(store_->ListSources().empty());
  // Deleting and creating again reads the file again.
  EXPECT_EQ(store_->CreateSource("a", FileSpec(path)), nullptr);
}

TEST_F(MetamodelStoreTest, ReloadKeepsOldDataFromTheFirstFailureOn) {
  const std::string a = Add("a", OneService("ca", "p", "s", ""));
  const std::string b = Add("b", OneService("cb", "p", "s", ""));
  const std::string c = Add("c", OneService("cc", "p", "s", ""));
  Write("a", OneService("ca2", "p", "s", ""));
  Write("b", "not json");
  Write("c", OneService("cc2", "p", "s", ""));
  EXPECT_EQ(store_->ReloadSource(boost::none), nullptr);
  EXPECT_EQ(store_->ListComponents(), (Strings{"ca2", "cb", "cc"}));

  // A named reload of a good file replaces it; a vanished file keeps the old data, silently.
  EXPECT_EQ(store_->ReloadSource(std::string("c")), nullptr);
  EXPECT_EQ(store_->ListComponents(), (Strings{"ca2", "cb", "cc2"}));
  std::remove(a.c_str());
  EXPECT_EQ(store_->ReloadSource(std::string("a")), nullptr);
  EXPECT_EQ(store_->ListComponents(), (Strings{"ca2", "cb", "cc2"}));

  const auto error = store_->ReloadSource(std::string("zz"));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(KindOf(*error), Kind::NOT_FOUND);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metada.metamodel.source.exists: zz");
  EXPECT_EQ(Ostra::Data::ErrorFactory::GetMessages(*error).front().GetDefaultMessage(),
            "Metamodel source already exists: zz");
}

TEST_F(MetamodelStoreTest, Fingerprints) {
  EXPECT_EQ(store_->SourceFingerprint(boost::none), "00000000");
  const std::string textA = OneService("c", "p", "s", "");
  const std::string textB = OneService("d", "q", "t", "");
  Add("b", textB);
  Add("a", textA);
  // A source's own fingerprint is the CRC32 of its stored text; components report the text.
  EXPECT_EQ(store_->SourceFingerprint(std::string("a")), Crc(Crc(textA)));
  EXPECT_EQ(store_->ComponentFingerprint("c"), Crc(textA));
  EXPECT_EQ(store_->ComponentInfo("c")->fingerprint, Crc(textA));
  EXPECT_EQ(store_->SourceFingerprint(std::string("zz")), "");
  EXPECT_EQ(store_->ComponentFingerprint("zz"), "");
  // The whole digest follows the ids' order, not the order of creation.
  EXPECT_EQ(store_->SourceFingerprint(boost::none), Crc(Crc(textA) + Crc(textB)));
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
  Add("a", NamedDoc("shared",
                    Package("p0", "", Service("s", Operation("early"))) + "," +
                        Package("p2", "", "", "{}", Enumeration("e")),
                    R"({"Resource":{"value":"R"}})"));

  EXPECT_EQ(store_->ListComponents(), (Strings{"shared", "shared"}));
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

TEST_F(MetamodelStoreTest, EnumerationStagesPreferPackagesOverNestedOnes) {
  // Source a nests "e" in a service structure; source b declares it in a package. The package
  // stage runs first over all sources, so b's wins.
  Add("a",
      NamedDoc(
          "c",
          Package("p", "",
                  Service("s", "", Structure("st", "", "{}", "STRUCTURE", "", Enumeration("e"))))));
  Add("b", NamedDoc("d", Package("q", "", "", "{}",
                                 R"({"name":"e","documentation":"package","metadata":{},)"
                                 R"("values":[]})")));
  ASSERT_NE(store_->EnumerationInfo("e"), nullptr);
  EXPECT_EQ(store_->EnumerationInfo("e")->documentation, "package");
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

TEST_F(MetamodelStoreTest, CreateFromParsedMetadata) {
  using Ostra::Provider::Metadata::ParseStream;
  const std::string text = OneService("c", "p", "s", "");
  std::istringstream in(text);
  std::list<Ostra::BaseMessage> messages;
  auto parsed = ParseStream(in, messages);
  EXPECT_EQ(store_->CreateSourceFromMetadata("a", *parsed, FileSpec("")), nullptr);
  EXPECT_EQ(store_->ComponentFingerprint("c"), Crc(text));

  std::istringstream broken("[");
  auto bad = ParseStream(broken, messages);
  const auto error = store_->CreateSourceFromMetadata("b", *bad, FileSpec(""));
  EXPECT_EQ(KindOf(*error), Kind::INVALID_ARGUMENT);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metadata.metamodel.parse.error: 3 1");

  // A non-file spec stores the id without data; queries pass over it.
  auto remote = std::make_shared<MetamodelBinding::SourceSvc::CreateSpec>(*FileSpec(""));
  remote->type = MetamodelBinding::SourceSvc::SourceType::REMOTE;
  EXPECT_EQ(store_->CreateSourceFromMetadata("r", *parsed, remote), nullptr);
  EXPECT_EQ(store_->ListSources(), (Strings{"a", "r"}));
  EXPECT_EQ(store_->ListComponents(), Strings{"c"});
  EXPECT_EQ(store_->SourcesInfo("r"), nullptr);
  EXPECT_EQ(store_->ReloadSource(boost::none), nullptr);
}

}  // namespace

#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/metamodel/json_metadata_parser.h"
#include "ostra/metamodel/source_data.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "metamodel/documents.h"
#include "ostra/core/json.h"
#include "ostra/json/load_trace.h"
#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Ostra::Provider::Metadata::Metamodel::JsonMetadataParser;
namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;
using OstraTest::MetamodelStoreTest;
using namespace OstraTest::MetamodelDocs;

// What one load reported, in the order the callbacks fired.
struct Load {
  bool ok = false;
  std::vector<std::string> events;
  std::shared_ptr<Binding::ComponentInfo> component;
  Messages messages;
};

JsonMetadataParser::RegisterCallbacks Recording(Load& load) {
  JsonMetadataParser::RegisterCallbacks callbacks;
  callbacks.component = [&load](const std::shared_ptr<Binding::ComponentInfo>& component) {
    load.events.push_back("component " + component->name);
    load.component = component;
  };
  callbacks.resource = [&load](const std::string& r) { load.events.push_back("resource " + r); };
  callbacks.model = [&load](const std::string& r, const std::string& m) {
    load.events.push_back("model " + r + " " + m);
  };
  return callbacks;
}

std::string Text(const std::shared_ptr<Binding::ComponentInfo>& component) {
  if (!component) return "none";
  return Ostra::Data::ToJson(*Ostra::Data::TypeConverter<Binding::ComponentInfo>::ToValue(
      *component, Ostra::L10n::RequestLocalizer()));
}

// Loads `text` from a stream, and from a file, whose packages are read one at a time: both give
// the same callbacks, component and messages (or the test fails). The file's load tells whether
// its packages were read one at a time.
Load LoadText(const std::string& text, bool* streamed = nullptr) {
  Load load;
  std::istringstream in(text);
  std::optional<LoadTrace> trace(std::in_place);
  load.ok = JsonMetadataParser::LoadMetadata(in, Recording(load), load.messages);
  const std::size_t traced = trace->Entries().size();
  trace.emplace();

  const std::string path = OstraTest::WriteTestFile("parser", text);
  Load file;
  bool loaded = false;
  const auto parsed =
      JsonMetadataParser::LoadMetadataFile(path, Recording(file), file.messages, loaded);
  EXPECT_NE(parsed, nullptr);
  EXPECT_EQ(trace->Entries().size(), traced);
  EXPECT_EQ(loaded, load.ok);
  EXPECT_EQ(file.events, load.events);
  EXPECT_EQ(OstraTest::Brief(file.messages), OstraTest::Brief(load.messages));
  EXPECT_EQ(Text(file.component), Text(load.component));
  if (streamed != nullptr) *streamed = parsed && parsed->streamed;
  return load;
}

// The first structure of the first package; the test fails when there is none.
const Binding::StructureInfo& OnlyStructure(const Load& load) {
  static const Binding::StructureInfo none;
  const auto& packages = load.component->packages;
  if (packages.empty() || packages.begin()->second->structures.empty()) {
    ADD_FAILURE() << "no structure loaded";
    return none;
  }
  return *packages.begin()->second->structures.begin()->second;
}

TEST(MetamodelParser, LoadsTheBundledExample) {
  const Load load = LoadText(OstraTest::ExampleText("metamodel.json"));
  ASSERT_TRUE(load.ok) << OstraTest::Brief(load.messages);
  EXPECT_EQ(load.events.back(), "component com.larkspur.fleet");
  EXPECT_EQ(load.component->packages.size(), 4u);
  const auto& registry = *load.component->packages.at("com.larkspur.fleet.vehicles")
                              ->services.at("com.larkspur.fleet.vehicles.registry");
  EXPECT_EQ(registry.operations.size(), 5u);
  const auto& supported = *registry.constants.at("SUPPORTED_REGIONS")->value;
  EXPECT_EQ(supported.category.GetValue(), Binding::ConstantValueEnumerations::Category::LIST);
  EXPECT_EQ(supported.list_value->size(), 3u);
}

// The rules of the Metamodel tables; how wrong-typed and absent members are reported is the
// member toolkit's (JsonMember tests).
TEST(MetamodelParser, MalformedDocumentsEndWithTheirMessage) {
  const auto constant = [](const std::string& type, const std::string& value) {
    return Doc(Package("p", Structure("s", "", "{}", "STRUCTURE", Constant(type, value))));
  };
  const struct {
    std::string text, messages;  // see Brief
  } cases[] = {
      {"{\"metamodel\": [}", "ostra.metadata.metamodel.parse.error 3 15"},
      {"{}", "missing metamodel"},
      {R"({"metamodel":{"component":{"name":"c","documentation":"","packages":[]}}})",
       "missing metadata"},
      {Doc("", R"({"Resource":"x"})"), "invalid Resource"},
      {Doc("", R"({"k":{"e":1}})"), "invalid ElementValue"},
      {Doc("", R"({"k":{"e":["a",1]}})"), "invalid value"},
      {Doc(Package("p", Structure("s", "", "{}", "union"))), "enum type"},
      {Doc(Package("p", Structure("s", Field("f", R"({"category":"weird"})")))), "enum category"},
      {Doc(Package("p", Structure("s", Field("f", R"({"category":"GENERIC","generic_type":"map",
           "map_key_type":{"category":"BUILTIN","primitive_type":"STRING"}})")))),
       "missing map_value_type"},
      // A constant's builtin type is not upper-cased.
      {constant(R"({"category":"PRIMITIVE","type":"string"})", "\"v\""), "enum type"},
      {constant("\"STRING\"", "\"v\""), "invalid type"},
      {constant(R"({"category":"list","type":"STRING"})", "\"v\""), "invalid value"},
      {Doc(Package("p", Structure("s", "", "{}", "STRUCTURE",
                                  R"({"name":"K","type":{"category":"PRIMITIVE","type":"STRING"},
                                      "value":"v"})"))),
       "missing documentation"},
      // A constant of a type without a string form fails without a message.
      {constant(R"({"category":"PRIMITIVE","type":"LONG"})", "7"), ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Load load = LoadText(c.text);
    EXPECT_FALSE(load.ok);
    EXPECT_EQ(load.component, nullptr);
    EXPECT_EQ(OstraTest::Brief(load.messages), c.messages);
  }
}

// A type record as "BUILTIN", "resource_type resource_id" or "GENERIC<first><second>".
std::string TypeText(const Binding::Type& type) {
  if (type.builtin_type) return type.builtin_type->GetText();
  if (type.user_defined_type)
    return type.user_defined_type->resource_type + " " + type.user_defined_type->resource_id;
  const auto& generic = *type.generic_instantiation;
  std::string text = generic.generic_type.GetText();
  for (const auto* inner : {&generic.element_type, &generic.map_key_type, &generic.map_value_type})
    text += *inner ? "<" + TypeText(**inner) + ">" : "";
  return text;
}

// How type references may be spelt, and what each record reads back as. References declared twice
// share one record; different ones never do, whatever bytes their texts hold, and whichever of a
// generic instantiation's kind, first or second type differs.
TEST(MetamodelParser, TypeReferencesAndTheirSharedRecords) {
  const auto user = [](const std::string& kind, const std::string& name) {
    return R"({"category":"USER_DEFINED","user_defined_type":")" + kind +
           R"(","user_defined_type_name":")" + name + R"("})";
  };
  const auto u = [&user](int i) { return user("structure", "u" + std::to_string(i)); };
  std::vector<std::pair<std::string, std::string>> declared = {
      {user(R"(a\u0000b)", "c"), std::string("a\0b c", 5)},
      {user("a", R"(b\u0000c)"), std::string("a b\0c", 5)},
      {R"({"category":"BUILTIN","primitive_type":"STRING"})", "STRING"},
      {R"({"category":"primitive","primitive_type":"exception"})", "ANY_ERROR"},
      {R"({"category":"PRIMITIVE","primitive_type":"Date_Time"})", "DATE_TIME"},
      {R"({"category":"user_defined","user_defined_type":"structure","user_defined_type_name":"Y"})",
       "structure Y"},  // stored as written
      {R"({"category":"USER_DEFINED","user_defined_type":"Enumeration","user_defined_type_name":"E"})",
       "com.corvane.ostra.enumeration E"},
      {R"({"category":"generic","generic_type":"OPTIONAL","element_type":{"category":"GENERIC",
          "generic_type":"set","element_type":{"category":"BUILTIN","primitive_type":"LONG"}}})",
       "OPTIONAL<SET<LONG>>"},
  };
  for (const char* kind : {"LIST", "SET", "OPTIONAL"}) {
    for (int i = 0; i < 8; ++i) {
      declared.push_back({R"({"category":"GENERIC","generic_type":")" + std::string(kind) +
                              R"(","element_type":)" + u(i) + "}",
                          std::string(kind) + "<structure u" + std::to_string(i) + ">"});
    }
  }
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j) {
      declared.push_back(
          {R"({"category":"GENERIC","generic_type":"MAP","map_key_type":)" + u(i) +
               R"(,"map_value_type":)" + u(j) + "}",
           "MAP<structure u" + std::to_string(i) + "><structure u" + std::to_string(j) + ">"});
    }
  }
  std::string fields;
  for (std::size_t i = 0; i < 2 * declared.size(); ++i)
    fields += (i ? "," : "") + Field("f" + std::to_string(i), declared[i % declared.size()].first);
  const Load load = LoadText(Doc(Package("p", Structure("s", fields))));
  ASSERT_TRUE(load.ok) << OstraTest::Brief(load.messages);
  std::vector<std::shared_ptr<const Binding::Type>> types;
  for (const auto& field : OnlyStructure(load).fields)
    types.push_back(field->type);
  ASSERT_EQ(types.size(), 2 * declared.size());
  std::set<const Binding::Type*> records;
  for (std::size_t i = 0; i < declared.size(); ++i) {
    SCOPED_TRACE(declared[i].second);
    EXPECT_EQ(types[i], types[i + declared.size()]);
    EXPECT_EQ(TypeText(*types[i]), declared[i].second);
    records.insert(types[i].get());
  }
  EXPECT_EQ(records.size(), declared.size());
}

TEST(MetamodelParser, RecordsKeepDocumentOrderOrNameOrderAsDeclared) {
  const std::string text = R"({"category":"PRIMITIVE","type":"STRING"})";
  const Load load = LoadText(Doc(
      Package("p", Structure("s", Field("b") + "," + Field("a"), R"({"k":{"e":"1"},"k":{"e":"2"}})",
                             "error",
                             Constant(text, R"("1")", "B") + "," + Constant(text, R"("2")", "A"))) +
      "," + Package("p", "", "", R"({"Resource":{"value":"dropped.but.reported"}})")));
  ASSERT_TRUE(load.ok) << OstraTest::Brief(load.messages);
  const auto& structure = OnlyStructure(load);
  ASSERT_EQ(structure.fields.size(), 2u);
  EXPECT_EQ(structure.fields.front()->name, "b");
  ASSERT_EQ(structure.constants.size(), 2u);
  EXPECT_EQ(structure.constants.begin()->first, "A");
  EXPECT_EQ(structure.type.GetValue(), Binding::StructureInfoEnumerations::Type::ERROR);
  // Metadata keys assign: the later table wins.
  ASSERT_EQ(structure.metadata.count("k"), 1u);
  EXPECT_EQ(*structure.metadata.at("k")->elements.at("e")->string_value, "2");
  // The second package of the same name is dropped, but its hooks have fired.
  EXPECT_EQ(load.component->packages.size(), 1u);
  EXPECT_EQ(load.component->packages.at("p")->metadata.count("Resource"), 0u);
  EXPECT_EQ(load.events,
            (std::vector<std::string>{"resource dropped.but.reported", "component comp"}));
}

// A source file has the packages of its component read one at a time, as FindMember finds the
// path there: the first member of each name, compared as C strings. Wherever the path goes
// elsewhere, or a fault shows, the load is that of the whole document (LoadText checks it).
TEST(MetamodelParser, SourceFilesAreReadPackageByPackage) {
  const std::string a = Package("a", Structure("a.S", Field("f"))), b = Package("b");
  const auto component = [](const std::string& members) {
    return R"({"metamodel":{"component":{"name":"c","documentation":"d","metadata":{},)" + members +
           "}}}";
  };
  const struct {
    std::string text, packages;  // the packages loaded, by name
    bool streamed;               // whether a load read them one at a time
  } cases[] = {
      {Doc(a + "," + b), "a b", true},
      {Doc(""), "", true},
      // Members before and after the packages, and a later "packages" that nobody reads.
      {component(R"("packages":[)" + b + R"(],"x":[[{}]],"packages":[)" + a + "]"), "b", true},
      {std::string(R"({"metamodel":{"component":{"packages":[)") + a +
           R"(],"name":"c","documentation":"d","metadata":{}}}})",
       "a", true},
      // "packages\u0000x" is "packages" as a C string, and comes first.
      {component(R"("packages\u0000x":[)" + b + R"(],"packages":[)" + a + "]"), "b", true},
      // The first "packages" is not an array: a fault, whatever follows.
      {component(R"("packages":{},"packages":[)" + a + "]"), "", false},
      // The first component and metamodel count; later ones of the same name are not read.
      {R"({"metamodel":{"component":{"name":"c","documentation":"d","metadata":{},"packages":[)" +
           a + R"(]},"component":{"packages":[)" + b + "]}}}",
       "a", true},
      {R"({"metamodel":[],"metamodel":)" + Doc(a).substr(13), "", false},
      // Faults inside a package, after packages that loaded, and of the component after its
      // packages.
      {Doc(a + ",7"), "", false},
      {Doc(a + R"(,{"name":"p","documentation":[]})"), "", false},
      {std::string(R"({"metamodel":{"component":{"packages":[)") + a + R"(],"name":"c"}}})", "",
       false},
      {"[" + Doc(a) + "]", "", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    bool streamed = false;
    const Load load = LoadText(c.text, &streamed);
    std::string names;
    for (const auto& package :
         load.component ? load.component->packages : decltype(load.component->packages)())
      names += (names.empty() ? "" : " ") + package.first;
    EXPECT_EQ(names, c.packages);
    EXPECT_EQ(load.ok, c.streamed);
    EXPECT_EQ(streamed, c.streamed);
  }
}

TEST(MetamodelParser, ResourceAndModelHooks) {
  const auto keyed = [](const std::string& name, const std::string& value) {
    return Field(name, R"({"category":"BUILTIN","primitive_type":"ID"})",
                 R"({"Resource":{"value":)" + value + R"(},"ModelKey":{}})");
  };
  const std::string model = R"({"Model":{}})";
  const struct {
    std::string text;
    bool ok;
    std::vector<std::string> events;
  } cases[] = {
      // The resources of the component, then of the model's keys, then the models.
      {Doc(Package("p", Structure("m", keyed("a", R"("r1")") + "," + keyed("b", R"("r2")"), model)),
           R"({"Resource":{"value":["r1","r2","r3"]}})"),
       true,
       {"resource r1", "resource r2", "resource r3", "resource r1", "resource r2", "model r1 m",
        "model r2 m", "component comp"}},
      // The first resource-keyed field holds a list: no model at all; the later text is ignored.
      {Doc(Package(
           "p", Structure("m", keyed("a", R"(["x","y"])") + "," + keyed("b", R"("r2")"), model))),
       true,
       {"resource x", "resource y", "resource r2", "component comp"}},
      // Hooks that fired before a later fault stay fired; the component does not.
      {Doc(Package("p", Structure("m", keyed("a", R"("r1")"), model) + "," +
                            Structure("bad", "", "{}", "?"))),
       false,
       {"resource r1", "model r1 m"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Load load = LoadText(c.text);
    EXPECT_EQ(load.ok, c.ok) << OstraTest::Brief(load.messages);
    EXPECT_EQ(load.events, c.events);
  }
}

// ---- Source data and the store

TEST(MetamodelSourceData, RegistrationRules) {
  Ostra::Provider::Metadata::Metamodel::SourceData source(OstraTest::FileSpec("unused"));
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
  EXPECT_EQ(store_->ComponentInfo("shared")->fingerprint, OstraTest::Crc(a));  // the first source's
  // Resources are a union; models come from the last source that has the resource.
  EXPECT_EQ(store_->ListResources(), (std::set<std::string>{"R", "S"}));
  EXPECT_EQ(*store_->ListModels("R"), std::set<std::string>{"m"});
  EXPECT_TRUE(store_->ListModels("S")->empty());
  EXPECT_FALSE(store_->ListModels("T"));
  EXPECT_TRUE(store_->ListHiddens().empty());
}

}  // namespace

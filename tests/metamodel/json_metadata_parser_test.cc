#include "ostra/metamodel/json_metadata_parser.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "metamodel/documents.h"
#include "ostra/core/json.h"
#include "test_messages.h"
#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Ostra::Provider::Metadata::Metamodel::JsonMetadataParser;
namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;
using OstraTest::Expected;
using namespace OstraTest::MetamodelDocs;

// What one load reported, in the order the callbacks fired.
struct Load {
  bool ok = false;
  std::vector<std::string> events;
  std::shared_ptr<Binding::ComponentInfo> component;
  Messages messages;
};

Load LoadText(const std::string& text) {
  Load load;
  JsonMetadataParser::RegisterCallbacks callbacks;
  callbacks.component = [&load](const std::shared_ptr<Binding::ComponentInfo>& component) {
    load.events.push_back("component " + component->name);
    load.component = component;
  };
  callbacks.resource = [&load](const std::string& r) { load.events.push_back("resource " + r); };
  callbacks.model = [&load](const std::string& r, const std::string& m) {
    load.events.push_back("model " + r + " " + m);
  };
  std::istringstream in(text);
  load.ok = JsonMetadataParser::LoadMetadata(in, callbacks, load.messages);
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
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
  ASSERT_FALSE(load.events.empty());
  EXPECT_EQ(load.events.back(), "component com.larkspur.fleet");
  EXPECT_EQ(std::count(load.events.begin(), load.events.end(), "component com.larkspur.fleet"), 1);
  EXPECT_NE(std::find(load.events.begin(), load.events.end(),
                      "model com.larkspur.fleet.Vehicle com.larkspur.fleet.vehicles.VehicleSpec"),
            load.events.end());
  EXPECT_EQ(load.component->packages.size(), 4u);
  const auto& registry = *load.component->packages.at("com.larkspur.fleet.vehicles")
                              ->services.at("com.larkspur.fleet.vehicles.registry");
  EXPECT_EQ(registry.operations.size(), 5u);
  const auto& supported = *registry.constants.at("SUPPORTED_REGIONS")->value;
  EXPECT_EQ(supported.category.GetValue(), Binding::ConstantValueEnumerations::Category::LIST);
  EXPECT_EQ(supported.list_value->size(), 3u);

  // The records convert to values, as the services return them.
  const auto value = Ostra::Data::TypeConverter<Binding::ComponentInfo>::ToValue(
      *load.component, Ostra::L10n::RequestLocalizer());
  const std::string json = Ostra::Data::ToJson(*value);
  EXPECT_NE(json.find(R"("output":{"type":{"category":"USER_DEFINED","builtin_type":null,)"
                      R"("user_defined_type":{"resource_type":"com.corvane.ostra.structure",)"),
            std::string::npos);
}

TEST(MetamodelParser, MalformedDocumentsEndWithTheirMessage) {
  const std::string bool_type = R"({"category":"BUILTIN","primitive_type":"BOOLEAN"})";
  struct Case {
    const char* what;
    std::string text;
    std::vector<Expected> messages;
  } const cases[] = {
      {"syntax", "{\"metamodel\": [}", {{"ostra.metadata.metamodel.parse.error", {"3", "15"}}}},
      {"empty", "", {{"ostra.metadata.metamodel.parse.error", {"1", "0"}}}},
      {"no root member", "{}", {{kMissingFieldId, {"metamodel"}}}},
      {"root not an object", "[1]", {{kMissingFieldId, {"metamodel"}}}},
      {"component not an object",
       R"({"metamodel":{"component":[]}})",
       {{kInvalidFieldId, {"component"}}}},
      {"missing metadata",
       R"({"metamodel":{"component":{"name":"c","documentation":"","packages":[]}}})",
       {{kMissingFieldId, {"metadata"}}}},
      {"name of the wrong type",
       R"({"metamodel":{"component":{"name":5}}})",
       {{kInvalidFieldId, {"name"}}}},
      {"metadata entry not an object",
       Doc("", R"({"Resource":"x"})"),
       {{kInvalidFieldId, {"Resource"}}}},
      {"element of another type",
       Doc("", R"({"k":{"e":1}})"),
       {{kInvalidFieldId, {"ElementValue"}}}},
      {"element list with a number",
       Doc("", R"({"k":{"e":["a",1]}})"),
       {{kInvalidFieldId, {"value"}}}},
      {"unknown structure type",
       Doc(Package("p", Structure("s", "", "{}", "union"))),
       {{kInvalidEnumValueId, {"type"}}}},
      {"unknown type category",
       Doc(Package("p", Structure("s", Field("f", R"({"category":"weird"})")))),
       {{kInvalidEnumValueId, {"category"}}}},
      {"map without a value type",
       Doc(Package("p", Structure("s", Field("f", R"({"category":"GENERIC","generic_type":"map",
           "map_key_type":{"category":"BUILTIN","primitive_type":"STRING"}})")))),
       {{kMissingFieldId, {"map_value_type"}}}},
      {"builtin type of a constant is not upper-cased",
       Doc(Package("p",
                   Structure("s", "", "{}", "STRUCTURE",
                             Constant(R"({"category":"PRIMITIVE","type":"string"})", "\"v\"")))),
       {{kInvalidEnumValueId, {"type"}}}},
      {"constant type not an object",
       Doc(Package("p", Structure("s", "", "{}", "STRUCTURE", Constant("\"STRING\"", "\"v\"")))),
       {{kInvalidFieldId, {"type"}}}},
      {"list constant whose value is not an array",
       Doc(Package("p", Structure("s", "", "{}", "STRUCTURE",
                                  Constant(R"({"category":"list","type":"STRING"})", "\"v\"")))),
       {{kInvalidFieldId, {"value"}}}},
      {"non-string constant fails silently",
       Doc(Package("p", Structure("s", "", "{}", "STRUCTURE",
                                  Constant(R"({"category":"PRIMITIVE","type":"LONG"})", "7")))),
       {}},
      {"a member after the fault is not read",
       Doc(Package("p", Structure("s", Field("f", bool_type) + "," + Field("g", "7")))),
       {{kInvalidFieldId, {"type"}}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Load load = LoadText(c.text);
    EXPECT_FALSE(load.ok);
    EXPECT_EQ(load.component, nullptr);
    EXPECT_MESSAGES(load.messages, c.messages);
  }
}

TEST(MetamodelParser, TypeReferenceSpellings) {
  const Load load = LoadText(Doc(Package(
      "p",
      Structure(
          "s", Field("a", R"({"category":"primitive","primitive_type":"exception"})") + "," +
                   Field("b", R"({"category":"PRIMITIVE","primitive_type":"Date_Time"})") + "," +
                   Field("c", R"({"category":"user_defined","user_defined_type":"structure",
                                        "user_defined_type_name":"x.Y"})") +
                   "," + Field("d", R"({"category":"USER_DEFINED","user_defined_type":"Enumeration",
                                        "user_defined_type_name":"x.E"})") +
                   "," +
                   Field("e", R"({"category":"generic","generic_type":"OPTIONAL","element_type":
                                        {"category":"GENERIC","generic_type":"set","element_type":
                                        {"category":"BUILTIN","primitive_type":"LONG"}}})")))));
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
  std::vector<std::shared_ptr<const Binding::Type>> types;
  for (const auto& field : OnlyStructure(load).fields)
    types.push_back(field->type);
  using Builtin = Binding::TypeEnumerations::BuiltinType;
  EXPECT_EQ(types[0]->builtin_type->GetValue(), Builtin::ANY_ERROR);
  EXPECT_EQ(types[1]->builtin_type->GetValue(), Builtin::DATE_TIME);
  EXPECT_EQ(types[2]->user_defined_type->resource_type, "structure");  // stored as written
  EXPECT_EQ(types[3]->user_defined_type->resource_type, "com.corvane.ostra.enumeration");
  const auto& inner = *types[4]->generic_instantiation->element_type->generic_instantiation;
  EXPECT_EQ(inner.generic_type.GetValue(),
            Binding::GenericInstantiationEnumerations::GenericType::SET);
  EXPECT_EQ(inner.element_type->builtin_type->GetValue(), Builtin::LONG);
}

// Equal user-defined and builtin references share one record; different ones never do, whatever
// bytes their texts hold. (Generic instantiations: below.)
TEST(MetamodelParser, TypeRecordsAreSharedOnlyByEqualReferences) {
  const auto user = [](const std::string& kind, const std::string& name) {
    return R"({"category":"USER_DEFINED","user_defined_type":")" + kind +
           R"(","user_defined_type_name":")" + name + R"("})";
  };
  const std::string first = user(R"(a\u0000b)", "c"), second = user("a", R"(b\u0000c)");
  const std::string builtin = R"({"category":"BUILTIN","primitive_type":"STRING"})";
  const Load load = LoadText(
      Doc(Package("p", Structure("s", Field("f0", first) + "," + Field("f1", second) + "," +
                                          Field("f2", first) + "," + Field("f3", builtin) + "," +
                                          Field("f4", builtin)))));
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
  std::vector<std::shared_ptr<const Binding::Type>> types;
  for (const auto& field : OnlyStructure(load).fields)
    types.push_back(field->type);
  ASSERT_EQ(types.size(), 5u);
  EXPECT_EQ(types[0]->user_defined_type->resource_type, std::string("a\0b", 3));
  EXPECT_EQ(types[0]->user_defined_type->resource_id, "c");
  EXPECT_EQ(types[1]->user_defined_type->resource_type, "a");
  EXPECT_EQ(types[1]->user_defined_type->resource_id, std::string("b\0c", 3));
  EXPECT_NE(types[0], types[1]);
  EXPECT_EQ(types[0], types[2]);
  EXPECT_EQ(types[3], types[4]);
}

// Many generic instantiations that differ in their kind, their first or their second type, each
// declared twice: the two declarations share one record, and every record is what it declares.
TEST(MetamodelParser, GenericRecordsAreSharedOnlyByEqualInstantiations) {
  const auto user = [](int i) {
    return R"({"category":"USER_DEFINED","user_defined_type":"structure",)"
           R"("user_defined_type_name":"u)" +
           std::to_string(i) + R"("})";
  };
  std::vector<std::string> declared, fields;
  for (const char* kind : {"LIST", "SET", "OPTIONAL"}) {
    for (int i = 0; i < 8; ++i) {
      declared.push_back(std::string(kind) + " u" + std::to_string(i));
      fields.push_back(R"({"category":"GENERIC","generic_type":")" + std::string(kind) +
                       R"(","element_type":)" + user(i) + "}");
    }
  }
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j) {
      declared.push_back("MAP u" + std::to_string(i) + " u" + std::to_string(j));
      fields.push_back(R"({"category":"GENERIC","generic_type":"MAP","map_key_type":)" + user(i) +
                       R"(,"map_value_type":)" + user(j) + "}");
    }
  }
  std::string document;
  for (std::size_t i = 0; i < 2 * fields.size(); ++i)
    document += (i ? "," : "") + Field("f" + std::to_string(i), fields[i % fields.size()]);
  const Load load = LoadText(Doc(Package("p", Structure("s", document))));
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
  const auto& loaded = OnlyStructure(load).fields;
  ASSERT_EQ(loaded.size(), 2 * fields.size());
  std::vector<std::shared_ptr<const Binding::Type>> types;
  for (const auto& field : loaded)
    types.push_back(field->type);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    SCOPED_TRACE(declared[i]);
    EXPECT_EQ(types[i], types[i + fields.size()]);
    const auto& generic = *types[i]->generic_instantiation;
    const auto name = [](const std::shared_ptr<const Binding::Type>& type) {
      return type ? " " + type->user_defined_type->resource_id : "";
    };
    EXPECT_EQ(generic.generic_type.GetText() + name(generic.element_type) +
                  name(generic.map_key_type) + name(generic.map_value_type),
              declared[i]);
  }
}

TEST(MetamodelParser, RecordsKeepDocumentOrderOrNameOrderAsDeclared) {
  const std::string constant_b =
      R"({"name":"B","documentation":"","type":{"category":"PRIMITIVE","type":"STRING"},"value":"1"})";
  const std::string constant_a =
      R"({"name":"A","documentation":"","type":{"category":"PRIMITIVE","type":"STRING"},"value":"2"})";
  const Load load = LoadText(Doc(
      Package("p", Structure("s", Field("b") + "," + Field("a"), R"({"k":{"e":"1"},"k":{"e":"2"}})",
                             "error", constant_b + "," + constant_a)) +
      "," + Package("p", "", "", R"({"Resource":{"value":"dropped.but.reported"}})")));
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
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

TEST(MetamodelParser, ResourceAndModelHooks) {
  const auto keyed = [](const std::string& name, const std::string& value) {
    return Field(name, R"({"category":"BUILTIN","primitive_type":"ID"})",
                 R"({"Resource":{"value":)" + value + R"(},"ModelKey":{}})");
  };
  const std::string model = R"({"Model":{}})";
  struct Case {
    const char* what;
    std::string text;
    bool ok;
    std::vector<std::string> events;
  } const cases[] = {
      {"resources of the component, then of the model's keys, then the models",
       Doc(Package("p", Structure("m", keyed("a", R"("r1")") + "," + keyed("b", R"("r2")"), model)),
           R"({"Resource":{"value":["r1","r2","r3"]}})"),
       true,
       {"resource r1", "resource r2", "resource r3", "resource r1", "resource r2", "model r1 m",
        "model r2 m", "component comp"}},
      // The first resource-keyed field holds a list: no model at all; the later text is ignored.
      {"first key a list",
       Doc(Package(
           "p", Structure("m", keyed("a", R"(["x","y"])") + "," + keyed("b", R"("r2")"), model))),
       true,
       {"resource x", "resource y", "resource r2", "component comp"}},
      // Hooks that fired before a later fault stay fired; the component does not.
      {"later fault",
       Doc(Package("p", Structure("m", keyed("a", R"("r1")"), model) + "," +
                            Structure("bad", "", "{}", "?"))),
       false,
       {"resource r1", "model r1 m"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Load load = LoadText(c.text);
    EXPECT_EQ(load.ok, c.ok) << OstraTest::Describe(load.messages);
    EXPECT_EQ(load.events, c.events);
  }
}

}  // namespace

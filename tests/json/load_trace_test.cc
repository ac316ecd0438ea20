#include "ostra/json/load_trace.h"

#include <gtest/gtest.h>

#include "metamodel/documents.h"
#include "ostra/metadata_services.h"
#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;

struct Traced {
  std::string pointer, id;
  bool loaded;
};
// `parsed` loaded as source "s" of a fresh store of a domain.
template <class Container, class Spec>
std::shared_ptr<const Ostra::Data::ErrorValue> LoadInto(ParsedMetadata& parsed) {
  return Container::GetInstance()->CreateSourceFromMetadata("s", parsed,
                                                            OstraTest::FileSpec<Spec>("x.json"));
}
namespace Binding = Com::Corvane::Ostra::Metadata;
const auto LoadCli = LoadInto<Cli::MetadataContainer, Binding::Cli::SourceSvc::CreateSpec>;

// Loads `text` into a fresh store of the domain its root member names, under a trace; answers
// the pointer of the fault recorded (with "@" for a member name), its id, and whether the load
// succeeded.
Traced Load(const std::string& text) {
  auto parsed = OstraTest::Parse(text);
  LoadTrace trace;
  const auto error =
      text.find("\"metamodel\"") != std::string::npos
          ? LoadInto<Metamodel::MetadataContainer, Binding::Metamodel::SourceSvc::CreateSpec>(
                *parsed)
      : text.find("\"authentication\"") != std::string::npos
          ? LoadInto<Authentication::MetadataContainer,
                     Binding::Authentication::SourceSvc::CreateSpec>(*parsed)
          : LoadCli(*parsed);
  if (trace.Entries().empty()) return {"(nothing)", "", error == nullptr};
  // The fault: the last message that is not about an absent member, else the last one.
  auto last = trace.Entries().back();
  for (const auto& entry : trace.Entries()) {
    if (entry.message.GetId() != kMissingFieldId) last = entry;
  }
  const JsonPlace place = LocateValues(*parsed->document, {last.at}).front();
  return {place.found ? place.pointer + (place.name ? "@" : "") : "(no place)",
          last.message.GetId(), error == nullptr};
}

TEST(LoadTrace, PlacesTheFaultThatStoppedALoad) {
  using namespace OstraTest::MetamodelDocs;
  const auto structure = [](const std::string& fields, const std::string& metadata = "{}",
                            const std::string& constants = "") {
    return Doc(Package("p", Structure("S", fields, metadata, "STRUCTURE", constants)));
  };
  const struct {
    std::string text, pointer, id;
    bool loaded;
  } cases[] = {
      {R"({"metamodel":{"component":{"name":"k","documentaton":""}}})", "/metamodel/component",
       "ostra.metadata.json.missing.field", false},
      {structure(Field("f", R"({"category":"GENERIC","generic_type":"LIST",)"
                            R"("element_type":{"category":"BUILTIN","primitive_type":"INT"}})")),
       "/metamodel/component/packages/0/structures/0/fields/0/type/element_type/primitive_type",
       "ostra.metadata.json.invalid.enum.value", false},
      // A constant without a string form fails without a message; the trace still places it.
      {structure("", "{}", Constant(R"({"category":"PRIMITIVE","type":"LONG"})", R"("1")")),
       "/metamodel/component/packages/0/structures/0/constants/0/value", "", false},
      {structure("", R"({"a/b~":7})"),
       "/metamodel/component/packages/0/structures/0/metadata/a~1b~0",
       "ostra.metadata.json.invalid.field", false},
      {R"({"cli":[{"type":"namespace","path":"","name":"n","description":""},{"type":"Command"}]})",
       "/cli/1/type", "ostra.metadata.cli.json.invalid.node.type", false},
      {R"({"cli":[{"type":"command","path":"","name":"n","description":"","node_metadata":)"
       R"({"service_id":"s","operation_id":"o","options":[{"long_option":"x"}]}}]})",
       "/cli/0/node_metadata/options/0", "ostra.metadata.json.missing.field", false},
      // A failed section leaves the document loaded (without the section); the fault is recorded.
      {R"({"authentication":{"product":{"name":"p","schemes":{},"services":{"a.s":["x"]}},)"
       R"("component":{"name":"c"}}})",
       "/authentication/product/services/a.s/0",
       "ostra.metadata.authentication.json.unknown.schema.name", true},
      {R"({"authentication":{"component":{"name":"c","operations":{"a.s.o":[],"nodot":[]}}}})",
       "/authentication/component/operations/nodot@",
       "ostra.metadata.authentication.json.invalid.operation.id", true},
  };
  for (const auto& c : cases) {
    const Traced traced = Load(c.text);
    EXPECT_EQ(traced.pointer + " " + traced.id + (traced.loaded ? " loaded" : ""),
              c.pointer + " " + c.id + (c.loaded ? " loaded" : ""))
        << c.text;
  }
}

TEST(LoadTrace, RecordsOnlyWhileItLivesAndTheInnermostAlone) {
  auto parsed = OstraTest::Parse(R"({"cli":{}})");
  const auto load = [&parsed] { LoadCli(*parsed); };
  load();  // no trace: nothing to record into
  LoadTrace outer;
  {
    LoadTrace inner;
    load();
    EXPECT_EQ(inner.Entries().size(), 1u);
  }
  EXPECT_TRUE(outer.Entries().empty());
  load();
  ASSERT_EQ(outer.Entries().size(), 1u);
  EXPECT_EQ(outer.Entries().front().message.GetDefaultMessage(), "Unknown message.");
}

TEST(LoadTrace, LocatesRepeatedNamesByPositionAndMissesForeignValues) {
  JsonDocument document;
  document.Parse(R"({"a":[1,{"b":2,"b":3}],"":{"~":4}})");
  const auto& inner = document["a"][1];
  const JsonValue foreign(5);
  const auto places =
      LocateValues(document, {&(inner.MemberBegin() + 1)->value, &(inner.MemberBegin() + 1)->name,
                              &document[""]["~"], &document, &foreign, nullptr});
  std::string found;
  for (const auto& place : places)
    found += (place.found ? place.pointer : "?") + (place.name ? "@ " : " ");
  EXPECT_EQ(found, "/a/1/b /a/1/b@ //~0  ? ? ");
  EXPECT_EQ(places[0].steps, (std::vector<std::size_t>{0, 1, 1}));
  EXPECT_EQ(places[1].steps, places[0].steps);
}

}  // namespace

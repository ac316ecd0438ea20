#include "ostra/cli/json_metadata_parser.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <sstream>
#include <string>
#include <vector>

#include "test_messages.h"
#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Ostra::Provider::Metadata::Cli::MetadataParser;
namespace Binding = Com::Corvane::Ostra::Metadata::Cli;
using Binding::CommandSvc::FormatterType;
using Binding::CommandSvc::GenericType;
using OstraTest::Expected;

constexpr const char* kCliInvalid = "ostra.metadata.cli.json.invalid.field";
constexpr const char* kMissing = "ostra.metadata.json.missing.field";

struct Load {
  bool ok = false;
  std::vector<std::shared_ptr<Binding::Namespace_Svc::Info>> namespaces;
  std::vector<std::shared_ptr<Binding::CommandSvc::Info>> commands;
  Messages messages;
};

Load LoadText(const std::string& text) {
  Load load;
  std::istringstream in(text);
  load.ok =
      MetadataParser::LoadMetadata(in,
                                   {[&load](const auto& info) { load.namespaces.push_back(info); },
                                    [&load](const auto& info) { load.commands.push_back(info); }},
                                   load.messages);
  return load;
}

// A document of one command node whose "node_metadata" members follow the two ids.
std::string Command(const std::string& metadata) {
  return R"({"cli":[{"type":"command","path":"a","name":"run","description":"d",)"
         R"("node_metadata":{"service_id":"s","operation_id":"o")" +
         (metadata.empty() ? "" : "," + metadata) + "}}]}";
}

// An option entry with every member but "short_option", ending with the given "generic".
std::string Option(const std::string& generic) {
  return R"({"long_option":"all","field_name":"f","description":"d","type":"string","generic":")" +
         generic + R"("})";
}

TEST(CliParser, LoadsTheBundledExample) {
  const Load load = LoadText(OstraTest::ExampleText("cli.json"));
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
  EXPECT_EQ(load.namespaces.size(), 5u);
  ASSERT_FALSE(load.commands.empty());
  const auto& plan = *load.commands[5];
  EXPECT_EQ(plan.identity->path, "fleet.routes");
  EXPECT_EQ(plan.identity->name, "plan");
  EXPECT_EQ(plan.operation_id, "plan");
  EXPECT_TRUE(plan.formatter == FormatterType(FormatterType::JSON));
  ASSERT_EQ(plan.options.size(), 3u);
  EXPECT_EQ(plan.options.front()->short_option, std::string("v"));
  EXPECT_EQ(plan.options.back()->short_option, boost::none);
  EXPECT_EQ(plan.options.back()->generic, GenericType(GenericType::OPTIONAL));
  ASSERT_EQ(plan.output_field_list.size(), 2u);
  EXPECT_EQ(plan.output_field_list.back()->structure_id, "com.larkspur.fleet.routes.Stop");
  EXPECT_EQ(plan.output_field_list.back()->output_fields.back()->display_name, "Window");
}

// Every fault ends the load at once with its messages; nothing after it is registered. How
// absent and wrong-typed members are reported is the member toolkit's (JsonMember tests).
TEST(CliParser, FaultsEndTheLoadWithTheirMessages) {
  const auto node = [](const std::string& members) { return R"({"cli":[{)" + members + "}]}"; };
  const std::string named = R"("path":"","name":"c","description":"d")";
  const std::string options = R"("formatter":"table","options":[],)";
  const std::string fields = options + R"("output_field_list":[{"structure_id":"s",)";
  struct Case {
    const char* what;
    std::string text;
    std::vector<Expected> messages;
  } const cases[] = {
      {"syntax", R"({"cli":[)", {{"ostra.metadata.cli.parse.error", {"3", "8"}}}},
      {"no cli member", R"({"commands":[]})", {{kMissing, {"cli"}}}},
      // An object where the array belongs: the Cli id, which the catalogue does not know.
      {"cli not an array", R"({"cli":{}})", {{kCliInvalid, {"cli"}}}},
      {"namespace without a name",
       node(R"("type":"namespace","path":"","description":"x")"),
       {{kMissing, {"name"}}}},
      {"command without a name",
       node(R"("type":"command","path":"","description":"x")"),
       {{kMissing, {"name"}}}},
      {"command without metadata",
       node(R"("type":"command",)" + named),
       {{kMissing, {"node_metadata"}}}},
      // A "node_metadata" that is no object is reported under "path".
      {"metadata not an object",
       node(R"("type":"command",)" + named + R"(,"node_metadata":[])"),
       {{kCliInvalid, {"path"}}}},
      {"no operation id",
       node(R"("type":"command",)" + named + R"(,"node_metadata":{"service_id":"s"})"),
       {{kMissing, {"operation_id"}}}},
      {"formatter not a text", Command(R"("formatter":5)"), {{kCliInvalid, {"formatter"}}}},
      // Absent optional members before the fault leave their missing-field messages first.
      {"option entry",
       Command(R"("options":[)" + Option("none") + R"(,{"long_option":1}])"),
       {{kMissing, {"formatter"}}, {kMissing, {"short_option"}}, {kCliInvalid, {"long_option"}}}},
      {"option not an object",
       Command(R"("formatter":"table","options":["x"])"),
       {{kCliInvalid, {"options_entry"}}}},
      // Output entries share the option entries' argument; their fields have their own.
      {"output entry",
       Command(R"("formatter":"table","output_field_list":[3])"),
       {{kMissing, {"options"}}, {kCliInvalid, {"options_entry"}}}},
      {"output field",
       Command(fields + R"("output_fields":[{"field_name":"f"}]}])"),
       {{kMissing, {"display_name"}}}},
      {"output field not an object",
       Command(fields + R"("output_fields":[null]}])"),
       {{kCliInvalid, {"output_fields"}}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Load load = LoadText(c.text);
    EXPECT_FALSE(load.ok);
    EXPECT_TRUE(load.namespaces.empty() && load.commands.empty());
    EXPECT_MESSAGES(load.messages, c.messages);
  }
  EXPECT_EQ(MetadataMessage::DefaultMessageForId(kCliInvalid), "Unknown message.");

  // Node types are case-sensitive, unlike enumeration texts; what came before the fault was
  // registered (the store drops it).
  const Load load =
      LoadText(R"({"cli":[{"type":"namespace","path":"","name":"a","description":"x"},)"
               R"({"type":"Namespace","path":"","name":"b","description":"y"},{"type":"bogus"}]})");
  EXPECT_FALSE(load.ok);
  EXPECT_MESSAGES(load.messages, {{"ostra.metadata.cli.json.invalid.node.type", {"type"}}});
  EXPECT_EQ(load.namespaces.size(), 1u);
  const Load empty = LoadText(R"({"cli":[]})");
  EXPECT_TRUE(empty.ok && empty.namespaces.empty() && empty.commands.empty() &&
              empty.messages.empty());
}

TEST(CliParser, UnknownFormatterAndGenericTextsAreKeptWithoutFault) {
  const Load load = LoadText(Command(R"("formatter":"Yaml","options":[)" + Option("") + "," +
                                     Option("optional_list") + "," + Option("Maybe") + "]"));
  ASSERT_TRUE(load.ok) << OstraTest::Describe(load.messages);
  const auto& command = *load.commands.at(0);
  ASSERT_TRUE(command.formatter);
  EXPECT_TRUE(command.formatter->IsUnknown());
  EXPECT_EQ(command.formatter->GetOrdinal(), 6u);
  EXPECT_EQ(command.formatter->GetText(), "YAML");
  std::vector<GenericType> generics;
  for (const auto& option : command.options)
    generics.push_back(option->generic);
  ASSERT_EQ(generics.size(), 3u);
  EXPECT_EQ(generics[0], GenericType(GenericType::NONE));  // an empty text is the first value
  EXPECT_EQ(generics[1], GenericType(GenericType::OPTIONAL_LIST));
  EXPECT_EQ(generics[2].GetOrdinal(), 5u);
  EXPECT_EQ(generics[2].GetText(), "MAYBE");
  EXPECT_TRUE(command.output_field_list.empty());

  // Without "formatter" the command has none.
  EXPECT_FALSE(LoadText(Command("")).commands.at(0)->formatter);
}

}  // namespace

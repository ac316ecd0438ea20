#include "ostra/cli/json_metadata_parser.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test_messages.h"

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
  std::ifstream file(OSTRA_EXAMPLES_DIR "/cli.json");
  std::stringstream text;
  text << file.rdbuf();
  const Load load = LoadText(text.str());
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

TEST(CliParser, RootFaults) {
  Load load = LoadText(R"({"commands":[]})");
  EXPECT_FALSE(load.ok);
  EXPECT_MESSAGES(load.messages, {{kMissing, {"cli"}}});

  // An object where the array belongs: the Cli id, which the catalogue does not know.
  load = LoadText(R"({"cli":{}})");
  EXPECT_FALSE(load.ok);
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"cli"}}});
  EXPECT_EQ(load.messages.back().GetDefaultMessage(), "Unknown message.");

  load = LoadText(R"([{"cli":[]}])");
  EXPECT_MESSAGES(load.messages, {{kMissing, {"cli"}}});

  load = LoadText(R"({"cli":[)");
  EXPECT_FALSE(load.ok);
  ASSERT_EQ(load.messages.size(), 1u);
  EXPECT_EQ(load.messages.front().GetId(), "ostra.metadata.cli.parse.error");

  load = LoadText(R"({"cli":[]})");
  EXPECT_TRUE(load.ok);
  EXPECT_TRUE(load.namespaces.empty() && load.commands.empty() && load.messages.empty());
}

TEST(CliParser, NodeFaultsStopTheLoadAtTheFirst) {
  // Node types are case-sensitive, unlike enumeration texts.
  Load load =
      LoadText(R"({"cli":[{"type":"namespace","path":"","name":"a","description":"x"},)"
               R"({"type":"Namespace","path":"","name":"b","description":"y"},{"type":"bogus"}]})");
  EXPECT_FALSE(load.ok);
  EXPECT_MESSAGES(load.messages, {{"ostra.metadata.cli.json.invalid.node.type", {"type"}}});
  EXPECT_EQ(load.namespaces.size(), 1u);  // registered before the fault; the store drops it

  load = LoadText(R"({"cli":[{"type":7}]})");
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"type"}}});
  load = LoadText(R"({"cli":[{"type":"namespace","path":"","description":"x"}]})");
  EXPECT_MESSAGES(load.messages, {{kMissing, {"name"}}});
  load = LoadText(R"({"cli":["namespace"]})");
  EXPECT_MESSAGES(load.messages, {{kMissing, {"type"}}});

  load = LoadText(R"({"cli":[{"type":"command","path":"","name":"c","description":"d"}]})");
  EXPECT_MESSAGES(load.messages, {{kMissing, {"node_metadata"}}});
  // A "node_metadata" that is no object is reported under "path".
  load = LoadText(
      R"({"cli":[{"type":"command","path":"","name":"c","description":"d","node_metadata":[]}]})");
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"path"}}});
  EXPECT_TRUE(load.commands.empty());
}

TEST(CliParser, CommandMetadataFaultsFollowTheAbsentOptionalMembers) {
  // Absent optional members before the fault leave their missing-field messages first.
  Load load = LoadText(Command(R"("options":[)" + Option("none") + R"(,{"long_option":1}])"));
  EXPECT_FALSE(load.ok);
  EXPECT_MESSAGES(
      load.messages,
      {{kMissing, {"formatter"}}, {kMissing, {"short_option"}}, {kCliInvalid, {"long_option"}}});

  load = LoadText(Command(R"("formatter":"table","options":{})"));
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"options"}}});
  load = LoadText(Command(R"("formatter":"table","options":["x"])"));
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"options_entry"}}});
  // Output entries share the option entries' argument; their fields have their own.
  load = LoadText(Command(R"("formatter":"table","output_field_list":[3])"));
  EXPECT_MESSAGES(load.messages, {{kMissing, {"options"}}, {kCliInvalid, {"options_entry"}}});
  load = LoadText(Command(
      R"("formatter":"table","options":[],"output_field_list":[{"structure_id":"s","output_fields":[{"field_name":"f"}]}])"));
  EXPECT_MESSAGES(load.messages, {{kMissing, {"display_name"}}});
  load = LoadText(Command(
      R"("formatter":"table","options":[],"output_field_list":[{"structure_id":"s","output_fields":[null]}])"));
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"output_fields"}}});
  load = LoadText(Command(R"("formatter":5)"));
  EXPECT_MESSAGES(load.messages, {{kCliInvalid, {"formatter"}}});
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

#include "ostra/cli/json_metadata_container.h"
#include "ostra/cli/json_metadata_parser.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <sstream>
#include <string>
#include <vector>

#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Ostra::Provider::Metadata::Cli::MetadataParser;
namespace Binding = Com::Corvane::Ostra::Metadata::Cli;
using Binding::CommandSvc::FormatterType;
using Binding::CommandSvc::GenericType;
namespace Impl = Ostra::Provider::Metadata::Cli;
using Spec = Binding::SourceSvc::CreateSpec;
using CliStoreTest = OstraTest::StoreTest<Impl::MetadataContainer, Spec>;

constexpr const char* kCliInvalid = "ostra.metadata.cli.json.invalid.field";

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

std::string NsNode(const std::string& path, const std::string& name, const std::string& text) {
  return R"({"type":"namespace","path":")" + path + R"(","name":")" + name +
         R"(","description":")" + text + R"("})";
}
// A command node whose "node_metadata" members follow the two ids.
std::string CmdNode(const std::string& path, const std::string& name,
                    const std::string& metadata = "") {
  return R"({"type":"command","path":")" + path + R"(","name":")" + name +
         R"(","description":"d","node_metadata":{"service_id":"s","operation_id":"o")" +
         (metadata.empty() ? "" : "," + metadata) + "}}";
}
std::string Doc(const std::vector<std::string>& nodes) {
  std::string text = R"({"cli":[)";
  for (const auto& node : nodes)
    text += (text.back() == '[' ? "" : ",") + node;
  return text + "]}";
}
// A document of one command node.
std::string Command(const std::string& metadata) {
  return Doc({CmdNode("a", "run", metadata)});
}

// An option entry with every member but "short_option", ending with the given "generic".
std::string Option(const std::string& generic) {
  return R"({"long_option":"all","field_name":"f","description":"d","type":"string","generic":")" +
         generic + R"("})";
}

TEST(CliParser, LoadsTheBundledExample) {
  const Load load = LoadText(OstraTest::ExampleText("cli.json"));
  ASSERT_TRUE(load.ok) << OstraTest::Brief(load.messages);
  EXPECT_EQ(load.namespaces.size(), 5u);
  ASSERT_FALSE(load.commands.empty());
  const auto& plan = *load.commands[5];
  EXPECT_EQ(plan.identity->path + " " + plan.identity->name + " " + plan.operation_id,
            "fleet.routes plan plan");
  EXPECT_TRUE(plan.formatter == FormatterType(FormatterType::JSON));
  ASSERT_EQ(plan.options.size(), 3u);
  EXPECT_EQ(plan.options.front()->short_option, std::string("v"));
  EXPECT_EQ(plan.options.back()->short_option, boost::none);
  EXPECT_EQ(plan.options.back()->generic, GenericType(GenericType::OPTIONAL));
  ASSERT_EQ(plan.output_field_list.size(), 2u);
  const auto& stop = *plan.output_field_list.back();
  EXPECT_EQ(stop.structure_id + " " + stop.output_fields.back()->display_name,
            "com.larkspur.fleet.routes.Stop Window");
}

// Every fault ends the load at once with its messages; nothing after it is registered. How
// absent and wrong-typed members are reported is the member toolkit's (JsonMember tests).
TEST(CliParser, FaultsEndTheLoadWithTheirMessages) {
  const auto node = [](const std::string& members) { return R"({"cli":[{)" + members + "}]}"; };
  const std::string named = R"("path":"","name":"c","description":"d")";
  const std::string options = R"("formatter":"table","options":[],)";
  const std::string fields = options + R"("output_field_list":[{"structure_id":"s",)";
  const std::string invalid = std::string(kCliInvalid) + " ";
  const struct {
    std::string text, messages;  // see Brief
  } cases[] = {
      {R"({"cli":[)", "ostra.metadata.cli.parse.error 3 8"},
      {R"({"commands":[]})", "missing cli"},
      // An object where the array belongs: the Cli id, which the catalogue does not know.
      {R"({"cli":{}})", invalid + "cli"},
      {node(R"("type":"namespace","path":"","description":"x")"), "missing name"},
      {node(R"("type":"command","path":"","description":"x")"), "missing name"},
      {node(R"("type":"command",)" + named), "missing node_metadata"},
      // A "node_metadata" that is no object is reported under "path".
      {node(R"("type":"command",)" + named + R"(,"node_metadata":[])"), invalid + "path"},
      {node(R"("type":"command",)" + named + R"(,"node_metadata":{"service_id":"s"})"),
       "missing operation_id"},
      {Command(R"("formatter":5)"), invalid + "formatter"},
      // Absent optional members before the fault leave their missing-field messages first.
      {Command(R"("options":[)" + Option("none") + R"(,{"long_option":1}])"),
       "missing formatter; missing short_option; " + invalid + "long_option"},
      {Command(R"("formatter":"table","options":["x"])"), invalid + "options_entry"},
      // Output entries share the option entries' argument; their fields have their own.
      {Command(R"("formatter":"table","output_field_list":[3])"),
       "missing options; " + invalid + "options_entry"},
      {Command(fields + R"("output_fields":[{"field_name":"f"}]}])"), "missing display_name"},
      {Command(fields + R"("output_fields":[null]}])"), invalid + "output_fields"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Load load = LoadText(c.text);
    EXPECT_FALSE(load.ok);
    EXPECT_TRUE(load.namespaces.empty() && load.commands.empty());
    EXPECT_EQ(OstraTest::Brief(load.messages), c.messages);
  }
  EXPECT_EQ(MetadataMessage::DefaultMessageForId(kCliInvalid), "Unknown message.");

  // Node types are case-sensitive, unlike enumeration texts; what came before the fault was
  // registered (the store drops it).
  const Load load =
      LoadText(R"({"cli":[{"type":"namespace","path":"","name":"a","description":"x"},)"
               R"({"type":"Namespace","path":"","name":"b","description":"y"},{"type":"bogus"}]})");
  EXPECT_FALSE(load.ok);
  EXPECT_EQ(OstraTest::Brief(load.messages), "ostra.metadata.cli.json.invalid.node.type type");
  EXPECT_EQ(load.namespaces.size(), 1u);
  const Load empty = LoadText(R"({"cli":[]})");
  EXPECT_TRUE(empty.ok && empty.namespaces.empty() && empty.commands.empty() &&
              empty.messages.empty());
}

TEST(CliParser, UnknownFormatterAndGenericTextsAreKeptWithoutFault) {
  const Load load = LoadText(Command(R"("formatter":"Yaml","options":[)" + Option("") + "," +
                                     Option("optional_list") + "," + Option("Maybe") + "]"));
  ASSERT_TRUE(load.ok) << OstraTest::Brief(load.messages);
  const auto& command = *load.commands.at(0);
  ASSERT_TRUE(command.formatter);
  EXPECT_TRUE(command.formatter->IsUnknown());
  EXPECT_EQ(std::to_string(command.formatter->GetOrdinal()) + command.formatter->GetText(),
            "6YAML");
  // An empty text is the first value; an unknown one is numbered past the known ones.
  std::string generics;
  for (const auto& option : command.options)
    generics += std::to_string(option->generic.GetOrdinal()) + option->generic.GetText() + " ";
  EXPECT_EQ(generics, "0NONE 3OPTIONAL_LIST 5MAYBE ");
  EXPECT_TRUE(command.output_field_list.empty());

  // Without "formatter" the command has none.
  EXPECT_FALSE(LoadText(Command("")).commands.at(0)->formatter);
}

// ---- Namespaces: made up to the root, merged within a source and across sources

using NsIdentity = Binding::Namespace_Svc::Identity;

std::shared_ptr<const NsIdentity> Ns(const std::string& path, const std::string& name) {
  return std::make_shared<const NsIdentity>(NsIdentity{path, name});
}

// Identities as "path/name ...".
template <class List>
std::string Names(const List& ids) {
  std::string names;
  for (const auto& id : ids)
    names += (names.empty() ? "" : " ") + id->path + "/" + id->name;
  return names;
}
// A namespace record as "description: its children".
template <class Info>
std::string Said(const Info& info) {
  return info.description + ": " + Names(info.children);
}

// The nodes registered with a source, namespaces first.
Impl::SourceData Index(const std::vector<std::string>& nodes) {
  Impl::SourceData source(OstraTest::FileSpec<Spec>("unused"));
  const Load load = LoadText(Doc(nodes));
  EXPECT_TRUE(load.ok);
  for (const auto& info : load.namespaces)
    source.RegisterNsNode(info);
  for (const auto& info : load.commands)
    source.RegisterCmdNode(info);
  return source;
}

TEST(CliSourceData, AncestorsAreMadeUpToTheRootWhichListsItself) {
  EXPECT_EQ(Names(std::vector<Impl::NamespaceId>{Impl::SourceData::Str2NsId("a.b.c"),
                                                 Impl::SourceData::Str2NsId("a"),
                                                 Impl::SourceData::Str2NsId("")}),
            "a.b/c /a /");

  const auto source =
      Index({NsNode("storage", "disk", "Disks"), NsNode("", "net", "Network"),
             NsNode("storage", "tape", "Tapes"), NsNode("storage", "disk", "Disks again"),
             CmdNode("storage", "mount")});
  std::vector<Impl::NamespaceId> all;
  for (const auto& entry : source.namespaces)
    all.push_back(entry.first);
  EXPECT_EQ(Names(all), "/ /net /storage storage/disk storage/tape");
  // First-registration order, no duplicates; the root follows the namespace that created it.
  EXPECT_EQ(Said(*source.namespaces.at(Ns("", ""))), "Root namespace: /storage / /net");
  EXPECT_EQ(Said(*source.namespaces.at(Ns("", "storage"))),
            "storage namespace: storage/disk storage/tape");
  EXPECT_EQ(source.namespaces.at(Ns("storage", "disk"))->description, "Disks again");
  EXPECT_EQ(source.commands.size(), 1u);
}

TEST(CliSourceData, TheLongerDescriptionWinsAndTheLaterOnATie) {
  for (const auto& pair :
       std::vector<std::pair<std::string, std::string>>{{"ab", "abc"}, {"abc", "ab"}}) {
    const auto source = Index({NsNode("", "n", pair.first), NsNode("", "n", pair.second)});
    EXPECT_EQ(source.namespaces.at(Ns("", "n"))->description, "abc");
  }
  const auto source =
      Index({NsNode("x", "n", "ab"), NsNode("", "x", "longer text"), NsNode("x", "n", "cd")});
  EXPECT_EQ(source.namespaces.at(Ns("x", "n"))->description, "cd");
  // A declared namespace replaces the made-up description but keeps its children.
  EXPECT_EQ(Said(*source.namespaces.at(Ns("", "x"))), "longer text: x/n");
}

TEST_F(CliStoreTest, NamespacesAreMergedAcrossSources) {
  Add("b", Doc({NsNode("storage", "disk", "B disks"), NsNode("", "b", "B"),
                CmdNode("storage", "mount"), CmdNode("storage.disk", "format"),
                NsNode("", "leaf", "B leaf"), NsNode("leaf", "x", "X")}));
  Add("a", Doc({NsNode("storage", "tape", "A tapes"), NsNode("", "leaf", "A leaf"),
                CmdNode("storage", "mount")}));
  Add("c", Doc({NsNode("", "leaf", "C leaf")}));

  EXPECT_EQ(Names(store_->ListNamespaces()),
            "/ /b /leaf /storage leaf/x storage/disk storage/tape");
  const auto storage = store_->NamespaceInfo(Ns("", "storage"));
  ASSERT_NE(storage, nullptr);
  EXPECT_EQ(Said(*storage), "storage namespace: storage/disk storage/tape");
  EXPECT_EQ(Said(*store_->NamespaceInfo(Ns("", ""))), "Root namespace: / /b /leaf /storage");
  // The description comes from the last source met before any children were collected.
  EXPECT_EQ(Said(*store_->NamespaceInfo(Ns("", "leaf"))), "B leaf: leaf/x");
  // The answer is a new record: the sources' own lists are untouched.
  EXPECT_EQ(store_->NamespaceInfo(Ns("", "storage"))->children.size(), 2u);
  EXPECT_EQ(store_->NamespaceInfo(Ns("", "zz")), nullptr);
  EXPECT_EQ(store_->NamespaceInfo(nullptr), nullptr);
}

}  // namespace

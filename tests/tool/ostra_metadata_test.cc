// Drives the ostra-metadata tool as a user does: arguments in, output and exit status out.
#include <gtest/gtest.h>

#include <filesystem>

#include "test_store.h"
#include "tool/tool_helpers.h"

namespace {

using OstraTest::Crc, OstraTest::Quote, OstraTest::Slurp;

using Pairs = std::vector<std::pair<std::string, std::string>>;

std::string ReplaceAll(std::string text, const Pairs& replacements) {
  for (const auto& [from, to] : replacements)
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
      text.replace(at, from.size(), to);
  return text;
}

struct ToolRun {
  int status = -1;
  std::string out, err;
  // The exit status, then what the tool wrote to stdout or to stderr.
  std::string Out() const { return std::to_string(status) + " " + out; }
  std::string Err() const { return std::to_string(status) + " " + err; }
};

class ToolTest : public OstraTest::TempFilesTest {
 protected:
  ToolRun Tool(const std::vector<std::string>& args) {
    const std::string out = Write("stdout", ""), err = Write("stderr", "");
    const int status = std::system(
        (Quote({OSTRA_TOOL}) + Quote(args) + " </dev/null >" + Quote({out}) + " 2>" + Quote({err}))
            .c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(out), Slurp(err)};
  }
  const std::string examples_ = OSTRA_EXAMPLES_DIR;
};

// The summary of the bundled examples; arguments that are usage errors, and --help.
TEST_F(ToolTest, SummaryAndUsage) {
  const ToolRun summary = Tool({"--dir", examples_});
  EXPECT_EQ(summary.status, 0) << summary.err;
  for (const char* expected : {
           "metamodel source metamodel  ",
           "  component com.larkspur.fleet  [",
           "        plan(vehicle: id, stops: set<com.larkspur.fleet.routes.Stop>, departure: "
           "optional<date_time>) -> com.larkspur.fleet.routes.Route    auth: ",
           "      telemetry  telemetry namespace\n",
           "          raise  -> com.larkspur.fleet.telemetry.readings.raise_alert  [xml]\n",
           "            --stop, -s  com.larkspur.fleet.routes.Stop (list)  ",
       })
    EXPECT_NE(summary.out.find(expected), std::string::npos) << expected << "\n" << summary.out;
  // Sets of arguments separated by ";", split at spaces; C stands for a Cli document.
  std::istringstream table(
      "--bogus; -c; ; -c C call cli.command; -c C call cli.command list [1]; -c C serve; "
      "-c C summary --stdio; -c C frobnicate; check; check --format yaml C; "
      "check --fail-on none C; diff C; diff --format yaml C C; -c C diff C C; "
      "--fail-on none -c C; -c C serve --stdio --http 0; -c C serve --stdio --watch; "
      "-c C serve --http ::1:80; -c C serve --http 65536; -c C serve --http 0 --threads 0; "
      "-c C serve --http 0 --allow-source-management; -c C serve --http 0 --source-root C");
  for (std::string line; std::getline(table, line, ';');) {
    std::vector<std::string> args;
    std::istringstream words(line);
    for (std::string word; words >> word;)
      args.push_back(word == "C" ? examples_ + "/cli.json" : word);
    const ToolRun run = Tool(args);
    EXPECT_EQ(run.status, 1) << line << run.err;
    EXPECT_NE(run.err.find("(see --help)"), std::string::npos) << run.err;
  }
  const ToolRun help = Tool({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("Exit status: 0 success, 1 usage"), std::string::npos);
}

TEST_F(ToolTest, CallsAnswerJsonOrTheErrorWithItsMessages) {
  const std::string cli = "fleet=" + examples_ + "/cli.json";
  ToolRun run = Tool({"--cli", cli, "call", "cli.command", "get",
                      R"({"identity":{"path":"fleet.routes","name":"fly"}})"});
  EXPECT_EQ(run.Err(),
            R"(2 {"kind":"NOT_FOUND","messages":[{"id":"ostra.metada.cli.command.not.found",)"
            R"("text":"Cli command not found: fleet.routes.fly","args":["fleet.routes.fly"]}]})"
            "\n");
  run = Tool({"--cli", cli, "call", "com.corvane.ostra.metadata.cli.source", "list"});
  EXPECT_EQ(run.Out(), "0 [\"fleet\"]\n") << run.err;
  run = Tool({"--cli", cli, "call", "cli.nothing", "list"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("com.corvane.ostra.metadata.metamodel.component"), std::string::npos);
  // A source that does not load stops the tool before the command.
  run = Tool({"--cli", cli, "--cli", cli, "call", "cli.source", "list"});
  EXPECT_EQ(run.Out(), "3 ");
  EXPECT_NE(run.err.find("ostra.metada.cli.source.exists"), std::string::npos) << run.err;
  run = Tool({"-m", "/no/such/file.json"});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("Metamodel source file not found: /no/such/file.json"), std::string::npos);
}

// One document each: the finding as check prints it, line and column counted by hand (a tab and
// a character of several bytes count as one column).
TEST_F(ToolTest, CheckPlacesEachFaultAndSuggestsTheFix) {
  const std::string package =
      R"({"metamodel": {"component": {"name": "k", "documentation": "", "metadata": {}, )"
      R"("packages": [{"name": "p", "documentation": "", "metadata": {}, "enumerations": [], )"
      R"("services": [], "structures": [{"name": "p.S", "type": )";
  const std::string rest =
      R"(, "documentation": "", "metadata": {}, "enumerations": [], "constants": [], )"
      R"("fields": []}]}]}}})";
  const std::string enumError =
      "1:219: error: Json parse invalid enum value: type [ostra.metadata.json.invalid.enum.value]\n"
      "    at /metamodel/component/packages/0/structures/0/type; ";
  const std::tuple<int, std::string, std::string, std::string> cases[] = {
      {3, "1 error, 1 warning",
       "{\"metamodel\": {\"component\": {\n\t\"name\": \"\xc4\xb8iln \xe2\x9c\x93\", "
       "\"documentaton\": \"x\",\n\t\"metadata\": {}, \"packages\": []}}}\n",
       "1:29: error: Json parse missing field: documentation [ostra.metadata.json.missing.field]\n"
       "    at /metamodel/component; rename \"documentaton\" to \"documentation\"\n"
       "{}2:20: warning: no reader reads \"documentaton\" [unknown-member]\n"
       "    at /metamodel/component/documentaton; did you mean \"documentation\"?\n"},
      {3, "1 error, 0 warnings", package + R"("STRUCTUR")" + rest,
       enumError + "did you mean \"STRUCTURE\"?\n"},
      {3, "1 error, 0 warnings", package + R"("RECORD")" + rest,
       enumError + "one of STRUCTURE, ERROR\n"},
      {3, "1 error, 0 warnings",
       package + R"("STRUCTURE", "documentation": "", "metadata": {}, "enumerations": [],)"
                 "\n"
                 R"( "constants": [{"name": "MAX", "documentation": "", "type": {"category": )"
                 R"("primitive", "type": "LONG"}, "value": "9"}], "fields": []}]}]}}})",
       "2:113: error: only constants of type STRING load; this value fails the load "
       "[non-string-constant]\n"
       "    at /metamodel/component/packages/0/structures/0/constants/0/value\n"},
      {0, "0 errors, 1 warning",
       package +
           R"("STRUCTURE", "documentation": "", "metadata": {}, "enumerations": [], )"
           R"("constants": [], "fields": []}, {"name": "p.S", "type": "ERROR")" +
           rest,
       "1:330: warning: \"p.S\" is declared again in \"structures\": the first one is kept, this "
       "one is ignored [duplicate-name]\n"
       "    at /metamodel/component/packages/0/structures/1/name\n"},
      {3, "1 error, 0 warnings",
       R"({"cli": [{"type": "Namespace", "path": "", "name": "kiln", "description": ""}]})",
       "1:19: error: Cli node type must be \"namespace\" or \"command\" "
       "[ostra.metadata.cli.json.invalid.node.type]\n"
       "    at /cli/0/type; did you mean \"namespace\"?\n"},
      {3, "1 error, 0 warnings",
       R"({"cli": [{"type": "command", "path": "", "name": "go", "description": "", )"
       R"("node_metadata": {"service_id": "p.s", "operation_id": "o", "options": [7]}}]})",
       "1:147: error: Cli invalid field: element 0 of \"options\" must be an object "
       "[ostra.metadata.cli.json.invalid.field]\n"
       "    at /cli/0/node_metadata/options/0\n"},
      // Both sections fail and the document still loads: each fault costs it a part.
      {3, "2 errors, 0 warnings", R"({"authentication": {
 "product": {"name": "kiln", "schemes": {"basic": {"authenticationScheme": "b",
  "type": "sessionless"}}, "services": {"p.s": ["basik"]}},
 "component": {"name": "kiln2", "operations": {"p.s.op": [], "s.op": []}}}})",
       "3:49: error: Authentication unknown schema name: id; the \"product\" section is not "
       "loaded [section-dropped]\n"
       "    at /authentication/product/services/p.s/0; \"basik\" is not a scheme of the "
       "component; did you mean \"basic\"?\n"
       "{}4:62: error: Authentication invalid service id: s (a service id is PACKAGE.SERVICE); "
       "the operations of service \"s\" are not loaded [section-dropped]\n"
       "    at /authentication/component/operations/s.op\n"},
      {3, "1 error, 0 warnings", "{\"cli\":" + std::string(600, '['),
       "1:519: error: Cli source file parse error : 16 at 518 [ostra.metadata.cli.parse.error]\n"
       "    at \"\"; nested deeper than 512 levels\n"},
      {0, "0 errors, 3 warnings", "{\"cli\": [], \"cli\": 5, \"\xff\": 1}",
       "1:13: warning: \"cli\" is repeated: the first one is read, this one is ignored "
       "[duplicate-name]\n"
       "    at /cli\n"
       "{}1:23: warning: the member name is not valid UTF-8 [invalid-utf8]\n"
       "    at /\xef\xbf\xbd\n"
       "{}1:23: warning: no reader reads \"\xef\xbf\xbd\" [unknown-member]\n"
       "    at /\xef\xbf\xbd\n"},
  };
  for (const auto& [status, summary, text, findings] : cases) {
    SCOPED_TRACE(text);
    const std::string file = Write("document", text);
    EXPECT_EQ(Tool({"check", file}).Out(), std::to_string(status) + " " +
                                               ReplaceAll("{}" + findings, {{"{}", file + ":"}}) +
                                               "1 file: " + summary + "\n");
  }
}

// A directory of documents that load but disagree: warnings, which fail only a strict check; a
// truncated document among them is an error, for check and for --dir alike.
TEST_F(ToolTest, CheckComparesTheDocumentsOfADirectory) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::path(testing::TempDir()) / "ToolTest.CheckDirectory";
  fs::remove_all(dir);
  fs::create_directories(dir);
  const std::pair<std::string, std::string> documents[] = {
      {"authentication",
       R"({"authentication": {"component": {"name": "k", "services": {"p.t": []}}}})"},
      {"cli", R"({"cli": [
  {"type": "namespace", "path": "", "name": "kiln", "description": ""},
  {"type": "command", "path": "kiln", "name": "go", "description": "",
   "node_metadata": {"service_id": "p.s", "operation_id": "fyre"}},
  {"type": "command", "path": "klin", "name": "stop", "description": "",
   "node_metadata": {"service_id": "p.s", "operation_id": "fire"}}]})"},
      {"metamodel",
       R"({"metamodel": {"component": {"name": "k", "documentation": "", "metadata": {}, "packages":
[{"name": "p", "documentation": "", "metadata": {}, "enumerations": [], "structures": [],
"services": [{"name": "p.s", "documentation": "", "metadata": {}, "enumerations": [], "structures":
[], "constants": [], "operations": [{"name": "fire", "documentation": "", "metadata": {}, "params":
[], "result": {"documentation": "", "metadata": {}, "type": {"category": "builtin",
"primitive_type": "void"}}, "errors": [{"user_defined_type_name": "p.Jam", "documentation":
""}]}]}]}]}}})"},
      {"notes", R"({"title": "kiln notes"})"}};
  // The output with D/ for the directory and #NAME for the fingerprint of document NAME, as the
  // stores report a source's: the CRC32 of the hexadecimal CRC32 of its text.
  Pairs placeholders{{"\n", ""}, {"D/", dir.string() + "/"}};
  for (const auto& [name, text] : documents) {
    std::ofstream(dir / (name + ".json"), std::ios::binary) << text;
    placeholders.emplace_back("#" + name, Crc(Crc(text)));
  }
  std::ofstream(dir / "README") << "{\"cli\": [";  // not a *.json file: not read
  ToolRun run = Tool({"check", "--format", "json", dir.string()});
  EXPECT_EQ(run.Out(), ReplaceAll(R"(0 {"files":[{"file":"D/authentication.json",
"domain":"authentication","fingerprint":"#authentication","loaded":true},{"file":"D/cli.json",
"domain":"cli","fingerprint":"#cli","loaded":true},{"file":"D/metamodel.json","domain":"metamodel",
"fingerprint":"#metamodel","loaded":true},{"file":"D/notes.json","domain":null,"fingerprint":null,
"loaded":false}],"findings":[{"file":"D/authentication.json","line":1,"column":61,
"pointer":"/authentication/component/services/p.t","severity":"warning","id":"unknown-operation",
"message":"no Metamodel source defines the service \"p.t\"","suggestion":"did you mean \"p.s\"?"},
{"file":"D/cli.json","line":4,"column":59,"pointer":"/cli/1/node_metadata/operation_id",
"severity":"warning","id":"unknown-operation",
"message":"no Metamodel source defines the operation \"fyre\" of \"p.s\"",
"suggestion":"did you mean \"fire\"?"},{"file":"D/cli.json","line":5,"column":31,
"pointer":"/cli/2/path","severity":"warning","id":"undeclared-namespace",
"message":"no Cli document declares the namespace \"klin\"","suggestion":"did you mean \"kiln\"?"},
{"file":"D/metamodel.json","line":6,"column":67,
"pointer":"/metamodel/component/packages/0/services/0/operations/0/errors/0/user_defined_type_name",
"severity":"warning","id":"unresolved-reference",
"message":"no loaded Metamodel source defines a structure or enumeration \"p.Jam\"",
"suggestion":null},{"file":"D/notes.json","line":1,"column":1,"pointer":"","severity":"warning",
"id":"unknown-member","message":"not a metadata document: its root has no \"metamodel\",
 \"authentication\" or \"cli\" member","suggestion":null}],"omitted":0}
)",
                                  placeholders) +
                           "\n");
  EXPECT_EQ(Tool({"check", "--strict", dir.string()}).status, 2);
  EXPECT_EQ(Tool({"--dir", dir.string()}).status, 0);
  // A truncated document is an error; GitHub's format escapes the file (a property) and the text.
  std::ofstream(dir / "truncated.json") << "{\"metamodel\": {\"component\": {\"name\": \"k\",";
  std::ofstream(dir / "a,b:c%.json") << "{\"cli\": [], \"50%\\nof\": 1}";
  run = Tool({"check", "--strict", "--format", "github", dir.string()});
  EXPECT_EQ(run.status, 3);
  const std::string github = ReplaceAll(run.out, {{dir.string(), "D"}});
  for (const char* line :
       {"::error file=D/truncated.json,line=1,col=42::Metamodel source file parse error : 4 at 41 "
        "[ostra.metadata.metamodel.parse.error]%0AMissing a name for object member.\n",
        "::warning file=D/a%2Cb%3Ac%25.json,line=1,col=13::no reader reads \"50%25%0Aof\" "
        "[unknown-member]\n"})
    EXPECT_NE(github.find(line), std::string::npos) << github;
  EXPECT_EQ(Tool({"--dir", dir.string()}).status, 3);
  // Warnings past a thousand per file are counted, not kept.
  std::string wide = R"({"cli": [])";
  for (int i = 0; i < 1005; ++i)
    wide += ", \"m" + std::to_string(i) + "\": 0";
  run = Tool({"check", Write("wide", wide + "}")});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out.substr(run.out.rfind("1 file")),
            "1 file: 0 errors, 1005 warnings (5 not shown)\n");
}

TEST_F(ToolTest, DiffExitStatusFollowsTheWorstChange) {
  // fleet.vehicles.list now calls get: a dangerous change.
  const std::string cli = OstraTest::ExampleText("cli.json"), old = examples_ + "/cli.json";
  std::string moved = cli;
  moved.replace(moved.find(R"("operation_id": "list")"), 22, R"("operation_id": "get")");
  const std::string changed = Write("cli", moved);
  ToolRun run = Tool({"diff", old, changed});
  EXPECT_EQ(
      run.Out(),
      "0 dangerous cli             cli-command-operation-changed  fleet.vehicles.list  "
      "com.larkspur.fleet.vehicles.registry#list -> com.larkspur.fleet.vehicles.registry#get\n"
      "1 change: 0 breaking, 1 dangerous, 0 safe\n");
  run = Tool({"diff", "--fail-on", "dangerous", "--format", "json", old, changed});
  EXPECT_EQ(run.Out(), ReplaceAll(R"(2 {"old":{"metamodel":"00000000","authentication":"00000000",
"cli":"OLD"},"new":{"metamodel":"00000000","authentication":"00000000","cli":"NEW"},
"changes":[{"rule":"cli-command-operation-changed","level":"dangerous","domain":"cli",
"path":"fleet.vehicles.list","old":"com.larkspur.fleet.vehicles.registry#list",
"new":"com.larkspur.fleet.vehicles.registry#get"}]}
)",
                                  {{"\n", ""}, {"OLD", Crc(Crc(cli))}, {"NEW", Crc(Crc(moved))}}) +
                           "\n");
  // Directories; a change that breaks clients fails the diff unless --fail-on none.
  EXPECT_EQ(Tool({"diff", examples_, examples_}).out, "no changes\n");
  const std::string metamodel = examples_ + "/metamodel.json";
  run = Tool({"diff", metamodel, examples_});  // the Authentication and Cli documents added
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out.substr(run.out.rfind("26 changes")),
            "26 changes: 14 breaking, 0 dangerous, 12 safe\n");
  EXPECT_EQ(Tool({"diff", "--fail-on", "none", metamodel, examples_}).status, 0);
  // A value is quoted on its line when it holds a control character.
  run = Tool({"diff", old,
              Write("root", R"({"cli":[{"type":"namespace","path":"","name":"fleet",)"
                            R"("description":"a\tb"}]})")});
  EXPECT_EQ(run.out.substr(0, run.out.find('\n')),
            "safe      cli             documentation-changed  fleet  Larkspur Fleet: vehicles, "
            "routes and telemetry of a delivery fleet. -> \"a\\tb\"");
  // Either side failing to load.
  run = Tool({"diff", old, Write("bad", R"({"cli":{}})")});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("ostra.metadata.cli.json.invalid.field"), std::string::npos) << run.err;
  run = Tool({"diff", "/no/such.json", old});
  EXPECT_EQ(run.Err(), "3 ostra-metadata: /no/such.json: cannot be read\n");
}

}  // namespace

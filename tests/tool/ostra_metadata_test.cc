// Drives the ostra-metadata tool as a user does: arguments in, output and exit status out.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test_store.h"
#include "tool/tool_helpers.h"

namespace {

using OstraTest::Quote;
using OstraTest::Slurp;

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

class ToolTest : public OstraTest::TempFilesTest {
 protected:
  ToolRun Tool(const std::vector<std::string>& args, const std::string& input = std::string()) {
    const std::string in = Write("stdin", input), out = Write("stdout", ""),
                      err = Write("stderr", "");
    std::string command = Quote(OSTRA_TOOL);
    for (const auto& arg : args)
      command += " " + Quote(arg);
    command += " <" + Quote(in) + " >" + Quote(out) + " 2>" + Quote(err);
    ToolRun run;
    const int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = Slurp(out);
    run.err = Slurp(err);
    return run;
  }
  const std::string examples_ = OSTRA_EXAMPLES_DIR;
};

TEST_F(ToolTest, SummaryOfTheBundledExamples) {
  const ToolRun run = Tool({"--dir", examples_});
  ASSERT_EQ(run.status, 0) << run.err;
  for (const char* expected : {
           "metamodel source metamodel  ",
           "  component com.larkspur.fleet  [",
           "        plan(vehicle: id, stops: set<com.larkspur.fleet.routes.Stop>, departure: "
           "optional<date_time>) -> com.larkspur.fleet.routes.Route    auth: ",
           "      telemetry  telemetry namespace\n",
           "          raise  -> com.larkspur.fleet.telemetry.readings.raise_alert  [xml]\n",
           "            --stop, -s  com.larkspur.fleet.routes.Stop (list)  ",
       }) {
    EXPECT_NE(run.out.find(expected), std::string::npos) << expected << "\n" << run.out;
  }
}

TEST_F(ToolTest, ArgumentErrorsAreUsageErrors) {
  const std::string cli = examples_ + "/cli.json";
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"--bogus"},
           {"-c"},
           {},
           {"-c", cli, "call", "cli.command"},
           {"-c", cli, "call", "cli.command", "list", "[1]"},
           {"-c", cli, "serve"},
           {"-c", cli, "summary", "--stdio"},
           {"-c", cli, "frobnicate"},
           {"check"},
           {"diff", cli},
           {"diff", "--format", "yaml", cli, cli},
           {"-c", cli, "diff", cli, cli},
           {"--fail-on", "none", "-c", cli},
           {"-c", cli, "serve", "--stdio", "--http", "0"},
           {"-c", cli, "serve", "--stdio", "--watch"},
           {"-c", cli, "serve", "--http", "::1:80"},
           {"-c", cli, "serve", "--http", "65536"},
           {"-c", cli, "serve", "--http", "0", "--threads", "0"},
           {"-c", cli, "serve", "--http", "0", "--allow-source-management"},
           {"-c", cli, "serve", "--http", "0", "--source-root", cli},
       }) {
    const ToolRun run = Tool(args);
    EXPECT_EQ(run.status, 1) << testing::PrintToString(args) << run.err;
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
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            R"({"kind":"NOT_FOUND","messages":[{"id":"ostra.metada.cli.command.not.found",)"
            R"("text":"Cli command not found: fleet.routes.fly","args":["fleet.routes.fly"]}]})"
            "\n");
  run = Tool({"--cli", cli, "call", "com.corvane.ostra.metadata.cli.source", "list"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "[\"fleet\"]\n");
  run = Tool({"--cli", cli, "call", "cli.nothing", "list"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("com.corvane.ostra.metadata.metamodel.component"), std::string::npos);

  // Sources that do not load stop the tool before the command.
  run = Tool({"--cli", cli, "--cli", cli, "call", "cli.source", "list"});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("ostra.metada.cli.source.exists: Cli source already exists: fleet"),
            std::string::npos)
      << run.err;
  run = Tool({"-m", "/no/such/file.json"});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("Metamodel source file not found: /no/such/file.json"), std::string::npos);
}

TEST_F(ToolTest, CheckReportsPositionsMessagesAndDisagreements) {
  const std::string broken = Write("broken", "{\n  \"cli\": [\n    {\"type\": }\n  ]\n}\n");
  const std::string invalid = Write("invalid", R"({"cli":[{"type":"namespace","path":""}]})");
  const std::string stray = Write("stray", R"({"cli":[{"type":"command","path":"","name":"x",
    "description":"d","node_metadata":{"service_id":"com.larkspur.fleet.vehicles.registry",
    "operation_id":"scrap"}}]})");
  const std::string deep = Write("deep", "{\"cli\":" + std::string(1000, '['));
  ToolRun run = Tool({"check", broken, invalid, deep});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.out.find(broken + ":3:14: JSON syntax error 3: Invalid value."), std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find(deep + ":1:519: JSON syntax error 16: Nested deeper than 512 levels."),
            std::string::npos)
      << run.out;
  EXPECT_NE(
      run.out.find(invalid + ": ostra.metadata.json.missing.field: Json parse missing field: name"),
      std::string::npos)
      << run.out;

  run = Tool({"check", examples_ + "/metamodel.json", examples_ + "/cli.json", stray});
  EXPECT_EQ(run.status, 2) << run.out;
  EXPECT_NE(run.out.find("cli command x calls com.larkspur.fleet.vehicles.registry.scrap, which "
                         "no Metamodel source defines"),
            std::string::npos)
      << run.out;
  run = Tool({"check", examples_ + "/metamodel.json", examples_ + "/authentication.json",
              examples_ + "/cli.json"});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("the domains agree"), std::string::npos);
}

TEST_F(ToolTest, DiffExitStatusFollowsTheWorstChange) {
  // fleet.vehicles.list now calls get: a dangerous change.
  const std::string cli = OstraTest::ExampleText("cli.json");
  std::string moved = cli;
  moved.replace(moved.find(R"("operation_id": "list")"), 22, R"("operation_id": "get")");
  const std::string changed = Write("cli", moved), old = examples_ + "/cli.json";
  ToolRun run = Tool({"diff", old, changed});
  EXPECT_EQ(run.status, 0) << run.err;
  const std::string operations =
      "com.larkspur.fleet.vehicles.registry#list -> "
      "com.larkspur.fleet.vehicles.registry#get\n";
  EXPECT_EQ(run.out,
            "dangerous cli             cli-command-operation-changed  fleet.vehicles.list  " +
                operations + "1 change: 0 breaking, 1 dangerous, 0 safe\n");
  run = Tool({"diff", "--fail-on", "dangerous", "--format", "json", old, changed});
  EXPECT_EQ(run.status, 2);
  const std::string none = "00000000";  // no sources
  const auto fingerprints = [&](const std::string& text) {
    return R"({"metamodel":")" + none + R"(","authentication":")" + none + R"(","cli":")" +
           OstraTest::Crc(OstraTest::Crc(text)) + R"("})";
  };
  EXPECT_EQ(run.out, R"({"old":)" + fingerprints(cli) + R"(,"new":)" + fingerprints(moved) +
                         R"(,"changes":[{"rule":"cli-command-operation-changed","level":)"
                         R"("dangerous","domain":"cli","path":"fleet.vehicles.list","old":)"
                         R"("com.larkspur.fleet.vehicles.registry#list","new":)"
                         R"("com.larkspur.fleet.vehicles.registry#get"}]})"
                         "\n");

  // A directory with a field renamed in a structure that only results use.
  namespace fs = std::filesystem;
  const fs::path next = fs::path(testing::TempDir()) / "ToolTest.DiffNext";
  fs::remove_all(next);
  fs::create_directories(next);
  std::string metamodel = OstraTest::ExampleText("metamodel.json");
  metamodel.replace(metamodel.find(R"("name": "plate")"), 15, R"("name": "licence_plate")");
  std::ofstream(next / "metamodel.json") << metamodel;
  fs::copy_file(examples_ + "/cli.json", next / "cli.json");
  fs::copy_file(examples_ + "/authentication.json", next / "authentication.json");
  EXPECT_EQ(Tool({"diff", examples_, examples_}).out, "no changes\n");
  run = Tool({"diff", examples_, next.string()});
  EXPECT_EQ(run.status, 2) << run.err;
  EXPECT_NE(run.out.find("safe      metamodel       field-added  "
                         "com.larkspur.fleet.vehicles.VehicleSpec.licence_plate  - -> string\n"
                         "breaking  metamodel       field-removed  "
                         "com.larkspur.fleet.vehicles.VehicleSpec.plate  string -> -\n"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(Tool({"diff", "--fail-on", "none", examples_, next.string()}).status, 0);
  fs::remove_all(next);

  // Either side failing to load.
  run = Tool({"diff", old, Write("bad", R"({"cli":{}})")});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.err.find("ostra.metadata.cli.json.invalid.field"), std::string::npos) << run.err;
  run = Tool({"diff", "/no/such.json", old});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "ostra-metadata: /no/such.json: cannot be read\n");
}

TEST_F(ToolTest, JsonRpcSessionOverStdio) {
  const std::string requests =
      R"({"jsonrpc":"2.0","id":1,"method":"cli.namespace","params":{"operation":"get","input":{"identity":{"path":"","name":"fleet"}}}})"
      "\n"
      R"({"jsonrpc":"2.0","id":2,"method":"metamodel.component","params":{"operation":"get","input":{"component_id":"zz"}}})"
      "\n{oops\n\n"
      R"({"jsonrpc":"2.0","method":"cli.source","params":{"operation":"list"}})"
      "\n"
      R"([{"jsonrpc":"2.0","id":"a","method":"nope","params":{"operation":"list"}},{"jsonrpc":"1.0","id":4}])"
      "\n"
      R"({"jsonrpc":"2.0","id":5,"method":"cli.command","params":{"input":{}}})"
      "\n";
  const ToolRun run = Tool({"--dir", examples_, "serve", "--stdio"}, requests);
  EXPECT_EQ(run.status, 0) << run.err;
  std::vector<std::string> lines;
  std::istringstream out(run.out);
  for (std::string line; std::getline(out, line);)
    lines.push_back(line);
  ASSERT_EQ(lines.size(), 5u) << run.out;  // the notification gets no reply
  EXPECT_EQ(lines[0].rfind(
                R"({"jsonrpc":"2.0","id":1,"result":{"identity":{"path":"","name":"fleet"},)", 0),
            0u)
      << lines[0];
  EXPECT_NE(lines[1].find(
                R"("id":2,"error":{"code":-32000,"message":"Metamodel component not found: zz",)"
                R"("data":{"kind":"NOT_FOUND")"),
            std::string::npos)
      << lines[1];
  EXPECT_EQ(lines[2].rfind(R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,)", 0), 0u);
  EXPECT_EQ(
      lines[3],
      R"([{"jsonrpc":"2.0","id":"a","error":{"code":-32601,"message":"Method not found: nope"}},)"
      R"({"jsonrpc":"2.0","id":4,"error":{"code":-32600,"message":"Invalid Request"}}])");
  EXPECT_NE(lines[4].find(R"("id":5,"error":{"code":-32602,)"), std::string::npos);
}

}  // namespace

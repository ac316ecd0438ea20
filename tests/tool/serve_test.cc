// The JSON-RPC core, which serve --stdio and POST /rpc share, in one `serve --stdio` session driven
// by a hostile client: bad ids, methods and params, invalid UTF-8, garbage, inputs beyond every
// limit, sources from pipes and devices. Each line but a notification gets its reply, UTF-8 JSON,
// before the next is sent; the server stays small and answers a normal request at the end.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/stat.h>

#include "test_store.h"
#include "tool/tool_helpers.h"

namespace {

using OstraTest::Call, OstraTest::Create, OstraTest::Failure, OstraTest::FileSource;

std::string Repeat(const std::string& text, std::size_t times) {
  std::string repeated;
  while (times-- > 0)
    repeated += text;
  return repeated;
}

// U+FFFD, which the server writes for each byte that is not UTF-8.
const std::string kBad = "\xEF\xBF\xBD";

class Serve : public OstraTest::TempFilesTest {};

TEST_F(Serve, HostileClientGetsAReplyToEveryRequestAndTheServerStaysUp) {
  signal(SIGPIPE, SIG_IGN);  // the test reports a server that died; it must not die with it
  const std::string fifo = Write("fifo", "") + ".fifo";
  unlink(fifo.c_str());
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  OstraTest::Child session({OSTRA_TOOL, "--dir", OSTRA_EXAMPLES_DIR, "serve", "--stdio"},
                           Write("log", ""));
  // Sends `request`. Unless it is a notification (`expected` empty), its reply is UTF-8 JSON that
  // starts with `expected`. After a failure the session stops: a server out of step may block on
  // a reply not read while a large request waits for it.
  const auto add = [&session](const std::string& request, const std::string& expected) {
    rapidjson::Document json;
    if (HasFailure()) return json;
    session.Send(request + "\n");
    if (expected.empty()) return json;
    SCOPED_TRACE(request.substr(0, 200));
    std::string reply;
    EXPECT_TRUE(session.Read(reply)) << "no reply; the server ended";
    json.Parse<rapidjson::kParseValidateEncodingFlag>(reply.data(), reply.size());
    EXPECT_FALSE(json.HasParseError()) << "not UTF-8 JSON: " << reply.substr(0, 200);
    EXPECT_EQ(reply.substr(0, expected.size()), expected) << reply.substr(0, 300);
    return json;
  };
  // An operation's error: its first message's text and the error as data; its kind if no message.
  add(Call("metamodel.component", "get", R"({"component_id":"zz"})", "1"),
      Failure("1", -32000, "Metamodel component not found: zz") + R"(,"data":{"kind":"NOT_FOUND")");
  const auto failed = [](const std::string& message) { return Failure("7", -32000, message); };
  add(Call("cli.source", "frobnicate"),
      failed("Operation not found: frobnicate of com.corvane.ostra.metadata.cli.source"));
  add(Create("cli", R"({"description":"d","type":"REMOTE","filepath":""})"), failed("UNSUPPORTED"));
  for (const std::string input : {R"({"source_id":"x"})", R"({"source_id":"x","spec":null})"})
    add(Call("cli.source", "create", input, "3"), Failure("3", -32000, "Missing input: spec"));
  add(Create("cli", R"({"type":"FILE"})"), failed("Input of the wrong type: spec"));
  // In each domain: a created source must be a regular file (not a pipe, a device or a directory);
  // an unknown source; a notification, run without a reply: the list shows the name of the document
  // it loads, U+FFFD for each byte that is not UTF-8 (and for each of the lone surrogate's three).
  const std::string name = "bad\xFF\\udc00", shown = "bad" + kBad + kBad + kBad + kBad;
  const std::string domains[][6] = {
      {"metamodel", "Metamodel", fifo,
       R"({"metamodel":{"component":{"name":")" + name +
           R"(","documentation":"","metadata":{},"packages":[]}}})",
       "metamodel.component", R"(["com.larkspur.fleet",")" + shown + "\"]"},
      {"authentication", "Authentication", "/dev/zero",
       R"({"authentication":{"component":{"name":")" + name + R"("}}})", "authentication.component",
       R"(["com.larkspur.fleet","com.larkspur.fleet.product",")" + shown + "\"]"},
      {"cli", "Cli", testing::TempDir(),
       R"({"cli":[{"type":"namespace","path":"","name":")" + name + R"(","description":"d"}]})",
       "cli.namespace", R"([{"path":"","name":""},{"path":"","name":")" + shown + "\"}"}};
  for (const auto& [domain, title, path, document, listed, list] : domains) {
    add(Create(domain, FileSource(path)), failed(title + " source file not found: " + path));
    add(Call(domain + ".source", "get", R"({"source_id":"zz"})"),
        failed(title + " source not found: zz"));
    add(Create(domain, FileSource(Write(domain, document)), ""), "");
    add(Call(listed, "list", "{}", "6"), R"({"jsonrpc":"2.0","id":6,"result":)" + list);
  }
  // Ids: strings, numbers exactly as written, null; anything else is refused.
  const auto invalid = [](const std::string& detail) {
    return Failure("null", -32600, "Invalid Request" + detail);
  };
  for (const std::string id : {"[1]", "{}", "true", R"({"a":18446744073709551615})"})
    add(Call("cli.source", "list", "{}", id), invalid(": an id is a string, a number or null"));
  for (const std::string id : {"18446744073709551615", "-9223372036854775809", "1.50", "-0", "1e2",
                               "-12.5E-3", R"("s")", "null"})
    add(Call("cli.source", "list", "{}", id), R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":[)");
  add(Call("cli.source", "list", "{}", R"("\udc00")"),
      R"({"jsonrpc":"2.0","id":")" + kBad + kBad + kBad + R"(","result":[)");
  // Methods and params.
  add(Call("nope", "list", "{}", "10"), Failure("10", -32601, "Method not found: nope"));
  add(R"({"jsonrpc":"2.0","id":11,"method":"nope"})",
      Failure("11", -32601, "Method not found: nope"));
  add(R"({"jsonrpc":"2.0","method":"nope"})", "");
  add(R"({"jsonrpc":"2.0","id":12,"method":5})", Failure("12", -32600, "Invalid Request"));
  add(R"({"jsonrpc":"1.0","id":13,"method":"cli.source"})",
      Failure("13", -32600, "Invalid Request"));
  for (const std::string params :
       {"5", "{}", R"({"operation":5})", R"({"operation":"list","input":[]})"})
    add(R"({"jsonrpc":"2.0","id":14,"method":"cli.source","params":)" + params + "}",
        Failure("14", -32602,
                R"(Invalid params: params need an \"operation\" text and an optional \"input\" )"
                "object"));
  // Input that is not UTF-8, and garbage.
  const std::string parseError = R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":)"
                                 R"("Parse error: )";
  for (const std::string bytes : {"\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"})
    add(Call("cli.source", "get", R"({"source_id":")" + bytes + "\"}", "17"),
        parseError + "Invalid encoding in string. at offset ");
  for (const std::string& garbage : std::vector<std::string>{
           "{oops", "}{", "\xFF\xFE", "\x01\x02\x03", "[1,2", std::string(1 << 20, 'x')})
    add(garbage, parseError);
  add(std::string(R"({"jsonrpc":"2.0","id":18,"method":"nope"})") + std::string(1, '\0') + "junk",
      parseError + "a NUL byte at offset 41\"");
  for (const std::string request : {"null", "42", R"("x")", "{}"})
    add(request, invalid(""));
  add("[]", invalid(": an empty batch"));
  add("[1,2]", "[" + invalid("") + "}}," + invalid("") + "}}]");
  add("   \t", "");
  add("", "");
  // Limits: length, depth, values, strings, batch replies.
  add(R"({"a":")" + std::string(17 << 20, 'a') + "\"}", invalid(": longer than 16 MiB") + "}}");
  add(Call("metamodel.component", "list",
           R"({"x":)" + std::string(100000, '[') + std::string(100000, ']') + "}", "19"),
      invalid(": nesting deeper than 1000"));
  add(Call("metamodel.component", "list",
           R"({"x":)" + std::string(990, '[') + std::string(990, ']') + "}", "20"),
      R"({"jsonrpc":"2.0","id":20,"result":["com.larkspur.fleet",")" + shown + "\"]}");
  add(Call("metamodel.component", "list", R"({"x":[0)" + Repeat(",0", 300000) + "]}", "21"),
      invalid(": more than 262144 values"));
  add(Call("cli.source", "get", R"({"source_id":")" + std::string(2 << 20, 's') + "\"}", "22"),
      invalid(": a string longer than 1 MiB"));
  add(Call("cli.source", "get", R"({"source_id":")" + Repeat("\\u0001", 1000000) + "\"}", "23"),
      R"({"jsonrpc":"2.0","id":23,"error":{"code":-32000,"message":)"
      R"("Cli source not found: \u0001\u0001)");
  const std::string get =
      Call("metamodel.component", "get", R"({"component_id":"com.larkspur.fleet"})", "24");
  const auto batch =
      add("[" + get + Repeat("," + get, 599) + "]",
          R"([{"jsonrpc":"2.0","id":24,"result":{"info":{"name":"com.larkspur.fleet")");
  ASSERT_TRUE(batch.IsArray() && batch.Size() == 600u);
  EXPECT_EQ(batch[599]["error"]["code"], -32001);
  EXPECT_EQ(batch[599]["error"]["message"],
            "Server error: the replies of this batch exceed 16 MiB; the request was not run");
  add(Call("cli.namespace", "get", R"({"identity":{"path":"","name":"fleet"}})", R"("last")"),
      R"({"jsonrpc":"2.0","id":"last","result":{"identity":{"path":"","name":"fleet"},)");
  if (HasFailure()) return;
  long peakKiB = 0;
  EXPECT_EQ(session.Wait(0, &peakKiB), 0);
#if !defined(__SANITIZE_ADDRESS__)  // AddressSanitizer's shadow memory and quarantine count too
  EXPECT_LT(peakKiB, 300 * 1000 * 1000 / 1024);
#endif
  std::string extra;
  EXPECT_FALSE(session.Read(extra)) << "a reply too many: " << extra.substr(0, 200);
  unlink(fifo.c_str());
}

}  // namespace

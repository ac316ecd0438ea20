// One `ostra-metadata serve --stdio` session driven by a hostile client: creates without specs and
// from pipes and devices, bad identities, ids of every kind, invalid UTF-8, lines beyond every
// limit, deep and wide inputs, garbage. Every line that is not a notification gets its JSON-RPC
// reply, valid UTF-8 JSON, the server stays small, and a normal request at the end is answered.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/stat.h>

#include "test_store.h"
#include "tool/tool_helpers.h"

namespace {

// A client of one serve session, which sends a line and reads its reply before the next, as an
// interactive client does: the tool's input and output are pipes; its stderr goes to `log`.
class Session {
 public:
  Session(std::vector<std::string> args, const std::string& log) {
    int in[2], out[2];
    if (pipe(in) != 0 || pipe(out) != 0) return;
    args.insert(args.begin(), OSTRA_TOOL);
    child_ = std::make_unique<OstraTest::Child>(
        args, log, std::vector<std::pair<int, int>>{{0, in[0]}, {1, out[1]}});
    close(in[0]);
    close(out[1]);
    to_ = in[1];
    from_ = out[0];
  }
  ~Session() {
    if (to_ >= 0) close(to_);
    if (from_ >= 0) close(from_);
  }
  bool Started() const { return child_ && child_->Pid() > 0 && from_ >= 0; }

  void Send(const std::string& line) {
    const std::string text = line + "\n";
    for (std::size_t at = 0; at < text.size();) {
      const ssize_t written = write(to_, text.data() + at, text.size() - at);
      if (written <= 0) return;
      at += static_cast<std::size_t>(written);
    }
  }

  // The next reply line, without its newline; false at the end of the output, after a minute
  // without a reply, and ever after.
  bool Read(std::string& reply) {
    ended_ = ended_ || !OstraTest::ReadUntil(from_, '\n', pending_, reply, 60);
    return !ended_;
  }

  // Ends the input and waits for the end: the exit status; `peakKiB` is the most memory the
  // server held resident.
  int Finish(long& peakKiB) {
    close(to_);
    to_ = -1;
    return child_->Wait(0, &peakKiB);
  }

 private:
  std::unique_ptr<OstraTest::Child> child_;
  int to_ = -1;
  int from_ = -1;
  std::string pending_;
  bool ended_ = false;
};

std::string Call(const std::string& id, const std::string& method, const std::string& operation,
                 const std::string& input = "{}") {
  return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method +
         R"(","params":{"operation":")" + operation + R"(","input":)" + input + "}}";
}
// The start of an error reply, up to the end of its message.
std::string Failure(const std::string& id, int code, const std::string& message) {
  return R"({"jsonrpc":"2.0","id":)" + id + R"(,"error":{"code":)" + std::to_string(code) +
         R"(,"message":")" + message + "\"";
}
// The start of a parse error reply, up to `start` of its message.
std::string ParseFailure(const std::string& start) {
  return R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error: )" + start;
}
std::string Spec(const std::string& path, const std::string& type = "FILE") {
  return R"({"description":"d","type":")" + type + R"(","filepath":")" + path + R"("})";
}
std::string Repeat(const std::string& text, std::size_t times) {
  std::string repeated;
  repeated.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i)
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
  const std::string directory = testing::TempDir();
  // Documents whose names hold a byte that is not UTF-8 and a lone low surrogate.
  const std::string name = "bad\xFF\\udc00";
  const std::string shown = "bad" + kBad + kBad + kBad + kBad;
  const std::string documents[] = {
      Write("metamodel", R"({"metamodel":{"component":{"name":")" + name +
                             R"(","documentation":"","metadata":{},"packages":[]}}})"),
      Write("authentication", R"({"authentication":{"component":{"name":")" + name + R"("}}})"),
      Write("cli", R"({"cli":[{"type":"namespace","path":"","name":")" + name +
                       R"(","description":"d"}]})")};
  const std::string listed[] = {"metamodel.component", "authentication.component", "cli.namespace"};

  Session session({"--dir", OSTRA_EXAMPLES_DIR, "serve", "--stdio"}, Write("log", ""));
  ASSERT_TRUE(session.Started());
  // Sends `request`. Unless it is a notification (`expected` empty), its reply is UTF-8 JSON that
  // starts with `expected`, or contains it when `contains` is set.
  const auto add = [&session](const std::string& request, const std::string& expected,
                              bool contains = false) {
    rapidjson::Document json;
    session.Send(request);
    if (expected.empty()) return json;
    SCOPED_TRACE(request.substr(0, 200));
    std::string reply;
    EXPECT_TRUE(session.Read(reply)) << "no reply; the server ended";
    json.Parse<rapidjson::kParseValidateEncodingFlag>(reply.data(), reply.size());
    EXPECT_FALSE(json.HasParseError()) << "not UTF-8 JSON: " << reply.substr(0, 200);
    if (contains) {
      EXPECT_NE(reply.find(expected), std::string::npos) << reply.substr(0, 300);
    } else {
      EXPECT_EQ(reply.substr(0, expected.size()), expected) << reply.substr(0, 300);
    }
    return json;
  };
  const char* const domains[][2] = {
      {"metamodel", "Metamodel"}, {"authentication", "Authentication"}, {"cli", "Cli"}};
  for (std::size_t d = 0; d < 3; ++d) {
    const std::string source = std::string(domains[d][0]) + ".source";
    const std::string Domain = domains[d][1];
    for (const std::string& spec : {std::string(), std::string(R"(,"spec":null)")}) {
      add(Call("1", source, "create", R"({"source_id":"x")" + spec + "}"),
          Failure("1", -32000, "Missing input: spec"));
    }
    for (const std::string& spec : {std::string("5"), std::string(R"({"type":"FILE"})")}) {
      add(Call("2", source, "create", R"({"source_id":"x","spec":)" + spec + "}"),
          Failure("2", -32000, "Input of the wrong type: spec"));
    }
    add(R"({"jsonrpc":"2.0","method":")" + source +
            R"(","params":{"operation":"create","input":{"source_id":"x"}}})",
        "");
    for (const std::string& path :
         {fifo, std::string("/dev/zero"), std::string("/dev/stdin"), directory}) {
      add(Call("3", source, "create", R"({"source_id":"x","spec":)" + Spec(path) + "}"),
          Failure("3", -32000, Domain + " source file not found: " + path));
    }
    add(Call("4", source, "create", R"({"source_id":"x","spec":)" + Spec("", "REMOTE") + "}"),
        Failure("4", -32000, "UNSUPPORTED"));
    add(Call("5", source, "get", R"({"source_id":"\udc00"})"),
        Failure("5", -32000, Domain + " source not found: " + kBad + kBad + kBad));
    add(Call("6", source, "create", R"({"source_id":"bad","spec":)" + Spec(documents[d]) + "}"),
        R"({"jsonrpc":"2.0","id":6,"result":null})");
    add(Call("7", listed[d], "list"), shown, true);
  }
  for (const std::string service : {"cli.namespace", "cli.command"}) {
    add(Call("8", service, "get"), Failure("8", -32000, "Missing input: identity"));
    add(Call("8", service, "get", R"({"identity":null})"),
        Failure("8", -32000, "Missing input: identity"));
    for (const std::string& identity : {std::string(R"("fleet")"), std::string("[]"),
                                        std::string(R"({"path":5,"name":"fleet"})")}) {
      add(Call("9", service, "get", R"({"identity":)" + identity + "}"),
          Failure("9", -32000, "Input of the wrong type: identity"));
    }
  }

  // Ids: strings, numbers exactly as written, null; anything else is refused.
  const std::string badId = "Invalid Request: an id is a string, a number or null";
  for (const std::string id : {"[1]", "{}", "true", R"({"a":18446744073709551615})"}) {
    add(Call(id, "cli.source", "list"), Failure("null", -32600, badId));
  }
  for (const std::string id : {"18446744073709551615", "-9223372036854775809", "1.50", "-0", "1e2",
                               "-12.5E-3", R"("s")", "null"}) {
    add(Call(id, "cli.source", "list"), R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":[)");
  }
  add(Call(R"("\udc00")", "cli.source", "list"),
      R"({"jsonrpc":"2.0","id":")" + kBad + kBad + kBad + R"(","result":[)");

  // Methods and params.
  add(Call("10", "nope", "list"), Failure("10", -32601, "Method not found: nope"));
  add(R"({"jsonrpc":"2.0","id":11,"method":"nope"})",
      Failure("11", -32601, "Method not found: nope"));
  add(R"({"jsonrpc":"2.0","method":"nope"})", "");
  add(R"({"jsonrpc":"2.0","id":12,"method":5})", Failure("12", -32600, "Invalid Request"));
  add(R"({"jsonrpc":"1.0","id":13,"method":"cli.source"})",
      Failure("13", -32600, "Invalid Request"));
  for (const std::string params :
       {"5", "{}", R"({"operation":5})", R"({"operation":"list","input":[]})"}) {
    add(R"({"jsonrpc":"2.0","id":14,"method":"cli.source","params":)" + params + "}",
        Failure("14", -32602,
                R"(Invalid params: params need an \"operation\" text and an optional )"
                R"(\"input\" object)"));
  }
  add(Call("15", "cli.source", "frobnicate"),
      Failure("15", -32000,
              "Operation not found: frobnicate of com.corvane.ostra.metadata.cli.source"));
  add(Call("16", "metamodel.component", "get", R"({"component_id":"zz"})"),
      Failure("16", -32000, "Metamodel component not found: zz") +
          R"(,"data":{"kind":"NOT_FOUND")");

  // Input that is not UTF-8, and garbage.
  for (const std::string bytes : {"\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    add(Call("17", "cli.source", "get", R"({"source_id":")" + bytes + "\"}"),
        ParseFailure("Invalid encoding in string. at offset "));
  }
  for (const std::string& garbage : std::vector<std::string>{
           "{oops", "}{", "\xFF\xFE", "\x01\x02\x03", "[1,2", std::string(1 << 20, 'x')}) {
    add(garbage, ParseFailure(""));
  }
  add(std::string(R"({"jsonrpc":"2.0","id":18,"method":"nope"})") + std::string(1, '\0') + "junk",
      ParseFailure("a NUL byte at offset 41\""));
  for (const std::string request : {"null", "42", R"("x")", "{}"}) {
    add(request, Failure("null", -32600, "Invalid Request"));
  }
  add("[]", Failure("null", -32600, "Invalid Request: an empty batch"));
  add("[1,2]", "[" + Failure("null", -32600, "Invalid Request") + "}}," +
                   Failure("null", -32600, "Invalid Request") + "}}]");
  add("   \t", "");
  add("", "");

  // Limits: length, depth, values, strings, batch replies.
  add(R"({"a":")" + std::string(17 << 20, 'a') + "\"}",
      Failure("null", -32600, "Invalid Request: longer than 16 MiB") + "}}");
  add(Call("19", "metamodel.component", "list",
           R"({"x":)" + std::string(100000, '[') + std::string(100000, ']') + "}"),
      Failure("null", -32600, "Invalid Request: nesting deeper than 1000"));
  add(Call("20", "metamodel.component", "list",
           R"({"x":)" + std::string(990, '[') + std::string(990, ']') + "}"),
      R"({"jsonrpc":"2.0","id":20,"result":[")" + shown + R"(","com.larkspur.fleet"]})");
  add(Call("21", "metamodel.component", "list", R"({"x":[0)" + Repeat(",0", 300000) + "]}"),
      Failure("null", -32600, "Invalid Request: more than 262144 values"));
  add(Call("22", "cli.source", "get", R"({"source_id":")" + std::string(2 << 20, 's') + "\"}"),
      Failure("null", -32600, "Invalid Request: a string longer than 1 MiB"));
  add(Call("23", "cli.source", "get", R"({"source_id":")" + Repeat("\\u0001", 1000000) + "\"}"),
      R"({"jsonrpc":"2.0","id":23,"error":{"code":-32000,"message":)"
      R"("Cli source not found: \u0001\u0001)");
  const std::string get =
      Call("24", "metamodel.component", "get", R"({"component_id":"com.larkspur.fleet"})");
  const auto batch = add("[" + get + Repeat("," + get, 599) + "]",
                         Failure("24", -32001,
                                 "Server error: the replies of this batch exceed 16 MiB; the "
                                 "request was not run") +
                             "}}]",
                         true);
  ASSERT_TRUE(batch.IsArray());
  EXPECT_EQ(batch.Size(), 600u);
  EXPECT_EQ(batch[0]["result"]["info"]["name"], "com.larkspur.fleet");

  // A normal request at the end.
  add(Call(R"("last")", "cli.namespace", "get", R"({"identity":{"path":"","name":"fleet"}})"),
      R"({"jsonrpc":"2.0","id":"last","result":{"identity":{"path":"","name":)"
      R"("fleet"},"description":"Larkspur Fleet: vehicles, routes and telemetry )"
      R"(of a delivery fleet.","children":[)");

  long peakKiB = 0;
  EXPECT_EQ(session.Finish(peakKiB), 0);
#if !defined(__SANITIZE_ADDRESS__)  // AddressSanitizer's shadow memory and quarantine count too
  EXPECT_LT(peakKiB, 300 * 1000 * 1000 / 1024);
#endif
  std::string extra;
  EXPECT_FALSE(session.Read(extra)) << "a reply too many: " << extra.substr(0, 200);
  unlink(fifo.c_str());
}

}  // namespace

// `ostra-metadata serve --http` driven with curl: what HTTP adds to the JSON-RPC core (status
// codes, the model and its ETag, the explorer's files, the guard on source management, watching,
// limits).
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include "test_store.h"
#include "tool/tool_helpers.h"

namespace {

using OstraTest::Call, OstraTest::Create, OstraTest::Failure, OstraTest::FileSource;
using OstraTest::Reply, OstraTest::Server;
namespace fs = std::filesystem;

class Http : public OstraTest::TempFilesTest {};

TEST_F(Http, RpcAndTheModelDocumentWithItsETag) {
  Server server({OSTRA_TOOL, "--dir", OSTRA_EXAMPLES_DIR, "serve", "--http", "127.0.0.1:0"},
                Write("log", ""));
  ASSERT_FALSE(server.Url().empty()) << server.Log();
  const std::string get =
      Call("metamodel.component", "get", R"({"component_id":"com.larkspur.fleet"})");
  const Reply rpc = server.Rpc(get);
  EXPECT_EQ(rpc.status, 200);
  EXPECT_EQ(rpc.Header("Content-Type"), "application/json");
  const std::string notifications =
      "[" + Call("cli.source", "list", "{}", "") + "," + Call("nope", "", "{}", "") + "]";
  EXPECT_EQ(server.Rpc(notifications).Text(), "204 ");
  const std::string big = "@" + Write("big", std::string(17 << 20, ' '));
  EXPECT_EQ(server.Curl("/rpc", {"--data-binary", big}).status, 415);  // not declared JSON
  EXPECT_EQ(server.Curl("/rpc", {"--data-binary", get}).status, 415);
  EXPECT_EQ(server.Rpc(big).Text(),
            "413 " + Failure("null", -32600, "Invalid Request: longer than 16 MiB") + "}}");
  EXPECT_EQ(server.Curl("/nope").status, 404);
  EXPECT_EQ(server.Curl("/rpc").status, 405);
  // The whole model: what the services answer, tagged with the CRC32 of the body.
  const Reply model = server.Curl("/v1/metadata");
  ASSERT_EQ(model.status, 200);
  EXPECT_EQ(model.Header("ETag"), "\"" + OstraTest::Crc(model.body) + "\"");
  rapidjson::Document document, component;
  document.Parse(model.body.c_str());
  component.Parse(rpc.body.c_str());
  ASSERT_TRUE(document.IsObject() && component.IsObject());
  EXPECT_EQ(document["metamodel"]["components"][0], component["result"]);
  EXPECT_EQ(document["sources"]["cli"][0]["info"]["filepath"], OSTRA_EXAMPLES_DIR "/cli.json");
  EXPECT_EQ(document["cli"]["namespaces"].Size(), 6u);  // the root and five below it
  EXPECT_EQ(document["cli"]["commands"].Size(), 12u);
  EXPECT_EQ(document["metamodel"]["resources"]["com.larkspur.fleet.Vehicle"][0],
            "com.larkspur.fleet.vehicles.VehicleSpec");
  // Source management is refused unless allowed; reading the sources is not.
  for (const auto& request : {Create("cli", FileSource(OSTRA_EXAMPLES_DIR "/cli.json")),
                              Call("metamodel.source", "delete", R"({"source_id":"cli"})"),
                              Call("authentication.source", "reload")}) {
    EXPECT_EQ(server.Rpc(request).body,
              Failure("7", -32002, "source management is disabled") + "}}")
        << request;
  }
  EXPECT_EQ(server.Rpc(Call("cli.source", "list")).body,
            R"({"jsonrpc":"2.0","id":7,"result":["cli"]})");
  // The explorer's files: the page's policy. The model and the files carry an ETag, which
  // If-None-Match names in any of its forms, and are sent as they are whatever the client accepts
  // (cpp-httplib would compress them anew on every request).
  const Reply page = server.Curl("/");
  EXPECT_EQ(page.Header("Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(page.Header("Content-Security-Policy"),
            "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
            "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
  for (const char* path : {"/v1/metadata", "/", "/explorer.js", "/explorer.css"}) {
    const Reply reply = server.Curl(path, {"-H", "Accept-Encoding: br, gzip"});
    const std::string etag = reply.Header("ETag");
    EXPECT_EQ(reply.Header("Content-Encoding"), "<none>") << path;
    EXPECT_EQ(etag.size(), 10u) << path;
    const std::string matches[] = {etag, "W/" + etag, "\"x\" , W/\"y\", " + etag,
                                   "*",  "\"other\"", etag.substr(0, etag.size() - 1)};
    for (const auto& match : matches) {
      SCOPED_TRACE(path + (": " + match));
      const Reply conditional = server.Curl(path, {"-H", "If-None-Match: " + match});
      // The first four match.
      EXPECT_EQ(conditional.Text(), &match < matches + 4 ? "304 " : "200 " + reply.body);
      EXPECT_EQ(conditional.Header("ETag"), etag);
    }
  }
  EXPECT_EQ(server.Curl("/explorerXjs").status, 404);
  EXPECT_EQ(server.Wait(SIGTERM), 0);
}

// A socket connected to `server` (on 127.0.0.1), reads giving up after 10 s; -1 when it cannot
// connect.
int Connect(const Server& server) {
  const std::string& url = server.Url();
  const int fd = socket(AF_INET, SOCK_STREAM, 0), port = std::stoi(url.substr(url.rfind(':') + 1));
  sockaddr_in address{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
  const timeval wait{10, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
  close(fd);
  return -1;
}

// The status line and headers that a connection answers to `request` (best a HEAD request, whose
// answer ends there); what came of them when the connection is closed first.
std::string Exchange(int fd, const std::string& request) {
  std::string reply;
  if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0) return reply;
  char block[4096];
  while (reply.find("\r\n\r\n") == std::string::npos) {
    const ssize_t got = recv(fd, block, sizeof block, 0);
    if (got <= 0) break;
    reply.append(block, static_cast<std::size_t>(got));
  }
  return reply;
}

// Connections that send nothing, nothing more, or only part of their headers hold no thread: with
// two threads and fifty such connections a request is answered at once (each of them used to hold
// a thread for five seconds). They are closed after those five seconds, or once 512 newer ones
// wait.
TEST_F(Http, IdleConnectionsHoldNoThreadAndAreClosed) {
  Server server({OSTRA_TOOL, "--dir", OSTRA_EXAMPLES_DIR, "serve", "--http", "0", "--threads", "2"},
                Write("log", ""));
  ASSERT_FALSE(server.Url().empty()) << server.Log();
  const std::string get = "HEAD /v1/metadata HTTP/1.1\r\nHost: x\r\n\r\n";
  std::vector<int> idle;
  for (int i = 0; i < 50; ++i)
    idle.push_back(Connect(server));
  const auto start = std::chrono::steady_clock::now();
  const std::string part = "GET /v1/metadata HTTP/1.1\r\nX-Slow: ";
  for (int i = 30; i < 50; ++i)
    EXPECT_EQ(send(idle[i], part.data(), part.size(), MSG_NOSIGNAL), ssize_t(part.size()));
  // Ten of them get an answer and then go quiet; later they are answered again.
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(Exchange(idle[i], get).substr(0, 12), "HTTP/1.1 200") << i;
  EXPECT_EQ(server.Curl("/v1/metadata", {"--max-time", "3"}).status, 200);
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(Exchange(idle[i], get).substr(0, 12), "HTTP/1.1 200") << i;
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  // The others are closed once they have waited five seconds, the last with its headers unread.
  char byte;
  EXPECT_EQ(recv(idle[20], &byte, 1, 0), 0);
  EXPECT_EQ(recv(idle[49], &byte, 1, 0), 0);
  const auto closed = std::chrono::steady_clock::now() - start;
  EXPECT_GT(closed, std::chrono::milliseconds(4500));
  EXPECT_LT(closed, std::chrono::seconds(8));
  for (const int fd : idle)
    close(fd);
  // Beyond 512 waiting connections, those that waited longest go first: eight of 520, at once.
  std::vector<int> crowd;
  for (int i = 0; i < 520; ++i)
    crowd.push_back(Connect(server));
  ASSERT_EQ(std::count(crowd.begin(), crowd.end(), -1), 0);
  std::vector<pollfd> watched;
  for (const int fd : crowd)
    watched.push_back(pollfd{fd, POLLIN, 0});
  std::size_t evicted = 0;
  for (const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(3);
       evicted < 8 && std::chrono::steady_clock::now() < until;) {
    poll(watched.data(), watched.size(), 100);
    evicted = std::count_if(watched.begin(), watched.end(),
                            [](const pollfd& entry) { return entry.revents != 0; });
  }
  EXPECT_EQ(evicted, 8u);
  EXPECT_EQ(Exchange(crowd.back(), get).substr(0, 12), "HTTP/1.1 200");
  for (const int fd : crowd)
    close(fd);
}

// One server that manages sources under a root, watches a file, cuts off requests and stops.
TEST_F(Http, SourcesUnderTheRootWatchingLimitsAndStop) {
  const std::string cli = OSTRA_EXAMPLES_DIR "/cli.json", text = OstraTest::ExampleText("cli.json");
  const std::string file = Write("cli", text);
  const fs::path root = fs::path(testing::TempDir()) / "Http.root";
  fs::remove_all(root);
  fs::create_directories(root / "sub");
  fs::copy_file(cli, root / "cli.json");
  fs::create_symlink(cli, root / "link.json");  // a link out of the root
  Server server({OSTRA_TOOL, "--cli", "fleet=" + file, "serve", "--http", "0", "--watch",
                 "--threads", "2", "--allow-source-management", "--source-root", root.string()},
                Write("log", ""));
  const std::string outside =
      Failure("7", -32002, "source file is not a regular file under the source root") + "}}";
  for (const char* path :
       {"../Http.root/../cli.json", cli.c_str(), "link.json", "sub", "missing.json", ""})
    EXPECT_EQ(server.Rpc(Create("cli", FileSource(path))).body, outside) << path;
  // Paths under the root, relative or not; the store is given the real path.
  for (const std::string& path : {(root / "cli.json").string(), std::string("sub/../cli.json")}) {
    EXPECT_EQ(server.Rpc(Create("cli", FileSource(path))).body,
              R"({"jsonrpc":"2.0","id":7,"result":null})")
        << path;
    EXPECT_NE(server.Rpc(Call("cli.source", "get", R"({"source_id":"x"})"))
                  .body.find(R"("filepath":")" + (root / "cli.json").string() + "\""),
              std::string::npos);
    server.Rpc(Call("cli.source", "delete", R"({"source_id":"x"})"));
  }
  // A watched file that changes changes the ETag; one that does not load keeps the old data.
  const auto etag = [&server] { return server.Curl("/v1/metadata").Header("ETag"); };
  const std::string first = etag();
  std::string renamed = text;
  renamed.replace(renamed.find("\"fleet\""), 7, "\"flotte\"");
  OstraTest::Replace(file, renamed);
  ASSERT_TRUE(OstraTest::Eventually([&] { return etag() != first; }));
  const std::string second = etag();
  std::ofstream(file, std::ios::trunc) << text;  // a write into it
  ASSERT_TRUE(OstraTest::Eventually([&] { return etag() != second; }));
  EXPECT_EQ(etag(), first);
  std::ofstream(file, std::ios::trunc) << R"({"cli": [)";
  OstraTest::Eventually([&] { return !server.Log().empty(); });
  EXPECT_EQ(server.Log(), "ostra-metadata: cli source fleet kept its old data; " + file +
                              " does not load:\n  ostra.metadata.cli.parse.error: Cli source file "
                              "parse error : 3 at 9 [3, 9]\n");
  EXPECT_EQ(etag(), first);
  // Headers beyond 64 KiB, in lines that cpp-httplib takes (up to 8 KiB each).
  std::vector<std::string> headers;
  for (int i = 0; i < 10; ++i)
    headers.insert(headers.end(), {"-H", "X" + std::to_string(i) + ": " + std::string(7000, 'a')});
  EXPECT_EQ(server.Curl("/v1/metadata", headers).status, 400);
  // Headers that trickle in are cut off five seconds after they began (the 400 sent then is lost
  // when the client goes on sending).
  const int fd = Connect(server);
  ASSERT_GE(fd, 0);
  const auto start = std::chrono::steady_clock::now();
  std::thread trickle([fd] {
    for (const char byte : "GET /v1/metadata HTTP/1.1\r\nX: " + std::string(10, 'y')) {
      if (send(fd, &byte, 1, MSG_NOSIGNAL) != 1) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(250));
    }
  });
  for (char block[4096]; read(fd, block, sizeof block) > 0;) {
  }
  const auto cut = std::chrono::steady_clock::now();
  trickle.join();
  close(fd);
  EXPECT_GT(cut - start, std::chrono::milliseconds(4500));
  EXPECT_LT(cut - start, std::chrono::seconds(7));
  // A request in flight when SIGTERM comes is answered; the server then exits 0.
  const std::string request =
      "@" + Write("slow", Call("cli.source", "list") + std::string(300000, ' '));
  std::string reply;
  std::thread slow([&] { reply = server.Rpc(request, {"--limit-rate", "200k"}).body; });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(server.Wait(SIGTERM), 0);
  slow.join();
  EXPECT_EQ(reply, R"({"jsonrpc":"2.0","id":7,"result":["fleet"]})");
  EXPECT_EQ(server.Curl("/v1/metadata").status, 0);  // no longer listening
}

}  // namespace

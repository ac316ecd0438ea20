// The explorer page of `ostra-metadata serve --http` in headless Chromium, driven over the
// DevTools protocol on a pipe: the model as a reader sees it, the filter and the keys, a
// permalink, a change of a source seen by polling, and model text that never becomes markup.
// Screenshots are left beside the test binary. Skipped where Chromium is not installed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "tool/tool_helpers.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using OstraTest::Slurp;

// A child process in a process group of its own, killed with its group when this ends.
class Child {
 public:
  // Runs `argv`; `in` and `out` become its descriptors 3 and 4 when set; stdout and stderr go
  // to `log`. `stdoutPipe` receives the read end of its stdout when given.
  Child(const std::vector<std::string>& argv, const std::string& log, int in = -1, int out = -1,
        int* stdoutPipe = nullptr) {
    int pipeFds[2] = {-1, -1};
    if (stdoutPipe && pipe(pipeFds) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      setpgid(0, 0);
      const int logFd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      dup2(stdoutPipe ? pipeFds[1] : logFd, 1);
      dup2(logFd, 2);
      if (in >= 0) dup2(in, 3);
      if (out >= 0) dup2(out, 4);
      std::vector<char*> args;
      for (const auto& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
      args.push_back(nullptr);
      execv(args[0], args.data());
      _exit(127);
    }
    if (stdoutPipe) {
      close(pipeFds[1]);
      *stdoutPipe = pipeFds[0];
    }
  }
  ~Child() {
    if (pid_ <= 0) return;
    kill(-pid_, SIGTERM);
    for (int i = 0; i < 50 && waitpid(pid_, nullptr, WNOHANG) == 0; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }

 private:
  pid_t pid_ = -1;
};

// Chromium with the DevTools protocol on a pipe: messages are JSON texts ended by a NUL byte.
class Browser {
 public:
  Browser(const std::string& chromium, const std::string& dir) {
    int toBrowser[2], fromBrowser[2];
    if (pipe(toBrowser) != 0 || pipe(fromBrowser) != 0) return;
    child_ = std::make_unique<Child>(
        std::vector<std::string>{chromium, "--headless", "--no-sandbox", "--disable-gpu",
                                 "--disable-quic", "--no-first-run",
                                 "--disable-background-networking", "--disable-component-update",
                                 "--disable-sync", "--hide-scrollbars", "--remote-debugging-pipe",
                                 "--user-data-dir=" + dir + "/profile", "about:blank"},
        dir + "/chromium.log", toBrowser[0], fromBrowser[1]);
    close(toBrowser[0]);
    close(fromBrowser[1]);
    in_ = toBrowser[1];
    out_ = fromBrowser[0];
    signal(SIGPIPE, SIG_IGN);
    // The page that --headless opened, and a session on it.
    rapidjson::Document targets = Call("Target.getTargets", "{}", false);
    if (!targets.IsObject() || !targets.HasMember("targetInfos")) return;
    for (const auto& target : targets["targetInfos"].GetArray()) {
      if (std::string(target["type"].GetString()) != "page") continue;
      const auto attached = Call(
          "Target.attachToTarget",
          R"({"flatten":true,"targetId":")" + std::string(target["targetId"].GetString()) + "\"}",
          false);
      if (attached.IsObject() && attached.HasMember("sessionId"))
        session_ = attached["sessionId"].GetString();
      break;
    }
  }
  ~Browser() {
    if (in_ >= 0) close(in_);
    if (out_ >= 0) close(out_);
  }
  bool Ready() const { return !session_.empty(); }

  // Sends a command (to the page unless `toPage` is false) and answers its result; not an object
  // when the browser answered an error or nothing within 20 s.
  rapidjson::Document Call(const std::string& method, const std::string& params,
                           bool toPage = true) {
    const int id = ++lastId_;
    std::string message =
        "{\"id\":" + std::to_string(id) + ",\"method\":\"" + method + "\",\"params\":" + params;
    if (toPage) message += ",\"sessionId\":\"" + session_ + "\"";
    message += "}";
    message.push_back('\0');
    rapidjson::Document reply;
    if (write(in_, message.data(), message.size()) != static_cast<ssize_t>(message.size()))
      return reply;
    const auto until = Clock::now() + std::chrono::seconds(20);
    for (std::string text; ReadMessage(text, until);) {
      rapidjson::Document parsed;
      parsed.Parse(text.c_str());
      if (parsed.IsObject() && parsed.HasMember("id") && parsed["id"].GetInt() == id) {
        if (parsed.HasMember("result")) reply.CopyFrom(parsed["result"], reply.GetAllocator());
        return reply;
      }
    }
    return reply;
  }

  // The value of a JavaScript expression in the page, as JSON text.
  std::string Eval(const std::string& expression) {
    const auto result =
        Call("Runtime.evaluate", "{\"returnByValue\":true,\"expression\":" +
                                     Json("JSON.stringify((() => " + expression + ")())") + "}");
    if (!result.IsObject() || result.HasMember("exceptionDetails")) return "<exception>";
    const auto& value = result["result"];
    return value.HasMember("value") && value["value"].IsString() ? value["value"].GetString()
                                                                 : "<undefined>";
  }

  // Waits until `expression` is true, at most `seconds`.
  bool WaitFor(const std::string& expression, int seconds) {
    const auto until = Clock::now() + std::chrono::seconds(seconds);
    while (Clock::now() < until) {
      if (Eval(expression) == "true") return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
  }

  void Key(const std::string& key) {
    for (const char* type : {"keyDown", "keyUp"}) {
      Call("Input.dispatchKeyEvent", std::string("{\"type\":\"") + type + "\",\"key\":" +
                                         Json(key) + ",\"code\":" + Json(Code(key)) +
                                         (key.size() == 1 ? ",\"text\":" + Json(key) : "") + "}");
    }
  }
  void Type(const std::string& text) { Call("Input.insertText", "{\"text\":" + Json(text) + "}"); }

  void Resize(int width, int height) {
    Call("Emulation.setDeviceMetricsOverride", "{\"width\":" + std::to_string(width) +
                                                   ",\"height\":" + std::to_string(height) +
                                                   ",\"deviceScaleFactor\":1,\"mobile\":false}");
  }

  bool Screenshot(const std::string& path) {
    const auto shot = Call("Page.captureScreenshot", R"({"format":"png"})");
    if (!shot.IsObject() || !shot.HasMember("data")) return false;
    std::ofstream(path, std::ios::binary) << Base64Decode(shot["data"].GetString());
    return true;
  }

  static std::string Json(const std::string& text) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
    return buffer.GetString();
  }

 private:
  static std::string Code(const std::string& key) {
    if (key == "/") return "Slash";
    return key.size() == 1 ? "Key" + key : key;
  }

  bool ReadMessage(std::string& text, Clock::time_point until) {
    text.clear();
    for (;;) {
      const auto nul = pending_.find('\0');
      if (nul != std::string::npos) {
        text = pending_.substr(0, nul);
        pending_.erase(0, nul + 1);
        return true;
      }
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
      pollfd ready{out_, POLLIN, 0};
      char buffer[65536];
      if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) <= 0) return false;
      const ssize_t got = read(out_, buffer, sizeof buffer);
      if (got <= 0) return false;
      pending_.append(buffer, static_cast<std::size_t>(got));
    }
  }

  static std::string Base64Decode(const std::string& text) {
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
      const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
      const char* at = std::strchr(digits, c);
      if (c == '=' || !at) continue;
      bits = (bits << 6) | static_cast<unsigned>(at - digits);
      if ((count += 6) >= 8) bytes.push_back(static_cast<char>((bits >> (count -= 8)) & 0xff));
    }
    return bytes;
  }

  std::unique_ptr<Child> child_;
  int in_ = -1, out_ = -1;
  int lastId_ = 0;
  std::string pending_;
  std::string session_;
};

// Chromium as OSTRA_CHROMIUM names it, or where Debian puts it; empty when it is not there.
std::string FindChromium() {
  const char* given = std::getenv("OSTRA_CHROMIUM");
  const std::string path = given ? given : "/usr/bin/chromium";
  return access(path.c_str(), X_OK) == 0 ? path : "";
}

// Writes `text` to `path` by renaming a new file over it, as editors and deployments do.
void Replace(const fs::path& path, const std::string& text) {
  std::ofstream(path.string() + ".new", std::ios::binary) << text;
  fs::rename(path.string() + ".new", path);
}

// `ostra-metadata SOURCES serve --http 0 OPTIONS` on loopback, and its URL.
class Server {
 public:
  Server(std::vector<std::string> args, const fs::path& log,
         const std::vector<std::string>& options = {}) {
    args.insert(args.begin(), OSTRA_TOOL);
    for (const char* arg : {"serve", "--http", "0"})
      args.push_back(arg);
    args.insert(args.end(), options.begin(), options.end());
    int out = -1;
    child_ = std::make_unique<Child>(args, log.string(), -1, -1, &out);
    std::string line;
    char c;
    pollfd ready{out, POLLIN, 0};
    while (poll(&ready, 1, 10000) > 0 && read(out, &c, 1) == 1 && c != '\n')
      line += c;
    close(out);
    if (line.rfind("listening on http://127.0.0.1:", 0) == 0)
      url_ = line.substr(std::strlen("listening on "));
  }
  const std::string& Url() const { return url_; }

 private:
  std::unique_ptr<Child> child_;
  std::string url_;
};

// The status line and headers of a GET of `url` with `header`, one per line, without the body.
std::string Head(const std::string& url, const std::string& header, const fs::path& dir) {
  const std::string headers = (dir / "headers").string();
  std::system(("curl -s --max-time 20 -o /dev/null -D " + OstraTest::Quote(headers) + " -H " +
               OstraTest::Quote(header) + " " + OstraTest::Quote(url))
                  .c_str());
  return std::regex_replace(Slurp(headers), std::regex("\r"), "");
}

// Without a browser: the page's policy, its ETag, and bodies sent as they are whatever encodings
// the client accepts (cpp-httplib would compress them anew on every request).
TEST(Explorer, ServesThePageWithItsPolicyAndBodiesAsTheyAre) {
  const fs::path dir = fs::path(testing::TempDir()) / "explorer-headers";
  fs::create_directories(dir);
  Server server({"--dir", OSTRA_EXAMPLES_DIR}, dir / "server.log");
  ASSERT_FALSE(server.Url().empty());

  const std::string page = Head(server.Url() + "/", "Accept-Encoding: br, gzip", dir);
  EXPECT_NE(page.find("HTTP/1.1 200 OK\n"), std::string::npos) << page;
  EXPECT_NE(page.find("\nContent-Security-Policy: default-src 'none'; script-src 'self'; "
                      "style-src 'self'; connect-src 'self'; img-src 'self'; base-uri 'none'; "
                      "form-action 'none'; frame-ancestors 'none'\n"),
            std::string::npos)
      << page;
  EXPECT_NE(page.find("\nContent-Type: text/html; charset=utf-8\n"), std::string::npos) << page;
  for (const char* path : {"/", "/explorer.js", "/explorer.css", "/v1/metadata"}) {
    SCOPED_TRACE(path);
    const std::string head = Head(server.Url() + path, "Accept-Encoding: br, gzip", dir);
    EXPECT_EQ(head.find("Content-Encoding"), std::string::npos) << head;
    std::smatch etag;
    ASSERT_TRUE(std::regex_search(head, etag, std::regex("\nETag: (\"[0-9a-f]{8}\")\n")));
    EXPECT_EQ(Head(server.Url() + path, "If-None-Match: " + etag[1].str(), dir)
                  .rfind("HTTP/1.1 304 Not Modified\n", 0),
              0u);
  }
  EXPECT_EQ(Head(server.Url() + "/explorerXjs", "Accept: */*", dir).rfind("HTTP/1.1 404", 0), 0u);
}

TEST(Explorer, ShowsTheModelFiltersItAndFollowsChanges) {
  const std::string chromium = FindChromium();
  if (chromium.empty()) GTEST_SKIP() << "chromium is not installed (scripts/install-deps chromium)";

  // The examples, one documentation text holding markup.
  const fs::path dir = fs::path(testing::TempDir()) / "explorer-test";
  fs::remove_all(dir);
  fs::create_directories(dir / "sources");
  for (const char* name : {"metamodel.json", "authentication.json", "cli.json"})
    fs::copy_file(fs::path(OSTRA_EXAMPLES_DIR) / name, dir / "sources" / name);
  const std::string markup =
      "<img src=x onerror=document.title=1><script>document.title=2</script>";
  std::string metamodel = Slurp((dir / "sources/metamodel.json").string());
  metamodel.replace(metamodel.find("Reads one vehicle."), 18, markup);
  Replace(dir / "sources/metamodel.json", metamodel);

  Server server({"--dir", (dir / "sources").string()}, dir / "server.log", {"--watch"});
  ASSERT_FALSE(server.Url().empty());
  const std::string url = server.Url();

  Browser browser(chromium, dir.string());
  ASSERT_TRUE(browser.Ready()) << Slurp((dir / "chromium.log").string());
  browser.Resize(1280, 900);
  browser.Call("Page.navigate", "{\"url\":" + Browser::Json(url + "/") + "}");
  ASSERT_TRUE(
      browser.WaitFor("document.getElementById('main').getAttribute('aria-busy') === 'false'", 20))
      << browser.Eval("document.getElementById('status').textContent");

  // Every kind of name is drawn, types as the summary writes them, model text as text.
  EXPECT_EQ(browser.Eval(R"([
      'component:com.larkspur.fleet', 'package:com.larkspur.fleet.routes',
      'service:com.larkspur.fleet.routes.planner', 'operation:com.larkspur.fleet.routes.planner/plan',
      'param:com.larkspur.fleet.routes.planner/plan/stops', 'type:com.larkspur.fleet.routes.StopKind',
      'value:com.larkspur.fleet.routes.StopKind/PICKUP', 'namespace:fleet.routes',
      'command:fleet.routes.plan', 'option:fleet.vehicles.list/depot', 'resource:com.larkspur.fleet.Route',
      'scheme:com.larkspur.security.session_token',
      'source:cli/cli'].filter((id) => !document.getElementById(id)))"),
            "[]");
  EXPECT_EQ(browser.Eval("document.getElementById('field:com.larkspur.fleet.routes.Route/legs_km')"
                         ".querySelector('.type').textContent"),
            R"("map<string, optional<double>>")");
  const std::string plan =
      "document.getElementById('operation:com.larkspur.fleet.routes.planner/plan')";
  EXPECT_EQ(
      browser.Eval(plan + ".querySelector('.auth').textContent"),
      R"("com.larkspur.security.session_token session-aware session manager com.larkspur.security.session")");
  EXPECT_EQ(browser.Eval("[..." + plan +
                         ".querySelectorAll('a[href^=\"#command:\"]')].map((a) => a.textContent)"),
            R"(["fleet routes plan"])");
  EXPECT_EQ(
      browser.Eval("[document.title, document.querySelectorAll('main img, main script').length,"
                   " [...document.querySelectorAll('.doc')].some((p) => p.textContent === " +
                   Browser::Json(markup) + ")]"),
      R"(["com.larkspur.fleet · explorer",0,true])");
  EXPECT_TRUE(browser.Screenshot(OSTRA_ARTIFACT_DIR "/explorer-desktop.png"));

  // "/" reaches the filter; typing keeps what matches, what holds it and what it holds.
  browser.Key("/");
  EXPECT_EQ(browser.Eval("document.activeElement.id"), "\"filter\"");
  browser.Type("retire");
  const std::string shown =
      "[...document.querySelectorAll('details.operation, details.command, details.service')]"
      ".filter((d) => !d.closest('[hidden]')).map((d) => d.id)";
  EXPECT_TRUE(browser.WaitFor(shown + ".length === 3", 5)) << browser.Eval(shown);
  EXPECT_EQ(
      browser.Eval(shown),
      R"(["service:com.larkspur.fleet.vehicles.registry","operation:com.larkspur.fleet.vehicles.registry/retire","command:fleet.vehicles.retire"])");
  EXPECT_EQ(browser.Eval("document.getElementById('matches').textContent"), "\"3 names match\"");
  // Down from the filter to the first match; right opens it, down goes on to the next one.
  const std::string focused = "document.activeElement.parentElement";
  browser.Key("ArrowDown");
  EXPECT_EQ(browser.Eval(focused + ".id"),
            "\"operation:com.larkspur.fleet.vehicles.registry/retire\"");
  browser.Key("ArrowRight");
  EXPECT_EQ(browser.Eval(focused + ".open"), "true");
  browser.Key("ArrowDown");
  EXPECT_EQ(browser.Eval(focused + ".id"), "\"type:com.larkspur.fleet.vehicles.VehicleSpec\"");
  browser.Key("/");
  browser.Key("Escape");
  EXPECT_EQ(browser.Eval("document.querySelectorAll('main [hidden]').length"), "0");

  // At 400 px nothing is wider than the screen.
  browser.Resize(400, 860);
  EXPECT_EQ(browser.Eval("document.documentElement.scrollWidth"), "400");
  EXPECT_TRUE(browser.Screenshot(OSTRA_ARTIFACT_DIR "/explorer-400px.png"));
  browser.Resize(1280, 900);

  // A permalink opens what holds its element and scrolls it into view.
  browser.Eval("location.hash = '#type:com.larkspur.fleet.routes.Stop'");
  const std::string stop = "document.getElementById('type:com.larkspur.fleet.routes.Stop')";
  EXPECT_TRUE(
      browser.WaitFor(stop + ".open && " + stop + ".parentElement.closest('details').open", 5));
  EXPECT_EQ(browser.Eval("Math.round(" + stop + ".getBoundingClientRect().top) > 0 && " + stop +
                         ".getBoundingClientRect().top < innerHeight"),
            "true");

  // A new command in the Cli source is drawn by the next poll; what was open stays open.
  std::string cli = Slurp((dir / "sources/cli.json").string());
  const std::string command = R"({"type": "command", "path": "fleet.routes", "name": "optimise",
      "description": "Reorder the stops.", "node_metadata": {"service_id":
      "com.larkspur.fleet.routes.planner", "operation_id": "plan"}},)";
  cli.insert(cli.find('[') + 1, command);
  Replace(dir / "sources/cli.json", cli);
  EXPECT_TRUE(browser.WaitFor("!!document.getElementById('command:fleet.routes.optimise')", 15))
      << Slurp((dir / "server.log").string());
  EXPECT_EQ(browser.Eval(stop + ".open"), "true");
  EXPECT_EQ(browser.Eval("document.getElementById('status').textContent.startsWith('Updated at')"),
            "true");
}

}  // namespace

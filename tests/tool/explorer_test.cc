// The explorer page in headless Chromium, driven over the DevTools protocol: the model as a reader
// sees it, the filter and the keys, a permalink, a change of a source seen by polling, and model
// text that never becomes markup. Screenshots are left beside the test binary.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <filesystem>

#include "tool/tool_helpers.h"

namespace {

namespace fs = std::filesystem;
using OstraTest::Quote, OstraTest::Slurp;

std::string Json(const std::string& text) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
  return buffer.GetString();
}

// Chromium with the DevTools protocol on a pipe (its descriptors 3 and 4): messages are JSON
// texts ended by a NUL byte. Commands go to a page of its own.
class Browser {
 public:
  Browser(const std::string& chromium, const std::string& dir)
      : chromium_({chromium, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                   "--no-first-run", "--disable-background-networking",
                   "--disable-component-update", "--disable-sync", "--hide-scrollbars",
                   "--remote-debugging-pipe", "--user-data-dir=" + dir + "/profile", "about:blank"},
                  dir + "/chromium.log", 3, 4) {
    signal(SIGPIPE, SIG_IGN);
    const auto page = Call("Target.createTarget", R"({"url":"about:blank"})", false);
    if (!page.IsObject() || !page.HasMember("targetId")) return;
    const auto attached =
        Call("Target.attachToTarget",
             R"({"flatten":true,"targetId":)" + Json(page["targetId"].GetString()) + "}", false);
    if (attached.IsObject() && attached.HasMember("sessionId"))
      session_ = attached["sessionId"].GetString();
  }
  // Sends a command (to the page unless `toPage` is false) and answers its result; not an object
  // when the browser answered an error or nothing within 20 s.
  rapidjson::Document Call(const std::string& method, const std::string& params,
                           bool toPage = true) {
    const int id = ++lastId_;
    chromium_.Send("{\"id\":" + std::to_string(id) + ",\"method\":\"" + method + "\",\"params\":" +
                   params + (toPage ? ",\"sessionId\":\"" + session_ + "\"}" : "}") + '\0');
    rapidjson::Document result;
    for (std::string text; chromium_.Read(text, 20, '\0');) {
      rapidjson::Document parsed;
      parsed.Parse(text.c_str());
      if (!parsed.IsObject() || !parsed.HasMember("id") || parsed["id"].GetInt() != id) continue;
      if (parsed.HasMember("result")) result.CopyFrom(parsed["result"], result.GetAllocator());
      break;
    }
    return result;
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
  bool WaitFor(const std::string& expression, int seconds) {
    return OstraTest::Eventually([&] { return Eval(expression) == "true"; }, seconds);
  }
  // Presses `key` and answers the expression `then` after it.
  std::string Key(const std::string& key, const std::string& then = "0") {
    for (const char* type : {"keyDown", "keyUp"})
      Call("Input.dispatchKeyEvent", std::string("{\"type\":\"") + type +
                                         "\",\"key\":" + Json(key) +
                                         ",\"code\":" + Json(key == "/" ? "Slash" : key) +
                                         (key.size() == 1 ? ",\"text\":" + Json(key) : "") + "}");
    return Eval(then);
  }
  // A PNG of the page at `path`, at `width` pixels wide, decoded by coreutils' base64.
  bool Screenshot(int width, const std::string& path) {
    Call("Emulation.setDeviceMetricsOverride",
         "{\"width\":" + std::to_string(width) +
             R"(,"height":900,"deviceScaleFactor":1,"mobile":false})");
    const auto shot = Call("Page.captureScreenshot", R"({"format":"png"})");
    if (!shot.IsObject() || !shot.HasMember("data")) return false;
    std::ofstream(path + ".base64") << shot["data"].GetString();
    const std::string base64 = Quote({path + ".base64"});
    return std::system(("base64 -d" + base64 + " >" + Quote({path}) + " && rm" + base64).c_str()) ==
           0;
  }

 private:
  OstraTest::Child chromium_;
  int lastId_ = 0;
  std::string session_;
};

TEST(Explorer, ShowsTheModelFiltersItAndFollowsChanges) {
  const char* given = std::getenv("OSTRA_CHROMIUM");
  const std::string chromium = given ? given : "/usr/bin/chromium";
  if (access(chromium.c_str(), X_OK) != 0)
    GTEST_SKIP() << "chromium is not installed (scripts/install-deps chromium)";
  // The examples, one documentation text holding markup.
  const fs::path dir = fs::path(testing::TempDir()) / "explorer-test", sources = dir / "sources";
  fs::remove_all(dir);
  fs::create_directories(sources);
  fs::copy(OSTRA_EXAMPLES_DIR, sources);  // its files, not its subdirectories
  const std::string markup =
      "<img src=x onerror=document.title=1><script>document.title=2</script>";
  std::string metamodel = Slurp(sources / "metamodel.json");
  metamodel.replace(metamodel.find("Reads one vehicle."), 18, markup);
  OstraTest::Replace(sources / "metamodel.json", metamodel);
  OstraTest::Server server({OSTRA_TOOL, "--dir", sources, "serve", "--http", "0", "--watch"},
                           dir / "log");
  ASSERT_FALSE(server.Url().empty());
  Browser browser(chromium, dir);
  ASSERT_EQ(browser.Eval("1 + 1"), "2") << Slurp(dir / "chromium.log");
  browser.Call("Page.navigate", "{\"url\":" + Json(server.Url() + "/") + "}");
  ASSERT_TRUE(
      browser.WaitFor("document.getElementById('main').getAttribute('aria-busy') === 'false'", 20))
      << browser.Eval("document.getElementById('status').textContent");
  // Every kind of name is drawn; the type of a field, the schemes and Cli commands of an
  // operation, the title; no markup from the model.
  browser.Eval(R"((window.byId = (id) => document.getElementById(id),
      window.plan = byId('operation:com.larkspur.fleet.routes.planner/plan'), 0))");
  EXPECT_EQ(browser.Eval(R"([
      'component:com.larkspur.fleet', 'package:com.larkspur.fleet.routes',
      'service:com.larkspur.fleet.routes.planner', 'operation:com.larkspur.fleet.routes.planner/plan',
      'param:com.larkspur.fleet.routes.planner/plan/stops', 'type:com.larkspur.fleet.routes.StopKind',
      'value:com.larkspur.fleet.routes.StopKind/PICKUP', 'namespace:fleet.routes',
      'command:fleet.routes.plan', 'option:fleet.vehicles.list/depot', 'resource:com.larkspur.fleet.Route',
      'scheme:com.larkspur.security.session_token', 'source:cli/cli'].filter((id) => !byId(id)))"),
            "[]");
  EXPECT_EQ(
      browser.Eval(R"([byId('field:com.larkspur.fleet.routes.Route/legs_km').querySelector('.type')
          .textContent, plan.querySelector('.auth').textContent,
          [...plan.querySelectorAll('a[href^="#command:"]')].map((a) => a.textContent),
          document.title, document.querySelectorAll('main img, main script').length,
          [...document.querySelectorAll('.doc')].some((p) => p.textContent === )" +
                   Json(markup) + ")]"),
      R"(["map<string, optional<double>>","com.larkspur.security.session_token session-aware )"
      R"(session manager com.larkspur.security.session",["fleet routes plan"],)"
      R"("com.larkspur.fleet · explorer",0,true])");
  EXPECT_TRUE(browser.Screenshot(1280, OSTRA_ARTIFACT_DIR "/explorer-desktop.png"));
  // "/" reaches the filter; typing keeps what matches, what holds it and what it holds.
  EXPECT_EQ(browser.Key("/", "document.activeElement.id"), "\"filter\"");
  browser.Call("Input.insertText", R"({"text":"retire"})");
  const std::string shown =
      "[...document.querySelectorAll('details.operation, details.command, details.service')]"
      ".filter((d) => !d.closest('[hidden]')).map((d) => d.id)";
  EXPECT_TRUE(browser.WaitFor(shown + ".length === 3", 5)) << browser.Eval(shown);
  EXPECT_EQ(browser.Eval("[" + shown + ", byId('matches').textContent]"),
            R"([["service:com.larkspur.fleet.vehicles.registry",)"
            R"("operation:com.larkspur.fleet.vehicles.registry/retire",)"
            R"("command:fleet.vehicles.retire"],"3 names match"])");
  // Down from the filter to the first match; right opens it, down goes on to the next one.
  const std::string focused = "document.activeElement.parentElement";
  EXPECT_EQ(browser.Key("ArrowDown", focused + ".id"),
            "\"operation:com.larkspur.fleet.vehicles.registry/retire\"");
  EXPECT_EQ(browser.Key("ArrowRight", focused + ".open"), "true");
  EXPECT_EQ(browser.Key("ArrowDown", focused + ".id"),
            "\"type:com.larkspur.fleet.vehicles.VehicleSpec\"");
  browser.Key("/");
  EXPECT_EQ(browser.Key("Escape", "document.querySelectorAll('main [hidden]').length"), "0");
  // A permalink opens what holds its element and scrolls it into view.
  browser.Eval("location.hash = '#type:com.larkspur.fleet.routes.Stop'");
  const std::string stop = "byId('type:com.larkspur.fleet.routes.Stop')";
  EXPECT_TRUE(browser.WaitFor(stop + ".open && " + stop +
                                  ".parentElement.closest('details').open && " + stop +
                                  ".getBoundingClientRect().top >= 0 && " + stop +
                                  ".getBoundingClientRect().top < innerHeight",
                              5));
  // A new command in the Cli source is drawn by the next poll; what was open stays open.
  std::string cli = Slurp(sources / "cli.json");
  cli.insert(cli.find('[') + 1, R"({"type": "command", "path": "fleet.routes", "name": "optimise",
      "description": "Reorder the stops.", "node_metadata": {"service_id":
      "com.larkspur.fleet.routes.planner", "operation_id": "plan"}},)");
  OstraTest::Replace(sources / "cli.json", cli);
  EXPECT_TRUE(browser.WaitFor("!!byId('command:fleet.routes.optimise')", 15)) << server.Log();
  EXPECT_EQ(
      browser.Eval("[" + stop + ".open, byId('status').textContent.startsWith('Updated at')]"),
      "[true,true]");
  // At 400 px nothing is wider than the screen.
  EXPECT_TRUE(browser.Screenshot(400, OSTRA_ARTIFACT_DIR "/explorer-400px.png"));
  EXPECT_EQ(browser.Eval("document.documentElement.scrollWidth"), "400");
}

}  // namespace

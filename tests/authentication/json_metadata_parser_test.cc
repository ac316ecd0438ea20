#include "ostra/authentication/json_metadata_parser.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Ostra::Provider::Metadata::Authentication::JsonMetadataParser;
namespace Binding = Com::Corvane::Ostra::Metadata::Authentication;
using SchemeType = Binding::AuthenticationInfoEnumerations::SchemeType;

struct Load {
  bool ok = false;
  std::map<std::string, std::shared_ptr<Binding::ComponentInfo>> components;
  std::vector<std::string> order;
  Messages messages;
};

Load LoadText(const std::string& text) {
  Load load;
  std::istringstream in(text);
  load.ok = JsonMetadataParser::LoadMetadata(
      in,
      [&load](const std::string& name, const std::shared_ptr<Binding::ComponentInfo>& component) {
        load.order.push_back(name);
        load.components[name] = component;
      },
      load.messages);
  return load;
}

// A document whose "component" has the given members after its name.
std::string Component(const std::string& members) {
  return R"({"authentication":{"component":{"name":"c")" + (members.empty() ? "" : "," + members) +
         "}}}";
}

const std::string kSchemes =
    R"("schemes":{"key":{"authenticationScheme":"api_key","type":"SESSIONLESS"},)"
    R"("token":{"authenticationScheme":"session","type":"sessionaware","sessionManager":"m"}})";

TEST(AuthenticationParser, LoadsTheBundledExample) {
  const Load load = LoadText(OstraTest::ExampleText("authentication.json"));
  ASSERT_TRUE(load.ok) << OstraTest::Brief(load.messages);
  EXPECT_EQ(load.order,
            (std::vector<std::string>{"com.larkspur.fleet.product", "com.larkspur.fleet"}));
  // Schemes are shared, not copied; a session-less scheme ignores its session manager.
  const auto& registry = *load.components.at("com.larkspur.fleet")
                              ->packages.at("com.larkspur.fleet.vehicles")
                              ->services.at("com.larkspur.fleet.vehicles.registry");
  const auto& register_schemes = registry.operations.at("register")->schemes;
  EXPECT_EQ(register_schemes.front(), registry.schemes.back());
  EXPECT_EQ(register_schemes.back()->schemeType.GetValue(), SchemeType::SESSIONLESS);
  EXPECT_FALSE(register_schemes.back()->sessionManager);
  EXPECT_EQ(*register_schemes.front()->sessionManager, "com.larkspur.security.session");
}

TEST(AuthenticationParser, FaultsAndTheirMessages) {
  const std::string id = "ostra.metadata.authentication.json.";
  const struct {
    std::string text, answer;  // "true|false registered: messages" (see Brief)
  } cases[] = {
      {"{\"authentication\":", "false : ostra.metadata.authentication.parse.error 3 18"},
      {"{}", "false : missing authentication"},
      {R"({"authentication":{}})", "true : missing product; missing component"},
      {R"({"authentication":{"product":{"schemes":{}},"component":{"name":"c"}}})",
       "true c: missing name; missing schemes; missing operations; missing services; missing "
       "packages"},
      {R"({"authentication":{"product":{"name":"p"},"component":7}})",
       "true p: missing schemes; missing operations; missing services; missing packages; invalid "
       "component"},
      // The document fails only when both members are present and fail.
      {R"({"authentication":{"product":{},"component":{"name":1}}})",
       "false : missing name; invalid name"},
      {R"({"authentication":{"product":{},"component":{"name":"c",)" + kSchemes +
           R"(,"packages":["key"]}}})",
       "false : missing name; missing operations; missing services; invalid packages"},
      // From here on "product" is absent, which counts as read: the answer is true although the
      // component fails and is not registered.
      {Component(kSchemes + R"(,"operations":{"p.s.o":"key"})"),
       "true : missing product; invalid packages"},
      {Component(kSchemes + R"(,"services":{"p.s":[1]})"),
       "true : missing product; missing operations; invalid packages"},
      {Component(kSchemes + R"(,"packages":{"p":["key","nope"]})"),
       "true : missing product; missing operations; missing services; " + id +
           "unknown.schema.name id"},
      {Component(R"("schemes":{"t":{"authenticationScheme":"s","type":"SESSION_AWARE"}})"),
       "true : missing product; missing sessionManager"},
      {Component(R"("schemes":{"t":{"authenticationScheme":"s","type":"kerberos"}})"),
       "true : missing product; enum type"},
      {Component(kSchemes + R"(,"operations":{"op":[]})"),
       "true : missing product; " + id + "invalid.operation.id op"},
      {Component(kSchemes + R"(,"services":{"p.":[]})"),
       "true : missing product; missing operations; " + id + "invalid.service.id p."},
      // A single-dot operation gives a dotless service id: that service cannot be made, the
      // component is still registered without it.
      {Component(kSchemes + R"(,"operations":{"s.o":[]})"),
       "true c: missing product; missing services; " + id +
           "invalid.service.id s; missing packages"},
  };
  for (const auto& c : cases) {
    const Load load = LoadText(c.text);
    EXPECT_EQ((load.ok ? "true " : "false ") + (load.order.empty() ? "" : load.order.front()) +
                  ": " + OstraTest::Brief(load.messages),
              c.answer)
        << c.text;
    EXPECT_LE(load.order.size(), 1u);
  }
  EXPECT_EQ(Ostra::Provider::Metadata::MetadataMessage::DefaultMessageForId(
                "ostra.metadata.authentication.json.invalid.service.id"),
            "Unknown message.");
}

// Packages, services and operations as "package[schemes]{service[schemes]{operation[schemes]}}",
// each map in key order.
std::string Render(const Binding::ComponentInfo& component) {
  std::string text;
  const auto add = [&text](const std::string& name, const Binding::SchemeList& list,
                           const char* open) {
    text += (text.empty() || text.back() == '{' ? "" : " ") + name + "[";
    for (const auto& scheme : list)
      text += (text.back() == '[' ? "" : ",") + scheme->scheme;
    text += std::string("]") + open;
  };
  for (const auto& [name, package] : component.packages) {
    add(name, package->schemes, "{");
    for (const auto& [id, service] : package->services) {
      add(id, service->schemes, "{");
      for (const auto& [op, info] : service->operations)
        add(op, info->schemes, "");
      text += "}";
    }
    text += "}";
  }
  return text;
}

TEST(AuthenticationParser, GroupingRules) {
  const struct {
    const char* what;
    std::string members;  // of the component, after its schemes
    const char *rendered, *messages;
  } cases[] = {
      {"the first operation of a name wins, in document order",
       R"("operations":{"p.s.get":["key"],"p.s.get":["token"],"p.s.put":["token","key"]},)"
       R"("services":{"p.s":[]},"packages":{"p":[]})",
       "p[]{p.s[]{get[api_key] put[session,api_key]}}", "missing product"},
      {"a service listed twice: the first takes the operations and stays",
       R"("operations":{"p.s.get":["key"]},"services":{"p.s":["token"],"p.s":["key"]})",
       "p[]{p.s[session]{get[api_key]}}", "missing product; missing packages"},
      {"a listed service takes its operations; the others make services of their own",
       R"("operations":{"p.t.b":[],"p.s.a":["key"]},"services":{"p.s":["key"]},)"
       R"("packages":{"p":["token"]})",
       "p[session]{p.s[api_key]{a[api_key]} p.t[]{b[]}}", "missing product"},
      // "a.s" < "m" < "z.s": the services are made in that order, and the dotless "m" ends it.
      {"left-over operations make services in ascending order up to the first invalid id",
       R"("operations":{"z.s.o":["key"],"m.o":[],"a.s.o":["token"]})", "a[]{a.s[]{o[session]}}",
       "missing product; missing services; "
       "ostra.metadata.authentication.json.invalid.service.id m; missing packages"},
      {"a package listed twice: the later replaces the earlier, whose services are lost",
       R"("services":{"p.s":["key"]},"packages":{"p":["key"],"p":["token"]})", "p[session]{}",
       "missing product; missing operations"},
      {"services of unlisted packages make packages without schemes, in key order",
       R"("services":{"x.y.s":["key"],"b.s":[]},"packages":{"q":[]})",
       "b[]{b.s[]{}} q[]{} x.y[]{x.y.s[api_key]{}}", "missing product; missing operations"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Load load = LoadText(Component(kSchemes + "," + c.members));
    EXPECT_TRUE(load.ok);
    ASSERT_EQ(load.order, std::vector<std::string>{"c"});
    EXPECT_EQ(Render(*load.components.at("c")), c.rendered);
    EXPECT_EQ(OstraTest::Brief(load.messages), c.messages);
  }

  using Parts = std::pair<std::string_view, std::string_view>;
  EXPECT_EQ(JsonMetadataParser::SplitFqdn("a.b.c"), Parts("a.b", "c"));
  EXPECT_EQ(JsonMetadataParser::SplitFqdn("abc"), Parts("", "abc"));
  EXPECT_EQ(JsonMetadataParser::SplitFqdn(".x"), Parts("", "x"));
}

}  // namespace

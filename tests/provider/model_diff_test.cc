#include "ostra/provider/model_diff.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <list>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "metamodel/documents.h"
#include "ostra/provider/provider_helper.h"
#include "test_store.h"

namespace {

namespace Metadata = Ostra::Provider::Metadata;
using namespace OstraTest::MetamodelDocs;
using Edits = std::vector<std::pair<std::string, std::string>>;
using Lines = std::vector<std::string>;

std::string Ref(const std::string& id) {
  return R"({"category":"USER_DEFINED","user_defined_type":"Structure","user_defined_type_name":")" +
         id + R"("})";
}
std::string Generic(const std::string& kind, const std::string& element) {
  return R"({"category":"GENERIC","generic_type":")" + kind + R"(","element_type":)" + element +
         "}";
}
std::string Op(const std::string& name, const std::string& params, const std::string& result,
               const std::string& errors) {
  return R"({"name":")" + name + R"(","documentation":"","metadata":{},"params":[)" + params +
         R"(],"result":{"documentation":"","metadata":{},"type":)" + result + R"(},"errors":[)" +
         errors + "]}";
}
const std::string kStatus =
    R"({"name":"com.tern.orders.Status","documentation":"","metadata":{},"values":[)"
    R"({"name":"OPEN","documentation":"","metadata":{}},)"
    R"({"name":"CLOSED","documentation":"","metadata":{}}]})";

// Order is a parameter and reaches Line through a list; Receipt is only a result.
const std::string kMetamodel = Doc(Package(
    "com.tern.orders",
    Structure("com.tern.orders.Line", Field("sku")) + "," +
        Structure("com.tern.orders.Order",
                  Field("lines", Generic("LIST", Ref("com.tern.orders.Line")))) +
        "," +
        Structure("com.tern.orders.Receipt", "", "{}", "STRUCTURE",
                  Constant(R"({"category":"PRIMITIVE","type":"STRING"})", R"("EUR")")) +
        "," + Structure("com.tern.orders.Missing", "", "{}", "ERROR"),
    Service(
        "com.tern.orders.desk",
        Op("create", Field("order", Ref("com.tern.orders.Order")), Ref("com.tern.orders.Receipt"),
           R"({"user_defined_type_name":"com.tern.orders.Missing","documentation":""})")),
    "{}", kStatus));
const std::string kAuthentication = R"({"authentication":{"component":{"name":"com.tern",
  "schemes":{"key":{"authenticationScheme":"com.tern.key","type":"SESSIONLESS"},
    "session":{"authenticationScheme":"com.tern.session","type":"SESSION_AWARE",
               "sessionManager":"com.tern.sm"}},
  "operations":{"com.tern.orders.desk.create":["session"]},
  "services":{"com.tern.orders.desk":["key"]}, "packages":{"com.tern.orders":["key"]}}}})";
const std::string kCli =
    R"({"cli":[{"type":"namespace","path":"","name":"orders","description":"Orders"},
  {"type":"command","path":"orders","name":"create","description":"Create an order",
   "node_metadata":{"service_id":"com.tern.orders.desk","operation_id":"create","options":[
     {"long_option":"order","field_name":"order","description":"The order","type":"string",
      "generic":"none"}]}}]})";

// The three stores, each with one source made from a document text.
Metadata::MetadataModel Load(const std::vector<std::string>& texts) {
  using Helper = Metadata::ProviderHelper;
  const auto metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
  const auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
  const auto cli = Metadata::Cli::MetadataContainer::GetInstance();
  EXPECT_EQ(Helper::LoadMetamodelMetadataFile("one", *OstraTest::Parse(texts[0]), metamodel),
            nullptr);
  EXPECT_EQ(Helper::LoadAuthnMetadataFile("one", *OstraTest::Parse(texts[1]), authentication),
            nullptr);
  EXPECT_EQ(Helper::LoadCliMetadataFile("one", *OstraTest::Parse(texts[2]), cli), nullptr);
  return {metamodel, authentication, cli};
}

// "level domain rule path: old -> new", "-" for a side without value.
Lines Diff(const Metadata::MetadataModel& before, const Metadata::MetadataModel& after) {
  Lines lines;
  for (const auto& c : Metadata::DiffModels(before, after)) {
    lines.push_back(std::string(Metadata::ChangeLevelName(c.level)) + " " + c.domain + " " +
                    c.rule + " " + c.path + ": " + c.old_value.value_or("-") + " -> " +
                    c.new_value.value_or("-"));
  }
  return lines;
}

struct Case {
  const char* what;
  Edits edits;  // each replaces the first occurrence in the first document that has it
  Lines expected;
};

void Check(const std::vector<Case>& cases) {
  const auto before = Load({kMetamodel, kAuthentication, kCli});
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<std::string> texts{kMetamodel, kAuthentication, kCli};
    for (const auto& edit : c.edits) {
      const auto text = std::find_if(texts.begin(), texts.end(), [&](const std::string& t) {
        return t.find(edit.first) != std::string::npos;
      });
      ASSERT_NE(text, texts.end()) << edit.first;
      text->replace(text->find(edit.first), edit.first.size(), edit.second);
    }
    EXPECT_EQ(Diff(before, Load(texts)), c.expected);
  }
}

TEST(ModelDiff, EachChangeWithItsRuleAndLevel) {
  const std::string params = R"("params":[)";
  const std::string line = R"("fields":[{"name":"sku")", order = R"("fields":[{"name":"lines")",
                    receipt = R"("EUR"}],"fields":[])";
  Check(
      {{"renamed component, package, service, operation, structure and enumeration",
        {{R"("name":"comp")", R"("name":"comp2")"},
         {R"("name":"com.tern.orders",)", R"("name":"com.tern.sales",)"},
         {R"("name":"com.tern.orders.Status")", R"("name":"com.tern.orders.State")"},
         {R"("name":"com.tern.orders.Receipt")", R"("name":"com.tern.orders.Bill")"},
         {R"("name":"com.tern.orders.desk")", R"("name":"com.tern.orders.till")"}},
        {"breaking metamodel package-removed com.tern.orders: - -> -",
         "safe metamodel structure-added com.tern.orders.Bill: - -> -",
         "breaking metamodel structure-removed com.tern.orders.Receipt: - -> -",
         "safe metamodel enumeration-added com.tern.orders.State: - -> -",
         "breaking metamodel enumeration-removed com.tern.orders.Status: - -> -",
         "breaking metamodel service-removed com.tern.orders.desk: - -> -",
         "safe metamodel service-added com.tern.orders.till: - -> -",
         "safe metamodel package-added com.tern.sales: - -> -",
         "breaking metamodel component-removed comp: - -> -",
         "safe metamodel component-added comp2: - -> -"}},
       {"renamed operation",
        {{R"("name":"create")", R"("name":"make")"}},
        {"breaking metamodel operation-removed com.tern.orders.desk#create: - -> -",
         "safe metamodel operation-added com.tern.orders.desk#make: - -> -"}},
       {"required parameter added",
        {{params, params + Field("note") + ","}},
        {"breaking metamodel parameter-added com.tern.orders.desk#create(note): - -> string"}},
       {"optional parameter added",
        {{params, params + Field("note", Generic("OPTIONAL", Ref("com.tern.Note"))) + ","}},
        {"safe metamodel parameter-added com.tern.orders.desk#create(note): - -> "
         "optional<com.tern.Note>"}},
       {"parameter renamed",
        {{R"("name":"order")", R"("name":"orders")"}},
        {"breaking metamodel parameter-removed com.tern.orders.desk#create(order): "
         "com.tern.orders.Order -> -",
         "breaking metamodel parameter-added com.tern.orders.desk#create(orders): - -> "
         "com.tern.orders.Order"}},
       {"parameter and result types changed, error replaced",
        {{"com.tern.orders.Order\"}", "com.tern.orders.Line\"}"},
         {"com.tern.orders.Receipt\"}", "com.tern.orders.Missing\"}"},
         {"com.tern.orders.Missing\",\"documentation\"",
          "com.tern.orders.Busy\",\"documentation\""}},
        {"dangerous metamodel error-added com.tern.orders.desk#create!com.tern.orders.Busy: - -> -",
         "safe metamodel error-removed com.tern.orders.desk#create!com.tern.orders.Missing: - -> -",
         "breaking metamodel parameter-type-changed com.tern.orders.desk#create(order): "
         "com.tern.orders.Order -> com.tern.orders.Line",
         "breaking metamodel result-type-changed com.tern.orders.desk#create->: "
         "com.tern.orders.Receipt -> com.tern.orders.Missing"}},
       {"kind of a generic type changed",
        {{R"("generic_type":"LIST")", R"("generic_type":"SET")"}},
        {"breaking metamodel field-type-changed com.tern.orders.Order.lines: "
         "list<com.tern.orders.Line> -> set<com.tern.orders.Line>"}},
       {"required fields added to a parameter, a structure it reaches and a result",
        {{line, R"("fields":[)" + Field("qty") + R"(,{"name":"sku")"},
         {order, R"("fields":[)" + Field("id") + R"(,{"name":"lines")"},
         {receipt, R"("EUR"}],"fields":[)" + Field("total") + "]"}},
        {"breaking metamodel field-added com.tern.orders.Line.qty: - -> string",
         "breaking metamodel field-added com.tern.orders.Order.id: - -> string",
         "safe metamodel field-added com.tern.orders.Receipt.total: - -> string"}},
       {"optional field added where a parameter reaches",
        {{line, R"("fields":[)" + Field("qty", Generic("OPTIONAL", Ref("com.tern.Qty"))) +
                    R"(,{"name":"sku")"}},
        {"safe metamodel field-added com.tern.orders.Line.qty: - -> optional<com.tern.Qty>"}},
       {"field renamed",
        {{R"("name":"sku")", R"("name":"code")"}},
        {"breaking metamodel field-added com.tern.orders.Line.code: - -> string",
         "breaking metamodel field-removed com.tern.orders.Line.sku: string -> -"}},
       {"constant value changed",
        {{R"("EUR")", R"("USD")"}},
        {R"(breaking metamodel constant-value-changed com.tern.orders.Receipt::K: string "EUR" -> string "USD")"}},
       {"constant renamed",
        {{R"("name":"K")", R"("name":"L")"}},
        {R"(breaking metamodel constant-removed com.tern.orders.Receipt::K: string "EUR" -> -)",
         R"(safe metamodel constant-added com.tern.orders.Receipt::L: - -> string "EUR")"}},
       {"enumeration value renamed",
        {{R"("name":"CLOSED")", R"("name":"DONE")"}},
        {"breaking metamodel enumeration-value-removed com.tern.orders.Status.CLOSED: - -> -",
         "dangerous metamodel enumeration-value-added com.tern.orders.Status.DONE: - -> -"}},
       {"documentation and descriptions",
        {{R"("documentation":"d")", R"("documentation":"Tern")"},
         {R"("name":"OPEN","documentation":"")", R"("name":"OPEN","documentation":"Open.")"},
         {R"("description":"Create an order")", R"("description":"Place an order")"},
         {R"("description":"The order")", R"("description":"What to order")"}},
        {"safe metamodel documentation-changed com.tern.orders.Status.OPEN:  -> Open.",
         "safe metamodel documentation-changed comp: d -> Tern",
         "safe cli documentation-changed orders.create: Create an order -> Place an order",
         "safe cli documentation-changed orders.create --order: The order -> What to order"}},
       {"scheme required at a service",
        {{R"(["key"])", R"(["key","session"])"}},
        {"breaking authentication authentication-added com.tern.orders.desk: - -> "
         "com.tern.session"}},
       {"operation level gone",
        {{R"(["session"])", "[]"}},
        {"dangerous authentication authentication-removed com.tern.orders.desk#create: "
         "com.tern.session -> -"}},
       {"scheme type changed",
        {{R"("SESSION_AWARE")", R"("SESSIONLESS")"}},
        {"dangerous authentication authentication-scheme-changed com.tern.orders.desk#create: "
         "com.tern.session (session-aware, manager com.tern.sm) -> com.tern.session "
         "(sessionless)"}},
       {"command renamed",
        {{R"("path":"orders","name":"create")", R"("path":"orders","name":"place")"}},
        {"breaking cli cli-command-removed orders.create: - -> -",
         "safe cli cli-command-added orders.place: - -> -"}},
       {"operation, option type and option name changed",
        {{R"("operation_id":"create")", R"("operation_id":"cancel")"},
         {R"("generic":"none")", R"("generic":"list")"}},
        {"dangerous cli cli-command-operation-changed orders.create: "
         "com.tern.orders.desk#create -> com.tern.orders.desk#cancel",
         "breaking cli cli-option-type-changed orders.create --order: string -> string (list)"}},
       {"option renamed",
        {{R"("long_option":"order")", R"("long_option":"id")"}},
        {"safe cli cli-option-added orders.create --id: - -> string",
         "breaking cli cli-option-removed orders.create --order: string -> -"}},
       {"namespace described anew",
        {{R"("description":"Orders")", R"("description":"All orders")"}},
        {"safe cli documentation-changed orders: Orders -> All orders"}}});
}

// Every object's members and every array's elements in reverse order, indented.
std::string Reordered(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.c_str());
  std::vector<rapidjson::Value*> pending{&document};
  while (!pending.empty()) {
    rapidjson::Value* value = pending.back();
    pending.pop_back();
    if (value->IsObject()) {
      rapidjson::Value reversed(rapidjson::kObjectType);
      for (auto m = value->MemberEnd(); m != value->MemberBegin();) {
        --m;
        reversed.AddMember(m->name, m->value, document.GetAllocator());
      }
      *value = reversed;
      for (auto& m : value->GetObject())
        pending.push_back(&m.value);
    } else if (value->IsArray()) {
      std::reverse(value->Begin(), value->End());
      for (auto& element : value->GetArray())
        pending.push_back(&element);
    }
  }
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return buffer.GetString();
}

TEST(ModelDiff, ReorderedAndReindentedDocumentsChangeNothing) {
  const auto before = Load({kMetamodel, kAuthentication, kCli});
  const auto after = Load({Reordered(kMetamodel), Reordered(kAuthentication), Reordered(kCli)});
  EXPECT_NE(before.metamodel->SourceFingerprint(boost::none),
            after.metamodel->SourceFingerprint(boost::none));
  EXPECT_EQ(Diff(before, after), Lines());
  EXPECT_EQ(Diff(Metadata::MetadataModel(), Metadata::MetadataModel()), Lines());
}

}  // namespace

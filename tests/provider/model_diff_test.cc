#include "ostra/provider/model_diff.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "metamodel/documents.h"
#include "ostra/provider/provider_helper.h"
#include "test_store.h"

namespace {

namespace Metadata = Ostra::Provider::Metadata;
using namespace OstraTest::MetamodelDocs;
using OstraTest::Parse;
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
const std::string kStatus = R"({"name":"c.o.Status","documentation":"","metadata":{},"values":[)"
                            R"({"name":"OPEN","documentation":"","metadata":{}},)"
                            R"({"name":"CLOSED","documentation":"","metadata":{}}]})";

// Order is a parameter and reaches Line through a list; Receipt is only a result.
const std::string kMetamodel = Doc(Package(
    "c.o",
    Structure("c.o.Line", Field("sku")) + "," +
        Structure("c.o.Order", Field("lines", Generic("LIST", Ref("c.o.Line")))) + "," +
        Structure("c.o.Receipt", "", "{}", "STRUCTURE",
                  Constant(R"({"category":"PRIMITIVE","type":"STRING"})", R"("EUR")")) +
        "," + Structure("c.o.Missing", "", "{}", "ERROR"),
    Service("c.o.desk", Op("create", Field("order", Ref("c.o.Order")), Ref("c.o.Receipt"),
                           R"({"user_defined_type_name":"c.o.Missing","documentation":""})")),
    "{}", kStatus));
const std::string kAuthentication = R"({"authentication":{"component":{"name":"c",
  "schemes":{"key":{"authenticationScheme":"c.key","type":"SESSIONLESS"},"session":{
    "authenticationScheme":"c.session","type":"SESSION_AWARE","sessionManager":"c.sm"}},
  "operations":{"c.o.desk.create":["session"]},"services":{"c.o.desk":["key"]},
  "packages":{"c.o":["key"]}}}})";
const std::string kCli =
    R"({"cli":[{"type":"namespace","path":"","name":"orders","description":"Orders"},
  {"type":"command","path":"orders","name":"create","description":"Create an order",
   "node_metadata":{"service_id":"c.o.desk","operation_id":"create","options":[
     {"long_option":"order","field_name":"order","description":"The order","type":"string",
      "generic":"none"}]}}]})";

// The three stores, each with one source made from a document text.
Metadata::MetadataModel Load(const std::vector<std::string>& texts) {
  using Helper = Metadata::ProviderHelper;
  const auto metamodel = Metadata::Metamodel::MetadataContainer::GetInstance();
  const auto authentication = Metadata::Authentication::MetadataContainer::GetInstance();
  const auto cli = Metadata::Cli::MetadataContainer::GetInstance();
  EXPECT_EQ(Helper::LoadMetamodelMetadataFile("one", *Parse(texts[0]), metamodel), nullptr);
  EXPECT_EQ(Helper::LoadAuthnMetadataFile("one", *Parse(texts[1]), authentication), nullptr);
  EXPECT_EQ(Helper::LoadCliMetadataFile("one", *Parse(texts[2]), cli), nullptr);
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

// Each case: its edits, each replacing the first occurrence in the first document that has it,
// and the changes they make.
void Check(const std::vector<std::pair<Edits, Lines>>& cases) {
  const auto before = Load({kMetamodel, kAuthentication, kCli});
  for (const auto& [edits, expected] : cases) {
    SCOPED_TRACE(edits.front().second);
    std::vector<std::string> texts{kMetamodel, kAuthentication, kCli};
    for (const auto& edit : edits) {
      const auto text = std::find_if(texts.begin(), texts.end(), [&](const std::string& t) {
        return t.find(edit.first) != std::string::npos;
      });
      ASSERT_NE(text, texts.end()) << edit.first;
      text->replace(text->find(edit.first), edit.first.size(), edit.second);
    }
    EXPECT_EQ(Diff(before, Load(texts)), expected);
  }
}

TEST(ModelDiff, EachChangeWithItsRuleAndLevel) {
  const std::string params = R"("params":[)";
  const std::string line = R"("fields":[{"name":"sku")", order = R"("fields":[{"name":"lines")",
                    receipt = R"("EUR"}],"fields":[])";
  Check(
      {{{{R"("name":"comp")", R"("name":"comp2")"},  // records of every kind renamed
         {R"("name":"c.o",)", R"("name":"c.sales",)"},
         {R"("name":"c.o.Status")", R"("name":"c.o.State")"},
         {R"("name":"c.o.Receipt")", R"("name":"c.o.Bill")"},
         {R"("name":"c.o.desk")", R"("name":"c.o.till")"}},
        {"breaking metamodel package-removed c.o: - -> -",
         "safe metamodel structure-added c.o.Bill: - -> -",
         "breaking metamodel structure-removed c.o.Receipt: - -> -",
         "safe metamodel enumeration-added c.o.State: - -> -",
         "breaking metamodel enumeration-removed c.o.Status: - -> -",
         "breaking metamodel service-removed c.o.desk: - -> -",
         "safe metamodel service-added c.o.till: - -> -",
         "safe metamodel package-added c.sales: - -> -",
         "breaking metamodel component-removed comp: - -> -",
         "safe metamodel component-added comp2: - -> -"}},
       {{{R"("name":"create")", R"("name":"make")"}},  // renamed operation
        {"breaking metamodel operation-removed c.o.desk#create: - -> -",
         "safe metamodel operation-added c.o.desk#make: - -> -"}},
       {{{params, params + Field("note") + ","}},  // required parameter added
        {"breaking metamodel parameter-added c.o.desk#create(note): - -> string"}},
       {{{params, params + Field("note", Generic("OPTIONAL", Ref("c.Note"))) + ","}},
        {"safe metamodel parameter-added c.o.desk#create(note): - -> optional<c.Note>"}},
       {{{R"("name":"order")", R"("name":"orders")"}},  // parameter renamed
        {"breaking metamodel parameter-removed c.o.desk#create(order): c.o.Order -> -",
         "breaking metamodel parameter-added c.o.desk#create(orders): - -> c.o.Order"}},
       {{{"c.o.Order\"}", "c.o.Line\"}"},  // parameter and result types changed, error replaced
         {"c.o.Receipt\"}", "c.o.Missing\"}"},
         {"c.o.Missing\",\"documentation\"", "c.o.Busy\",\"documentation\""}},
        {"dangerous metamodel error-added c.o.desk#create!c.o.Busy: - -> -",
         "safe metamodel error-removed c.o.desk#create!c.o.Missing: - -> -",
         "breaking metamodel parameter-type-changed c.o.desk#create(order): c.o.Order -> c.o.Line",
         "breaking metamodel result-type-changed c.o.desk#create->: c.o.Receipt -> c.o.Missing"}},
       {{{R"("generic_type":"LIST")", R"("generic_type":"SET")"}},
        {"breaking metamodel field-type-changed c.o.Order.lines: list<c.o.Line> -> set<c.o.Line>"}},
       // Required fields added to a parameter, a structure it reaches and a result.
       {{{line, R"("fields":[)" + Field("qty") + R"(,{"name":"sku")"},
         {order, R"("fields":[)" + Field("id") + R"(,{"name":"lines")"},
         {receipt, R"("EUR"}],"fields":[)" + Field("total") + "]"}},
        {"breaking metamodel field-added c.o.Line.qty: - -> string",
         "breaking metamodel field-added c.o.Order.id: - -> string",
         "safe metamodel field-added c.o.Receipt.total: - -> string"}},
       {{{line,  // optional field added where a parameter reaches
          R"("fields":[)" + Field("qty", Generic("OPTIONAL", Ref("c.Qty"))) + R"(,{"name":"sku")"}},
        {"safe metamodel field-added c.o.Line.qty: - -> optional<c.Qty>"}},
       {{{R"("name":"sku")", R"("name":"code")"}},  // field renamed
        {"breaking metamodel field-added c.o.Line.code: - -> string",
         "breaking metamodel field-removed c.o.Line.sku: string -> -"}},
       {{{R"("EUR")", R"("USD")"}},  // constant value changed
        {R"(breaking metamodel constant-value-changed c.o.Receipt::K: string "EUR" -> string "USD")"}},
       {{{R"("name":"K")", R"("name":"L")"}},  // constant renamed
        {R"(breaking metamodel constant-removed c.o.Receipt::K: string "EUR" -> -)",
         R"(safe metamodel constant-added c.o.Receipt::L: - -> string "EUR")"}},
       {{{R"("name":"CLOSED")", R"("name":"DONE")"}},  // enumeration value renamed
        {"breaking metamodel enumeration-value-removed c.o.Status.CLOSED: - -> -",
         "dangerous metamodel enumeration-value-added c.o.Status.DONE: - -> -"}},
       {{{R"("documentation":"d")", R"("documentation":"Tern")"},  // documentation and descriptions
         {R"("name":"OPEN","documentation":"")", R"("name":"OPEN","documentation":"Open.")"},
         {R"("description":"Create an order")", R"("description":"Place an order")"},
         {R"("description":"The order")", R"("description":"What to order")"}},
        {"safe metamodel documentation-changed c.o.Status.OPEN:  -> Open.",
         "safe metamodel documentation-changed comp: d -> Tern",
         "safe cli documentation-changed orders.create: Create an order -> Place an order",
         "safe cli documentation-changed orders.create --order: The order -> What to order"}},
       {{{R"(["key"])", R"(["key","session"])"}},  // scheme required at a service
        {"breaking authentication authentication-added c.o.desk: - -> c.session"}},
       {{{R"(["session"])", "[]"}},  // operation level gone
        {"dangerous authentication authentication-removed c.o.desk#create: c.session -> -"}},
       {{{R"("SESSION_AWARE")", R"("SESSIONLESS")"}},  // scheme type changed
        {"dangerous authentication authentication-scheme-changed c.o.desk#create: c.session "
         "(session-aware, manager c.sm) -> c.session (sessionless)"}},
       {{{R"("path":"orders","name":"create")", R"("path":"orders","name":"place")"}},
        {"breaking cli cli-command-removed orders.create: - -> -",
         "safe cli cli-command-added orders.place: - -> -"}},
       {{{R"("operation_id":"create")", R"("operation_id":"cancel")"},
         {R"("generic":"none")", R"("generic":"list")"}},
        {"dangerous cli cli-command-operation-changed orders.create: c.o.desk#create -> "
         "c.o.desk#cancel",
         "breaking cli cli-option-type-changed orders.create --order: string -> string (list)"}},
       {{{R"("long_option":"order")", R"("long_option":"id")"}},  // option renamed
        {"safe cli cli-option-added orders.create --id: - -> string",
         "breaking cli cli-option-removed orders.create --order: string -> -"}},
       {{{R"("description":"Orders")", R"("description":"All orders")"}},
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

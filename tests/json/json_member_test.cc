#include "ostra/json/json_member.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <functional>

#include "ostra/std_bindings/cli.h"
#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Com::Corvane::Ostra::Metadata::Cli::CommandSvc::FormatterType;

JsonDocument Parse(const std::string& text) {
  JsonDocument document;
  document.Parse(text.c_str());
  EXPECT_FALSE(document.HasParseError()) << text;
  return document;
}

struct Named {
  std::string name;
  int order;
};
using List = std::list<std::shared_ptr<const Named>>;

// The readers of a domain parser, open to the test.
class Reader : public RecordReader<Reader> {
 public:
  explicit Reader(Messages& messages) : RecordReader(messages) {}
  using RecordReader::Array, RecordReader::Enumerated, RecordReader::Object;
  using RecordReader::OptArray, RecordReader::OptObject, RecordReader::OptText;
  using RecordReader::Text, RecordReader::TextRef;
};

// Every reader and member wrapper on a member of its type, an absent member and a null one (present
// and of the wrong type): the absent one is a fault unless optional, and both leave their message.
// A repeated name reads the first member.
TEST(JsonMember, ReadersOnPresentAbsentAndMistypedMembers) {
  const auto doc = Parse(R"({"s":"x","e":"table","o":{},"a":[],"n":null,"s":1})");
  Messages messages;
  Reader reader(messages);
  std::string text;
  boost::optional<std::string> optional;
  const JsonValue* ref = nullptr;
  FormatterType formatter;
  List list;
  std::map<std::string, std::string> map;
  const auto yes = [](const JsonValue&, auto&&...) { return true; };
  const auto named = [](const JsonValue&, auto&&...) { return std::make_shared<Named>(); };
  const struct {
    const char* good;  // the member of the right type
    std::function<bool(const char*)> read;
    const char* answers;  // on the good member, an absent one and the null one
  } cases[] = {
      {"s", [&](auto n) { return reader.Text(doc, n, text); }, "+--"},
      {"s", [&](auto n) { return reader.TextRef(doc, n, ref); }, "+--"},
      {"s", [&](auto n) { return reader.OptText(doc, n, optional); }, "++-"},
      {"e", [&](auto n) { return reader.Enumerated(doc, n, formatter); }, "+--"},
      {"o", [&](auto n) { return reader.Object(doc, n, yes); }, "+--"},
      {"o", [&](auto n) { return reader.OptObject(doc, n, yes); }, "++-"},
      {"a", [&](auto n) { return reader.Array(doc, n, list, named); }, "+--"},
      {"a", [&](auto n) { return reader.OptArray(doc, n, list, named); }, "++-"},
      {"s", [&](auto n) { return !!JsonMember<std::string>(doc, n, messages); }, "+--"},
      {"s", [&](auto n) { return !!JsonOptMember<decltype(optional)>(doc, n, messages); }, "++-"},
      {"o",
       [&](auto n) { return !!JsonObjectMember<std::shared_ptr<Named>>(doc, n, named, messages); },
       "+--"},
      {"o", [&](auto n) { return !!JsonObjectMember<void>(doc, n, yes, messages); }, "+--"},
      {"o", [&](auto n) { return !!JsonOptObjectMember<decltype(map)>(doc, n, yes, messages); },
       "++-"},
      {"a", [&](auto n) { return !!JsonArrayMember<List>(doc, n, named, messages); }, "+--"},
      {"a", [&](auto n) { return !!JsonOptArrayMember<List>(doc, n, named, messages); }, "++-"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);  // the row
    messages.clear();
    std::string answers;
    for (const char* name : {c.good, "absent", "n"})
      answers += c.read(name) ? '+' : '-';
    EXPECT_EQ(answers, c.answers);
    EXPECT_EQ(OstraTest::Brief(messages), "missing absent; invalid n");
  }
  EXPECT_EQ(text, "x");
  EXPECT_EQ(optional, std::string("x"));
  EXPECT_EQ(formatter.GetValue(), FormatterType::TABLE);
}

TEST(JsonMember, EnumerationTextsAreCaseInsensitiveAndRootsMayHaveNoMembers) {
  const auto doc = Parse(R"({"mixed":"Html","bad":"grid"})");
  Messages messages;
  EXPECT_EQ(JsonMember<FormatterType>(doc, "mixed", messages).Value().GetValue(),
            FormatterType::HTML);
  const JsonMember<FormatterType> bad(doc, "bad", messages);
  EXPECT_FALSE(bad);
  EXPECT_TRUE(bad.Value().IsUnknown());
  EXPECT_EQ(bad.Value().GetText(), "GRID");
  // The argument is the member name, not the offending text. A root that is not an object has no
  // members.
  EXPECT_FALSE(JsonMember<std::string>(Parse("[1]"), "s", messages));
  EXPECT_EQ(OstraTest::Brief(messages), "enum bad; missing s");
}

TEST(JsonMember, FirstFailingElementEndsTheWalk) {
  const auto doc = Parse(R"({"list":[{"name":"a"},{"nope":1},{"name":"c"}],
                             "named":[{"name":"b"},{"name":"a"},{"name":"b"}]})");
  int parsed = 0;
  auto parse = [&parsed](const JsonValue& element, Messages& m) -> std::shared_ptr<Named> {
    ++parsed;
    JsonMember<std::string> name(element, "name", m);
    if (!name) return nullptr;
    return std::make_shared<Named>(Named{name.Value(), parsed});
  };
  Messages messages;
  JsonArrayMember<List> list(doc, "list", parse, messages);
  EXPECT_FALSE(list);
  EXPECT_EQ(parsed, 2);  // the third element is never parsed
  ASSERT_EQ(list.Value().size(), 1u);
  EXPECT_EQ(list.Value().front()->name, "a");
  EXPECT_EQ(OstraTest::Brief(messages), "missing name");

  // A map keeps the first element of a name, in name order.
  parsed = 0;
  JsonArrayMember<std::map<std::string, std::shared_ptr<const Named>>> named(doc, "named", parse,
                                                                             messages);
  ASSERT_TRUE(named);
  ASSERT_EQ(named.Value().size(), 2u);
  EXPECT_EQ(named.Value().at("b")->order, 1);
}

// A map filler fills the value; a check that fails fails the member.
TEST(JsonMember, ObjectFillersAndChecks) {
  const auto doc = Parse(R"({"obj":{"k":"v","k2":"w"}})");
  Messages messages;
  JsonOptObjectMember<std::map<std::string, std::string>> map(
      doc, "obj",
      [](const JsonValue& object, std::map<std::string, std::string>& out, Messages&) {
        for (const auto& member : object.GetObject())
          out[ValToString(member.name)] = ValToString(member.value);
        return true;
      },
      messages);
  EXPECT_EQ(map.Value().at("k2"), "w");
  EXPECT_FALSE(JsonObjectMember<void>(
      doc, "obj", [](const JsonValue&, Messages&) { return false; }, messages));
}

}  // namespace

#include "ostra/json/json_member.h"

#include <gtest/gtest.h>

#include "ostra/std_bindings/cli.h"
#include "test_messages.h"

namespace {

using namespace Ostra::Provider::Metadata;
using Com::Corvane::Ostra::Metadata::Cli::CommandSvc::FormatterType;
using OstraTest::Expected;

const Expected Missing(const char* name) {
  return {kMissingFieldId, {name}};
}
const Expected Invalid(const char* name) {
  return {kInvalidFieldId, {name}};
}

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

TEST(JsonMember, StringsPresentAbsentAndMistyped) {
  const auto doc = Parse(R"({"s":"x","n":null,"i":3,"a":"first","a":"second"})");
  Messages messages;
  JsonMember<std::string> s(doc, "s", messages);
  EXPECT_TRUE(s);
  EXPECT_EQ(s.Value(), "x");
  EXPECT_EQ(JsonMember<std::string>(doc, "a", messages).Value(), "first");
  EXPECT_TRUE(messages.empty());

  EXPECT_FALSE(JsonMember<std::string>(doc, "absent", messages));
  EXPECT_FALSE(JsonMember<std::string>(doc, "n", messages));  // null is present and wrong
  EXPECT_FALSE(JsonMember<std::string>(doc, "i", messages));
  EXPECT_MESSAGES(messages, {Missing("absent"), Invalid("n"), Invalid("i")});

  // Optional: absent succeeds but still leaves the missing-field message; null fails.
  messages.clear();
  JsonOptMember<boost::optional<std::string>> absent(doc, "absent", messages);
  EXPECT_TRUE(absent);
  EXPECT_FALSE(absent.Value());
  EXPECT_FALSE((JsonOptMember<boost::optional<std::string>>(doc, "n", messages)));
  EXPECT_EQ(*JsonOptMember<boost::optional<std::string>>(doc, "s", messages).Value(), "x");
  EXPECT_MESSAGES(messages, {Missing("absent"), Invalid("n")});

  // A root that is not an object has no members.
  messages.clear();
  const auto array = Parse("[1]");
  EXPECT_FALSE(JsonMember<std::string>(array, "s", messages));
  EXPECT_MESSAGES(messages, {Missing("s")});
}

TEST(JsonMember, EnumerationTextsAreCaseInsensitive) {
  const auto doc = Parse(R"({"lower":"table","mixed":"Html","bad":"grid","num":1})");
  Messages messages;
  const JsonMember<FormatterType> lower(doc, "lower", messages);
  EXPECT_TRUE(lower);
  EXPECT_EQ(lower.Value().GetValue(), FormatterType::TABLE);
  EXPECT_EQ(JsonMember<FormatterType>(doc, "mixed", messages).Value().GetValue(),
            FormatterType::HTML);
  const JsonMember<FormatterType> bad(doc, "bad", messages);
  EXPECT_FALSE(bad);
  EXPECT_TRUE(bad.Value().IsUnknown());
  EXPECT_EQ(bad.Value().GetText(), "GRID");
  EXPECT_FALSE(JsonMember<FormatterType>(doc, "num", messages));
  // The argument is the member name, not the offending text.
  EXPECT_MESSAGES(messages, {{kInvalidEnumValueId, {"bad"}}, Invalid("num")});
}

TEST(JsonArrayMember, FirstFailingElementEndsTheWalk) {
  const auto doc = Parse(R"({"list":[{"name":"a"},{"nope":1},{"name":"c"}],
                             "named":[{"name":"b"},{"name":"a"},{"name":"b"}],
                             "object":{}})");
  int parsed = 0;
  auto parse = [&parsed](const JsonValue& element, Messages& m) -> std::shared_ptr<Named> {
    ++parsed;
    JsonMember<std::string> name(element, "name", m);
    if (!name) return nullptr;
    return std::make_shared<Named>(Named{name.Value(), parsed});
  };
  Messages messages;
  JsonArrayMember<std::list<std::shared_ptr<const Named>>> list(doc, "list", parse, messages);
  EXPECT_FALSE(list);
  EXPECT_EQ(parsed, 2);  // the third element is never parsed
  ASSERT_EQ(list.Value().size(), 1u);
  EXPECT_EQ(list.Value().front()->name, "a");
  EXPECT_MESSAGES(messages, {Missing("name")});

  // A map keeps the first element of a name, in name order.
  messages.clear();
  parsed = 0;
  JsonArrayMember<std::map<std::string, std::shared_ptr<const Named>>> named(doc, "named", parse,
                                                                             messages);
  ASSERT_TRUE(named);
  ASSERT_EQ(named.Value().size(), 2u);
  EXPECT_EQ(named.Value().at("b")->order, 1);

  JsonOptArrayMember<std::list<std::shared_ptr<const Named>>> absent(doc, "absent", parse,
                                                                     messages);
  EXPECT_TRUE(absent);
  EXPECT_TRUE(absent.Value().empty());
  EXPECT_FALSE((
      JsonOptArrayMember<std::list<std::shared_ptr<const Named>>>(doc, "object", parse, messages)));
  EXPECT_MESSAGES(messages, {Missing("absent"), Invalid("object")});
}

TEST(JsonObjectMember, FillersPointersAndVoid) {
  const auto doc = Parse(R"({"obj":{"k":"v","k2":"w"},"str":"x"})");
  Messages messages;
  JsonOptObjectMember<std::map<std::string, std::string>> map(
      doc, "obj",
      [](const JsonValue& object, std::map<std::string, std::string>& out, Messages&) {
        for (const auto& member : object.GetObject()) {
          out[ValToString(member.name)] = ValToString(member.value);
        }
        return true;
      },
      messages);
  ASSERT_TRUE(map);
  EXPECT_EQ(map.Value().at("k2"), "w");

  JsonObjectMember<std::shared_ptr<Named>> pointer(
      doc, "obj",
      [](const JsonValue& object, Messages& m) -> std::shared_ptr<Named> {
        JsonMember<std::string> k(object, "k", m);
        return k ? std::make_shared<Named>(Named{k.Value(), 0}) : nullptr;
      },
      messages);
  ASSERT_TRUE(pointer);
  EXPECT_EQ(pointer.Value()->name, "v");

  const auto never = [](const JsonValue&, Messages&) {
    ADD_FAILURE() << "a member of the wrong type is not read";
    return true;
  };
  EXPECT_FALSE(JsonObjectMember<void>(doc, "str", never, messages));
  EXPECT_FALSE(JsonObjectMember<void>(doc, "absent", never, messages));
  EXPECT_TRUE(JsonObjectMember<void>(
      doc, "obj", [](const JsonValue&, Messages&) { return true; }, messages));
  EXPECT_MESSAGES(messages, {Invalid("str"), Missing("absent")});
}

}  // namespace

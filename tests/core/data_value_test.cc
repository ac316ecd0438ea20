#include "ostra/core/data_value.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <string>

#include "ostra/core/json.h"
#include "ostra/std_bindings/cli.h"
#include "ostra/std_bindings/metamodel.h"

namespace {

using namespace Ostra::Data;

TEST(DataJson, TextRoundTripsThroughValues) {
  const char* const texts[] = {
      R"({"a":1,"b":[true,false,null],"c":{"d":"x\u0000y"},"e":-2.5})",
      R"([])",
      R"("plain")",
      R"(9223372036854775807)",
  };
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    const ValuePtr value = FromJson(text);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(ToJson(*value), text);
  }
  // A number beyond int64 becomes a double; a repeated member keeps its first value.
  EXPECT_EQ(FromJson("18446744073709551616")->GetType(), ValueType::kDouble);
  EXPECT_EQ(ToJson(*FromJson(R"({"a":1,"a":2})")), R"({"a":1})");
}

TEST(DataValue, EqualValuesHaveTheSameTypeAndContent) {
  const char* const texts[] = {R"({"a":1})", R"({"a":2})", R"({"b":1})", "{}",     "[]",   "[1]",
                               "[1,2]",      "1",          "1.5",        R"("1")", "true", "null"};
  for (const char* a : texts) {
    for (const char* b : texts)
      EXPECT_EQ(*FromJson(a) == *FromJson(b), a == b) << a << " " << b;
  }
}

TEST(DataJson, RejectsBrokenAndTooDeepInput) {
  std::string error;
  EXPECT_EQ(FromJson("{\"a\":", &error), nullptr);
  EXPECT_NE(error.find("offset 5"), std::string::npos) << error;
  EXPECT_EQ(FromJson("[1] 2"), nullptr);

  const std::string deep(kMaxJsonDepth + 1, '[');
  EXPECT_EQ(FromJson(deep + std::string(kMaxJsonDepth + 1, ']'), &error), nullptr);
  EXPECT_NE(error.find("nesting"), std::string::npos) << error;
  const std::string allowed(kMaxJsonDepth, '[');
  EXPECT_NE(FromJson(allowed + std::string(kMaxJsonDepth, ']')), nullptr);
  // Far deeper input is refused without exhausting the stack.
  EXPECT_EQ(FromJson(std::string(1000000, '[') + std::string(1000000, ']')), nullptr);
}

TEST(TypeConverter, RecordsRoundTripThroughValuesAndJson) {
  namespace Cli = Com::Corvane::Ostra::Metadata::Cli;
  Cli::CommandSvc::Info info;
  info.identity =
      std::make_shared<Cli::CommandSvc::Identity>(Cli::CommandSvc::Identity{"a.b", "c"});
  info.description = "describe";
  info.service_id = "svc";
  info.operation_id = "get";
  info.formatter = Cli::CommandSvc::FormatterType(Cli::CommandSvc::FormatterType::TABLE);
  auto option = std::make_shared<Cli::CommandSvc::OptionInfo>();
  option->long_option = "name";
  option->generic = Cli::CommandSvc::GenericType::Unknown("WEIRD");
  info.options.push_back(option);

  const Ostra::L10n::RequestLocalizer localizer;
  const ValuePtr value = TypeConverter<Cli::CommandSvc::Info>::ToValue(info, localizer);
  const auto& structure = static_cast<const StructValue&>(*value);
  EXPECT_EQ(structure.GetName(), "com.corvane.ostra.metadata.cli.command.info");
  EXPECT_EQ(structure.GetFieldNames(),
            (std::vector<std::string>{"identity", "description", "service_id", "operation_id",
                                      "formatter", "options", "output_field_list"}));

  Cli::CommandSvc::Info back;
  ASSERT_TRUE(TypeConverter<Cli::CommandSvc::Info>::FromValue(*value, back));
  EXPECT_EQ(back.identity->path, "a.b");
  EXPECT_EQ(back.formatter->GetValue(), Cli::CommandSvc::FormatterType::TABLE);
  ASSERT_EQ(back.options.size(), 1u);
  EXPECT_TRUE(back.options.front()->generic.IsUnknown());
  EXPECT_EQ(back.options.front()->generic.GetText(), "WEIRD");
  EXPECT_FALSE(back.options.front()->short_option);

  // Through JSON, which drops struct names: converting back still works.
  const ValuePtr fromJson = FromJson(ToJson(*value));
  Cli::CommandSvc::Info viaJson;
  ASSERT_TRUE(TypeConverter<Cli::CommandSvc::Info>::FromValue(*fromJson, viaJson));
  EXPECT_EQ(ToJson(*TypeConverter<Cli::CommandSvc::Info>::ToValue(viaJson, localizer)),
            ToJson(*value));
}

TEST(TypeConverter, RefusesValuesOfTheWrongShape) {
  namespace Metamodel = Com::Corvane::Ostra::Metadata::Metamodel;
  Metamodel::SourceSvc::CreateSpec spec;
  // Optional members may be absent; a required one may not.
  EXPECT_TRUE(TypeConverter<Metamodel::SourceSvc::CreateSpec>::FromValue(
      *FromJson(R"({"description":"d","type":"FILE"})"), spec));
  EXPECT_EQ(spec.type.GetValue(), Metamodel::SourceSvc::SourceType::FILE);
  EXPECT_FALSE(spec.filepath);
  EXPECT_FALSE(TypeConverter<Metamodel::SourceSvc::CreateSpec>::FromValue(
      *FromJson(R"({"type":"FILE"})"), spec));
  EXPECT_FALSE(TypeConverter<Metamodel::SourceSvc::CreateSpec>::FromValue(
      *FromJson(R"({"description":7,"type":"FILE"})"), spec));
  EXPECT_FALSE(TypeConverter<Metamodel::SourceSvc::CreateSpec>::FromValue(*FromJson("[]"), spec));
  // A record member held by pointer may be absent too.
  Metamodel::Type type;
  EXPECT_TRUE(TypeConverter<Metamodel::Type>::FromValue(
      *FromJson(R"({"category":"BUILTIN","builtin_type":"STRING"})"), type));
  EXPECT_EQ(type.user_defined_type, nullptr);
  std::list<std::string> strings;
  EXPECT_FALSE(TypeConverter<std::list<std::string>>::FromValue(*FromJson(R"(["a",1])"), strings));
  boost::optional<std::string> optional;
  EXPECT_TRUE(TypeConverter<boost::optional<std::string>>::FromValue(*FromJson("null"), optional));
  EXPECT_FALSE(optional);
  EXPECT_TRUE(TypeConverter<boost::optional<std::string>>::FromValue(*FromJson("\"x\""), optional));
  EXPECT_EQ(optional, std::string("x"));
}

}  // namespace

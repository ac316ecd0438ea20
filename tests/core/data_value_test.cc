#include "ostra/core/data_value.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <string>

#include "ostra/core/enum.h"
#include "ostra/core/json.h"
#include "ostra/std_bindings/cli.h"
#include "ostra/std_bindings/errors.h"
#include "ostra/std_bindings/metamodel.h"

namespace {

using namespace Ostra::Data;

TEST(DataJson, TextRoundTripsThroughValues) {
  for (const char* text : {R"({"a":1,"b":[true,false,null],"c":{"d":"x\u0000y"},"e":-2.5})", "[]",
                           R"("plain")", "9223372036854775807"}) {
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

  const std::string deep(Ostra::kMaxRequestJsonDepth + 1, '[');
  EXPECT_EQ(FromJson(deep + std::string(Ostra::kMaxRequestJsonDepth + 1, ']'), &error), nullptr);
  EXPECT_NE(error.find("nesting"), std::string::npos) << error;
  const std::string allowed(Ostra::kMaxRequestJsonDepth, '[');
  EXPECT_NE(FromJson(allowed + std::string(Ostra::kMaxRequestJsonDepth, ']')), nullptr);
  // Far deeper input is refused without exhausting the stack.
  EXPECT_EQ(FromJson(std::string(1000000, '[') + std::string(1000000, ']')), nullptr);
}

// A record to a value and back, directly and through JSON (which drops struct names).
TEST(TypeConverter, RecordsRoundTripThroughValuesAndJson) {
  namespace Cli = Com::Corvane::Ostra::Metadata::Cli;
  using Info = Cli::CommandSvc::Info;
  Info info;
  info.identity = std::make_shared<Cli::CommandSvc::Identity>(Cli::CommandSvc::Identity{"a", "c"});
  info.formatter = Cli::CommandSvc::FormatterType(Cli::CommandSvc::FormatterType::TABLE);
  auto option = std::make_shared<Cli::CommandSvc::OptionInfo>();
  option->generic = Cli::CommandSvc::GenericType::Unknown("WEIRD");
  info.options.push_back(option);
  const Ostra::L10n::RequestLocalizer localizer;
  const ValuePtr value = TypeConverter<Info>::ToValue(info, localizer);
  EXPECT_EQ(static_cast<const StructValue&>(*value).GetName(),
            "com.corvane.ostra.metadata.cli.command.info");
  const std::string json = ToJson(*value);
  EXPECT_EQ(json, R"({"identity":{"path":"a","name":"c"},"description":"","service_id":"",)"
                  R"("operation_id":"","formatter":"TABLE","options":[{"long_option":"",)"
                  R"("short_option":null,"field_name":"","description":"","type":"",)"
                  R"("generic":"WEIRD"}],"output_field_list":[]})");
  for (const ValuePtr& from : {value, FromJson(json)}) {
    Info back;
    ASSERT_TRUE(TypeConverter<Info>::FromValue(*from, back));
    EXPECT_EQ(ToJson(*TypeConverter<Info>::ToValue(back, localizer)), json);
    EXPECT_TRUE(back.options.front()->generic.IsUnknown());
  }
}

// Optional members may be absent or null; required ones, records held by pointer included, may not.
// (Inputs left out or of the wrong type at large: the Services test, over every bound service.)
TEST(TypeConverter, RefusesValuesOfTheWrongShape) {
  namespace Metamodel = Com::Corvane::Ostra::Metadata::Metamodel;
  const auto converts = [](const char* json, auto record) {
    return TypeConverter<decltype(record)>::FromValue(*FromJson(json), record);
  };
  EXPECT_TRUE(converts(R"({"description":"d","type":"FILE","filepath":null})",
                       Metamodel::SourceSvc::CreateSpec()));
  EXPECT_FALSE(converts(R"({"description":7,"type":"FILE"})", Metamodel::SourceSvc::CreateSpec()));
  EXPECT_TRUE(converts(R"({"category":"BUILTIN","builtin_type":"STRING"})", Metamodel::Type()));
  EXPECT_FALSE(converts(R"({"category":"BUILTIN","builtin_type":"STRING","user_defined_type":7})",
                        Metamodel::Type()));
  EXPECT_FALSE(converts(R"(["a",1])", std::list<std::string>()));
}

TEST(Enum, KnownUnknownAndDefaultValues) {
  using BuiltinType = Com::Corvane::Ostra::Metadata::Metamodel::TypeEnumerations::BuiltinType;
  const BuiltinType known = Ostra::EnumConverter<BuiltinType>::Convert("DATE_TIME");
  EXPECT_EQ(known.GetValue(), BuiltinType::DATE_TIME);
  EXPECT_EQ(std::to_string(known.GetOrdinal()) + " " + known.GetText(), "7 DATE_TIME");
  // Lookup is exact; the unknown ordinal is the table's length and keeps the text.
  const BuiltinType unknown = Ostra::EnumConverter<BuiltinType>::Convert("date_time");
  EXPECT_EQ(std::to_string(unknown.GetOrdinal()) + " " + unknown.GetText(), "13 date_time");
  EXPECT_TRUE(BuiltinType().IsUnknown());
  EXPECT_EQ(BuiltinType().GetText(), "");

  // Error types are numbered as the framework numbers them.
  using ErrorType = Com::Corvane::Ostra::Std::Errors::ErrorType;
  EXPECT_EQ(ErrorType(ErrorType::NOT_FOUND).GetOrdinal(), 12u);
  EXPECT_EQ(ErrorType(ErrorType::UNSUPPORTED).GetText(), "UNSUPPORTED");
  EXPECT_EQ(ErrorType().GetOrdinal(), 25u);
}

}  // namespace

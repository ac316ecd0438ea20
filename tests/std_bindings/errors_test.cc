#include "ostra/std_bindings/errors.h"

#include <gtest/gtest.h>

#include <list>
#include <string>

#include "ostra/core/error_factory.h"
#include "ostra/core/json.h"

namespace {

namespace Errors = Com::Corvane::Ostra::Std::Errors;
using Ostra::BaseMessage;
using Ostra::Data::ErrorFactory;
using Ostra::Data::ErrorValue;

std::string ErrorTypeText(const ErrorValue& error) {
  const auto field = error.GetField("error_type");
  const auto& optional = static_cast<const Ostra::Data::OptionalValue&>(*field);
  return static_cast<const Ostra::Data::StringValue&>(*optional.GetValue()).GetValue();
}

struct Kind {
  const char* name;
  std::shared_ptr<const ErrorValue> (*make)(std::list<BaseMessage>);
  Errors::ErrorType::Value type;
};

TEST(ErrorFactory, EachKindCarriesItsNameTypeAndMessagesInOrder) {
  const Kind kinds[] = {
      {"com.corvane.ostra.std.errors.not_found", &ErrorFactory::GetError<Errors::NotFound>,
       Errors::ErrorType::NOT_FOUND},
      {"com.corvane.ostra.std.errors.already_exists",
       &ErrorFactory::GetError<Errors::AlreadyExists>, Errors::ErrorType::ALREADY_EXISTS},
      {"com.corvane.ostra.std.errors.invalid_argument",
       &ErrorFactory::GetError<Errors::InvalidArgument>, Errors::ErrorType::INVALID_ARGUMENT},
      {"com.corvane.ostra.std.errors.unsupported", &ErrorFactory::GetError<Errors::Unsupported>,
       Errors::ErrorType::UNSUPPORTED},
  };
  const std::list<BaseMessage> messages = {
      BaseMessage("first.id", "First: a", {"a"}),
      BaseMessage("second.id", "Second: b then c", {"b", "c"}),
      BaseMessage("third.id", "", {}),
  };
  for (const Kind& kind : kinds) {
    SCOPED_TRACE(kind.name);
    const auto error = kind.make(messages);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->GetName(), kind.name);
    EXPECT_EQ(error->GetFieldNames(), (std::vector<std::string>{"messages", "data", "error_type"}));
    EXPECT_EQ(ErrorTypeText(*error), Errors::ErrorType::Strings::values[kind.type]);
    EXPECT_EQ(Errors::KindOf(*error), kind.type);
    EXPECT_EQ(ErrorFactory::GetMessages(*error), messages);
    EXPECT_EQ(ErrorFactory::GetMessages(*kind.make({})), std::list<BaseMessage>{});
  }
}

TEST(ErrorFactory, BuiltStructureKeepsItsMessagesAndGetsItsType) {
  Errors::Unsupported unsupported;
  EXPECT_FALSE(unsupported.error_type);
  const auto plain = ErrorFactory::GetError(unsupported);
  EXPECT_EQ(ErrorTypeText(*plain), "UNSUPPORTED");
  EXPECT_TRUE(ErrorFactory::GetMessages(*plain).empty());

  Errors::InvalidArgument invalid;
  EXPECT_EQ(invalid.error_type->GetOrdinal(), 7u);  // its own constructor sets it
  auto message = std::make_shared<Com::Corvane::Ostra::Std::LocalizableMessage>();
  message->id = "kept.id";
  message->default_message = "kept";
  message->args = {"x"};
  invalid.messages.push_back(message);
  const auto built = ErrorFactory::GetError(invalid);
  EXPECT_EQ(ErrorFactory::GetMessages(*built),
            std::list<BaseMessage>{BaseMessage("kept.id", "kept", {"x"})});
  // The binding record converts to exactly what CastMessages builds.
  EXPECT_EQ(*built->GetField("messages"),
            *ErrorFactory::CastMessages({BaseMessage("kept.id", "kept", {"x"})}));
}

TEST(ErrorFactory, GetMessagesSkipsWhatIsNotAMessage) {
  const auto value = Ostra::Data::FromJson(
      R"({"messages":[{"id":"a","default_message":"A","args":["1",2]},{"id":3},"x",)"
      R"({"id":"b","default_message":"B"}]})");
  const ErrorValue error("e", static_cast<const Ostra::Data::StructValue&>(*value).GetFields());
  EXPECT_EQ(ErrorFactory::GetMessages(error),
            (std::list<BaseMessage>{BaseMessage("a", "A", {"1"}), BaseMessage("b", "B", {})}));
  EXPECT_TRUE(ErrorFactory::GetMessages(ErrorValue("e", {})).empty());
}

}  // namespace

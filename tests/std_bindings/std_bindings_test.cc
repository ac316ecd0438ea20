#include "ostra/std_bindings/service_binding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>

#include "ostra/core/error_factory.h"
#include "ostra/core/json.h"
#include "ostra/std_bindings/errors.h"

namespace {

using Ostra::AsyncResult;
using Ostra::BaseMessage;
using Ostra::Core::AsyncActivation;
using Ostra::Data::ErrorFactory;
using Ostra::Data::ErrorValue;
using Ostra::Data::ValuePtr;
namespace Errors = Com::Corvane::Ostra::Std::Errors;

// A service as the bindings declare them: inputs, then the activation and the result.
class Greeter {
 public:
  void Greet(const std::string& name, const boost::optional<std::string>& title,
             const std::shared_ptr<AsyncActivation>&, const AsyncResult<std::string>& result) {
    if (name == "throw") throw std::runtime_error("boom");
    if (name.empty()) {
      result.error(Ostra::Data::ErrorFactory::GetError<Errors::NotFound>(
          {Ostra::BaseMessage("greeter.empty", "Nobody", {})}));
      return;
    }
    result((title ? *title + " " : std::string()) + name);
  }
  // Success by leaving the result uncompleted.
  void Forget(const std::shared_ptr<AsyncActivation>&, const AsyncResult<Ostra::Void>&) {}
  // A non-Void result dropped uncompleted: a bug the dispatcher reports.
  void Count(const std::shared_ptr<AsyncActivation>&, const AsyncResult<std::int64_t>&) {}
};

}  // namespace

template <>
struct Ostra::Data::TypeInfo<Greeter> {
  static std::string name() { return "test.greeter"; }
};

namespace {

TEST(ServiceBinding, DescribesItselfAndConvertsInputsAndResults) {
  const auto api = Ostra::Core::BindService<Greeter>(
      std::make_shared<Greeter>(),
      {Ostra::Core::BindOperation("greet", &Greeter::Greet, {"name", "title"}),
       Ostra::Core::BindOperation("forget", &Greeter::Forget),
       Ostra::Core::BindOperation("count", &Greeter::Count)});
  EXPECT_EQ(api->GetIdentifier(), "test.greeter");
  EXPECT_EQ(api->GetOperationIdentifiers(), (std::vector<std::string>{"greet", "forget", "count"}));
  EXPECT_EQ(api->GetInputNames("greet"), (std::vector<std::string>{"name", "title"}));
  EXPECT_TRUE(api->GetInputNames("nope").empty());
  // The answer of a call: the value as JSON, or the error's kind and first message id.
  int calls = 0;
  const auto call = [&api, &calls](const std::string& operation, const std::string& input) {
    calls = 0;
    std::string answer;
    api->Invoke(
        operation, static_cast<const Ostra::Data::StructValue&>(*Ostra::Data::FromJson(input)),
        std::make_shared<AsyncActivation>(),
        [&](const ValuePtr& value, const std::shared_ptr<const ErrorValue>& error) {
          ++calls;
          if (value)
            answer = value->GetType() == Ostra::Data::ValueType::kVoid
                         ? "(void)"
                         : Ostra::Data::ToJson(*value);
          if (error) {
            const auto messages = ErrorFactory::GetMessages(*error);
            answer += std::string(Errors::ErrorType::Strings::values[Errors::KindOf(*error)]) +
                      " " + (messages.empty() ? "" : messages.front().GetId());
          }
        });
    return std::to_string(calls) + " " + answer;
  };

  // Inputs left out or of the wrong type: the Services test, over every bound service.
  const struct {
    const char *operation, *input, *answer;
  } cases[] = {
      {"greet", R"({"name":"Ada"})", R"("Ada")"},
      {"greet", R"({"name":"Ada","title":"Dr","extra":1})", R"("Dr Ada")"},
      {"greet", R"({"name":""})", "NOT_FOUND greeter.empty"},
      {"wave", "{}", "NOT_FOUND ostra.core.operation.not.found"},
      // A Void result dropped uncompleted is success, any other a bug reported as an error.
      {"forget", "{}", "(void)"},
      {"count", "{}", "ERROR ostra.core.result.dropped"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(call(c.operation, c.input), std::string("1 ") + c.answer) << c.operation << c.input;

  // An exception of the implementation propagates, and the call is not completed.
  EXPECT_THROW(call("greet", R"({"name":"throw"})"), std::runtime_error);
  EXPECT_EQ(calls, 0);
}

using Messages = std::list<BaseMessage>;

TEST(ErrorFactory, EachKindCarriesItsNameTypeAndMessagesInOrder) {
  const struct {
    std::shared_ptr<const ErrorValue> (*make)(Messages);
    Errors::ErrorType::Value type;
    std::string text;  // the type's, lower-cased in the name
  } kinds[] = {
      {&ErrorFactory::GetError<Errors::NotFound>, Errors::ErrorType::NOT_FOUND, "NOT_FOUND"},
      {&ErrorFactory::GetError<Errors::AlreadyExists>, Errors::ErrorType::ALREADY_EXISTS,
       "ALREADY_EXISTS"},
      {&ErrorFactory::GetError<Errors::InvalidArgument>, Errors::ErrorType::INVALID_ARGUMENT,
       "INVALID_ARGUMENT"},
      {&ErrorFactory::GetError<Errors::Unsupported>, Errors::ErrorType::UNSUPPORTED, "UNSUPPORTED"},
  };
  const Messages messages = {BaseMessage("first.id", "First: a", {"a"}),
                             BaseMessage("second.id", "Second: b then c", {"b", "c"}),
                             BaseMessage("third.id", "", {})};
  for (const auto& kind : kinds) {
    SCOPED_TRACE(kind.text);
    const auto error = kind.make(messages);
    std::string name = kind.text;
    std::transform(name.begin(), name.end(), name.begin(), ::tolower);
    EXPECT_EQ(error->GetName(), "com.corvane.ostra.std.errors." + name);
    EXPECT_EQ(Ostra::Data::ToJson(*error->GetField("error_type")), "\"" + kind.text + "\"");
    EXPECT_EQ(error->GetFieldNames(), (std::vector<std::string>{"messages", "data", "error_type"}));
    EXPECT_EQ(Errors::KindOf(*error), kind.type);
    EXPECT_EQ(ErrorFactory::GetMessages(*error), messages);
    EXPECT_EQ(ErrorFactory::GetMessages(*kind.make({})), Messages{});
  }
}

TEST(ErrorFactory, BuiltStructureKeepsItsMessagesAndGetsItsType) {
  const auto plain = ErrorFactory::GetError(Errors::Unsupported());
  EXPECT_EQ(Ostra::Data::ToJson(*plain->GetField("error_type")), "\"UNSUPPORTED\"");
  EXPECT_TRUE(ErrorFactory::GetMessages(*plain).empty());

  Errors::InvalidArgument invalid;
  using Message = Com::Corvane::Ostra::Std::LocalizableMessage;
  invalid.messages.push_back(std::make_shared<Message>(Message{"kept.id", "kept", {"x"}}));
  const auto built = ErrorFactory::GetError(invalid);
  EXPECT_EQ(ErrorFactory::GetMessages(*built), Messages{BaseMessage("kept.id", "kept", {"x"})});
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
            (Messages{BaseMessage("a", "A", {"1"}), BaseMessage("b", "B", {})}));
  EXPECT_TRUE(ErrorFactory::GetMessages(ErrorValue("e", {})).empty());
}

}  // namespace

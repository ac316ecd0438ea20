#include "ostra/std_bindings/service_binding.h"

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <stdexcept>
#include <string>

#include "ostra/core/json.h"

namespace {

using Ostra::AsyncResult;
using Ostra::Core::AsyncActivation;
using Ostra::Data::ValuePtr;
namespace Errors = Com::Corvane::Ostra::Std::Errors;

// A service interface as the bindings declare them.
class GreeterInterface {
 public:
  virtual ~GreeterInterface() = default;
  virtual void Greet(const std::string& name, const boost::optional<std::string>& title,
                     const std::shared_ptr<AsyncActivation>& activation,
                     const AsyncResult<std::string>& result) = 0;
  virtual void Forget(const std::shared_ptr<AsyncActivation>& activation,
                      const AsyncResult<Ostra::Void>& result) = 0;
  virtual void Count(const std::shared_ptr<AsyncActivation>& activation,
                     const AsyncResult<std::int64_t>& result) = 0;
};

class Greeter : public GreeterInterface {
 public:
  void Greet(const std::string& name, const boost::optional<std::string>& title,
             const std::shared_ptr<AsyncActivation>&,
             const AsyncResult<std::string>& result) override {
    if (name == "throw") throw std::runtime_error("boom");
    if (name.empty()) {
      result.error(Ostra::Data::ErrorFactory::GetError<Errors::NotFound>(
          {Ostra::BaseMessage("greeter.empty", "Nobody", {})}));
      return;
    }
    result((title ? *title + " " : std::string()) + name);
  }
  // Success by leaving the result uncompleted.
  void Forget(const std::shared_ptr<AsyncActivation>&, const AsyncResult<Ostra::Void>&) override {}
  // A non-Void result dropped uncompleted: a bug the dispatcher reports.
  void Count(const std::shared_ptr<AsyncActivation>&, const AsyncResult<std::int64_t>&) override {}
};

}  // namespace

template <>
struct Ostra::Data::TypeInfo<GreeterInterface> {
  static std::string name() { return "test.greeter"; }
};

namespace {

struct Outcome {
  int calls = 0;
  ValuePtr value;
  std::shared_ptr<const Ostra::Data::ErrorValue> error;
};

Outcome Call(const Ostra::Core::ApiInterface& api, const std::string& operation,
             const std::string& input) {
  Outcome outcome;
  const auto value = Ostra::Data::FromJson(input);
  api.Invoke(operation, static_cast<const Ostra::Data::StructValue&>(*value),
             std::make_shared<AsyncActivation>(),
             [&](const ValuePtr& result, const std::shared_ptr<const Ostra::Data::ErrorValue>& e) {
               ++outcome.calls;
               outcome.value = result;
               outcome.error = e;
             });
  return outcome;
}

std::string FirstMessageId(const Outcome& outcome) {
  const auto messages = Ostra::Data::ErrorFactory::GetMessages(*outcome.error);
  return messages.empty() ? "" : messages.front().GetId();
}

std::shared_ptr<Ostra::Core::ApiInterface> Bind() {
  return Ostra::Core::BindService<GreeterInterface>(
      std::make_shared<Greeter>(),
      {Ostra::Core::BindOperation("greet", &GreeterInterface::Greet, {"name", "title"}),
       Ostra::Core::BindOperation("forget", &GreeterInterface::Forget),
       Ostra::Core::BindOperation("count", &GreeterInterface::Count)});
}

TEST(ServiceBinding, DescribesItself) {
  const auto api = Bind();
  EXPECT_EQ(api->GetIdentifier(), "test.greeter");
  EXPECT_EQ(api->GetOperationIdentifiers(), (std::vector<std::string>{"greet", "forget", "count"}));
  EXPECT_EQ(api->GetInputNames("greet"), (std::vector<std::string>{"name", "title"}));
  EXPECT_TRUE(api->GetInputNames("nope").empty());
}

TEST(ServiceBinding, ConvertsInputsAndResults) {
  const auto api = Bind();
  const Outcome plain = Call(*api, "greet", R"({"name":"Ada"})");
  ASSERT_EQ(plain.calls, 1);
  EXPECT_EQ(Ostra::Data::ToJson(*plain.value), R"("Ada")");
  const Outcome titled = Call(*api, "greet", R"({"name":"Ada","title":"Dr","extra":1})");
  EXPECT_EQ(Ostra::Data::ToJson(*titled.value), R"("Dr Ada")");

  const Outcome failed = Call(*api, "greet", R"({"name":""})");
  ASSERT_EQ(failed.calls, 1);
  EXPECT_EQ(failed.value, nullptr);
  EXPECT_EQ(FirstMessageId(failed), "greeter.empty");
}

// Inputs left out or of the wrong type: the Services test, over every bound service.
TEST(ServiceBinding, BadCallsCompleteWithErrors) {
  const auto api = Bind();
  struct Case {
    const char* operation;
    const char* input;
    Errors::ErrorType::Value kind;
    const char* id;
  } const cases[] = {
      {"wave", "{}", Errors::ErrorType::NOT_FOUND, "ostra.core.operation.not.found"},
      {"count", "{}", Errors::ErrorType::ERROR, "ostra.core.result.dropped"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.operation) + " " + c.input);
    const Outcome outcome = Call(*api, c.operation, c.input);
    ASSERT_EQ(outcome.calls, 1);
    ASSERT_NE(outcome.error, nullptr);
    EXPECT_EQ(Errors::KindOf(*outcome.error), c.kind);
    EXPECT_EQ(FirstMessageId(outcome), c.id);
  }
}

TEST(ServiceBinding, DroppedVoidIsSuccessAndExceptionsPropagateAlone) {
  const auto api = Bind();
  const Outcome forgot = Call(*api, "forget", "{}");
  ASSERT_EQ(forgot.calls, 1);
  EXPECT_EQ(forgot.error, nullptr);
  EXPECT_EQ(forgot.value->GetType(), Ostra::Data::ValueType::kVoid);

  int calls = 0;
  const auto input = Ostra::Data::FromJson(R"({"name":"throw"})");
  EXPECT_THROW(api->Invoke("greet", static_cast<const Ostra::Data::StructValue&>(*input), nullptr,
                           [&](const ValuePtr&,
                               const std::shared_ptr<const Ostra::Data::ErrorValue>&) { ++calls; }),
               std::runtime_error);
  EXPECT_EQ(calls, 0);
}

}  // namespace

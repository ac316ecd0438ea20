#include "ostra/core/async_result.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <list>
#include <memory>
#include <string>

#include "ostra/core/error_factory.h"
#include "ostra/std_bindings/errors.h"

namespace {

using Ostra::AsyncResult;

struct Seen {
  int calls = 0;
  boost::optional<std::string> value;
  std::shared_ptr<const Ostra::Data::ErrorValue> error;
};

AsyncResult<std::string> Recording(Seen& seen) {
  return AsyncResult<std::string>([&seen](const boost::optional<std::string>& value,
                                          const std::shared_ptr<const Ostra::Data::ErrorValue>& e,
                                          const std::shared_ptr<const Ostra::Data::NativeError>&,
                                          const Ostra::Progress&) {
    ++seen.calls;
    seen.value = value;
    seen.error = e;
  });
}

TEST(AsyncResult, CompletesWithValueOrErrorThroughAnyCopy) {
  Seen seen;
  const auto result = Recording(seen);
  const AsyncResult<std::string> copy = result;  // copies share one completion
  copy("done");
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.value, std::string("done"));
  EXPECT_EQ(seen.error, nullptr);

  Seen failed;
  const auto error =
      Ostra::Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::NotFound>(
          std::list<Ostra::BaseMessage>{});
  Recording(failed).error(error);
  EXPECT_EQ(failed.calls, 1);
  EXPECT_FALSE(failed.value);
  EXPECT_EQ(failed.error, error);
}

TEST(AsyncResultDeathTest, SecondCompletionEndsTheProcess) {
  EXPECT_DEATH(
      {
        Seen seen;
        const auto result = Recording(seen);
        const auto copy = result;
        result("first");
        copy("second");
      },
      "");
}

}  // namespace

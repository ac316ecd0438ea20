#include "ostra/core/async_result.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include <list>
#include <memory>
#include <string>

#include "test_outcome.h"

namespace {

using Seen = OstraTest::Outcome<std::string>;

TEST(AsyncResult, CompletesWithValueOrErrorThroughAnyCopy) {
  Seen seen;
  const auto result = seen.Result();
  const Ostra::AsyncResult<std::string> copy = result;  // copies share one completion
  copy("done");
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.value, std::string("done"));
  EXPECT_EQ(seen.error, nullptr);

  Seen failed;
  const auto error =
      Ostra::Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::NotFound>(
          std::list<Ostra::BaseMessage>{});
  failed.Result().error(error);
  EXPECT_EQ(failed.calls, 1);
  EXPECT_FALSE(failed.value);
  EXPECT_EQ(failed.error, error);
}

TEST(AsyncResultDeathTest, SecondCompletionEndsTheProcess) {
  EXPECT_DEATH(
      {
        Seen seen;
        const auto result = seen.Result();
        const auto copy = result;
        result("first");
        copy("second");
      },
      "");
}

}  // namespace

#include "ostra/core/async_result.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

#include "test_store.h"

namespace {

using Seen = OstraTest::Outcome<std::string>;

// Copies share one completion: a value or an error, once; a second completion ends the process.
TEST(AsyncResultDeathTest, CopiesShareOneCompletion) {
  Seen seen;
  const auto result = seen.Result();
  const Ostra::AsyncResult<std::string> copy = result;
  copy("done");
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.value, std::string("done"));
  EXPECT_EQ(seen.error, nullptr);
  EXPECT_DEATH(result("again"), "");

  Seen failed;
  const auto error =
      Ostra::Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::NotFound>({});
  failed.Result().error(error);
  EXPECT_EQ(failed.calls, 1);
  EXPECT_FALSE(failed.value);
  EXPECT_EQ(failed.error, error);
}

}  // namespace

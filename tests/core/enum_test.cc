#include "ostra/core/enum.h"

#include <gtest/gtest.h>

#include "ostra/std_bindings/errors.h"
#include "ostra/std_bindings/metamodel.h"

namespace {

namespace Metamodel = Com::Corvane::Ostra::Metadata::Metamodel;
using BuiltinType = Metamodel::TypeEnumerations::BuiltinType;

TEST(Enum, KnownUnknownAndDefaultValues) {
  const BuiltinType known = Ostra::EnumConverter<BuiltinType>::Convert("DATE_TIME");
  EXPECT_EQ(known.GetValue(), BuiltinType::DATE_TIME);
  EXPECT_EQ(known.GetOrdinal(), 7u);
  EXPECT_EQ(known.GetText(), "DATE_TIME");

  // Lookup is exact; the unknown ordinal is the table's length and keeps the text.
  const BuiltinType unknown = Ostra::EnumConverter<BuiltinType>::Convert("date_time");
  EXPECT_EQ(unknown.GetOrdinal(), 13u);
  EXPECT_EQ(unknown.GetText(), "date_time");

  const BuiltinType fresh;
  EXPECT_TRUE(fresh.IsUnknown());
  EXPECT_EQ(fresh.GetText(), "");
  EXPECT_EQ(BuiltinType(BuiltinType::OPAQUE).GetText(), "OPAQUE");
}

TEST(Enum, ErrorTypeOrdinalsAreFixed) {
  using ErrorType = Com::Corvane::Ostra::Std::Errors::ErrorType;
  EXPECT_STREQ(ErrorType::Strings::values[0], "ERROR");
  EXPECT_STREQ(ErrorType::Strings::values[1], "ALREADY_EXISTS");
  EXPECT_STREQ(ErrorType::Strings::values[7], "INVALID_ARGUMENT");
  EXPECT_STREQ(ErrorType::Strings::values[12], "NOT_FOUND");
  EXPECT_STREQ(ErrorType::Strings::values[23], "UNSUPPORTED");
  EXPECT_EQ(ErrorType::Strings::values[25], nullptr);
  EXPECT_EQ(ErrorType().GetOrdinal(), 25u);
}

}  // namespace

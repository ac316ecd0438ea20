// The message formatter and the message catalogue that formats through it.
#include "ostra/provider/format.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "ostra/core/format_category.h"
#include "ostra/provider/messages.h"

namespace {

using Ostra::BaseMessage;
using Ostra::MakeMessage;
using Ostra::Detail::format_arg;
using Ostra::Detail::string_view;
using Ostra::Provider::Metadata::kMessageCatalogue;
using Ostra::Provider::Metadata::MetadataMessage;

struct Formatted {
  std::string text;
  std::error_code ec;
};

template <class... Args>
Formatted Fmt(string_view format, const Args&... args) {
  const format_arg list[] = {format_arg(args)..., format_arg("unused")};
  Formatted result;
  result.text = Ostra::Detail::Format(format, list, sizeof...(Args), result.ec);
  return result;
}

const std::error_code kOutOfRange(3, Ostra::GetFormatCategory());

TEST(Format, PlaceholderGrammar) {
  // Each format with what it makes of "a" and "b", and whether it meets an index out of range.
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"Cli source not found: {1}", "Cli source not found: a", false},
      {"{1}[{2}]", "a[b]", false},
      {"{2} then {}", "b then b", false},  // the counter advances after explicit indices too
      {"{} {} {1}", "a b a", false},
      {"{0}{x}", "ab", false},  // 0 and non-numeric indices take the counter's argument
      {"{{1}}", "{1}", false},  // both doublings are escapes
      {"}}{{", "}{", false},
      {"x}1", "xa", false},  // a lone closing brace opens a placeholder running to the end
      {"x}2 tail", "xb", false},
      {"{1", "a", false},  // no closing brace: the field is the rest
      {"{01}", "a", false},
      {"{1abc}", "a", false},  // the index stops at the first non-digit
      {"stop {3} here", "stop ", true},
      {"{18446744073709551617}", "a", false},  // 20 digits, wrapping like the C arithmetic
      {"{123456789012345678901}", "", true},   // only the first 20 characters count
      {"", "", false},
      {"no braces", "no braces", false},
  };
  for (const auto& [format, expected, outOfRange] : cases) {
    SCOPED_TRACE(format);
    const Formatted result = Fmt(format, "a", "b");
    EXPECT_EQ(result.text, expected);
    EXPECT_EQ(result.ec, outOfRange ? kOutOfRange : std::error_code());
  }
  EXPECT_EQ(Fmt("{}").ec, kOutOfRange);
  EXPECT_EQ(kOutOfRange.category().name(), std::string("ostra.format"));
  EXPECT_EQ(kOutOfRange.message(), "argument index out of range");
}

// Each type with its spec; specs that would be undefined behaviour in printf are ignored and the
// argument is written plainly.
TEST(Format, EachTypeWithItsSpec) {
  using namespace std::string_literals;
  const std::string text("ab\0cd", 5);
  const boost::optional<std::string> unset;
  const boost::optional<std::string> set(std::string("value"));
  const char* const cString = "chars";
  const std::pair<Formatted, std::string> cases[] = {
      {Fmt("{1}", text), "ab\0cd"s},       // by length: the NUL is kept
      {Fmt("[{1:6}]", text), "[    ab]"},  // through printf, which stops at the NUL
      {Fmt("{1:s}", text), "ab\0cd"s},     // "s" counts as no spec
      {Fmt("[{1:-7}]", cString), "[chars  ]"},
      {Fmt("[{1:.2}]", "literal"), "[li]"},
      {Fmt("{1}", 42), "42"},
      {Fmt("{1:05}", 42), "00042"},
      {Fmt("{1:x}", 255), "ff"},
      {Fmt("{1:+}", -3), "-3"},
      {Fmt("{1}", 18446744073709551615UL), "18446744073709551615"},
      {Fmt("{1:08}", 7UL), "00000007"},
      {Fmt("{1:lx}", 255UL), "ff"},
      {Fmt("{1:x}", 4294967296UL + 255), "ff"},  // %x reads an unsigned int
      {Fmt("{1}", unset), "optinal<T> is unset"},
      {Fmt("{1:>9}", set), "value"},
      // A spec longer than 13 characters is cut in the 16-byte buffer: here the "d" is lost and
      // the width alone makes no valid format, so the number is written plainly.
      {Fmt("{1:00000000000003}", 5), "5"},
      {Fmt("{1:0000000000003}", 5), "005"},
      {Fmt("{1:n}", 5), "5"},
      {Fmt("{1:s}", 5), "5"},
      {Fmt("{1:*}", 5), "5"},
      {Fmt("{1:d%s}", 5), "5"},
      {Fmt("{1:Ld}", 5), "5"},
      {Fmt("{1:n}", "str"), "str"},
      {Fmt("{1:d}", "str"), "str"},
      {Fmt("{1:ls}", "str"), "str"},
      {Fmt("{1:%}", 5), "%d"},  // "%%d" holds no conversion: printed as it stands
  };
  for (const auto& [result, expected] : cases) {
    EXPECT_EQ(result.text, expected);
    EXPECT_EQ(result.ec, std::error_code()) << expected;
  }
}

TEST(Format, AtoiAndSubstr) {
  std::size_t used = 99;
  EXPECT_EQ(Ostra::Detail::format_atoi("123abc", &used), 123UL);
  EXPECT_EQ(used, 3u);
  EXPECT_EQ(Ostra::Detail::format_atoi("", &used), 0UL);
  EXPECT_EQ(used, 0u);
  EXPECT_EQ(Ostra::Detail::format_atoi("x1"), 0UL);
  EXPECT_EQ(Ostra::Detail::format_atoi("000000000000000000012", &used), 1UL);
  EXPECT_EQ(used, 20u);
  EXPECT_EQ(Ostra::Detail::format_substr("hello", 1, 3), "el");
  EXPECT_EQ(Ostra::Detail::format_substr("hello", 3, 99), "lo");
  EXPECT_EQ(Ostra::Detail::format_substr("hello", 9, 12), "");
  EXPECT_EQ(Ostra::Detail::format_substr("hello", 4, 2), "");
}

TEST(MessageCatalogue, HoldsThirtyTwoDistinctIdsLookedUpExactly) {
  std::size_t count = 0;
  std::set<std::string> ids;
  while (kMessageCatalogue[count].id != nullptr)
    ids.insert(kMessageCatalogue[count++].id);
  EXPECT_EQ(count, 32u);
  EXPECT_EQ(ids.size(), 32u);
  EXPECT_EQ(kMessageCatalogue[32].text, nullptr);
  EXPECT_EQ(MetadataMessage::DefaultMessageForId("ostra.metadata.metamodel.parse.error"),
            "Metamodel source file parse error : {1} at {2}");
  // The two spellings are different ids, and the Cli JSON ids are absent.
  for (const char* id :
       {"ostra.metadata.cli.source.not.found", "ostra.metadata.cli.json.invalid.field",
        "OSTRA.METADA.CLI.SOURCE.NOT.FOUND"})
    EXPECT_EQ(MetadataMessage::DefaultMessageForId(id), "Unknown message.") << id;
}

// Each argument is formatted into the catalogue text; an unknown id or a placeholder past the
// arguments keeps what was produced.
TEST(MakeMessage, FillsTheTextAndKeepsWhatWasProducedOnFaults) {
  EXPECT_EQ(
      MakeMessage("ostra.metada.cli.source.not.found", "Cli source not found: {1}", "src1"),
      BaseMessage("ostra.metada.cli.source.not.found", "Cli source not found: src1", {"src1"}));
  EXPECT_EQ(MetadataMessage("ostra.metada.metamodel.operation.not.found", std::string("svc"), "op"),
            BaseMessage("ostra.metada.metamodel.operation.not.found",
                        "Metamodel operation not found: svc[op]", {"svc", "op"}));
  EXPECT_EQ(MetadataMessage("ostra.metadata.cli.parse.error", 1, 0UL),
            BaseMessage("ostra.metadata.cli.parse.error", "Cli source file parse error : 1 at 0",
                        {"1", "0"}));
  const boost::optional<std::string> unset;
  EXPECT_EQ(
      MetadataMessage("ostra.metada.metamodel.source.not.found", unset),
      BaseMessage("ostra.metada.metamodel.source.not.found",
                  "Metamodel source not found: optinal<T> is unset", {"optinal<T> is unset"}));
  // Unknown id: the text says so, the arguments are still attached.
  EXPECT_EQ(MetadataMessage("ostra.metadata.cli.json.invalid.field", "cli"),
            BaseMessage("ostra.metadata.cli.json.invalid.field", "Unknown message.", {"cli"}));
  // A placeholder past the arguments ends the text there.
  EXPECT_EQ(MetadataMessage("ostra.metada.metamodel.operation.not.found", "svc"),
            BaseMessage("ostra.metada.metamodel.operation.not.found",
                        "Metamodel operation not found: svc[", {"svc"}));
  EXPECT_EQ(MakeMessage("id", "no arguments {1}"), BaseMessage("id", "no arguments ", {}));
}

}  // namespace

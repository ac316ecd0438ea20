#include "ostra/provider/messages.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using Ostra::BaseMessage;
using Ostra::MakeMessage;
using Ostra::Provider::Metadata::kMessageCatalogue;
using Ostra::Provider::Metadata::MetadataMessage;

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

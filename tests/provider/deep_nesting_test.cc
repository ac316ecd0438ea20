// Deeply nested documents through every loader, on a thread with a small stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <sstream>
#include <string>

#include "metamodel/documents.h"
#include "ostra/authentication/json_metadata_container.h"
#include "ostra/authentication/json_metadata_parser.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/cli/json_metadata_parser.h"
#include "ostra/core/json.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/metamodel/json_metadata_parser.h"
#include "ostra/metamodel/services.h"
#include "ostra/provider/parsed_metadata.h"
#include "test_messages.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using Ostra::Provider::Metadata::kMaxJsonNesting;
using Ostra::Provider::Metadata::ParseStream;
namespace Metamodel = Ostra::Provider::Metadata::Metamodel;
namespace Authentication = Ostra::Provider::Metadata::Authentication;
namespace Cli = Ostra::Provider::Metadata::Cli;

constexpr std::size_t kSmallStack = 256 * 1024;
constexpr std::size_t kVeryDeep = 10000000;

// Runs `body` on a thread with a 256 KiB stack, as a host's worker thread may have.
void OnSmallStack(const std::function<void()>& body) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
  pthread_t thread;
  auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

std::string Nested(std::size_t depth, const std::string& open = "[", const std::string& close = "]",
                   const std::string& inner = "") {
  std::string text;
  text.reserve(depth * (open.size() + close.size()) + inner.size());
  for (std::size_t i = 0; i < depth; ++i)
    text += open;
  text += inner;
  for (std::size_t i = 0; i < depth; ++i)
    text += close;
  return text;
}

struct Outcome {
  int code;
  std::size_t offset;
};

Outcome Parse(const std::string& text) {
  const auto parsed = OstraTest::Parse(text);
  return {static_cast<int>(parsed->document->GetParseError()), parsed->document->GetErrorOffset()};
}

TEST(NestingLimit, StopsAtTheFirstBracketBeyondTheLimitAndKeepsEarlierErrors) {
  EXPECT_EQ(Parse(Nested(kMaxJsonNesting)).code, 0);
  EXPECT_EQ(Parse(Nested(kMaxJsonNesting, R"({"a":)", "}", "1")).code, 0);

  const Outcome array = Parse(Nested(kMaxJsonNesting + 1));
  EXPECT_EQ(array.code, rapidjson::kParseErrorTermination);
  EXPECT_EQ(array.offset, kMaxJsonNesting);

  // Objects nest as well as arrays; the offset is that of the brace beyond the limit.
  const std::string mixed = Nested(kMaxJsonNesting / 2, R"({"k": [)", "]}", "1");
  EXPECT_EQ(Parse(mixed).code, 0);
  const Outcome objects = Parse(R"([{"k": )" + mixed + "}]");
  EXPECT_EQ(objects.code, rapidjson::kParseErrorTermination);
  EXPECT_EQ(objects.offset, 7 + (kMaxJsonNesting - 2) / 2 * 7);

  // An error met before the limit is reported as the reader found it.
  const Outcome early = Parse("[[1 2" + std::string(kVeryDeep, '['));
  EXPECT_EQ(early.code, rapidjson::kParseErrorArrayMissCommaOrSquareBracket);
  EXPECT_EQ(early.offset, 4u);

  // Closing brackets give the depth back: siblings each nest up to the limit.
  EXPECT_EQ(Parse("[" + Nested(kMaxJsonNesting - 1) + "," + Nested(kMaxJsonNesting - 1) + "]").code,
            0);
}

// A document whose nesting goes 10,000,000 levels deep below `prefix`, which itself opens
// `prefixDepth` levels, and the offset at which its parse must stop.
struct DeepDocument {
  DeepDocument(const std::string& prefix, std::size_t prefixDepth)
      : text(prefix + std::string(kVeryDeep, '[')),
        offset(std::to_string(prefix.size() + kMaxJsonNesting - prefixDepth)) {}
  std::string text;
  std::string offset;
};

// The parser's two loads and the store's create of `deep` (written at `path`) all fail with the
// domain's parse error at the expected offset.
template <class Parser, class Container, class Spec, class Callbacks>
void ExpectEveryLoadFails(const DeepDocument& deep, const std::string& path,
                          const Callbacks& callbacks, const std::string& parseError) {
  Ostra::Provider::Metadata::Messages fromStream, fromDocument;
  std::istringstream in(deep.text);
  EXPECT_FALSE(Parser::LoadMetadata(in, callbacks, fromStream));
  in.clear();
  in.seekg(0);
  const auto parsed = ParseStream(in, fromDocument);
  EXPECT_FALSE(Parser::LoadMetadataFromDoc(*parsed->document, callbacks, fromDocument));
  EXPECT_MESSAGES(fromStream, {{parseError, {"16", deep.offset}}});
  EXPECT_MESSAGES(fromDocument, {{parseError, {"16", deep.offset}}});

  const auto store = Container::GetInstance();
  const auto error = store->CreateSource("deep", FileSpec<Spec>(path));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(OnlyMessage(*error), parseError + ": 16 " + deep.offset);
  EXPECT_TRUE(store->ListSources().empty());
}

class DeepNesting : public TempFilesTest {};

TEST_F(DeepNesting, EveryLoaderFailsWithAParseErrorOnASmallStack) {
  namespace Binding = Com::Corvane::Ostra::Metadata;
  const DeepDocument metamodel(R"({"metamodel":{"component":{"name":"c","metadata":)", 3);
  const DeepDocument authentication(R"({"authentication":{"component":{"name":"c","schemes":)", 3);
  const DeepDocument cli(R"({"cli":[{"type":"command","path":"a","name":"b","options":)", 3);
  const std::string metamodelPath = Write("metamodel", metamodel.text);
  const std::string authenticationPath = Write("authentication", authentication.text);
  const std::string cliPath = Write("cli", cli.text);

  OnSmallStack([&] {
    ExpectEveryLoadFails<Metamodel::JsonMetadataParser, Metamodel::MetadataContainer,
                         Binding::Metamodel::SourceSvc::CreateSpec>(
        metamodel, metamodelPath,
        Metamodel::JsonMetadataParser::RegisterCallbacks{[](auto&) {}, [](auto&) {},
                                                         [](auto&, auto&) {}},
        "ostra.metadata.metamodel.parse.error");
    ExpectEveryLoadFails<Authentication::JsonMetadataParser, Authentication::MetadataContainer,
                         Binding::Authentication::SourceSvc::CreateSpec>(
        authentication, authenticationPath, [](auto&, auto&) {},
        "ostra.metadata.authentication.parse.error");
    ExpectEveryLoadFails<Cli::MetadataParser, Cli::MetadataContainer,
                         Binding::Cli::SourceSvc::CreateSpec>(
        cli, cliPath, Cli::MetadataParser::RegisterCallbacks{[](auto&) {}, [](auto&) {}},
        "ostra.metadata.cli.parse.error");
  });
}

// The deepest generic type reference that a document can hold loads on a small stack; one level
// more is a parse error.
TEST_F(DeepNesting, DeepestTypeReferenceLoadsOnASmallStack) {
  using namespace OstraTest::MetamodelDocs;
  const auto document = [](std::size_t levels) {
    const std::string type =
        Nested(levels, R"({"category":"GENERIC","generic_type":"LIST","element_type":)", "}",
               R"({"category":"BUILTIN","primitive_type":"STRING"})");
    return Doc(Package("p", Structure("p.S", Field("f", type))));
  };
  // Root, "metamodel", component, packages, package, structures, structure, fields, field: the
  // field's type is the tenth level, and each element type one more.
  const std::size_t levels = kMaxJsonNesting - 10;
  const std::string deepest = Write("deepest", document(levels));
  const std::string deeper = Write("deeper", document(levels + 1));
  const auto store = Metamodel::MetadataContainer::GetInstance();
  OnSmallStack([&] {
    const auto error = store->CreateSource("deepest", FileSpec(deepest));
    ASSERT_EQ(error, nullptr) << OnlyMessage(*error);
    const auto structure = store->StructureInfo("p.S");
    ASSERT_NE(structure, nullptr);
    ASSERT_EQ(structure->fields.size(), 1u);
    std::size_t depth = 0;
    for (auto link = structure->fields.front()->type; link->generic_instantiation;
         link = link->generic_instantiation->element_type)
      ++depth;
    EXPECT_EQ(depth, levels);

    const auto tooDeep = store->CreateSource("deeper", FileSpec(deeper));
    ASSERT_NE(tooDeep, nullptr);
    EXPECT_EQ(OnlyMessage(*tooDeep).substr(0, 41), "ostra.metadata.metamodel.parse.error: 16 ");
  });

  // A host's call converts the record to a data value and to JSON, recursively: on the main
  // thread's stack even the deepest type is served.
  const auto api = Com::Corvane::Ostra::Metadata::Metamodel::StructureSvc::AsyncServiceBinder::
      BindImplementation(Metamodel::StructureSvc::AsyncServiceImpl::GetInstance(store));
  const auto input = Ostra::Data::FromJson(R"({"structure_id":"p.S"})");
  std::string answer;
  api->Invoke("get", static_cast<const Ostra::Data::StructValue&>(*input),
              std::make_shared<Ostra::Core::AsyncActivation>(),
              [&](const Ostra::Data::ValuePtr& value, const auto&) {
                answer = value ? Ostra::Data::ToJson(*value) : "";
              });
  std::size_t generics = 0;
  for (std::size_t at = answer.find("\"LIST\""); at != std::string::npos;
       at = answer.find("\"LIST\"", at + 1))
    ++generics;
  EXPECT_EQ(generics, levels);
}

}  // namespace

// What the library tests share: temporary source files, a store of a domain to load them into,
// message lists written out for exact comparison, and the outcome of an asynchronous call.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <list>
#include <memory>
#include <sstream>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/async_result.h"
#include "ostra/core/base_message.h"
#include "ostra/core/crc32.h"
#include "ostra/core/error_factory.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/std_bindings/errors.h"

namespace OstraTest {

namespace MetamodelBinding = Com::Corvane::Ostra::Metadata::Metamodel;

inline std::string Crc(const std::string& text) {
  Ostra::CRC32 crc;
  crc.Update(text);
  return crc.Hexdigest();
}

// The bytes of a bundled example document, such as "metamodel.json".
inline std::string ExampleText(const std::string& name) {
  std::ifstream file(std::string(OSTRA_EXAMPLES_DIR "/") + name, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// `text` parsed as a source document is; its messages are dropped.
inline std::shared_ptr<Ostra::Provider::Metadata::ParsedMetadata> Parse(const std::string& text) {
  std::istringstream in(text);
  Ostra::Provider::Metadata::Messages messages;
  return Ostra::Provider::Metadata::ParseStream(in, messages);
}

// A file source spec of any domain (Metamodel by default).
template <class Spec = MetamodelBinding::SourceSvc::CreateSpec>
std::shared_ptr<const Spec> FileSpec(const std::string& path) {
  auto spec = std::make_shared<Spec>();
  spec->description = "test source";
  spec->type = decltype(spec->type)(decltype(spec->type)::FILE);
  spec->filepath = path;
  return spec;
}

// The id of the only message of an error, and its arguments.
inline std::string OnlyMessage(const Ostra::Data::ErrorValue& error) {
  const auto messages = Ostra::Data::ErrorFactory::GetMessages(error);
  if (messages.size() != 1) return "(" + std::to_string(messages.size()) + " messages)";
  std::string text = messages.front().GetId() + ":";
  for (const auto& arg : messages.front().GetArgs())
    text += " " + arg;
  return text;
}

// Writes `text` to a file of the running test and answers its path. Files are named after suite
// and test: ctest runs tests in parallel processes.
inline std::string WriteTestFile(const std::string& name, const std::string& text) {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string path = std::string(test->test_suite_name()) + "." + test->name() + "_" + name;
  std::replace(path.begin(), path.end(), '/', '_');  // typed suites are named "Suite/0"
  path = testing::TempDir() + "/" + path + ".json";
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  return path;
}

// Files written by a test, removed when it ends.
class TempFilesTest : public testing::Test {
 protected:
  // Writes `text` to a file of this test and answers its path.
  std::string Write(const std::string& name, const std::string& text) {
    std::string path = WriteTestFile(name, text);
    written_.push_back(path);
    return path;
  }
  void TearDown() override {
    for (const auto& path : written_)
      std::remove(path.c_str());
  }

 private:
  std::vector<std::string> written_;
};

// A store of one domain over temporary files.
template <class Container, class Spec>
class StoreTest : public TempFilesTest {
 protected:
  // Writes and loads `text` as source `id`; the test fails if it does not load.
  std::string Add(const std::string& id, const std::string& text) {
    const std::string path = Write(id, text);
    const auto error = store_->CreateSource(id, FileSpec<Spec>(path));
    EXPECT_EQ(error, nullptr) << (error ? OnlyMessage(*error) : "");
    return path;
  }

  std::shared_ptr<Container> store_ = Container::GetInstance();
};

using MetamodelStoreTest = StoreTest<Ostra::Provider::Metadata::Metamodel::MetadataContainer,
                                     MetamodelBinding::SourceSvc::CreateSpec>;

// Messages as "id args; ...", the JSON toolkit's ids shortened to "missing", "invalid" and "enum".
inline std::string Brief(const std::list<Ostra::BaseMessage>& messages) {
  std::string text;
  for (const auto& message : messages) {
    const std::string& id = message.GetId();
    text += (text.empty() ? "" : "; ") +
            (id == "ostra.metadata.json.missing.field"        ? std::string("missing")
             : id == "ostra.metadata.json.invalid.field"      ? std::string("invalid")
             : id == "ostra.metadata.json.invalid.enum.value" ? std::string("enum")
                                                              : id);
    for (const auto& arg : message.GetArgs())
      text += " " + arg;
  }
  return text;
}

// How an adapter completed an asynchronous result: not at all, with a value, or with an error.
template <class T>
struct Outcome {
  int calls = 0;
  boost::optional<T> value;
  std::shared_ptr<const Ostra::Data::ErrorValue> error;

  Ostra::AsyncResult<T> Result() {
    return Ostra::AsyncResult<T>(
        [this](const boost::optional<T>& v, const std::shared_ptr<const Ostra::Data::ErrorValue>& e,
               const std::shared_ptr<const Ostra::Data::NativeError>&, const Ostra::Progress&) {
          ++calls;
          value = v;
          error = e;
        });
  }
  // The only message of the error, "id: args", or a note that there is none.
  std::string Error() const { return error ? OnlyMessage(*error) : "(no error)"; }
};

}  // namespace OstraTest

// A temporary folder of source files and a Metamodel store to load them into.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "ostra/core/crc32.h"
#include "ostra/core/error_factory.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/std_bindings/errors.h"

namespace OstraTest {

namespace MetamodelBinding = Com::Corvane::Ostra::Metadata::Metamodel;

inline std::string Crc(const std::string& text) {
  Ostra::CRC32 crc;
  crc.Update(text);
  return crc.Hexdigest();
}

inline std::shared_ptr<const MetamodelBinding::SourceSvc::CreateSpec> FileSpec(
    const std::string& path) {
  auto spec = std::make_shared<MetamodelBinding::SourceSvc::CreateSpec>();
  spec->description = "test source";
  spec->type = MetamodelBinding::SourceSvc::SourceType::FILE;
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

class MetamodelStoreTest : public testing::Test {
 protected:
  // Writes `text` to a file of this test and answers its path.
  std::string Write(const std::string& name, const std::string& text) {
    const std::string path = testing::TempDir() + "/" +
                             testing::UnitTest::GetInstance()->current_test_info()->name() + "_" +
                             name + ".json";
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    written_.push_back(path);
    return path;
  }
  // Writes and loads `text` as source `id`; the test fails if it does not load.
  std::string Add(const std::string& id, const std::string& text) {
    const std::string path = Write(id, text);
    const auto error = store_->CreateSource(id, FileSpec(path));
    EXPECT_EQ(error, nullptr) << (error ? OnlyMessage(*error) : "");
    return path;
  }
  void TearDown() override {
    for (const auto& path : written_)
      std::remove(path.c_str());
  }

  std::shared_ptr<Ostra::Provider::Metadata::Metamodel::MetadataContainer> store_ =
      Ostra::Provider::Metadata::Metamodel::MetadataContainer::GetInstance();
  std::vector<std::string> written_;
};

}  // namespace OstraTest

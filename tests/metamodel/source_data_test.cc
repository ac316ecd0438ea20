#include "ostra/metamodel/source_data.h"

#include <gtest/gtest.h>

#include <boost/optional/optional_io.hpp>

namespace {

using Ostra::Provider::Metadata::Metamodel::SourceData;
namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;

TEST(MetamodelSourceData, RegistrationRules) {
  auto spec = std::make_shared<Binding::SourceSvc::CreateSpec>();
  spec->type = Binding::SourceSvc::SourceType::FILE;
  SourceData source(spec);
  EXPECT_EQ(source.info->type, spec->type);  // description and path: the source-set test

  // A resource declared again keeps the models registered in between; a model may come first.
  source.RegisterResoure("R");
  source.RegisterModel("R", "m1");
  source.RegisterModel("R", "m1");
  source.RegisterResoure("R");
  source.RegisterModel("S", "m2");
  EXPECT_EQ(source.resources.at("R"), std::set<std::string>{"m1"});
  EXPECT_EQ(source.resources.at("S"), std::set<std::string>{"m2"});

  auto first = std::make_shared<Binding::ComponentInfo>();
  first->name = "c";
  first->documentation = "first";
  auto second = std::make_shared<Binding::ComponentInfo>(*first);
  second->documentation = "second";
  source.RegisterComponentNode(first);
  source.RegisterComponentNode(second);
  ASSERT_EQ(source.components.size(), 1u);
  EXPECT_EQ(source.components.at("c")->documentation, "second");
}

}  // namespace

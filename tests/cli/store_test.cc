#include "ostra/cli/json_metadata_container.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "test_store.h"

namespace {

using namespace OstraTest;
namespace Impl = Ostra::Provider::Metadata::Cli;
namespace Binding = Com::Corvane::Ostra::Metadata::Cli;
using Kind = Com::Corvane::Ostra::Std::Errors::ErrorType;
using Com::Corvane::Ostra::Std::Errors::KindOf;
using Spec = Binding::SourceSvc::CreateSpec;
using CliStoreTest = StoreTest<Impl::MetadataContainer, Spec>;

using NsIdentity = Binding::Namespace_Svc::Identity;

std::shared_ptr<const NsIdentity> Ns(const std::string& path, const std::string& name) {
  return std::make_shared<const NsIdentity>(NsIdentity{path, name});
}

// Identities as "path/name", for comparing lists.
template <class List>
std::vector<std::string> Names(const List& ids) {
  std::vector<std::string> names;
  for (const auto& id : ids)
    names.push_back(id->path + "/" + id->name);
  return names;
}

std::string NsNode(const std::string& path, const std::string& name, const std::string& text) {
  return R"({"type":"namespace","path":")" + path + R"(","name":")" + name +
         R"(","description":")" + text + R"("})";
}
std::string CmdNode(const std::string& path, const std::string& name, const std::string& op) {
  return R"({"type":"command","path":")" + path + R"(","name":")" + name +
         R"(","description":"d","node_metadata":{"service_id":"s","operation_id":")" + op +
         R"("}})";
}
std::string Doc(const std::vector<std::string>& nodes) {
  std::string text = R"({"cli":[)";
  for (const auto& node : nodes)
    text += (text.back() == '[' ? "" : ",") + node;
  return text + "]}";
}

Impl::SourceData Index(const std::vector<std::string>& nodes) {
  auto spec = FileSpec<Spec>("unused");
  Impl::SourceData source(spec);
  Ostra::Provider::Metadata::Messages messages;
  std::istringstream in(Doc(nodes));
  const bool ok =
      Impl::MetadataParser::LoadMetadata(in,
                                         {[&](const auto& info) { source.RegisterNsNode(info); },
                                          [&](const auto& info) { source.RegisterCmdNode(info); }},
                                         messages);
  EXPECT_TRUE(ok);
  return source;
}

TEST(CliSourceData, AncestorsAreMadeUpToTheRootWhichListsItself) {
  EXPECT_EQ(Names(std::vector<Impl::NamespaceId>{Impl::SourceData::Str2NsId("a.b.c"),
                                                 Impl::SourceData::Str2NsId("a"),
                                                 Impl::SourceData::Str2NsId("")}),
            (std::vector<std::string>{"a.b/c", "/a", "/"}));

  const auto source =
      Index({NsNode("storage", "disk", "Disks"), NsNode("", "net", "Network"),
             NsNode("storage", "tape", "Tapes"), NsNode("storage", "disk", "Disks again"),
             CmdNode("storage", "mount", "m")});
  std::vector<std::string> all;
  for (const auto& entry : source.namespaces)
    all.push_back(entry.first->path + "/" + entry.first->name);
  EXPECT_EQ(all,
            (std::vector<std::string>{"/", "/net", "/storage", "storage/disk", "storage/tape"}));

  const auto& root = *source.namespaces.at(Ns("", ""));
  EXPECT_EQ(root.description, "Root namespace");
  // First-registration order, no duplicates; the root follows the namespace that created it.
  EXPECT_EQ(Names(root.children), (std::vector<std::string>{"/storage", "/", "/net"}));
  const auto& storage = *source.namespaces.at(Ns("", "storage"));
  EXPECT_EQ(storage.description, "storage namespace");
  EXPECT_EQ(Names(storage.children), (std::vector<std::string>{"storage/disk", "storage/tape"}));
  EXPECT_EQ(source.namespaces.at(Ns("storage", "disk"))->description, "Disks again");
  EXPECT_EQ(source.commands.size(), 1u);
}

TEST(CliSourceData, TheLongerDescriptionWinsAndTheLaterOnATie) {
  for (const auto& pair :
       std::vector<std::pair<std::string, std::string>>{{"ab", "abc"}, {"abc", "ab"}}) {
    const auto source = Index({NsNode("", "n", pair.first), NsNode("", "n", pair.second)});
    EXPECT_EQ(source.namespaces.at(Ns("", "n"))->description, "abc");
  }
  const auto source =
      Index({NsNode("x", "n", "ab"), NsNode("", "x", "longer text"), NsNode("x", "n", "cd")});
  EXPECT_EQ(source.namespaces.at(Ns("x", "n"))->description, "cd");
  // A declared namespace replaces the made-up description but keeps its children.
  EXPECT_EQ(source.namespaces.at(Ns("", "x"))->description, "longer text");
  EXPECT_EQ(Names(source.namespaces.at(Ns("", "x"))->children), std::vector<std::string>{"x/n"});
}

TEST_F(CliStoreTest, NamespacesAreMergedAcrossSources) {
  const std::string textB =
      Doc({NsNode("storage", "disk", "B disks"), NsNode("", "b", "B"),
           CmdNode("storage", "mount", "b-mount"), CmdNode("storage.disk", "format", "f"),
           NsNode("", "leaf", "B leaf"), NsNode("leaf", "x", "X")});
  const std::string textA = Doc({NsNode("storage", "tape", "A tapes"), NsNode("", "leaf", "A leaf"),
                                 CmdNode("storage", "mount", "a-mount")});
  Add("b", textB);
  Add("a", textA);

  EXPECT_EQ(Names(store_->ListNamespaces()),
            (std::vector<std::string>{"/", "/b", "/leaf", "/storage", "leaf/x", "storage/disk",
                                      "storage/tape"}));
  const auto storage = store_->NamespaceInfo(Ns("", "storage"));
  ASSERT_NE(storage, nullptr);
  EXPECT_EQ(storage->description, "storage namespace");
  EXPECT_EQ(Names(storage->children), (std::vector<std::string>{"storage/disk", "storage/tape"}));
  const auto root = store_->NamespaceInfo(Ns("", ""));
  EXPECT_EQ(Names(root->children), (std::vector<std::string>{"/", "/b", "/leaf", "/storage"}));
  // The description comes from the last source met before any children were collected.
  const auto leaf = store_->NamespaceInfo(Ns("", "leaf"));
  EXPECT_EQ(leaf->description, "B leaf");
  EXPECT_EQ(Names(leaf->children), std::vector<std::string>{"leaf/x"});
  // The answer is a new record: the sources' own lists are untouched.
  EXPECT_EQ(store_->NamespaceInfo(Ns("", "storage"))->children.size(), 2u);
  EXPECT_EQ(store_->NamespaceInfo(Ns("", "zz")), nullptr);
  EXPECT_EQ(store_->NamespaceInfo(nullptr), nullptr);
}

}  // namespace

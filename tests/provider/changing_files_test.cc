// Source files that change under a store: reloads keep serving the last good data.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include "metamodel/documents.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;

class ChangingFiles : public MetamodelStoreTest {
 protected:
  // Source ids with their fingerprints and the components the store lists.
  std::string Snapshot() const {
    std::string text;
    for (const auto& id : store_->ListSources())
      text += id + "=" + store_->SourceFingerprint(id) + " ";
    for (const auto& component : store_->ListComponents())
      text += component + " ";
    return text;
  }
};

TEST_F(ChangingFiles, ReloadKeepsTheLastGoodDataOfAFileThatWentBad) {
  const std::string a = Add("a", NamedDoc("first", Package("p1")));
  Add("b", NamedDoc("second", Package("p2")));
  const std::string good = Snapshot();
  const auto reloadKeeps = [&](const char* what) {
    EXPECT_EQ(store_->ReloadSource(boost::none), nullptr) << what;
    EXPECT_EQ(store_->ReloadSource(std::string("a")), nullptr) << what;
    EXPECT_EQ(Snapshot(), good) << what;
    ASSERT_NE(store_->PackageInfo("p1"), nullptr) << what;
  };

  std::remove(a.c_str());
  reloadKeeps("deleted");

  const std::string text = NamedDoc("first", Package("p1"));
  std::ofstream(a, std::ios::binary | std::ios::trunc) << text.substr(0, text.size() / 2);
  reloadKeeps("truncated");
  std::ofstream(a, std::ios::binary | std::ios::trunc);
  reloadKeeps("emptied");

  std::remove(a.c_str());
  ASSERT_EQ(mkdir(a.c_str(), 0700), 0);
  reloadKeeps("a directory");
  const auto error = store_->CreateSource("c", FileSpec(a));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metada.metamodel.source.file.not.found: " + a);
  rmdir(a.c_str());

  // Unreadable, with new contents that a reader with the rights (root) would load.
  std::ofstream(a, std::ios::binary | std::ios::trunc) << NamedDoc("third", Package("p1"));
  chmod(a.c_str(), 0);
  if (access(a.c_str(), R_OK) != 0) {
    reloadKeeps("unreadable");
  } else {
    EXPECT_EQ(store_->ReloadSource(boost::none), nullptr);
    EXPECT_EQ(store_->ListComponents(), (std::list<std::string>{"third", "second"}));
  }
  chmod(a.c_str(), 0600);

  // A good file again is picked up by the next reload.
  std::ofstream(a, std::ios::binary | std::ios::trunc) << NamedDoc("fourth", Package("p1"));
  EXPECT_EQ(store_->ReloadSource(boost::none), nullptr);
  EXPECT_EQ(store_->ListComponents(), (std::list<std::string>{"fourth", "second"}));
}

// One thread rewrites the file while another reloads. Rewritten in place, in small pieces, the
// file may be read half old and half new, which can even parse; rewritten by renaming a new file
// over it, every reload sees one whole version. Either way each reload answers success and the
// store lists exactly what one load gave.
TEST_F(ChangingFiles, RewrittenWhileReloading) {
  const std::string versions[] = {NamedDoc("one", Package("p", "", Service("p.s"))),
                                  NamedDoc("two", Package("p", "", Service("p.t")))};
  const std::string path = Add("a", versions[0]);
  const std::string next = Write("next", "");
  for (const bool atomic : {false, true}) {
    SCOPED_TRACE(atomic ? "renamed over" : "rewritten in place");
    std::atomic<bool> stop{false};
    std::atomic<int> written{0};
    std::thread writer([&] {
      for (int round = 0; !stop; ++round) {
        const std::string& text = versions[round % 2];
        std::ofstream file(atomic ? next : path, std::ios::binary | std::ios::trunc);
        for (std::size_t at = 0; at < text.size(); at += 7) {
          file << text.substr(at, 7);
          file.flush();
        }
        file.close();
        if (atomic) std::rename(next.c_str(), path.c_str());
        ++written;
      }
    });
    for (int i = 0; i < 300 || written < 20; ++i) {
      ASSERT_EQ(store_->ReloadSource(boost::none), nullptr);
      // A source's fingerprint answer is the CRC32 of its file's CRC32 text.
      const std::string fingerprint = store_->SourceFingerprint(std::string("a"));
      const auto components = store_->ListComponents();
      const auto services = store_->ListServices();
      ASSERT_EQ(components.size(), 1u);
      ASSERT_EQ(services.size(), 1u);
      const std::string one = Crc(Crc(versions[0])), two = Crc(Crc(versions[1]));
      const bool whole = fingerprint == one || fingerprint == two;
      EXPECT_TRUE(whole || !atomic);
      if (fingerprint == one) {
        EXPECT_EQ(components.front() + " " + services.front(), "one p.s");
      } else if (fingerprint == two) {
        EXPECT_EQ(components.front() + " " + services.front(), "two p.t");
      }
    }
    stop = true;
    writer.join();
    // The next reload picks up the version written last.
    ASSERT_EQ(store_->ReloadSource(boost::none), nullptr);
    EXPECT_EQ(store_->SourceFingerprint(std::string("a")), Crc(Crc(versions[(written - 1) % 2])));
  }
}

}  // namespace

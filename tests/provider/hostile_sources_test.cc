// Source files that never end, are huge, come through a pipe or change while they are read: the
// store answers at once, reads no more than it must, keeps nothing of a failed create and serves
// what one whole load gave.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <future>
#include <string>
#include <thread>

#include "metamodel/documents.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;
using HostileSources = MetamodelStoreTest;

// Peak resident memory of this process so far, in KiB.
long PeakResidentKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Devices that never end and a 2 GiB file of holes fail at their first bytes, and the load holds
// far less than the file.
TEST_F(HostileSources, DevicesAndHugeFilesFailAtTheirFirstBadByte) {
  const std::string sparse = Write("sparse", "");
  ASSERT_EQ(truncate(sparse.c_str(), off_t{2} << 30), 0);
  const long before = PeakResidentKiB();
  for (const std::string& path : {std::string("/dev/zero"), sparse, std::string("/dev/urandom")}) {
    const auto error = store_->CreateSource("s", FileSpec(path));
    ASSERT_NE(error, nullptr);
    const std::string message = OnlyMessage(*error);
    if (path == "/dev/urandom") {  // where it fails cannot be known
      EXPECT_EQ(message.substr(0, 37), "ostra.metadata.metamodel.parse.error:");
    } else {
      EXPECT_EQ(message, "ostra.metadata.metamodel.parse.error: 1 0") << path;
    }
  }
  EXPECT_LT(PeakResidentKiB() - before, 32 * 1024);
  EXPECT_TRUE(store_->ListSources().empty());
}

// A pipe whose writer stays open after text that stops being JSON fails at once.
TEST_F(HostileSources, APipeIsAnsweredAtItsFirstBadByte) {
  const std::string fifo = Write("pipe", "") + ".fifo", text = R"({"metamodel": nope)";
  unlink(fifo.c_str());  // left by a run that crashed
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::promise<void> release;
  std::atomic<bool> closed{false};
  std::thread writer([&, released = release.get_future()] {
    const int fd = open(fifo.c_str(), O_WRONLY);  // once the store opens the pipe
    if (fd < 0) return;
    EXPECT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    released.wait_for(std::chrono::seconds(60));
    closed = true;
    close(fd);
  });
  const auto error = store_->CreateSource("p", FileSpec(fifo));
  EXPECT_FALSE(closed);
  release.set_value();
  writer.join();
  unlink(fifo.c_str());
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metadata.metamodel.parse.error: 3 15");
}

// One thread rewrites the file while another reloads. Rewritten in place, in small pieces, the
// file may be read half old and half new, which can even parse; rewritten by renaming a new file
// over it, every reload sees one whole version. Either way each reload answers success and the
// store lists exactly what one load gave: its data and its fingerprint come from the same bytes.
TEST_F(HostileSources, RewrittenWhileReloading) {
  const std::string versions[] = {NamedDoc("one", Package("p", "", Service("p.s"))),
                                  NamedDoc("two", Package("p", "", Service("p.t")))};
  const std::string prints[] = {Crc(Crc(versions[0])), Crc(Crc(versions[1]))};
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
        for (std::size_t at = 0; at < text.size(); at += 7)
          file << text.substr(at, 7) << std::flush;
        file.close();
        if (atomic) std::rename(next.c_str(), path.c_str());
        ++written;
      }
    });
    for (int i = 0; i < 300 || written < 20; ++i) {
      ASSERT_EQ(store_->ReloadSource(boost::none), nullptr);
      const std::string fingerprint = store_->SourceFingerprint(std::string("a"));
      const auto components = store_->ListComponents();
      const auto services = store_->ListServices();
      ASSERT_EQ(components.size(), 1u);
      ASSERT_EQ(services.size(), 1u);
      const std::string held = components.front() + " " + services.front();
      EXPECT_TRUE(fingerprint == prints[0] || fingerprint == prints[1] || !atomic);
      if (fingerprint == prints[0] || fingerprint == prints[1]) {
        EXPECT_EQ(held, fingerprint == prints[0] ? "one p.s" : "two p.t");
      }
    }
    stop = true;
    writer.join();
    // The next reload picks up the version written last.
    ASSERT_EQ(store_->ReloadSource(boost::none), nullptr);
    EXPECT_EQ(store_->SourceFingerprint(std::string("a")), prints[(written - 1) % 2]);
  }
}

}  // namespace

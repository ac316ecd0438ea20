// Sources that never end, are huge or come through a pipe, and creates without a spec: every
// store answers at once, reads no more than it must and keeps nothing of a failed create.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

#include "metamodel/documents.h"
#include "ostra/authentication/json_metadata_container.h"
#include "ostra/cli/json_metadata_container.h"
#include "ostra/provider/parsed_metadata.h"
#include "test_store.h"

namespace {

using namespace OstraTest;
namespace Metadata = Ostra::Provider::Metadata;
namespace Binding = Com::Corvane::Ostra::Metadata;
namespace Errors = Com::Corvane::Ostra::Std::Errors;

// Peak resident memory of this process so far, in KiB.
long PeakResidentKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// The parse error that ParseStream records for `text`, as the store's message arguments.
std::string ParseErrorOf(const std::string& text) {
  const auto parsed = Parse(text);
  const auto& document = *parsed->document;
  return std::to_string(static_cast<int>(document.GetParseError())) + " " +
         std::to_string(document.GetErrorOffset());
}

using EndlessSources = MetamodelStoreTest;

// Devices that never end and a 2 GiB file of holes fail at their first bytes, and the load holds
// far less than the file.
TEST_F(EndlessSources, DevicesAndHugeFilesFailAtTheirFirstBadByte) {
  const std::string sparse = Write("sparse", "");
  ASSERT_EQ(truncate(sparse.c_str(), off_t{2} << 30), 0);
  const long before = PeakResidentKiB();
  struct Case {
    std::string path;
    std::string args;  // of the parse error; empty when they cannot be known
  } const cases[] = {{"/dev/zero", "1 0"}, {sparse, "1 0"}, {"/dev/urandom", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    const auto error = store_->CreateSource("s", FileSpec(c.path));
    ASSERT_NE(error, nullptr);
    const std::string message = OnlyMessage(*error);
    EXPECT_EQ(message.substr(0, 37), "ostra.metadata.metamodel.parse.error:");
    if (!c.args.empty()) {
      EXPECT_EQ(message, "ostra.metadata.metamodel.parse.error: " + c.args);
    }
  }
  EXPECT_LT(PeakResidentKiB() - before, 32 * 1024);
  EXPECT_TRUE(store_->ListSources().empty());
}

// A named pipe between this test and a writer thread.
class Pipe {
 public:
  explicit Pipe(std::string path) : path_(std::move(path)) {
    unlink(path_.c_str());  // left by a run that crashed
    EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
  }
  ~Pipe() {
    Release();
    if (writer_.joinable()) writer_.join();
    unlink(path_.c_str());
  }
  const std::string& Path() const { return path_; }

  // Writes `text`, then holds the pipe open until Release() (or 60 s) when `hold` is set.
  void Send(std::string text, bool hold) {
    writer_ = std::thread([this, text = std::move(text), hold] {
      const int fd = open(path_.c_str(), O_WRONLY);  // waits for the reader
      if (fd < 0) return;
      for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = write(fd, text.data() + at, text.size() - at);
        if (written <= 0) break;
        at += static_cast<std::size_t>(written);
      }
      std::unique_lock<std::mutex> lock(mutex_);
      if (hold) released_.wait_for(lock, std::chrono::seconds(60), [this] { return done_; });
      closed_ = true;
      close(fd);
    });
  }
  void Release() {
    std::lock_guard<std::mutex> lock(mutex_);
    done_ = true;
    released_.notify_all();
  }
  bool Closed() {
    std::lock_guard<std::mutex> lock(mutex_);
    return closed_;
  }

 private:
  std::string path_;
  std::thread writer_;
  std::mutex mutex_;
  std::condition_variable released_;
  bool done_ = false;
  bool closed_ = false;
};

TEST_F(EndlessSources, APipeIsAnsweredAtItsFirstBadByteAndFingerprintedOverWhatItSent) {
  // The writer keeps the pipe open after text that stops being JSON: the load fails at once.
  const std::string bad = R"({"metamodel": nope)";
  Pipe open(Write("open", "") + ".fifo");
  open.Send(bad, true);
  const auto error = store_->CreateSource("p", FileSpec(open.Path()));
  EXPECT_FALSE(open.Closed());
  open.Release();
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(OnlyMessage(*error), "ostra.metadata.metamodel.parse.error: " + ParseErrorOf(bad));

  // A valid document through a pipe is fingerprinted over the bytes it delivered.
  const std::string good = MetamodelDocs::NamedDoc("piped", "");
  Pipe closed(Write("closed", "") + ".fifo");
  closed.Send(good, false);
  ASSERT_EQ(store_->CreateSource("p", FileSpec(closed.Path())), nullptr);
  EXPECT_EQ(store_->ComponentFingerprint("piped"), Crc(good));
  EXPECT_EQ(store_->SourceFingerprint(std::string("p")), Crc(Crc(good)));
}

}  // namespace

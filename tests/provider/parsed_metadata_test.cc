// The reading frame of every loader: ParseJson, ParseStream and ParseSource over streams of every
// kind, the nesting limit on a small stack, and the member access the parsers build on; and source
// files that never end, are huge, come through a pipe or change while they are read: the store
// answers at once, reads no more than it must, keeps nothing of a failed create and serves what
// one whole load gave.
#include "ostra/provider/parsed_metadata.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <functional>
#include <future>
#include <sstream>
#include <streambuf>
#include <string>
#include <thread>
#include <tuple>

#include <rapidjson/istreamwrapper.h>

#include "metamodel/documents.h"
#include "ostra/core/crc32.h"
#include "ostra/core/json.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/metamodel/services.h"
#include "test_store.h"

namespace {

using namespace Ostra::Provider::Metadata;
using namespace OstraTest;
using namespace OstraTest::MetamodelDocs;
constexpr std::size_t kLimit = Ostra::kMaxDocumentJsonDepth;

// A stream buffer over `data` that hands it out `piece` bytes at a time, as a pipe whose writer
// sends in small pieces. Reads past the first `good` bytes throw, as a file buffer does on a bad
// block (what an istream would turn into badbit). It seeks only when `seekable`.
class TestBuffer : public std::streambuf {
 public:
  TestBuffer(std::string data, std::size_t piece, bool seekable = false,
             std::size_t good = std::string::npos)
      : data_(std::move(data)), piece_(piece), seekable_(seekable), good_(good) {}

 protected:
  int_type underflow() override {
    if (at_ >= good_) throw std::ios_base::failure("read error");
    if (at_ == data_.size()) return traits_type::eof();
    char* begin = &data_[at_];
    at_ += std::min(piece_, std::min(good_, data_.size()) - at_);
    setg(begin, begin, &data_[0] + at_);
    return traits_type::to_int_type(*begin);
  }
  pos_type seekoff(off_type off, std::ios::seekdir dir, std::ios::openmode) override {
    const off_type here = static_cast<off_type>(at_) - (egptr() - gptr());
    return seekpos(off + (dir == std::ios::beg   ? 0
                          : dir == std::ios::cur ? here
                                                 : data_.size()),
                   std::ios::in);
  }
  pos_type seekpos(pos_type pos, std::ios::openmode) override {
    if (!seekable_) return pos_type(off_type(-1));
    at_ = static_cast<std::size_t>(pos);
    setg(nullptr, nullptr, nullptr);
    return pos;
  }

 private:
  std::string data_;
  std::size_t piece_;
  bool seekable_;
  std::size_t good_;
  std::size_t at_ = 0;
};

// What reading through rapidjson's stream wrapper, rewinding and fingerprinting the stream gives:
// the reference that the in-memory load must match for every input.
struct Reference {
  JsonDocument document;
  std::string fingerprint;
  explicit Reference(std::istream& in) {
    rapidjson::BasicIStreamWrapper<std::istream> wrapper(in);
    document.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(wrapper);
    in.clear();
    in.seekg(0);
    fingerprint = Ostra::CRC32(in).Hexdigest();
  }
};

// ParseStream (from `start`, fingerprinted from 0), ParseSource (through a stream that hands out
// the text whole and through pipes that hand it out a few bytes at a time) and ParseSourceFile
// (the text in a file, parsed in place) give the reference's outcome; ParseSource and
// ParseSourceFile fingerprint a valid document whole.
void ExpectSameAsReference(const std::string& text, std::streamoff start = 0) {
  std::istringstream referenceIn(text), fastIn(text);
  referenceIn.seekg(start);
  fastIn.seekg(start);
  const Reference reference(referenceIn);
  const std::string shown = text.substr(0, 60);
  const auto check = [&](const ParsedMetadata& parsed, const std::string& how, bool source) {
    const auto& document = *parsed.document;
    EXPECT_EQ(document.GetParseError(), reference.document.GetParseError()) << how << shown;
    EXPECT_EQ(document.GetErrorOffset(), reference.document.GetErrorOffset()) << how << shown;
    const bool failed = document.HasParseError();
    EXPECT_EQ(parsed.fingerprint, failed && source ? "" : reference.fingerprint) << how << shown;
    EXPECT_TRUE(failed || document == reference.document) << how << shown;
  };
  Messages messages;
  check(*ParseStream(fastIn, messages), "stream: ", false);
  EXPECT_TRUE(messages.empty());
  EXPECT_TRUE(fastIn.good());  // rewound and readable, as after the reference
  if (start != 0) return;
  std::istringstream whole(text);
  check(*ParseSource(whole), "whole: ", true);
  check(*ParseSourceFile(WriteTestFile("reference", text)), "file: ", true);
  for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{4096}}) {
    TestBuffer buffer(text, piece);
    std::istream pipe(&buffer);
    check(*ParseSource(pipe), "pieces of " + std::to_string(piece) + ": ", true);
  }
}

TEST(ParseStream, InMemoryLoadMatchesTheStreamWrapperOnEveryInput) {
  using namespace std::string_literals;
  // clang-format off
  const std::string texts[] = {"", " ", "\n\t", "{}", "{}\n", "\xEF\xBB\xBF{}", "{} x", "[1,2,",
      "{\"a\":1,}", "{\"a\" 1}", "{\"a\": NaN}", "// c\n{}", "\"\\uD800\"", "\"\\x\"", "01", "1e999", "nul",
      "[tru]", "  },\n  }", "]", " ,", ":1", "\xff\xfe", "{\"cli\":[]} // comment", "{\"a\":\"x\0y\"}"s,
      "{} \0junk"s, "[" + std::string(200000, ' ') + R"("long", 1.5e300, -0, true])",
      std::string(500, '[') + std::string(500, ']'), std::string(70000, '{')};
  // clang-format on
  for (const std::string& text : texts)
    ExpectSameAsReference(text);
  // Errors right before, at and after the end of the first block.
  for (const std::size_t at : {kReadBlock - 1, kReadBlock, kReadBlock + 1})
    ExpectSameAsReference("[" + std::string(at - 1, ' ') + "x]");
  for (const char* name : {"metamodel.json", "authentication.json", "cli.json"}) {
    const std::string text = ExampleText(name);
    ExpectSameAsReference(text);
    // A stream that does not start at 0: parsed from there, fingerprinted from 0.
    ExpectSameAsReference(text, 40);
  }
}

// A stream that cannot seek is fingerprinted over what it still delivers; a read error ends the
// text where it happened, also for a stream moved off its start (parsed from there, fingerprinted
// from 0: both readings meet the bad block) and a directory, whose every read fails.
TEST(ParseStream, UnseekableAndFailingStreamsNeverThrow) {
  const std::string text = R"({"a":[1,2,3]})";
  TestBuffer pipe("{} x and more", 4096), failing(text, 4096, true, 7), moved(text, 4096, true, 7);
  std::istream pipeIn(&pipe), failingIn(&failing), movedIn(&moved);
  movedIn.seekg(2);
  std::ifstream directory(testing::TempDir(), std::ios::binary);
  ASSERT_TRUE(directory.is_open());
  directory.seekg(1);
  // Each stream with its error, where it is and the fingerprint.
  const std::tuple<std::istream&, rapidjson::ParseErrorCode, std::size_t, std::string> cases[] = {
      {pipeIn, rapidjson::kParseErrorDocumentRootNotSingular, 3, Crc("x and more")},
      {failingIn, rapidjson::kParseErrorArrayMissCommaOrSquareBracket, 7, Crc(text.substr(0, 7))},
      {movedIn, rapidjson::kParseErrorValueInvalid, 0, Crc(text.substr(0, 7))},  // at "a"
      {directory, rapidjson::kParseErrorDocumentEmpty, 0, Crc("")},
  };
  for (const auto& [in, code, offset, fingerprint] : cases) {
    SCOPED_TRACE(fingerprint);
    Messages messages;
    std::shared_ptr<ParsedMetadata> parsed;
    ASSERT_NO_THROW(parsed = ParseStream(in, messages));
    EXPECT_EQ(parsed->document->GetParseError(), code);
    EXPECT_EQ(parsed->document->GetErrorOffset(), offset);
    EXPECT_EQ(parsed->fingerprint, fingerprint);
  }
}

// A file that cannot be opened and a directory give no text; a file whose size the system does
// not tell beforehand (it says 0) is read to its end all the same.
TEST(ParseStream, SourceFilesOfEveryKind) {
  EXPECT_EQ(ParseSourceFile(testing::TempDir() + "/no-such-file.json"), nullptr);
  EXPECT_EQ(ParseSourceFile(testing::TempDir()), nullptr);
  std::ifstream stat("/proc/self/stat");
  std::string line;
  std::getline(stat, line);  // "<pid> (<name>) ...": a number, then what is not JSON
  const auto parsed = ParseSourceFile("/proc/self/stat");
  ASSERT_NE(parsed, nullptr);
  EXPECT_EQ(parsed->document->GetParseError(), rapidjson::kParseErrorDocumentRootNotSingular);
  EXPECT_EQ(parsed->document->GetErrorOffset(), line.find('('));
}

TEST(JsonAccess, FindMemberTakesTheFirstAndValToStringKeepsNul) {
  const auto parsed = Parse(R"({"a":1,"b":"x\u0000y","a":2})");
  const auto& root = *parsed->document;
  EXPECT_EQ(FindMember(root, "a")->value.GetInt(), 1);
  EXPECT_EQ(FindMember(root, "c"), root.MemberEnd());
  EXPECT_EQ(ValToString(FindMember(root, "b")->value), std::string("x\0y", 3));
  // Names compare as C strings: up to a name's first NUL, and no further.
  const auto nul = Parse(R"({"ab":1,"a\u0000b":2,"abc":3})");
  EXPECT_EQ(FindMember(*nul->document, "a")->value.GetInt(), 2);
  EXPECT_EQ(FindMember(*nul->document, "ab")->value.GetInt(), 1);
  EXPECT_EQ(FindMember(*nul->document, "abcd"), nul->document->MemberEnd());
}

// Runs `body` on a thread with a 256 KiB stack, as a host's worker thread may have.
void OnSmallStack(std::function<void()> body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  pthread_t thread;
  const auto run = [](void* f) -> void* {
    return (*static_cast<std::function<void()>*>(f))(), nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  pthread_join(thread, nullptr);
}

std::string Nested(std::size_t depth, const std::string& open, const std::string& close,
                   const std::string& inner = "") {
  std::string text = inner;
  for (std::size_t i = 0; i < depth; ++i)
    text = open + text + close;
  return text;
}

class DeepNesting : public TempFilesTest {};

// The three readers stop at the first bracket beyond the limit, keep an error met before it, and
// give the depth back at each closing bracket; a document 10,000,000 levels deep fails at once and
// its file fails to load with the parse error.
TEST_F(DeepNesting, EveryReaderStopsAtTheFirstBracketBeyondTheLimitOnASmallStack) {
  const std::string mixed = Nested(kLimit / 2, R"({"k": [)", "]}", "1");
  const std::string prefix = R"({"metamodel":{"component":{"name":"c","metadata":)";
  const std::string veryDeep = prefix + std::string(10000000, '[');
  const std::size_t deepOffset = prefix.size() + kLimit - 3;
  using namespace rapidjson;
  // Each text with its error and where it is.
  const std::tuple<std::string, ParseErrorCode, std::size_t> cases[] = {
      {Nested(kLimit, "[", "]"), kParseErrorNone, 0},
      {Nested(kLimit, R"({"a":)", "}", "1"), kParseErrorNone, 0},
      {Nested(kLimit + 1, "[", "]"), kParseErrorTermination, kLimit},
      {mixed, kParseErrorNone, 0},
      {R"([{"k": )" + mixed + "}]", kParseErrorTermination, 7 + (kLimit - 2) / 2 * 7},
      {"[[1 2" + std::string(10000000, '['), kParseErrorArrayMissCommaOrSquareBracket, 4},
      {"[" + Nested(kLimit - 1, "[", "]") + "," + Nested(kLimit - 1, "[", "]") + "]",
       kParseErrorNone, 0},
      {veryDeep, kParseErrorTermination, deepOffset},
  };
  const std::string path = Write("deep", veryDeep);
  OnSmallStack([&] {
    for (const auto& [text, code, offset] : cases) {
      SCOPED_TRACE(text.substr(0, 40));
      std::istringstream forJson(text), forStream(text), forSource(text);
      JsonDocument json;
      ParseJson(forJson, json);
      Messages messages;
      const auto stream = ParseStream(forStream, messages), source = ParseSource(forSource);
      for (const JsonDocument* document : {&json, stream->document.get(), source->document.get()}) {
        EXPECT_EQ(document->GetParseError(), code);
        EXPECT_EQ(document->GetErrorOffset(), offset);
      }
    }
    const auto store = Metamodel::MetadataContainer::GetInstance();
    const auto error = store->CreateSource("deep", FileSpec(path));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(OnlyMessage(*error),
              "ostra.metadata.metamodel.parse.error: 16 " + std::to_string(deepOffset));
  });
}

// The deepest generic type reference that a document can hold loads on a small stack (one level
// more is beyond the limit). A host's call converts the record to a data value and to JSON,
// recursively: on the main thread's stack even the deepest type is served.
TEST_F(DeepNesting, DeepestTypeReferenceLoadsOnASmallStack) {
  // Root, "metamodel", component, packages, package, structures, structure, fields, field: the
  // field's type is the tenth level, and each element type one more.
  const std::size_t levels = kLimit - 10;
  const std::string type =
      Nested(levels, R"({"category":"GENERIC","generic_type":"LIST","element_type":)", "}",
             R"({"category":"BUILTIN","primitive_type":"STRING"})");
  const std::string deepest =
      Write("deepest", Doc(Package("p", Structure("p.S", Field("f", type)))));
  const auto store = Metamodel::MetadataContainer::GetInstance();
  OnSmallStack([&] {
    const auto error = store->CreateSource("deepest", FileSpec(deepest));
    ASSERT_EQ(error, nullptr) << OnlyMessage(*error);
    std::size_t depth = 0;
    for (auto link = store->StructureInfo("p.S")->fields.front()->type; link->generic_instantiation;
         link = link->generic_instantiation->element_type)
      ++depth;
    EXPECT_EQ(depth, levels);
  });

  const auto api = Com::Corvane::Ostra::Metadata::Metamodel::StructureSvc::AsyncServiceBinder::
      BindImplementation(Metamodel::StructureSvc::AsyncServiceImpl::GetInstance(store));
  std::string answer;
  api->Invoke("get",
              static_cast<const Ostra::Data::StructValue&>(
                  *Ostra::Data::FromJson(R"({"structure_id":"p.S"})")),
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

using HostileSources = MetamodelStoreTest;

// A field of /proc/self/status in KiB ("VmRSS", "VmHWM").
long StatusKiB(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field + ":", 0) == 0) return std::stol(line.substr(field.size() + 1));
  }
  return -1;
}

// A large file is read package by package, and its text goes back to the system as the read
// moves on: at no time does the load hold the text and the records it makes (here about as large
// as the text) together.
TEST_F(HostileSources, ALargeFileLoadsInLittleMoreThanItsRecords) {
  std::string packages;
  for (int p = 0; p < 40; ++p) {
    const std::string name = "p" + std::to_string(p);
    packages += (p ? "," : "") + std::string(R"({"name":")") + name + R"(","documentation":")" +
                std::string(512 * 1024, 'a' + p % 26) +
                R"(","metadata":{},"enumerations":[],"structures":[],"services":[]})";
  }
  std::string path = Write("large", Doc(packages));
  const double file = static_cast<double>(packages.size()) / 1024;
  packages = std::string();
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
  const long before = StatusKiB("VmRSS");
  ASSERT_EQ(store_->CreateSource("large", FileSpec(path)), nullptr);
  [[maybe_unused]] const double peak = (StatusKiB("VmHWM") - before) / file;
#if !defined(__SANITIZE_ADDRESS__)  // AddressSanitizer's shadow memory and quarantine count too
  EXPECT_LT(peak, 1.4) << "peak, as a multiple of the file (" << file << " KiB)";
#endif
  EXPECT_EQ(store_->PackageInfo("p39")->documentation, std::string(512 * 1024, 'n'));
  // The component's own texts were read from the first page of the file, long given back.
  ASSERT_NE(store_->ComponentInfo("comp"), nullptr);
  EXPECT_EQ(store_->ComponentInfo("comp")->info->documentation, "d");
}

// Devices that never end and a 2 GiB file of holes fail at their first bytes, and the load holds
// far less than the file.
TEST_F(HostileSources, DevicesAndHugeFilesFailAtTheirFirstBadByte) {
  const std::string sparse = Write("sparse", "");
  ASSERT_EQ(truncate(sparse.c_str(), off_t{2} << 30), 0);
  rusage usage{};  // peak resident memory in KiB
  getrusage(RUSAGE_SELF, &usage);
  const long before = usage.ru_maxrss;
  for (const std::string& path : {std::string("/dev/zero"), sparse, std::string("/dev/urandom")}) {
    const auto error = store_->CreateSource("s", FileSpec(path));
    ASSERT_NE(error, nullptr);
    // Where random bytes fail cannot be known: only the id is checked.
    const std::size_t known = path == "/dev/urandom" ? 37 : std::string::npos;
    EXPECT_EQ(OnlyMessage(*error).substr(0, known),
              std::string("ostra.metadata.metamodel.parse.error: 1 0").substr(0, known))
        << path;
  }
  getrusage(RUSAGE_SELF, &usage);
  EXPECT_LT(usage.ru_maxrss - before, 32 * 1024);
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
      const auto components = store_->ListComponents(), services = store_->ListServices();
      ASSERT_EQ(components.size(), 1u);
      ASSERT_EQ(services.size(), 1u);
      const int version = fingerprint == prints[0] ? 0 : fingerprint == prints[1] ? 1 : -1;
      EXPECT_TRUE(version >= 0 || !atomic);
      if (version >= 0) {
        EXPECT_EQ(components.front() + " " + services.front(), version ? "two p.t" : "one p.s");
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

#include "ostra/provider/parsed_metadata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include <rapidjson/istreamwrapper.h>

#include "ostra/core/crc32.h"
#include "test_store.h"

namespace {

using Ostra::Provider::Metadata::FindMember;
using Ostra::Provider::Metadata::JsonDocument;
using Ostra::Provider::Metadata::kReadBlock;
using Ostra::Provider::Metadata::ParsedMetadata;
using Ostra::Provider::Metadata::ParseStream;
using Ostra::Provider::Metadata::ValToString;
using OstraTest::Crc;

std::shared_ptr<ParsedMetadata> Parse(const std::string& text) {
  std::istringstream in(text);
  std::list<Ostra::BaseMessage> messages;
  auto parsed = ParseStream(in, messages);
  EXPECT_TRUE(messages.empty());
  return parsed;
}

// A file read to its end is rewound: the fingerprint is of all its bytes. (Streams in memory are
// compared with the stream wrapper below.)
TEST(ParseStream, FingerprintCoversEveryByteOfAFile) {
  const std::string spaced = "{ \"a\": [1, 2],\n  \"b\": \"x\" }\n";
  const std::string path = testing::TempDir() + "/parse_stream_file.json";
  std::ofstream(path, std::ios::binary) << spaced;
  std::ifstream file(path, std::ios::binary);
  std::list<Ostra::BaseMessage> messages;
  const auto parsed = ParseStream(file, messages);
  EXPECT_FALSE(parsed->document->HasParseError());
  EXPECT_EQ(parsed->fingerprint, Crc(spaced));
  std::remove(path.c_str());
}

// A stream buffer that cannot seek, as a pipe.
class PipeBuffer : public std::streambuf {
 public:
  explicit PipeBuffer(std::string data) : data_(std::move(data)) {
    setg(&data_[0], &data_[0], &data_[0] + data_.size());
  }

 private:
  std::string data_;
};

TEST(ParseStream, NonSeekableStreamFingerprintsWhatRemains) {
  PipeBuffer buffer("{} x and more");
  std::istream in(&buffer);
  std::list<Ostra::BaseMessage> messages;
  const auto parsed = ParseStream(in, messages);
  EXPECT_EQ(parsed->document->GetParseError(), rapidjson::kParseErrorDocumentRootNotSingular);
  // The parser stopped at "x"; the failed rewind leaves the rest for the checksum.
  EXPECT_EQ(parsed->fingerprint, Crc("x and more"));
}

// A seekable stream buffer whose reads fail after `good` bytes, as a file with a bad block: it
// throws, as a file buffer does, what an istream would turn into badbit.
class FailingBuffer : public std::streambuf {
 public:
  FailingBuffer(std::string data, std::size_t good) : data_(std::move(data)), good_(good) {}

 protected:
  pos_type seekoff(off_type off, std::ios::seekdir dir, std::ios::openmode) override {
    const off_type base = dir == std::ios::beg ? 0 : dir == std::ios::cur ? at_ : data_.size();
    return seekpos(base + off, std::ios::in);
  }
  pos_type seekpos(pos_type pos, std::ios::openmode) override {
    at_ = static_cast<std::size_t>(pos);
    return pos;
  }
  std::streamsize xsgetn(char* out, std::streamsize count) override {
    if (at_ >= good_) throw std::ios_base::failure("read error");
    const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(count), good_ - at_);
    data_.copy(out, n, at_);
    at_ += n;
    return static_cast<std::streamsize>(n);
  }
  int_type underflow() override {
    if (at_ >= good_) throw std::ios_base::failure("read error");
    return traits_type::to_int_type(data_[at_]);
  }

 private:
  std::string data_;
  std::size_t good_;
  std::size_t at_ = 0;
};

TEST(ParseStream, ReadErrorEndsTheTextWhereItHappened) {
  FailingBuffer buffer(R"({"a":[1,2,3]})", 7);
  std::istream in(&buffer);
  std::list<Ostra::BaseMessage> messages;
  const auto parsed = ParseStream(in, messages);
  EXPECT_EQ(parsed->document->GetParseError(), rapidjson::kParseErrorArrayMissCommaOrSquareBracket);
  EXPECT_EQ(parsed->document->GetErrorOffset(), 7u);
  EXPECT_EQ(parsed->fingerprint, Crc(R"({"a":[1)"));
}

TEST(ParseStream, ReadErrorsAnywhereNeverEscape) {
  // Moved off its start, the stream is parsed from there and fingerprinted from 0: both readings
  // meet the failing block.
  FailingBuffer buffer(R"({"a":[1,2,3]})", 7);
  std::istream in(&buffer);
  in.seekg(2);
  std::list<Ostra::BaseMessage> messages;
  std::shared_ptr<ParsedMetadata> parsed;
  ASSERT_NO_THROW(parsed = ParseStream(in, messages));
  EXPECT_EQ(parsed->document->GetParseError(), rapidjson::kParseErrorValueInvalid);  // at "a"
  EXPECT_EQ(parsed->fingerprint, Crc(R"({"a":[1)"));

  // A directory opens as a stream whose every read fails.
  std::ifstream directory(testing::TempDir(), std::ios::binary);
  ASSERT_TRUE(directory.is_open());
  directory.seekg(1);
  ASSERT_NO_THROW(parsed = ParseStream(directory, messages));
  EXPECT_EQ(parsed->document->GetParseError(), rapidjson::kParseErrorDocumentEmpty);
  EXPECT_EQ(parsed->fingerprint, Crc(""));
}

TEST(JsonAccess, FindMemberTakesTheFirstAndValToStringKeepsNul) {
  const auto parsed = Parse(R"({"a":1,"b":"x\u0000y","a":2})");
  const auto& root = *parsed->document;
  const auto a = FindMember(root, "a");
  ASSERT_NE(a, root.MemberEnd());
  EXPECT_EQ(a->value.GetInt(), 1);
  EXPECT_EQ(FindMember(root, "c"), root.MemberEnd());
  EXPECT_EQ(ValToString(FindMember(root, "b")->value), std::string("x\0y", 3));

  // Names compare as C strings: up to a name's first NUL, and no further.
  const auto nul = Parse(R"({"ab":1,"a\u0000b":2,"abc":3})");
  EXPECT_EQ(FindMember(*nul->document, "a")->value.GetInt(), 2);
  EXPECT_EQ(FindMember(*nul->document, "ab")->value.GetInt(), 1);
  EXPECT_EQ(FindMember(*nul->document, "abcd"), nul->document->MemberEnd());
}

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

// A stream buffer that cannot seek and hands out its text `piece` bytes at a time, as a pipe whose
// writer sends in small pieces. It counts the bytes it has handed out.
class TricklingBuffer : public std::streambuf {
 public:
  TricklingBuffer(std::string data, std::size_t piece) : data_(std::move(data)), piece_(piece) {}
  std::size_t Delivered() const { return at_; }

 protected:
  int_type underflow() override {
    if (at_ == data_.size()) return traits_type::eof();
    char* begin = &data_[at_];
    at_ += std::min(piece_, data_.size() - at_);
    setg(begin, begin, &data_[0] + at_);
    return traits_type::to_int_type(*begin);
  }

 private:
  std::string data_;
  std::size_t piece_;
  std::size_t at_ = 0;
};

// ParseStream (from `start`, fingerprinted from 0) and ParseSource (through a stream that hands
// out the text whole and through pipes that hand it out a few bytes at a time) give the
// reference's outcome; ParseSource fingerprints a valid document whole, and a failed parse has
// read no further than the piece holding the byte the parse stopped at.
void ExpectSameAsReference(const std::string& text, std::streamoff start = 0) {
  std::istringstream referenceIn(text), fastIn(text), wrapped(text);
  referenceIn.seekg(start);
  fastIn.seekg(start);
  const Reference reference(referenceIn);
  rapidjson::BasicIStreamWrapper<std::istream> wrapper(wrapped);
  JsonDocument stopped;
  stopped.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(wrapper);
  const std::size_t taken = wrapper.Tell();
  const std::string shown = text.substr(0, 60);
  const auto check = [&](const ParsedMetadata& parsed, const std::string& how, bool source) {
    const auto& document = *parsed.document;
    EXPECT_EQ(document.GetParseError(), reference.document.GetParseError()) << how << shown;
    EXPECT_EQ(document.GetErrorOffset(), reference.document.GetErrorOffset()) << how << shown;
    const bool failed = document.HasParseError();
    EXPECT_EQ(parsed.fingerprint, failed && source ? "" : reference.fingerprint) << how << shown;
    if (!failed) {
      EXPECT_TRUE(document == reference.document) << how << shown;
    }
  };
  std::list<Ostra::BaseMessage> messages;
  check(*ParseStream(fastIn, messages), "stream: ", false);
  EXPECT_TRUE(messages.empty());
  EXPECT_TRUE(fastIn.good());  // rewound and readable, as after the reference
  if (start != 0) return;
  std::istringstream whole(text);
  check(*Ostra::Provider::Metadata::ParseSource(whole), "whole: ", true);
  for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{4096}}) {
    TricklingBuffer buffer(text, piece);
    std::istream pipe(&buffer);
    const auto parsed = Ostra::Provider::Metadata::ParseSource(pipe);
    const std::string how = "pieces of " + std::to_string(piece) + ": ";
    check(*parsed, how, true);
    if (parsed->document->HasParseError() &&
        parsed->document->GetParseError() != rapidjson::kParseErrorTermination) {
      EXPECT_LE(buffer.Delivered(), taken + piece) << how << shown;
    }
  }
}

TEST(ParseStream, InMemoryLoadMatchesTheStreamWrapperOnEveryInput) {
  using namespace std::string_literals;
  std::vector<std::string> texts = {"",          " ",
                                    "\n\t",      "{}",
                                    "{} x",      "{}\n",
                                    "[1,2,",     "{\"a\":1,}",
                                    "{\"a\" 1}", "{\"a\": NaN}",
                                    "// c\n{}",  "\"\\uD800\"",
                                    "\"\\x\"",   "01",
                                    "1e999",     "nul",
                                    "[tru]",     "  },\n  }",
                                    "]",         " ,",
                                    ":1",        "\xEF\xBB\xBF{}",
                                    "\xff\xfe"};
  texts.insert(texts.end(),
               {"{\"cli\":[]} // comment", "{\"a\":\"x\0y\"}"s, "{} \0junk"s,
                "[" + std::string(200000, ' ') + R"("long", 1.5e300, -0, true])",
                std::string(500, '[') + std::string(500, ']'), std::string(70000, '{')});
  for (const std::string& text : texts)
    ExpectSameAsReference(text);
  // Errors right before, at and after the end of the first block.
  for (const std::size_t at : {kReadBlock - 1, kReadBlock, kReadBlock + 1})
    ExpectSameAsReference("[" + std::string(at - 1, ' ') + "x]");
  for (const char* name : {"metamodel.json", "authentication.json", "cli.json"}) {
    const std::string text = OstraTest::ExampleText(name);
    ExpectSameAsReference(text);
    // A stream that does not start at 0: parsed from there, fingerprinted from 0.
    ExpectSameAsReference(text, 40);
  }
}

}  // namespace

#include "ostra/provider/parsed_metadata.h"

#include <fcntl.h>
#include <rapidjson/reader.h>
#include <rapidjson/stream.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

#include <cerrno>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

#include "ostra/core/crc32.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

namespace {

// A rapidjson input stream over a stream buffer that holds one block of the text at a time. Each
// block is what can be read without waiting, at most kReadBlock bytes: a regular file is read in
// whole blocks, a pipe as its writer sends. Every block goes to the checksum (when there is one)
// before the parser sees it. Bytes are passed as they are; the end shows as '\0', as an embedded
// NUL byte does, just as rapidjson's stream wrapper shows them. A read error of the buffer ends
// the text.
class BlockStream {
 public:
  using Ch = char;

  // A null `source` is an empty text.
  BlockStream(std::streambuf* source, CRC32* crc) : source_(source), crc_(crc) {}
  BlockStream(const BlockStream&) = delete;
  BlockStream& operator=(const BlockStream&) = delete;

  // A NUL follows the bytes of every block, so only a NUL needs a second look: it is either a NUL
  // byte of the text or the end of the block.
  Ch Peek() {
    const Ch c = *next_;
    return RAPIDJSON_LIKELY(c != '\0') || next_ != end_ || !Refill() ? c : *next_;
  }
  Ch Take() {
    const Ch c = *next_;
    if (RAPIDJSON_LIKELY(c != '\0') || next_ != end_) {
      ++next_;
      return c;
    }
    return Refill() ? *next_++ : '\0';
  }
  std::size_t Tell() const { return before_ + static_cast<std::size_t>(next_ - start_); }

  // Reads to the end of the text, so that the checksum sees every byte.
  void Drain() {
    next_ = end_;
    while (Refill())
      next_ = end_;
  }

  // Feeds `crc` the bytes read but not taken, then the rest of the text.
  void FingerprintRest(CRC32& crc) {
    crc.Update(next_, static_cast<std::size_t>(end_ - next_));
    crc_ = &crc;
    Drain();
  }

  // Writing is for in situ parsing, which is not used.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  std::size_t PutEnd(Ch*) { return 0; }

 private:
  // Reads the next block; false at the end of the text. Kept out of line: Peek and Take are the
  // parser's innermost calls.
  __attribute__((noinline)) bool Refill() {
    if (ended_) return false;
    std::streamsize got = 0;
    if (source_ != nullptr) {
      try {
        using Traits = std::char_traits<char>;
        // What can be read without waiting: the bytes buffered, or what a file buffer learns from
        // the system (the rest of a regular file, what a pipe holds now). When that is nothing,
        // sgetc waits for a byte or the end.
        std::streamsize ready = source_->in_avail();
        if (ready <= 0) {
          ready = Traits::eq_int_type(source_->sgetc(), Traits::eof())
                      ? 0
                      : std::max<std::streamsize>(source_->in_avail(), 1);
        }
        if (ready > 0) {
          got = source_->sgetn(start_, std::min(ready, std::streamsize{kReadBlock}));
        }
      } catch (const std::bad_alloc&) {
        throw;
      } catch (const std::exception&) {
        got = 0;  // a stream buffer throws what an istream would have turned into badbit
      }
    }
    if (got <= 0) {
      ended_ = true;
      return false;
    }
    before_ += static_cast<std::size_t>(end_ - start_);
    next_ = start_;
    end_ = next_ + got;
    start_[got] = '\0';
    if (crc_ != nullptr) crc_->Update(next_, static_cast<std::size_t>(got));
    return true;
  }

  std::streambuf* source_;
  CRC32* crc_;
  std::unique_ptr<char[]> block_{new char[kReadBlock + 1]};
  char* const start_ = &(block_[0] = '\0');
  const char* next_ = start_;  // the next byte to take
  const char* end_ = start_;   // the end of the block's bytes
  std::size_t before_ = 0;     // bytes of the blocks before this one
  bool ended_ = false;
};

// Whether a member name (`memberLength` bytes) equals `name` (`length` bytes, no NUL) as C strings:
// up to its first NUL. A longer name matches only with a NUL where `name` ends, which is looked at
// before comparing, so that most names are not read to their end.
bool SameAsCString(const char* member, std::size_t memberLength, const char* name,
                   std::size_t length) {
  return memberLength >= length && (memberLength == length || member[length] == '\0') &&
         std::memcmp(member, name, length) == 0;
}

// The position of a stream buffer, or -1 when it cannot tell one.
std::streamoff PositionOf(std::streambuf& buffer) {
  try {
    return buffer.pubseekoff(0, std::ios::cur, std::ios::in);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    return -1;
  }
}

bool Rewind(std::streambuf& buffer) {
  try {
    return buffer.pubseekpos(0, std::ios::in) == std::streampos(0);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    return false;
  }
}

// rapidjson sets a document's parse result only from the reader it runs itself, with the document
// as the only handler. The depth-limited parse below runs its own reader, so it records the outcome
// through the one private member it needs; an explicit instantiation may name a private member.
using ParseResultMember = rapidjson::ParseResult JsonDocument::*;
ParseResultMember ParseResultOf();
template <ParseResultMember Member>
struct ParseResultAccess {
  friend ParseResultMember ParseResultOf() { return Member; }
};
template struct ParseResultAccess<&JsonDocument::parseResult_>;

// Passes every event on to the next handler (a document) and stops the parse at the first array or
// object nested deeper than kMaxDocumentJsonDepth. The reader then reports kParseErrorTermination
// at that bracket.
template <class Next = JsonDocument>
class NestingLimit {
 public:
  explicit NestingLimit(Next& document) : document_(document) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool b) { return document_.Bool(b); }
  bool Int(int i) { return document_.Int(i); }
  bool Uint(unsigned u) { return document_.Uint(u); }
  bool Int64(std::int64_t i) { return document_.Int64(i); }
  bool Uint64(std::uint64_t u) { return document_.Uint64(u); }
  bool Double(double d) { return document_.Double(d); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.RawNumber(text, length, copy);
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.String(text, length, copy);
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.Key(text, length, copy);
  }
  bool StartObject() { return Open() && document_.StartObject(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return document_.EndObject(members);
  }
  bool StartArray() { return Open() && document_.StartArray(); }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return document_.EndArray(elements);
  }

 private:
  bool Open() { return ++depth_ <= kMaxDocumentJsonDepth; }

  Next& document_;
  std::size_t depth_ = 0;
};

// Passes the events of a document on to `document`, except the elements of the streamed array:
// each of those is built alone and handed to the array's callback, and the document keeps the
// array empty. The array is found as FindMember finds members: the first member of each name on
// the path, compared as C strings. The document copies its strings, so that it never points into
// the text; `consumed` is called after each element.
class StreamRouter {
 public:
  StreamRouter(JsonDocument& document, const StreamedArray& streamed,
               std::function<void()> consumed)
      : document_(document),
        streamed_(streamed),
        consumed_(std::move(consumed)),
        seen_(streamed.path.size(), false) {}

  bool Null() {
    return Value() && Route([](auto& to) { return to.Null(); });
  }
  bool Bool(bool b) {
    return Value() && Route([b](auto& to) { return to.Bool(b); });
  }
  bool Int(int i) {
    return Value() && Route([i](auto& to) { return to.Int(i); });
  }
  bool Uint(unsigned u) {
    return Value() && Route([u](auto& to) { return to.Uint(u); });
  }
  bool Int64(std::int64_t i) {
    return Value() && Route([i](auto& to) { return to.Int64(i); });
  }
  bool Uint64(std::uint64_t u) {
    return Value() && Route([u](auto& to) { return to.Uint64(u); });
  }
  bool Double(double d) {
    return Value() && Route([d](auto& to) { return to.Double(d); });
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) {
    return Value() && Route([&](auto& to) { return to.RawNumber(text, length, copy); });
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) {
    return Value() && Route([&](auto& to) { return to.String(text, length, copy || IsTree(to)); });
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    if (elementDepth_ == 0 && depth_ == level_ + 1 && level_ < seen_.size() && !seen_[level_]) {
      const char* name = streamed_.path[level_];
      pending_ = SameAsCString(text, length, name, std::strlen(name));
      if (pending_) seen_[level_] = true;
    }
    return Route([&](auto& to) { return to.Key(text, length, copy || IsTree(to)); });
  }
  bool StartObject() {
    const bool descend = Take() && level_ + 1 < seen_.size();
    const bool ok = Route([](auto& to) { return to.StartObject(); }, 1);
    ++depth_;
    if (descend) ++level_;
    return ok;
  }
  bool StartArray() {
    const bool stream = Take() && level_ + 1 == seen_.size();
    const bool ok = Route([](auto& to) { return to.StartArray(); }, 1);
    ++depth_;
    if (stream) arrayDepth_ = depth_;
    return ok;
  }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    if (depth_ == level_ && level_ > 0 && elementDepth_ == 0) --level_;
    return Route([members](auto& to) { return to.EndObject(members); }, -1);
  }
  bool EndArray(rapidjson::SizeType elements) {
    if (depth_ == arrayDepth_ && elementDepth_ == 0) {
      arrayDepth_ = 0;
      --depth_;
      return document_.EndArray(0);
    }
    --depth_;
    return Route([elements](auto& to) { return to.EndArray(elements); }, -1);
  }

 private:
  // Whether the value starting now is that of the path member just met; a value that is not the
  // container the path goes on with ends the path there.
  bool Take() {
    const bool pending = pending_;
    pending_ = false;
    return pending;
  }
  bool Value() {
    pending_ = false;
    return true;
  }

  // Hands the event to the element being built (or starting here) or to the document; an element
  // that is complete goes to the callback. `change` is what the event does to the depth.
  template <class Event>
  bool Route(Event event, int change = 0) {
    const bool inElement = elementDepth_ != 0 || (arrayDepth_ != 0 && depth_ == arrayDepth_);
    if (!inElement) return event(document_);
    elementDepth_ += change;
    if (!event(element_)) return false;
    if (elementDepth_ != 0) return true;
    // The element's tree takes its one value off the stack as a parse would end.
    const auto complete = [](JsonDocument&) { return true; };
    element_.Populate(complete);
    const bool ok = streamed_.element(element_);
    element_.SetNull();
    element_.GetAllocator().Clear();
    if (consumed_) consumed_();
    return ok;
  }

  template <class To>
  static constexpr bool IsTree(const To&) {
    return std::is_same_v<To, JsonDocument>;
  }

  JsonDocument& document_;
  const StreamedArray& streamed_;
  std::function<void()> consumed_;
  std::vector<bool> seen_;      // per path member: whether its first occurrence was met
  std::size_t depth_ = 0;       // of the containers open
  std::size_t level_ = 0;       // path members whose object the parse is in (the root is 0)
  std::size_t arrayDepth_ = 0;  // of the streamed array while it is open, else 0
  bool pending_ = false;        // the last key was the path member of its object
  JsonDocument element_;        // of the element being read
  int elementDepth_ = 0;        // of the element's containers open
};

// Parses `input` into `document` with the strict default flags, giving the error codes and offsets
// of rapidjson's recursive reader. Its iterative reader keeps nesting off the call stack; the
// nesting limit bounds the memory a deep document can take.
// With `streamed`, the elements of that array go to its callback (see StreamRouter).
template <unsigned kExtraFlags = 0, class Input>
void ParseLimited(Input& input, JsonDocument& document, const StreamedArray* streamed = nullptr,
                  std::function<void()> consumed = nullptr) {
  rapidjson::ParseResult result;
  auto parse = [&input, &result, streamed, &consumed](JsonDocument& target) {
    rapidjson::GenericReader<rapidjson::UTF8<char>, rapidjson::UTF8<char>, rapidjson::CrtAllocator>
        reader;
    constexpr unsigned kFlags =
        rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag | kExtraFlags;
    if (streamed != nullptr) {
      StreamRouter router(target, *streamed, std::move(consumed));
      NestingLimit<StreamRouter> handler(router);
      result = reader.Parse<kFlags>(input, handler);
    } else {
      NestingLimit<> handler(target);
      result = reader.Parse<kFlags>(input, handler);
    }
    return !result.IsError();
  };
  document.Populate(parse);
  // The iterative reader calls a document that starts with "]", "}", "," or ":" empty; the
  // recursive reader, whose codes are the ones reported, finds an invalid value there.
  if (result.Code() == rapidjson::kParseErrorDocumentEmpty && input.Peek() != '\0') {
    result.Set(rapidjson::kParseErrorValueInvalid, result.Offset());
  }
  document.*ParseResultOf() = result;
}

// Reads a source text block by block (see ParseSource).
std::shared_ptr<ParsedMetadata> ParseBlocks(std::streambuf* source) {
  auto parsed = std::make_shared<ParsedMetadata>();
  parsed->document = std::make_unique<JsonDocument>();
  CRC32 crc;
  BlockStream text(source, &crc);
  ParseLimited(text, *parsed->document);
  if (parsed->document->HasParseError()) return parsed;
  // A NUL byte ends the text for the parser as the end does; the fingerprint is of all of it.
  text.Drain();
  std::string fingerprint = crc.Hexdigest();
  parsed->fingerprint.swap(fingerprint);
  return parsed;
}

// A streamed text goes back to the system in steps of at least this many bytes: a step is a system
// call.
constexpr std::uintptr_t kReleaseStep = 1024 * 1024;

// Reads up to `size` bytes of `fd` into `into`, as far as the file goes; the count read. A read
// error ends the text where it happened.
std::size_t ReadUpTo(int fd, char* into, std::size_t size) {
  std::size_t got = 0;
  while (got < size) {
    const ssize_t n = ::read(fd, into + got, size - got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  return got;
}

}  // namespace

void ParseJson(std::istream& in, JsonDocument& document) {
  BlockStream text(in.good() ? in.rdbuf() : nullptr, nullptr);
  ParseLimited(text, document);
}

std::shared_ptr<ParsedMetadata> ParseStream(std::istream& in, Messages&) {
  auto parsed = std::make_shared<ParsedMetadata>();
  parsed->document = std::make_unique<JsonDocument>();
  std::streambuf* buffer = in.rdbuf();
  std::streambuf* source = in.good() ? buffer : nullptr;

  // A stream at its start is read once: parsed and fingerprinted from the same blocks.
  const bool atStart = source != nullptr && PositionOf(*source) == 0;
  CRC32 crc;
  BlockStream text(source, atStart ? &crc : nullptr);
  ParseLimited(text, *parsed->document);
  if (atStart) {
    text.Drain();
  } else if (buffer != nullptr && Rewind(*buffer)) {
    BlockStream whole(buffer, &crc);
    whole.Drain();
  } else {
    text.FingerprintRest(crc);
  }
  std::string fingerprint = crc.Hexdigest();
  parsed->fingerprint.swap(fingerprint);
  in.clear();
  return parsed;
}

std::shared_ptr<ParsedMetadata> ParseSource(std::istream& in) {
  return ParseBlocks(in.good() ? in.rdbuf() : nullptr);
}

std::shared_ptr<ParsedMetadata> ParseSourceFile(const std::string& path,
                                                const StreamedArray* streamed) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return nullptr;
  __gnu_cxx::stdio_filebuf<char> file(fd, std::ios::in | std::ios::binary);  // closes `fd`
  struct stat status;
  if (::fstat(fd, &status) != 0 || S_ISDIR(status.st_mode)) return nullptr;
  if (!S_ISREG(status.st_mode) || static_cast<std::size_t>(status.st_size) > kMaxWholeText) {
    return ParseBlocks(&file);
  }
  // One byte more than the file holds tells whether it grew since it was looked at; a file that
  // grows is read again from the start block by block, as a pipe is.
  const std::size_t size = static_cast<std::size_t>(status.st_size);
  auto text = std::make_unique<char[]>(size + 2);
  const std::size_t got = ReadUpTo(fd, text.get(), size + 1);
  if (got > size) {
    if (::lseek(fd, 0, SEEK_SET) != 0) return nullptr;
    return ParseBlocks(&file);
  }
  text[got] = '\0';
  auto parsed = std::make_shared<ParsedMetadata>();
  parsed->document = std::make_unique<JsonDocument>();
  CRC32 crc;
  crc.Update(text.get(), got);
  // Parsed in place: strings are unescaped over the text, and the document points into it.
  rapidjson::InsituStringStream input(text.get());
  if (streamed == nullptr) {
    ParseLimited<rapidjson::kParseInsituFlag>(input, *parsed->document);
    parsed->text = std::move(text);
  } else {
    // The tree keeps copies of its strings, and the elements are gone once read: the whole pages
    // of text behind the parse go back to the system as it moves on, so that text and records
    // never take their full size at once.
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(text.get());
    const std::uintptr_t page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    std::uintptr_t released = (start + page - 1) / page * page;
    const auto release = [&input, start, page, &released] {
      const std::uintptr_t read = (start + input.Tell()) / page * page;
      if (read < released + kReleaseStep) return;
      ::madvise(reinterpret_cast<void*>(released), read - released, MADV_DONTNEED);
      released = read;
    };
    ParseLimited<rapidjson::kParseInsituFlag>(input, *parsed->document, streamed, release);
    parsed->streamed = true;
  }
  if (parsed->document->HasParseError()) return parsed;
  std::string fingerprint = crc.Hexdigest();
  parsed->fingerprint.swap(fingerprint);
  return parsed;
}

JsonValue::ConstMemberIterator FindMember(const JsonValue& object, const char* name) {
  const std::size_t length = std::strlen(name);
  for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
    if (SameAsCString(it->name.GetString(), it->name.GetStringLength(), name, length)) return it;
  }
  return object.MemberEnd();
}

std::string ValToString(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra

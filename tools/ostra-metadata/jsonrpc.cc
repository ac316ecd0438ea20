#include "jsonrpc.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <numeric>
#include <unordered_map>
#include <utility>
#include <vector>

#include "json_writer.h"
#include "ostra/core/json_limits.h"
#include "report.h"

namespace OstraTool {
namespace {

using Ostra::Data::DataValue;
using Ostra::Data::StructValue;
using Ostra::Data::ValuePtr;
using Ostra::Data::ValueType;

// JSON-RPC error codes.
constexpr int kParseError = -32700;
constexpr int kInvalidRequest = -32600;
constexpr int kMethodNotFound = -32601;
constexpr int kInvalidParams = -32602;
constexpr int kOperationFailed = -32000;
constexpr int kBatchTooLarge = -32001;
constexpr int kRefused = -32002;

std::string MiB(std::size_t bytes) {
  return std::to_string(bytes >> 20) + " MiB";
}

// A number as Ostra::Data::FromJson reads it: an integer when it is one that fits 64 bits, a double
// otherwise. Null for a number beyond the doubles.
ValuePtr NumberValue(std::string_view text) {
  const char* end = text.data() + text.size();
  if (text.find_first_of(".eE") == std::string_view::npos) {
    std::int64_t integer = 0;
    const auto read = std::from_chars(text.data(), end, integer);
    if (read.ec == std::errc() && read.ptr == end) {
      return std::make_shared<const Ostra::Data::IntegerValue>(integer);
    }
  }
  const std::string digits(text);
  const double number = std::strtod(digits.c_str(), nullptr);
  if (!std::isfinite(number)) return nullptr;
  return std::make_shared<const Ostra::Data::DoubleValue>(number);
}

// Keeps the first of the fields that share a name, as FromJson does.
void KeepFirst(std::vector<StructValue::Field>& fields) {
  if (fields.size() < 2) return;
  std::vector<std::size_t> order(fields.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&fields](std::size_t a, std::size_t b) {
    return fields[a].first < fields[b].first;
  });
  std::vector<bool> repeated(fields.size(), false);
  bool any = false;
  for (std::size_t i = 1; i < order.size(); ++i) {
    if (fields[order[i]].first == fields[order[i - 1]].first) repeated[order[i]] = any = true;
  }
  if (!any) return;
  std::vector<StructValue::Field> kept;
  kept.reserve(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!repeated[i]) kept.push_back(std::move(fields[i]));
  }
  fields.swap(kept);
}

// Reads a request text into data values, as FromJson would, within the limits of JsonRpc, and
// keeps the text of every request's number id as it was written. A rapidjson reader handler.
class RequestReader {
 public:
  // False when the text is not JSON or exceeds a limit; then `code` and `why` say so.
  bool Read(std::string_view text) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::Reader reader;
    constexpr unsigned kFlags = rapidjson::kParseValidateEncodingFlag |
                                rapidjson::kParseIterativeFlag |
                                rapidjson::kParseNumbersAsStringsFlag;
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, *this);
    if (result.IsError()) {
      if (code == 0) {
        code = kParseError;
        why = std::string("Parse error: ") + rapidjson::GetParseError_En(result.Code()) +
              " at offset " + std::to_string(result.Offset());
      }
      return false;
    }
    // The reader takes a NUL byte for the end of the text; the text goes on after it.
    if (stream.Tell() != text.size()) {
      code = kParseError;
      why = "Parse error: a NUL byte at offset " + std::to_string(stream.Tell());
      return false;
    }
    return true;
  }

  // The text of the number id of `request`, or null when its id is not a number.
  const std::string* NumberId(const DataValue& request) const {
    const auto it = numberIds_.find(&request);
    return it == numberIds_.end() ? nullptr : &it->second;
  }

  ValuePtr root;
  int code = 0;
  std::string why;

  // The reader's events.
  bool Null() { return Add(std::make_shared<const Ostra::Data::OptionalValue>()); }
  bool Bool(bool value) { return Add(std::make_shared<const Ostra::Data::BooleanValue>(value)); }
  bool Int(int value) { return Int64(value); }
  bool Uint(unsigned value) { return Int64(value); }
  bool Int64(std::int64_t value) {
    return Add(std::make_shared<const Ostra::Data::IntegerValue>(value));
  }
  bool Uint64(std::uint64_t value) {
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return Int64(static_cast<std::int64_t>(value));
    }
    return Double(static_cast<double>(value));
  }
  bool Double(double value) { return Add(std::make_shared<const Ostra::Data::DoubleValue>(value)); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const std::string_view number(text, length);
    if (!Short(number)) return false;
    ValuePtr value = NumberValue(number);
    if (!value) return false;  // the reader reports where
    return Add(std::move(value), number);
  }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    if (!Short(std::string_view(text, length))) return false;
    return Add(std::make_shared<const Ostra::Data::StringValue>(std::string(text, length)));
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    if (!Short(std::string_view(text, length))) return false;
    frames_.back().key.assign(text, length);
    return true;
  }
  bool StartObject() { return Open(true); }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool StartArray() { return Open(false); }
  bool EndArray(rapidjson::SizeType) { return Close(); }

 private:
  // An array or object being read.
  struct Frame {
    bool object;
    bool request;  // the root object, or an object in a root array (a batch)
    std::vector<ValuePtr> elements;
    std::vector<StructValue::Field> fields;
    std::string key;  // of the member being read
    bool idSeen = false;
    std::string numberId;
  };

  bool Exceeded(std::string limit) {
    code = kInvalidRequest;
    why = "Invalid Request: " + std::move(limit);
    return false;
  }
  bool Short(std::string_view text) {
    return text.size() <= JsonRpc::kMaxStringBytes ||
           Exceeded("a string longer than " + MiB(JsonRpc::kMaxStringBytes));
  }
  bool Count() {
    return ++values_ <= JsonRpc::kMaxValues ||
           Exceeded("more than " + std::to_string(JsonRpc::kMaxValues) + " values");
  }

  bool Open(bool object) {
    if (!Count()) return false;
    if (frames_.size() >= Ostra::kMaxRequestJsonDepth) {
      return Exceeded("nesting deeper than " + std::to_string(Ostra::kMaxRequestJsonDepth));
    }
    const bool request = object && (frames_.empty() || (frames_.size() == 1 && !frames_[0].object));
    frames_.push_back(Frame{object, request, {}, {}, {}, false, {}});
    return true;
  }

  bool Close() {
    Frame frame = std::move(frames_.back());
    frames_.pop_back();
    ValuePtr value;
    if (frame.object) {
      KeepFirst(frame.fields);
      value = std::make_shared<const StructValue>(std::string(), std::move(frame.fields));
    } else {
      value = std::make_shared<const Ostra::Data::ListValue>(std::move(frame.elements));
    }
    if (!frame.numberId.empty()) numberIds_[value.get()] = std::move(frame.numberId);
    return Attach(std::move(value));
  }

  bool Add(ValuePtr value, std::string_view number = std::string_view()) {
    return Count() && Attach(std::move(value), number);
  }

  // `number`: the text of a number value, empty for any other value.
  bool Attach(ValuePtr value, std::string_view number = std::string_view()) {
    if (frames_.empty()) {
      root = std::move(value);
      return true;
    }
    Frame& frame = frames_.back();
    if (!frame.object) {
      frame.elements.push_back(std::move(value));
      return true;
    }
    if (frame.request && !frame.idSeen && frame.key == "id") {
      frame.idSeen = true;  // a repeated id is dropped with its value
      frame.numberId = number;
    }
    frame.fields.emplace_back(std::move(frame.key), std::move(value));
    return true;
  }

  std::vector<Frame> frames_;
  std::size_t values_ = 0;
  std::unordered_map<const DataValue*, std::string> numberIds_;
};

// A request's id as it goes into its reply.
struct Id {
  enum Kind { kNull, kString, kNumber } kind = kNull;
  std::string_view text;

  void Write(JsonWriter& out) const {
    switch (kind) {
      case kNull:
        out.Null();
        return;
      case kString:
        out.String(text);
        return;
      case kNumber:
        out.Raw(text);
        return;
    }
  }
};

void Begin(JsonWriter& out, const Id& id) {
  out.StartObject();
  out.Key("jsonrpc");
  out.String("2.0");
  out.Key("id");
  id.Write(out);
}

void WriteFailure(JsonWriter& out, const Id& id, int code, std::string_view message,
                  const Ostra::Data::ErrorValue* data = nullptr) {
  Begin(out, id);
  out.Key("error");
  out.StartObject();
  out.Key("code");
  out.Int(code);
  out.Key("message");
  out.String(message);
  if (data != nullptr) {
    out.Key("data");
    WriteError(out, *data);
  }
  out.EndObject();
  out.EndObject();
}

std::string Failure(int code, std::string_view message) {
  JsonWriter out;
  WriteFailure(out, Id(), code, message);
  return out.Text();
}

const std::string* Text(const StructValue& object, const char* name) {
  const auto field = object.GetField(name);
  if (!field || field->GetType() != ValueType::kString) return nullptr;
  return &static_cast<const Ostra::Data::StringValue&>(*field).GetValue();
}

// The "source file not found" message of each domain's source service.
const char* FileNotFoundId(const std::string& service) {
  static const std::pair<const char*, const char*> kIds[] = {
      {"com.corvane.ostra.metadata.metamodel.source",
       "ostra.metada.metamodel.source.file.not.found"},
      {"com.corvane.ostra.metadata.authentication.source",
       "ostra.metada.authentication.source.file.not.found"},
      {"com.corvane.ostra.metadata.cli.source", "ostra.metada.cli.source.file.not.found"},
  };
  for (const auto& entry : kIds) {
    if (service == entry.first) return entry.second;
  }
  return nullptr;
}

// A source that a request creates from a file must be a regular one: reading a pipe, a device or
// the server's own input would hold every later request. The store itself reads any file, so that
// a host may load a source from a pipe it made.
ErrorPtr CheckSourceFile(const std::string& service, const std::string& operation,
                         const StructValue& input) {
  const char* notFound = FileNotFoundId(service);
  if (notFound == nullptr || operation != "create") return nullptr;
  const auto spec = input.GetField("spec");
  if (!spec || spec->GetType() != ValueType::kStruct) return nullptr;
  const auto& fields = static_cast<const StructValue&>(*spec);
  const std::string* type = Text(fields, "type");
  const std::string* path = Text(fields, "filepath");
  if (!type || *type != "FILE" || !path) return nullptr;  // the store answers these
  std::error_code ignored;
  if (std::filesystem::is_regular_file(*path, ignored)) return nullptr;
  return Ostra::Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::NotFound>(
      {Ostra::Provider::Metadata::MetadataMessage(notFound, *path)});
}

// The real path of the regular file that `path` names (taken from `root` when relative), or none
// when there is no such file or it lies outside `root`, a real path.
boost::optional<std::string> FileUnder(const std::filesystem::path& root, const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path real = fs::canonical(root / fs::path(path), error);  // an absolute path stays
  if (error || !fs::is_regular_file(real, error)) return boost::none;
  auto at = real.begin();
  for (const auto& part : root) {
    if (at == real.end() || *at != part) return boost::none;
    ++at;
  }
  return real.string();
}

// `input` with the file path of its create spec replaced by `path`.
StructValue WithFilePath(const StructValue& input, const std::string& path) {
  std::vector<StructValue::Field> fields;
  for (const auto& field : input.GetFields()) {
    if (field.first != "spec") {
      fields.push_back(field);
      continue;
    }
    const auto& spec = static_cast<const StructValue&>(*field.second);
    std::vector<StructValue::Field> members;
    for (const auto& member : spec.GetFields()) {
      members.emplace_back(member.first,
                           member.first == "filepath"
                               ? std::make_shared<const Ostra::Data::StringValue>(path)
                               : member.second);
    }
    fields.emplace_back(field.first,
                        std::make_shared<const StructValue>(spec.GetName(), std::move(members)));
  }
  return StructValue(input.GetName(), std::move(fields));
}

// The create spec's file path when the input has one; null otherwise.
const std::string* SpecFilePath(const StructValue& input) {
  const auto spec = input.GetField("spec");
  if (!spec || spec->GetType() != ValueType::kStruct) return nullptr;
  return Text(static_cast<const StructValue&>(*spec), "filepath");
}

// The text of an error's first message, or the name of its kind when it has none.
std::string ErrorMessage(const Ostra::Data::ErrorValue& error) {
  const auto messages = Ostra::Data::ErrorFactory::GetMessages(error);
  return messages.empty() ? ErrorKind(error) : messages.front().GetDefaultMessage();
}

// Answers one request of a text (the text itself, or an element of its batch) into `out`. False
// when it gets no reply (a notification). A request that is not `runnable` is answered without
// being run.
bool Handle(const Host& host, const SourceAccess& access, const RequestReader& read,
            const DataValue& request, bool runnable, JsonWriter& out) {
  if (request.GetType() != ValueType::kStruct) {
    WriteFailure(out, Id(), kInvalidRequest, "Invalid Request");
    return true;
  }
  const auto& object = static_cast<const StructValue&>(request);
  const auto idValue = object.GetField("id");
  const bool notification = idValue == nullptr;
  Id id;
  if (idValue) {
    switch (idValue->GetType()) {
      case ValueType::kString:
        id = {Id::kString, static_cast<const Ostra::Data::StringValue&>(*idValue).GetValue()};
        break;
      case ValueType::kInteger:
      case ValueType::kDouble:
        if (const std::string* text = read.NumberId(object)) id = {Id::kNumber, *text};
        break;
      case ValueType::kOptional:  // null
        break;
      default:
        WriteFailure(out, Id(), kInvalidRequest,
                     "Invalid Request: an id is a string, a number or null");
        return true;
    }
  }
  const std::string* version = Text(object, "jsonrpc");
  const std::string* method = Text(object, "method");
  if (!version || *version != "2.0" || !method) {
    WriteFailure(out, id, kInvalidRequest, "Invalid Request");
    return true;
  }
  const auto service = host.Find(*method);
  if (!service) {
    if (notification) return false;
    WriteFailure(out, id, kMethodNotFound, "Method not found: " + *method);
    return true;
  }

  const auto params = object.GetField("params");
  const auto* paramObject = params && params->GetType() == ValueType::kStruct
                                ? static_cast<const StructValue*>(params.get())
                                : nullptr;
  const std::string* operation = paramObject ? Text(*paramObject, "operation") : nullptr;
  const auto input = paramObject ? paramObject->GetField("input") : nullptr;
  if (!operation || (input && input->GetType() != ValueType::kStruct)) {
    if (notification) return false;
    WriteFailure(
        out, id, kInvalidParams,
        R"(Invalid params: params need an "operation" text and an optional "input" object)");
    return true;
  }
  if (!runnable) {
    if (notification) return false;
    WriteFailure(out, id, kBatchTooLarge,
                 "Server error: the replies of this batch exceed " +
                     MiB(JsonRpc::kMaxBatchReplyBytes) + "; the request was not run");
    return true;
  }

  const StructValue noInput("", {});
  const StructValue* inputs = input ? static_cast<const StructValue*>(input.get()) : &noInput;
  boost::optional<StructValue> confined;
  if (ManagesSources(service->GetIdentifier(), *operation)) {
    const std::string* path = SpecFilePath(*inputs);
    const char* refusal = nullptr;
    if (!access.manage) {
      refusal = "source management is disabled";
    } else if (access.root && *operation == "create" && path) {
      if (const auto real = FileUnder(*access.root, *path)) {
        confined = WithFilePath(*inputs, *real);
        inputs = &*confined;
      } else {
        refusal = "source file is not a regular file under the source root";
      }
    }
    if (refusal) {
      if (notification) return false;
      WriteFailure(out, id, kRefused, refusal);
      return true;
    }
  }
  Host::Reply reply;
  reply.error = CheckSourceFile(service->GetIdentifier(), *operation, *inputs);
  if (!reply.error) reply = host.Call(*method, *operation, *inputs);
  if (notification) return false;
  if (reply.error) {
    WriteFailure(out, id, kOperationFailed, ErrorMessage(*reply.error), reply.error.get());
    return true;
  }
  Begin(out, id);
  out.Key("result");
  if (reply.value) {
    out.Value(*reply.value);
  } else {
    out.Null();
  }
  out.EndObject();
  return true;
}

}  // namespace

std::string JsonRpc::TooLong() {
  return Failure(kInvalidRequest, "Invalid Request: longer than " + MiB(kMaxRequestBytes));
}

std::string JsonRpc::Answer(std::string_view request) const {
  if (request.size() > kMaxRequestBytes) return TooLong();
  RequestReader read;
  if (!read.Read(request)) return Failure(read.code, read.why);

  JsonWriter out;
  if (read.root->GetType() != ValueType::kList) {
    Handle(host_, access_, read, *read.root, true, out);
    return out.Text();
  }
  const auto& batch = static_cast<const Ostra::Data::ListValue&>(*read.root).GetElements();
  if (batch.empty()) return Failure(kInvalidRequest, "Invalid Request: an empty batch");
  bool replied = false;
  out.StartArray();
  for (const auto& element : batch) {
    replied |= Handle(host_, access_, read, *element, out.Size() <= kMaxBatchReplyBytes, out);
  }
  out.EndArray();
  return replied ? out.Text() : std::string();
}

}  // namespace OstraTool

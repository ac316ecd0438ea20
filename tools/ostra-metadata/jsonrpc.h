// JsonRpc: JSON-RPC 2.0 over a Host, one request text in, its reply text out. It is the whole
// protocol of the tool's servers; a transport (lines on standard input, a request body) only moves
// texts to and from it.
//
// A request's method is a service identifier or its short form ("cli.command"); its params are
// {"operation": text, "input": object of the named inputs}. A text holds one request or a batch.
//
// Whatever a client sends, the answer is a reply (none for a notification), and the work and memory
// it takes are bounded:
//   - a text longer than kMaxRequestBytes is not read: -32600 with id null (TooLong());
//   - a text that is not JSON, or not UTF-8, is a parse error: -32700 with id null;
//   - nesting deeper than Ostra::kMaxRequestJsonDepth, more than kMaxValues values, or a string or
//     name longer than kMaxStringBytes: -32600 with id null;
//   - an id that is not a string, a number or null: -32600 with id null; a number comes back
//     exactly as it was written;
//   - an unknown method: -32601; params that are not as above: -32602;
//   - once the replies of a batch exceed kMaxBatchReplyBytes, its later requests are not run and
//     are answered -32001;
//   - source management that SourceAccess refuses: -32002.
// An operation's error is -32000 whose message is the text of the error's first message (its kind,
// such as "UNSUPPORTED", when it has none) and whose data is the error (see WriteError). A source
// that a request creates must name a regular file, so that no request can make the server wait on
// a pipe or a device: any other path is refused as the store refuses a missing file (NotFound with
// the domain's "source file not found" message). Every reply is valid UTF-8 JSON (see JsonWriter).
//
// What requests may do to the sources is the transport's choice (SourceAccess): a server that
// other users reach can refuse source management, or keep it to the files under one directory.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include <boost/optional.hpp>

#include "host.h"

namespace OstraTool {

// What requests may do to the sources.
struct SourceAccess {
  // False: create, delete and reload of the source services are not run and answer -32002
  // "source management is disabled".
  bool manage = true;
  // When set (a real path: absolute, no symbolic link): a created source must be a regular file
  // whose real path lies under this directory, or the request is not run and answers -32002
  // "source file is not a regular file under the source root"; a relative path is taken from the
  // directory. The store is given the file's real path.
  boost::optional<std::filesystem::path> root;
};

class JsonRpc {
 public:
  static constexpr std::size_t kMaxRequestBytes = std::size_t{16} << 20;
  static constexpr std::size_t kMaxStringBytes = std::size_t{1} << 20;
  static constexpr std::size_t kMaxValues = std::size_t{1} << 18;
  static constexpr std::size_t kMaxBatchReplyBytes = std::size_t{16} << 20;

  // The host must outlive this object.
  explicit JsonRpc(const Host& host, SourceAccess access = SourceAccess())
      : host_(host), access_(std::move(access)) {}

  // The reply to one request text; empty when the text holds only notifications.
  std::string Answer(std::string_view request) const;

  // The reply to a text longer than kMaxRequestBytes, which the transport skipped unread.
  static std::string TooLong();

 private:
  const Host& host_;
  const SourceAccess access_;
};

}  // namespace OstraTool

// serve --http: the services of a Host over HTTP/1.1, on cpp-httplib.
//
//   POST /rpc          JSON-RPC 2.0 through JsonRpc, the core of serve --stdio: the reply is 200
//                      (a JSON-RPC error too), 204 when the body held only notifications, 413 when
//                      the body is longer than JsonRpc::kMaxRequestBytes, 415 when it is not
//                      declared application/json (which a web page cannot make a browser send to
//                      another site without asking it first).
//   GET /v1/metadata   ModelDocument, built once per change of the stores (Host::Changes), with
//                      ETag "CRC32 of the body"; If-None-Match with that tag (weak or strong) or *
//                      answers 304 without a body.
//
// Every connection is bounded in time and size (see the limits in http_server.cc): idle and slow
// clients are dropped, headers are capped, and connections beyond what the threads can take are
// turned away with 503 instead of queueing without end. A connection holds a thread only once the
// headers of a request have all arrived: waiting for a request, its first or a later one, and
// for the rest of its headers, it holds none, so idle or slow clients cannot keep the threads
// from others. SIGINT and SIGTERM stop accepting; requests
// already received are answered, then ServeHttp returns kOk.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "jsonrpc.h"

namespace OstraTool {

struct HttpOptions {
  std::string address = "127.0.0.1";  // a numeric address or a host name; IPv6 without brackets
  int port = 0;                       // 0: any free port
  std::size_t threads = 8;            // requests served at once
  bool watch = false;                 // reload each source whose file changes (see SourceWatcher)
  SourceAccess access{false, boost::none};  // no source management unless asked for
};

// Reads "[ADDR:]PORT" ("8080", "0.0.0.0:8080", "[::1]:0") into `options`; false when it is not one.
bool ParseListenAddress(const std::string& text, HttpOptions& options);

// Serves until SIGINT or SIGTERM. The first line on `out` (flushed) is
// "listening on http://ADDR:PORT" with the port bound; problems and failed reloads go to `log`.
// kOk after a signal; kFailed when the address cannot be bound.
int ServeHttp(const Host& host, const HttpOptions& options, std::ostream& out, std::ostream& log);

}  // namespace OstraTool

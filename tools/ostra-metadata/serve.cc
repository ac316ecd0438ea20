// The serve command's transport: newline-delimited JSON-RPC on a pair of streams, one request text
// per line, each answered by JsonRpc.
#include <string>

#include "commands.h"
#include "jsonrpc.h"

namespace OstraTool {
namespace {

// Reads the next line of `in` into `line`, without its newline; false at the end of the input. A
// line longer than `limit` bytes is read to its end but not kept: `line` is left empty and
// `tooLong` set.
bool ReadLine(std::streambuf& in, std::string& line, std::size_t limit, bool& tooLong) {
  using Traits = std::char_traits<char>;
  line.clear();
  tooLong = false;
  Traits::int_type c = in.sbumpc();
  if (Traits::eq_int_type(c, Traits::eof())) return false;
  for (; !Traits::eq_int_type(c, Traits::eof()) && c != '\n'; c = in.sbumpc()) {
    if (tooLong) continue;
    if (line.size() == limit) {
      tooLong = true;
      std::string().swap(line);
      continue;
    }
    line.push_back(Traits::to_char_type(c));
  }
  return true;
}

}  // namespace

int Serve(const Host& host, std::istream& in, std::ostream& out) {
  const JsonRpc rpc(host);
  std::string line;
  bool tooLong = false;
  while (in.rdbuf() != nullptr && ReadLine(*in.rdbuf(), line, JsonRpc::kMaxRequestBytes, tooLong)) {
    std::string reply;
    if (tooLong) {
      reply = JsonRpc::TooLong();
    } else if (line.find_first_not_of(" \t\r") != std::string::npos) {
      reply = rpc.Answer(line);
    }
    if (!reply.empty()) out << reply << std::endl;  // flushed: the peer waits for it
  }
  return kOk;
}

}  // namespace OstraTool

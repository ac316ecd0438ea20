// What the tool tests share: files read whole, arguments quoted for the shell, child processes
// that end with the test, JSON-RPC texts, and `ostra-metadata serve --http` with curl as client.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace OstraTest {

inline std::string Slurp(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// `words` quoted for the shell, each after a space.
inline std::string Quote(const std::vector<std::string>& words) {
  std::string quoted;
  for (const auto& word : words) {
    quoted += " '";
    for (const char c : word)
      quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    quoted += "'";
  }
  return quoted;
}

// A request of `operation` on `method`, a notification without `id`; a FILE source spec; a request
// that creates source "x" from `spec`; the start of an error reply, up to the end of its message.
inline std::string Call(const std::string& method, const std::string& operation,
                        const std::string& input = "{}", const std::string& id = "7") {
  return R"({"jsonrpc":"2.0",)" + (id.empty() ? "" : R"("id":)" + id + ",") + R"("method":")" +
         method + R"(","params":{"operation":")" + operation + R"(","input":)" + input + "}}";
}
inline std::string FileSource(const std::string& path) {
  return R"({"description":"d","type":"FILE","filepath":")" + path + R"("})";
}
inline std::string Create(const std::string& domain, const std::string& spec,
                          const std::string& id = "7") {
  return Call(domain + ".source", "create", R"({"source_id":"x","spec":)" + spec + "}", id);
}
inline std::string Failure(const std::string& id, int code, const std::string& message) {
  return R"({"jsonrpc":"2.0","id":)" + id + R"(,"error":{"code":)" + std::to_string(code) +
         R"(,"message":")" + message + "\"";
}

// Writes `text` to `path` by renaming a new file over it, as editors and deployments do.
inline void Replace(const std::string& path, const std::string& text) {
  std::ofstream(path + ".new", std::ios::binary) << text;
  std::rename((path + ".new").c_str(), path.c_str());
}

// Whether `done` comes true within `seconds`, asked every 50 ms.
template <class Predicate>
bool Eventually(Predicate done, int seconds = 10) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!done() && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return done();
}

// A process in a group of its own, stopped with its group when this ends. Its descriptors `in`
// and `out` (stdin and stdout by default) are pipes to this object; stderr, and stdout when it is
// not a pipe, go to `log`. It inherits no other descriptor: a pipe's write end left open in it
// would keep the reader of that pipe waiting.
class Child {
 public:
  Child(std::vector<std::string> argv, const std::string& log, int in = 0, int out = 1)
      : log_(log) {
    int to[2], from[2];
    if (pipe(to) != 0 || pipe(from) != 0) return;
    std::vector<char*> args;
    for (auto& arg : argv)
      args.push_back(arg.data());
    args.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      setpgid(0, 0);
      const int logFd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      dup2(logFd, 1);
      dup2(logFd, 2);
      dup2(to[0], 100);  // out of the way of `in` and `out`
      dup2(from[1], 101);
      dup2(100, in);
      dup2(101, out);
      for (int fd = 3; fd < 1024; ++fd)
        if (fd != in && fd != out) close(fd);
      execv(args[0], args.data());
      _exit(127);
    }
    close(to[0]);
    close(from[1]);
    to_ = to[1];
    from_ = from[0];
  }
  ~Child() {
    close(to_);
    close(from_);
    if (pid_ <= 0) return;
    kill(-pid_, SIGTERM);
    for (int i = 0; i < 50 && waitpid(pid_, nullptr, WNOHANG) == 0; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  std::string Log() const { return Slurp(log_); }
  void Send(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
      const ssize_t written = write(to_, text.data() + at, text.size() - at);
      if (written <= 0) return;
      at += static_cast<std::size_t>(written);
    }
  }
  // What its `out` writes up to the next `end`, which is dropped; false at the end of the output,
  // after `seconds` without an `end`, and ever after.
  bool Read(std::string& text, int seconds = 60, char end = '\n') {
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + std::chrono::seconds(seconds);
    std::size_t at = 0;
    while (!ended_ && (at = pending_.find(end)) == std::string::npos) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
      pollfd ready{from_, POLLIN, 0};
      char block[65536];
      const ssize_t got = left > 0 && poll(&ready, 1, static_cast<int>(left)) > 0
                              ? read(from_, block, sizeof block)
                              : 0;
      ended_ = got <= 0;
      pending_.append(block, got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    if (ended_) return false;
    text = pending_.substr(0, at);
    pending_.erase(0, at + 1);
    return true;
  }
  // Ends its input, sends `signal` (none if 0) and waits for the end: the exit status, -1 unless
  // it exited; `peakKiB`, when given, is the most memory it held resident.
  int Wait(int signal = 0, long* peakKiB = nullptr) {
    close(to_);
    to_ = -1;
    if (signal != 0) kill(pid_, signal);
    int status = 0;
    rusage usage{};
    wait4(pid_, &status, 0, &usage);
    pid_ = -1;
    if (peakKiB != nullptr) *peakKiB = usage.ru_maxrss;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 protected:
  const std::string log_;

 private:
  pid_t pid_ = -1;
  int to_ = -1, from_ = -1;
  std::string pending_;
  bool ended_ = false;
};

struct Reply {
  int status = 0;
  std::string headers, body;
  std::string Text() const { return std::to_string(status) + " " + body; }
  std::string Header(const std::string& name) const {
    const auto at = headers.find("\n" + name + ": ");
    if (at == std::string::npos) return "<none>";
    const auto start = at + name.size() + 3;
    return headers.substr(start, headers.find('\r', start) - start);
  }
};

// `ostra-metadata` serving HTTP as `argv` tells, stderr in `log`; its URL is what the first line
// it prints says: "listening on http://127.0.0.1:PORT".
class Server : public Child {
 public:
  Server(const std::vector<std::string>& argv, const std::string& log) : Child(argv, log) {
    std::string line;
    if (Read(line, 10) && line.rfind("listening on http://", 0) == 0) url_ = line.substr(13);
  }
  const std::string& Url() const { return url_; }
  // curl with `args` against `path`: the status line's code, headers and body.
  Reply Curl(const std::string& path, const std::vector<std::string>& args = {}) const {
    const std::string headers = log_ + ".headers", body = log_ + ".body";
    std::remove(headers.c_str());
    std::remove(body.c_str());
    std::system(("curl -s --max-time 20 -H 'Expect:'" + Quote({"-D", headers, "-o", body}) +
                 Quote(args) + Quote({url_ + path}))
                    .c_str());
    Reply reply{0, Slurp(headers), Slurp(body)};
    std::sscanf(reply.headers.c_str(), "HTTP/1.1 %d", &reply.status);
    return reply;
  }
  Reply Rpc(const std::string& request, std::vector<std::string> args = {}) const {
    args.insert(args.end(), {"--data-binary", request, "-H", "Content-Type: application/json"});
    return Curl("/rpc", args);
  }

 private:
  std::string url_;
};

}  // namespace OstraTest

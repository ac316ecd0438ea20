// What the tool tests share: files read whole, arguments quoted for the shell, child processes
// that end with the test, and `ostra-metadata serve --http` with curl as its client.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace OstraTest {

inline std::string Slurp(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

inline std::string Quote(const std::string& arg) {
  std::string quoted = "'";
  for (const char c : arg)
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// Reads `fd` into `pending` until it holds `end`, then moves what comes before `end` to `text`;
// false when `fd` ends or `seconds` pass first.
inline bool ReadUntil(int fd, char end, std::string& pending, std::string& text, int seconds) {
  using Clock = std::chrono::steady_clock;
  const auto until = Clock::now() + std::chrono::seconds(seconds);
  std::size_t at = pending.find(end);
  while (at == std::string::npos) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    pollfd ready{fd, POLLIN, 0};
    char block[65536];
    if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) <= 0) return false;
    const ssize_t got = read(fd, block, sizeof block);
    if (got <= 0) return false;
    pending.append(block, static_cast<std::size_t>(got));
    at = pending.find(end, pending.size() - static_cast<std::size_t>(got));
  }
  text = pending.substr(0, at);
  pending.erase(0, at + 1);
  return true;
}

// Whether `done` comes true within `seconds`, asked every 50 ms.
template <class Predicate>
bool Eventually(Predicate done, int seconds = 10) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!done() && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return done();
}

// A process in a group of its own, stopped with its group when this ends. Its stdin and stdout
// are pipes to this object, unless `pipes` is false: then its stdout goes to `log` with its stderr.
// It gets the descriptors of `fds` ({its number, ours}; ours are closed here) and no others: a
// pipe's write end left open in it would keep the reader of that pipe waiting.
class Child {
 public:
  Child(std::vector<std::string> argv, const std::string& log,
        std::vector<std::pair<int, int>> fds = {}, bool pipes = true)
      : log_(log) {
    int in[2], out[2];
    if (pipes && (pipe(in) != 0 || pipe(out) != 0)) return;
    if (pipes) fds.insert(fds.end(), {{0, in[0]}, {1, out[1]}});
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
      for (const auto& [to, from] : fds)
        dup2(from, to);
      for (int fd = 3; fd < 1024; ++fd) {
        if (std::none_of(fds.begin(), fds.end(), [fd](const auto& f) { return f.first == fd; }))
          close(fd);
      }
      execv(args[0], args.data());
      _exit(127);
    }
    for (const auto& fd : fds)
      close(fd.second);
    if (pipes) {
      to_ = in[1];
      from_ = out[0];
    }
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

  void Send(const std::string& line) {
    const std::string text = line + "\n";
    for (std::size_t at = 0; at < text.size();) {
      const ssize_t written = write(to_, text.data() + at, text.size() - at);
      if (written <= 0) return;
      at += static_cast<std::size_t>(written);
    }
  }

  // The next line of its stdout, without its newline; false at the end of the output, after
  // `seconds` without a line, and ever after.
  bool Read(std::string& line, int seconds = 60) {
    ended_ = ended_ || !ReadUntil(from_, '\n', pending_, line, seconds);
    return !ended_;
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
  std::string headers;
  std::string body;
  std::string Header(const std::string& name) const {
    const auto at = headers.find("\n" + name + ": ");
    if (at == std::string::npos) return "<none>";
    const auto start = at + name.size() + 3;
    return headers.substr(start, headers.find('\r', start) - start);
  }
};

inline std::vector<std::string> ToolArgs(std::vector<std::string> args) {
  args.insert(args.begin(), OSTRA_TOOL);
  return args;
}

// `ostra-metadata ARGS` serving HTTP, stderr in `log`; its URL is what the first line it prints
// says: "listening on http://127.0.0.1:PORT".
class Server : public Child {
 public:
  Server(std::vector<std::string> args, const std::string& log)
      : Child(ToolArgs(std::move(args)), log) {
    std::string line;
    if (Read(line, 10) && line.rfind("listening on http://", 0) == 0) url_ = line.substr(13);
  }
  const std::string& Url() const { return url_; }

  // SIGTERM; the exit status, -1 unless the process exited.
  int Stop() { return Wait(SIGTERM); }

  // curl with `args` against `path`: the status line's code, headers and body.
  Reply Curl(const std::string& path, const std::vector<std::string>& args = {}) const {
    const std::string headers = log_ + ".headers", body = log_ + ".body";
    std::remove(headers.c_str());
    std::remove(body.c_str());
    std::string command =
        "curl -s --max-time 20 -H 'Expect:' -D " + Quote(headers) + " -o " + Quote(body);
    for (const auto& arg : args)
      command += " " + Quote(arg);
    std::system((command + " " + Quote(url_ + path)).c_str());
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

#include "http_server.h"

#include <fcntl.h>
#include <httplib.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "commands.h"
#include "explorer.h"
#include "model_document.h"
#include "source_watcher.h"

namespace OstraTool {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

// Limits of every connection. A client that cannot meet them is dropped; a client on a working
// network stays far within them.
constexpr auto kIdleTime = seconds(5);    // waiting for a request, the first one included
constexpr auto kHeaderTime = seconds(5);  // from a request's first byte to the end of its headers
constexpr auto kExchangeTime = seconds(30);  // from a request's first byte to its reply written
constexpr auto kStallTime = seconds(5);      // one read or write without progress
constexpr std::size_t kMaxHeaderBytes = 64 * 1024;  // request line and headers
constexpr std::size_t kRequestsPerConnection = 1000;
// Connections accepted but waiting for a thread: beyond this many, or after waiting this long, a
// connection gets 503 and is closed.
constexpr std::size_t kMaxWaiting = 512;
constexpr auto kMaxWait = seconds(5);
// Connections waiting for their next request (or their first), which hold no thread: beyond this
// many, the one that has waited longest is closed.
constexpr std::size_t kMaxIdle = 512;
// How long a thread with nothing else to do waits for a connection's next request before it lets
// the connection wait without it: a client that sends its requests one after the other is then
// served without a pause.
constexpr auto kLinger = milliseconds(2);
constexpr int kListenBacklog = 512;
constexpr auto kWatchInterval = milliseconds(250);

// Set on the thread that runs a connection, before it runs it: the server is busy, so turn the
// connection away (or park it when it asks nothing yet).
thread_local bool t_turnAway = false;
// Set while a request is answered: close the connection after the answer (the request was not
// read whole, so what follows it cannot be trusted to start a request).
thread_local bool t_closeAfter = false;

// Finds the end of a request's headers, the blank line after them, byte by byte, and counts the
// bytes up to it.
struct HeaderScan {
  std::size_t bytes = 0, lineBytes = 0;
  bool inHeaders = true;

  // Takes the next byte of the headers; false when they pass kMaxHeaderBytes with it.
  bool Take(char c) {
    if (++bytes > kMaxHeaderBytes) return false;
    if (c == '\n') {
      inHeaders = lineBytes != 0;  // a blank line ends the headers
      lineBytes = 0;
    } else if (c != '\r') {
      ++lineBytes;
    }
    return true;
  }
  // Takes `text` up to the end of the headers; false when they pass kMaxHeaderBytes.
  bool Take(std::string_view text) {
    for (std::size_t i = 0; i < text.size() && inHeaders; ++i) {
      if (!Take(text[i])) return false;
    }
    return true;
  }
};

constexpr std::size_t kReadBlock = 16 * 1024;  // read from a socket at once

// Appends to `into` what one recv() of at most kReadBlock bytes brings; answers recv()'s count: 0
// at the end of the stream, -1 on an error or, with MSG_DONTWAIT, when nothing has come yet.
ssize_t Receive(int socket, std::string& into, int flags) {
  const std::size_t had = into.size();
  into.resize(had + kReadBlock);
  const ssize_t got = recv(socket, &into[had], kReadBlock, flags);
  into.resize(had + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  return got;
}

// Whether Receive() without waiting found nothing yet, rather than an end or an error.
bool NothingYet(ssize_t got) {
  return got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

// The worker threads, with a bounded wait for them (see kMaxWaiting, kMaxWait), and the
// connections between requests, which wait without holding a thread: a poller gathers the
// headers of a connection's next request and gives the connection back to the queue once they are
// all there. It closes a connection that sends nothing for kIdleTime, that has not finished its
// headers kHeaderTime after their first byte, that kMaxIdle others have come after, or that is
// still waiting when the pool shuts down. So clients that connect and send nothing, or send their
// headers slowly, cannot keep the threads from those that ask.
class BoundedPool : public httplib::TaskQueue {
 public:
  // Serves `socket`, which has `served` requests behind it and `pending` bytes of the next one
  // read already, its first at `firstByte`.
  using Resume = std::function<void(int socket, std::size_t served, std::string pending,
                                    Clock::time_point firstByte)>;

  BoundedPool(std::size_t threads, Resume resume) : resume_(std::move(resume)) {
    if (pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0) wake_[0] = wake_[1] = -1;
    for (std::size_t i = 0; i < threads; ++i)
      threads_.emplace_back([this] { Work(); });
    poller_ = std::thread([this] { Watch(); });
  }
  ~BoundedPool() override {
    for (const int end : wake_) {
      if (end >= 0) close(end);
    }
  }

  void enqueue(std::function<void()> job) override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (jobs_.size() < kMaxWaiting) {
        jobs_.push_back({std::move(job), Clock::now()});
        ready_.notify_one();
        return;
      }
    }
    t_turnAway = true;  // on the enqueuing thread, which only parks the connection or writes 503
    job();
    t_turnAway = false;
  }

  // Whether connections are waiting for a thread.
  bool Busy() {
    std::lock_guard<std::mutex> lock(mutex_);
    return !jobs_.empty();
  }

  // Keeps `socket` until the headers of its next request have arrived; `pending` holds the bytes
  // of it read already (the first at `firstByte`). Closes the socket once the pool shuts down.
  void Park(int socket, std::size_t served, std::string pending = std::string(),
            Clock::time_point firstByte = Clock::time_point()) {
    Idle idle{socket, served, std::move(pending), firstByte, HeaderScan(), Clock::time_point()};
    idle.scan.Take(idle.pending);
    idle.until = idle.pending.empty() ? Clock::now() + kIdleTime : firstByte + kHeaderTime;
    {
      std::lock_guard<std::mutex> lock(idleMutex_);
      if (!closing_) {
        idle_.push_back(std::move(idle));
        socket = -1;
      }
    }
    if (socket >= 0) {
      close(socket);
    } else {
      WakePoller();
    }
  }

  // Closes the waiting connections, runs what is queued, then ends the threads.
  void shutdown() override {
    {
      std::lock_guard<std::mutex> lock(idleMutex_);
      closing_ = true;
    }
    WakePoller();
    poller_.join();
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    ready_.notify_all();
    for (auto& thread : threads_)
      thread.join();
  }

 private:
  struct Job {
    std::function<void()> run;
    Clock::time_point queued;
  };
  struct Idle {
    int socket;
    std::size_t served;
    std::string pending;  // bytes of the next request
    Clock::time_point firstByte;
    HeaderScan scan;          // of `pending`
    Clock::time_point until;  // when it is closed
  };

  // Reads what has arrived on `idle`; whether it is to be served now (its headers are all there,
  // or too long to wait for) rather than closed (the end of the stream, an error) or kept.
  enum class Arrival { kServe, kClose, kKeep };
  static Arrival Read(Idle& idle) {
    const std::size_t had = idle.pending.size();
    const ssize_t got = Receive(idle.socket, idle.pending, MSG_DONTWAIT);
    if (NothingYet(got)) return Arrival::kKeep;
    if (got <= 0) return Arrival::kClose;  // nothing more will come to answer
    if (had == 0) {
      idle.firstByte = Clock::now();
      idle.until = idle.firstByte + kHeaderTime;
    }
    const bool fits = idle.scan.Take(std::string_view(idle.pending).substr(had));
    return !fits || !idle.scan.inHeaders ? Arrival::kServe : Arrival::kKeep;
  }

  void Work() {
    for (;;) {
      Job job;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        ready_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
        if (jobs_.empty()) return;
        job = std::move(jobs_.front());
        jobs_.pop_front();
      }
      t_turnAway = Clock::now() - job.queued > kMaxWait;
      job.run();
    }
  }

  void WakePoller() {
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wake_[1], &byte, 1);  // full: awake already
  }

  // The poller. Only it takes connections out of idle_; Park adds them at the back, so the
  // connections polled are the first ones of idle_ when the poll returns.
  void Watch() {
    std::vector<pollfd> polled;
    std::vector<Idle> ready;
    for (;;) {
      // Without a pipe (none could be made) the poller looks every few milliseconds instead.
      auto until = Clock::now() + (wake_[0] >= 0 ? kIdleTime : milliseconds(5));
      polled.assign(1, pollfd{wake_[0], POLLIN, 0});
      {
        std::lock_guard<std::mutex> lock(idleMutex_);
        if (closing_) break;
        for (const Idle& idle : idle_) {
          polled.push_back(pollfd{idle.socket, POLLIN, 0});
          until = std::min(until, idle.until);
        }
      }
      const auto wait = std::chrono::duration_cast<milliseconds>(until - Clock::now()).count();
      if (poll(polled.data(), polled.size(), static_cast<int>(std::max<long long>(wait, 0) + 1)) <
          0) {
        std::this_thread::sleep_for(milliseconds(1));  // EINTR, or out of memory for a moment
        continue;
      }
      for (char drained[64]; read(wake_[0], drained, sizeof drained) > 0;) {
      }
      ready.clear();
      {
        std::lock_guard<std::mutex> lock(idleMutex_);
        if (closing_) break;
        const auto now = Clock::now();
        std::deque<Idle> kept;
        for (std::size_t i = 0; i < idle_.size(); ++i) {
          Idle& idle = idle_[i];
          const Arrival arrival =
              i + 1 < polled.size() && polled[i + 1].revents != 0 ? Read(idle) : Arrival::kKeep;
          if (arrival == Arrival::kServe) {
            ready.push_back(std::move(idle));
          } else if (arrival == Arrival::kClose || idle.until <= now) {
            close(idle.socket);
          } else {
            kept.push_back(std::move(idle));
          }
        }
        for (; kept.size() > kMaxIdle; kept.pop_front())
          close(kept.front().socket);
        idle_.swap(kept);
      }
      for (Idle& idle : ready) {
        enqueue([this, socket = idle.socket, served = idle.served,
                 pending = std::move(idle.pending), firstByte = idle.firstByte]() mutable {
          resume_(socket, served, std::move(pending), firstByte);
        });
      }
    }
    std::lock_guard<std::mutex> lock(idleMutex_);
    for (const Idle& idle : idle_)
      close(idle.socket);
    idle_.clear();
  }

  const Resume resume_;
  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<Job> jobs_;   // guarded by mutex_
  bool stopping_ = false;  // guarded by mutex_
  std::vector<std::thread> threads_;
  std::mutex idleMutex_;
  std::deque<Idle> idle_;   // guarded by idleMutex_, in the order parked
  bool closing_ = false;    // guarded by idleMutex_
  int wake_[2] = {-1, -1};  // a pipe: a byte written wakes the poller
  std::thread poller_;
};

// A connection's socket as cpp-httplib reads and writes it, within the limits above. Reads are
// buffered; the bytes of a request up to the blank line after its headers are counted.
class ConnectionStream : public httplib::Stream {
 public:
  // `pending`: bytes read from the socket already.
  ConnectionStream(int socket, std::string pending)
      : socket_(socket), buffer_(std::move(pending)) {}

  // Whether bytes of a request (or the end of the stream) are there, or arrive within `linger`.
  bool HasRequest(Clock::duration linger) const {
    return begin_ < buffer_.size() || Poll(POLLIN, Clock::now() + linger) != 0;
  }

  // Whether the headers of the next request have all arrived, reading what is there without
  // waiting; true as well for what a thread must answer at once: headers over kMaxHeaderBytes,
  // the end of the stream, an error.
  bool HeadersArrived() {
    for (;;) {
      HeaderScan scan;
      if (!scan.Take(Unread()) || !scan.inHeaders) return true;
      buffer_.erase(0, begin_);
      begin_ = 0;
      const ssize_t got = Receive(socket_, buffer_, MSG_DONTWAIT);
      if (got <= 0) return !NothingYet(got);
    }
  }

  // The bytes read and not yet taken.
  std::string_view Unread() const { return std::string_view(buffer_).substr(begin_); }

  // The deadlines of a new request count from `firstByte`, when its first byte came.
  void BeginRequest(Clock::time_point firstByte) {
    started_ = firstByte;
    scan_ = HeaderScan();
  }

  bool is_readable() const override {
    return begin_ < buffer_.size() || Poll(POLLIN, ReadDeadline()) > 0;
  }
  bool is_writable() const override { return Poll(POLLOUT, WriteDeadline()) > 0; }

  ssize_t read(char* data, size_t size) override {
    if (begin_ == buffer_.size()) {
      if (Poll(POLLIN, ReadDeadline()) <= 0) return -1;
      buffer_.clear();
      begin_ = 0;
      const ssize_t got = Receive(socket_, buffer_, 0);
      if (got <= 0) return got;
    }
    const std::size_t count = std::min(size, buffer_.size() - begin_);
    if (!scan_.Take(std::string_view(buffer_).substr(begin_, count))) return -1;
    std::memcpy(data, buffer_.data() + begin_, count);
    begin_ += count;
    return static_cast<ssize_t>(count);
  }

  ssize_t write(const char* data, size_t size) override {
    if (Poll(POLLOUT, WriteDeadline()) <= 0) return -1;
    return send(socket_, data, size, MSG_NOSIGNAL);
  }

  void get_remote_ip_and_port(std::string& ip, int& port) const override {
    Address(getpeername, ip, port);
  }
  void get_local_ip_and_port(std::string& ip, int& port) const override {
    Address(getsockname, ip, port);
  }
  socket_t socket() const override { return socket_; }

 private:
  Clock::time_point ReadDeadline() const {
    return std::min(Clock::now() + kStallTime,
                    started_ + (scan_.inHeaders ? kHeaderTime : kExchangeTime));
  }
  Clock::time_point WriteDeadline() const {
    return std::min(Clock::now() + kStallTime, started_ + kExchangeTime);
  }

  // poll() for `events` until `until`: >0 ready, 0 timed out, <0 failed.
  int Poll(short events, Clock::time_point until) const {
    for (;;) {
      const auto left = std::chrono::duration_cast<milliseconds>(until - Clock::now()).count();
      pollfd entry{socket_, events, 0};
      const int ready = poll(&entry, 1, static_cast<int>(std::max<long long>(left, 0)));
      if (ready < 0 && errno == EINTR) continue;
      if (ready > 0 && (entry.revents & (POLLERR | POLLNVAL)) != 0) return -1;
      return ready;
    }
  }

  template <class Name>
  void Address(Name name, std::string& ip, int& port) const {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    char host[NI_MAXHOST] = "", service[NI_MAXSERV] = "";
    if (name(socket_, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
        getnameinfo(reinterpret_cast<sockaddr*>(&address), length, host, sizeof host, service,
                    sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
      ip = host;
      port = std::atoi(service);
    }
  }

  const int socket_;
  std::string buffer_;
  std::size_t begin_ = 0;  // buffer_ is read up to here
  Clock::time_point started_ = Clock::now();
  HeaderScan scan_;  // of the request being read
};

// Whether bytes (or the end of the stream) can be read from `socket` without waiting.
bool HasBytes(int socket) {
  pollfd entry{socket, POLLIN, 0};
  return poll(&entry, 1, 0) != 0;
}

// cpp-httplib's server with each connection run on a ConnectionStream, and a stop that lets the
// requests already received finish.
class GuardedServer : public httplib::Server {
 public:
  explicit GuardedServer(std::size_t threads) {
    set_payload_max_length(JsonRpc::kMaxRequestBytes);
    set_keep_alive_max_count(kRequestsPerConnection);
    new_task_queue = [this, threads] {
      pool_ = new BoundedPool(threads, [this](int socket, std::size_t served, std::string pending,
                                              Clock::time_point firstByte) {
        Serve(socket, served, std::move(pending), firstByte);
      });
      return pool_;
    };
  }

  // Binds; the port bound, or -1.
  int Bind(const std::string& address, int port) {
    const int bound =
        port == 0 ? bind_to_any_port(address) : (bind_to_port(address, port) ? port : -1);
    if (bound >= 0) ::listen(svr_sock_, kListenBacklog);  // a deeper queue than cpp-httplib's
    return bound;
  }

  // Stops accepting; connections end once their request in progress is answered.
  void Stop() {
    stopping_ = true;
    stop();
  }

 private:
  bool process_and_close_socket(socket_t socket) override {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return Serve(socket, 0, std::string(), Clock::time_point());
  }

  // Answers the requests of a connection that has `served` behind it (and `pending` bytes of the
  // next one, which began at `firstByte`), until it has none whose headers are all there: then it
  // waits in the pool without a thread (or is closed when stopping).
  bool Serve(int socket, std::size_t served, std::string pending, Clock::time_point firstByte) {
    bool ok = true;
    if (t_turnAway) {
      // Busy: a connection that asks nothing yet costs no thread to keep; one that asks is told.
      if (pending.empty() && !stopping_ && !HasBytes(socket)) {
        pool_->Park(socket, served);
        return ok;
      }
      static constexpr char kBusy[] =
          "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
      ok = send(socket, kBusy, sizeof kBusy - 1, MSG_NOSIGNAL | MSG_DONTWAIT) > 0;
    } else {
      ConnectionStream stream(socket, std::move(pending));
      for (; served < kRequestsPerConnection; ++served) {
        if (!stream.HasRequest(pool_->Busy() ? Clock::duration::zero() : kLinger)) {
          if (stopping_) break;
          pool_->Park(socket, served);
          return ok;
        }
        if (firstByte == Clock::time_point()) firstByte = Clock::now();  // a request begins
        if (!stream.HeadersArrived()) {
          if (stopping_) break;
          pool_->Park(socket, served, std::string(stream.Unread()), firstByte);
          return ok;
        }
        stream.BeginRequest(firstByte);
        firstByte = Clock::time_point();
        const bool last = stopping_ || served + 1 == kRequestsPerConnection;
        bool closed = false;
        t_closeAfter = false;
        ok = process_request(stream, last, closed, nullptr);
        if (!ok || closed || last || t_closeAfter) break;
      }
    }
    shutdown(socket, SHUT_RDWR);
    close(socket);
    return ok;
  }

  std::atomic<bool> stopping_{false};
  BoundedPool* pool_ = nullptr;  // made when listening starts, before any connection is served
};

// The model document of the host's current stores, with its ETag; rebuilt once per change.
class ModelCache {
 public:
  struct Snapshot {
    std::uint64_t changes;
    std::string body;
    std::string etag;
  };

  explicit ModelCache(const Host& host) : host_(host) {}

  std::shared_ptr<const Snapshot> Current() {
    if (auto snapshot = Fresh()) return snapshot;
    std::lock_guard<std::mutex> building(build_);
    if (auto snapshot = Fresh()) return snapshot;   // built while this thread waited
    const std::uint64_t changes = host_.Changes();  // before reading: a later change rebuilds
    auto snapshot = std::make_shared<Snapshot>();
    snapshot->changes = changes;
    snapshot->body = ModelDocument(host_);
    Ostra::CRC32 crc;
    crc.Update(snapshot->body);
    snapshot->etag = "\"" + crc.Hexdigest() + "\"";
    std::lock_guard<std::mutex> lock(mutex_);
    snapshot_ = snapshot;
    return snapshot;
  }

 private:
  std::shared_ptr<const Snapshot> Fresh() const {
    std::lock_guard<std::mutex> lock(mutex_);
    if (snapshot_ && snapshot_->changes == host_.Changes()) return snapshot_;
    return nullptr;
  }

  const Host& host_;
  std::mutex build_;  // one build at a time
  mutable std::mutex mutex_;
  std::shared_ptr<const Snapshot> snapshot_;  // guarded by mutex_
};

// Whether an If-None-Match value (a list of entity tags, or *) names `etag`. Tags compare weakly:
// W/"x" matches "x".
bool NoneMatchNames(const std::string& value, const std::string& etag) {
  std::size_t at = 0;
  while (at < value.size()) {
    at = value.find_first_not_of(" \t,", at);
    if (at == std::string::npos) break;
    if (value[at] == '*') return true;
    if (value.compare(at, 2, "W/") == 0) at += 2;
    if (at >= value.size() || value[at] != '"') return false;  // not a list of tags
    const std::size_t close = value.find('"', at + 1);
    if (close == std::string::npos) return false;
    if (value.compare(at, close + 1 - at, etag) == 0) return true;
    at = close + 1;
  }
  return false;
}

// Whether a request's body is declared JSON. JSON-RPC bodies must be: a web page can make a browser
// send a form or plain text to any address without asking, but not JSON.
bool IsJson(const httplib::Request& request) {
  std::string type = request.get_header_value("Content-Type");
  type = type.substr(0, type.find(';'));
  type.erase(type.find_last_not_of(" \t") + 1);
  std::transform(type.begin(), type.end(), type.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return type == "application/json";
}

// The reason phrase of the errors this server answers.
const char* Reason(int status) {
  switch (status) {
    case 400:
      return "Bad Request";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 413:
      return "Payload Too Large";
    case 414:
      return "URI Too Long";
    case 415:
      return "Unsupported Media Type";
    case 416:
      return "Range Not Satisfiable";
    default:
      return "Error";
  }
}

// The routes: what each path answers to which method, and the headers of its answers. Every
// response also gets kCommonHeaders, and errors a body from ErrorBody.
class Routes {
 public:
  Routes(const Host& host, const SourceAccess& access) : rpc_(host, access), model_(host) {}

  void Register(httplib::Server& server) {
    using Handle = void (Routes::*)(const httplib::Request&, httplib::Response&);
    struct Route {
      const char* method;
      const char* path;
      Handle handle;
      httplib::Headers headers;
    };
    // A new page or endpoint is one line here: its method, path, handler and the headers its
    // answers carry (a Content-Security-Policy, for instance).
    const Route routes[] = {
        {"POST", "/rpc", &Routes::Rpc, {{"Cache-Control", "no-store"}}},
        {"GET", "/v1/metadata", &Routes::Metadata, {{"Cache-Control", "no-cache"}}},
        {"GET", "/", &Routes::Explorer, ExplorerHeaders()},
        {"GET", "/explorer.js", &Routes::Explorer, ExplorerHeaders()},
        {"GET", "/explorer.css", &Routes::Explorer, ExplorerHeaders()},
        {"GET", "/favicon.svg", &Routes::Explorer, ExplorerHeaders()},
    };
    for (const Route& route : routes) {
      const auto handler = [this, route](const httplib::Request& request,
                                         httplib::Response& response) {
        for (const auto& header : route.headers)
          response.set_header(header.first, header.second);
        (this->*route.handle)(request, response);
      };
      if (std::strcmp(route.method, "GET") == 0) {
        server.Get(route.path, handler);
      } else {
        server.Post(route.path, handler);
      }
      allowed_[route.path] = route.method;
    }
    server.set_default_headers({{"X-Content-Type-Options", "nosniff"}});
    server.set_error_handler([this](const httplib::Request& request, httplib::Response& response) {
      ErrorBody(request, response);
    });
  }

 private:
  void Rpc(const httplib::Request& request, httplib::Response& response) {
    if (!IsJson(request)) {
      response.status = 415;
      return;
    }
    const std::string reply = rpc_.Answer(request.body);
    if (reply.empty()) {
      response.status = 204;  // notifications only
      return;
    }
    response.set_content(reply, "application/json");
  }

  void Metadata(const httplib::Request& request, httplib::Response& response) {
    const auto snapshot = model_.Current();
    response.set_header("ETag", snapshot->etag);
    for (std::size_t i = 0; i < request.get_header_value_count("If-None-Match"); ++i) {
      if (NoneMatchNames(request.get_header_value("If-None-Match", i), snapshot->etag)) {
        response.status = 304;  // cpp-httplib adds "Content-Length: 0", which clients ignore
        return;
      }
    }
    SendUncompressed(response, snapshot->body, "application/json", snapshot);
  }

  // The explorer's page, script and style sheet, with an ETag of their own.
  void Explorer(const httplib::Request& request, httplib::Response& response) {
    const ExplorerFile* file = FindExplorerFile(request.path);
    if (!file) {  // a path the route's pattern matched but that is not one of the files
      response.status = 404;
      return;
    }
    response.set_header("ETag", file->etag);
    for (std::size_t i = 0; i < request.get_header_value_count("If-None-Match"); ++i) {
      if (NoneMatchNames(request.get_header_value("If-None-Match", i), file->etag)) {
        response.status = 304;
        return;
      }
    }
    SendUncompressed(response, file->body, file->type, nullptr);
  }

  // Answers `body`, which `owner` keeps alive, as it is. cpp-httplib compresses a body set with
  // set_content anew for every request, with brotli whenever the client accepts it, as every
  // browser does: 0.3 s for 40 KB, over a minute for a model of 20 MB, which a browser then never
  // received. A body that a provider of known length gives is written as it is, without a copy.
  static void SendUncompressed(httplib::Response& response, std::string_view body, const char* type,
                               std::shared_ptr<const void> owner) {
    response.set_content_provider(
        body.size(), type,
        [body, owner](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
          return sink.write(body.data() + offset, length);
        });
  }

  static httplib::Headers ExplorerHeaders() {
    return {{"Cache-Control", "no-cache"},
            {"Content-Security-Policy", kExplorerPolicy},
            {"Referrer-Policy", "no-referrer"}};
  }

  // The body of a response that cpp-httplib or a route made an error of. Any error but a path or
  // method that is not served ends the connection.
  void ErrorBody(const httplib::Request& request, httplib::Response& response) const {
    const auto route = allowed_.find(request.path);
    if (response.status == 404 && route != allowed_.end()) {
      response.status = 405;
      response.set_header("Allow", route->second);
    }
    if (response.status != 404 && response.status != 405) {
      t_closeAfter = true;
      response.set_header("Connection", "close");
    }
    // cpp-httplib refuses form bodies beyond 8 KiB with 413 before the route could say 415.
    if (response.status == 413 && !IsJson(request)) response.status = 415;
    if (response.status == 413) response.set_content(JsonRpc::TooLong(), "application/json");
    if (response.status == 415) {
      response.set_content("415 Unsupported Media Type: POST /rpc takes application/json\n",
                           "text/plain");
    }
    if (response.body.empty()) {
      response.set_content(std::to_string(response.status) + " " + Reason(response.status) + "\n",
                           "text/plain");
    }
  }

  const JsonRpc rpc_;
  ModelCache model_;
  std::map<std::string, std::string> allowed_;  // path -> its method
};

// Blocks SIGINT and SIGTERM in the calling thread and every thread it starts after, so that only
// Wait() receives them.
class StopSignals {
 public:
  StopSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, &previous_);
  }
  ~StopSignals() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

  // Waits for a signal or for `done`.
  void Wait(const std::atomic<bool>& done) const {
    const timespec tick{0, 100 * 1000 * 1000};
    while (!done) {
      if (sigtimedwait(&signals_, nullptr, &tick) > 0) return;
    }
  }

 private:
  sigset_t signals_, previous_;
};

}  // namespace

bool ParseListenAddress(const std::string& text, HttpOptions& options) {
  std::string address = options.address, port = text;
  const auto colon = text.rfind(':');
  if (colon != std::string::npos) {
    address = text.substr(0, colon);
    port = text.substr(colon + 1);
    if (address.size() > 2 && address.front() == '[' && address.back() == ']') {
      address = address.substr(1, address.size() - 2);
    } else if (address.find(':') != std::string::npos) {
      return false;  // an IPv6 address goes in brackets
    }
  }
  if (address.empty() || port.empty() || port.size() > 5 ||
      port.find_first_not_of("0123456789") != std::string::npos || std::stoi(port) > 65535) {
    return false;
  }
  options.address = address;
  options.port = std::stoi(port);
  return true;
}

int ServeHttp(const Host& host, const HttpOptions& options, std::ostream& out, std::ostream& log) {
  const StopSignals signals;  // before any thread starts
  GuardedServer server(options.threads);
  Routes routes(host, options.access);
  routes.Register(server);

  const int port = server.Bind(options.address, options.port);
  if (port < 0) {
    log << "ostra-metadata: cannot listen on " << options.address << ":" << options.port << "\n";
    return kFailed;
  }
  const bool v6 = options.address.find(':') != std::string::npos;
  out << "listening on http://" << (v6 ? "[" + options.address + "]" : options.address) << ":"
      << port << std::endl;

  std::atomic<bool> done{false};
  std::thread watcher;
  if (options.watch) {
    watcher = std::thread([&host, &log, &done] {
      SourceWatcher watch(host, log);
      while (!done) {
        watch.Poll();
        std::this_thread::sleep_for(kWatchInterval);
      }
    });
  }
  std::thread stopper([&] {
    signals.Wait(done);
    server.Stop();
  });
  server.listen_after_bind();  // returns once stopped and every connection has ended
  done = true;
  stopper.join();
  if (watcher.joinable()) watcher.join();
  return kOk;
}

}  // namespace OstraTool

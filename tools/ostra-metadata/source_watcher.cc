#include "source_watcher.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <set>

#include "report.h"

namespace OstraTool {
namespace {

// The fingerprint a source has when it holds the file at `path` as it is now: the CRC32 of the
// file's fingerprint text; empty when it is not a regular file that can be read. Opened without
// waiting, so that a pipe put in the file's place cannot hold the caller.
std::string FileFingerprint(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::string();
  struct stat info {};
  Ostra::CRC32 bytes;
  bool read_all = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  char block[64 * 1024];
  while (read_all) {
    const ssize_t got = read(fd, block, sizeof block);
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    read_all = got > 0;
    if (read_all) bytes.Update(block, static_cast<std::size_t>(got));
  }
  close(fd);
  if (!read_all) return std::string();
  Ostra::CRC32 crc;
  crc.Update(bytes.Hexdigest());
  return crc.Hexdigest();
}

}  // namespace

bool SourceWatcher::FileState::operator==(const FileState& other) const {
  const auto same = [](const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  };
  return mode == other.mode && device == other.device && inode == other.inode &&
         size == other.size && same(modified, other.modified) && same(changed, other.changed);
}

SourceWatcher::FileState SourceWatcher::Look(const std::string& path) {
  struct stat info {};
  FileState state;
  if (stat(path.c_str(), &info) != 0) return state;
  state.mode = info.st_mode;
  state.device = info.st_dev;
  state.inode = info.st_ino;
  state.size = info.st_size;
  state.modified = info.st_mtim;
  state.changed = info.st_ctim;
  return state;
}

void SourceWatcher::Poll() {
  const auto model = host_.Model();
  std::set<std::pair<Domain, std::string>> present;
  const auto look = [&](Domain domain, const auto& store) {
    for (const auto& id : store->ListSources()) {
      const auto info = store->SourcesInfo(id);
      if (!info || !info->filepath) continue;
      present.emplace(domain, id);
      Check(domain, id, *info->filepath);
    }
  };
  look(Domain::kMetamodel, model.metamodel);
  look(Domain::kAuthentication, model.authentication);
  look(Domain::kCli, model.cli);
  for (auto it = seen_.begin(); it != seen_.end();) {
    it = present.count(it->first) != 0 ? std::next(it) : seen_.erase(it);
  }
}

void SourceWatcher::Check(Domain domain, const std::string& id, const std::string& path) {
  const FileState now = Look(path);
  const bool readable = now.mode == 0 || S_ISREG(now.mode);  // missing files fail at once
  const auto seen = seen_.find({domain, id});
  if (seen == seen_.end()) {
    // A new source: its file may have changed since the source read it.
    seen_.emplace(std::make_pair(domain, id), now);
    if (!readable || Fingerprint(domain, id) == FileFingerprint(path)) return;
  } else {
    if (seen->second == now) return;
    seen->second = now;
    if (!readable) {
      log_ << "ostra-metadata: " << DomainName(domain) << " source " << id
           << " not reloaded: " << path << " is not a regular file" << std::endl;
      return;
    }
  }
  if (host_.Reload(domain, id)) return;  // the source was deleted meanwhile
  if (Fingerprint(domain, id) == FileFingerprint(path)) return;
  // Either the file does not load, or it changed again since the reload (the next look reloads
  // it). Loading it apart tells which, and why.
  Host scratch;
  const auto error = scratch.Load(domain, id, path);
  if (!error) return;
  log_ << "ostra-metadata: " << DomainName(domain) << " source " << id << " kept its old data; "
       << path << " does not load:\n";
  PrintMessages(log_, "  ", Ostra::Data::ErrorFactory::GetMessages(*error));
  log_.flush();
}

std::string SourceWatcher::Fingerprint(Domain domain, const std::string& id) const {
  const auto model = host_.Model();
  switch (domain) {
    case Domain::kMetamodel:
      return model.metamodel->SourceFingerprint(id);
    case Domain::kAuthentication:
      return model.authentication->SourceFingerprint(id);
    case Domain::kCli:
      return model.cli->SourceFingerprint(id);
  }
  return std::string();
}

}  // namespace OstraTool

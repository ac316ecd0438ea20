// SourceWatcher: reloads each source of a Host whose file changes on disk.
//
// Poll() looks at the file of every source of the three stores (sources come and go, so the list is
// read each time). A file whose identity, size or times changed since the last look, by a write
// or by a rename over it, has its source reloaded by id (Host::Reload, the store's ReloadSource).
// The store's reload keeps a source's old data when the new file does not load and says nothing;
// Poll tells it apart by comparing the source's fingerprint with the CRC32 of the file's bytes, and
// writes such a reload to the log with the reason the file does not load. A file that is not a
// regular one (a pipe, a device) is neither read nor reloaded: reading it could wait for ever.
// One thread polls.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <map>
#include <ostream>
#include <string>
#include <utility>

#include "host.h"

namespace OstraTool {

class SourceWatcher {
 public:
  // The host and the log must outlive the watcher.
  SourceWatcher(const Host& host, std::ostream& log) : host_(host), log_(log) {}

  // One look at every source's file; the first look at a source notes its file, and reloads the
  // source only when the file no longer holds what the source was loaded from.
  void Poll();

 private:
  // What a look at a file tells of it; all zero when it is missing.
  struct FileState {
    mode_t mode = 0;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};
    bool operator==(const FileState& other) const;
  };
  static FileState Look(const std::string& path);

  void Check(Domain domain, const std::string& id, const std::string& path);
  // The source's fingerprint as SourceSvc fingerprint answers it.
  std::string Fingerprint(Domain domain, const std::string& id) const;

  const Host& host_;
  std::ostream& log_;
  std::map<std::pair<Domain, std::string>, FileState> seen_;
};

}  // namespace OstraTool

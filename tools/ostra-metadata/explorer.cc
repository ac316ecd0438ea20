#include "explorer.h"

#include <cstring>
#include <map>

#include "ostra/core/crc32.h"

namespace OstraTool {
namespace {

// The path each file of explorer/ is served at, and its type.
struct Route {
  const char* path;
  const char* file;
  const char* type;
};
constexpr Route kRoutes[] = {
    {"/", "index.html", "text/html; charset=utf-8"},
    {"/explorer.js", "explorer.js", "text/javascript; charset=utf-8"},
    {"/explorer.css", "explorer.css", "text/css; charset=utf-8"},
    {"/favicon.svg", "favicon.svg", "image/svg+xml"},
};

std::map<std::string, ExplorerFile> MakeFiles() {
  std::map<std::string, ExplorerFile> files;
  for (const Route& route : kRoutes) {
    for (std::size_t i = 0; i < kEmbeddedFileCount; ++i) {
      if (std::strcmp(kEmbeddedFiles[i].name, route.file) != 0) continue;
      Ostra::CRC32 crc;
      crc.Update(kEmbeddedFiles[i].bytes.data(), kEmbeddedFiles[i].bytes.size());
      files[route.path] = {kEmbeddedFiles[i].bytes, route.type, "\"" + crc.Hexdigest() + "\""};
    }
  }
  return files;
}

}  // namespace

const char kExplorerPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

const ExplorerFile* FindExplorerFile(const std::string& path) {
  static const std::map<std::string, ExplorerFile> files = MakeFiles();
  const auto file = files.find(path);
  return file == files.end() ? nullptr : &file->second;
}

}  // namespace OstraTool

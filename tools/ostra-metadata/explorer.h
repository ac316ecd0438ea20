// The explorer of serve --http: one page, with its script and style sheet, that shows the host's
// model from GET /v1/metadata in a browser. Its files live in explorer/ and are built into the
// binary (explorer/embed.cmake), so the page needs nothing but this server.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace OstraTool {

// A file of explorer/ as built into the binary (the generated explorer_files.cc).
struct EmbeddedFile {
  const char* name;
  std::string_view bytes;
};
extern const EmbeddedFile kEmbeddedFiles[];
extern const std::size_t kEmbeddedFileCount;

// What the server answers at one of the explorer's paths.
struct ExplorerFile {
  std::string_view body;
  const char* type;  // its Content-Type
  std::string etag;  // the quoted CRC32 of the body
};

// The file served at `path`: "/" (the page), "/explorer.js", "/explorer.css", "/favicon.svg";
// null for any other.
const ExplorerFile* FindExplorerFile(const std::string& path);

// The Content-Security-Policy of the explorer's responses: script, style, data and images from
// the page's own origin only; no inline script or style, no plugins, frames or form posts.
extern const char kExplorerPolicy[];

}  // namespace OstraTool

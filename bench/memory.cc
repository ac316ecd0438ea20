// ostra-memory [documented|dense] [MiB]: resident memory that a loaded Metamodel source of the
// given shape and size (default: documented, 10 MiB) costs, and the peak while it loads, as
// multiples of the file size. Linux only: reads /proc/self/status and resets the peak through
// /proc/self/clear_refs.
#include <malloc.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include "generator.h"
#include "ostra/metadata_services.h"

namespace {

// Bytes the allocator has handed out and not taken back.
std::size_t HeapInUse() {
  return mallinfo2().uordblks;
}

// A field of /proc/self/status in KiB ("VmRSS", "VmHWM").
long StatusKiB(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field + ":", 0) == 0) return std::stol(line.substr(field.size() + 1));
  }
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string shapeName = argc > 1 ? argv[1] : "documented";
  if (shapeName != "documented" && shapeName != "dense") {
    std::cerr << "usage: ostra-memory [documented|dense] [MiB]\n";
    return 2;
  }
  const auto shape =
      shapeName == "dense" ? OstraBench::Shape::kDense : OstraBench::Shape::kDocumented;
  const std::size_t mib = argc > 2 ? std::stoul(argv[2]) : 10;
  std::string path;
  std::size_t size = 0;
  {
    const std::string text =
        OstraBench::MetamodelDocument(mib * OstraBench::kMiB, "com.bench", shape);
    size = text.size();
    path = OstraBench::WriteTemp("memory-metamodel.json", text);
  }
  auto store = Ostra::Provider::Metadata::Metamodel::MetadataContainer::GetInstance();
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
  const long before = StatusKiB("VmRSS");
  const std::size_t heapBefore = HeapInUse();

  const auto error =
      Ostra::Provider::Metadata::ProviderHelper::LoadMetamodelMetadataFile("m", path, store);
  if (error) {
    std::cerr << "the document did not load\n";
    return 1;
  }
  const long peak = StatusKiB("VmHWM");
  malloc_trim(0);
  const long after = StatusKiB("VmRSS");
  const double heap = static_cast<double>(HeapInUse() - heapBefore) / 1024.0;
  std::remove(path.c_str());

  const double file = static_cast<double>(size) / 1024.0;
  std::printf("file (%s)%*s %8.1f MiB\n", shapeName.c_str(),
              static_cast<int>(12 - shapeName.size()), "", file / 1024.0);
  std::printf("resident growth   %8.1f MiB  %5.2f x file\n", (after - before) / 1024.0,
              (after - before) / file);
  // What the loaded records hold: resident growth above it would be pages the allocator keeps.
  std::printf("heap in use       %8.1f MiB  %5.2f x file\n", heap / 1024.0, heap / file);
  std::printf("peak during load  %8.1f MiB  %5.2f x file\n", (peak - before) / 1024.0,
              (peak - before) / file);
  return 0;
}

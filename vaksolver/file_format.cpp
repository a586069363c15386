#include "vaksolver/file_format.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace {

bool endsIn(std::string_view name, std::string_view end) {
  return name.size() > end.size() &&
         std::equal(end.begin(), end.end(), name.end() - static_cast<std::ptrdiff_t>(end.size()),
                    [](unsigned char a, unsigned char b) { return a == std::tolower(b); });
}

}  // namespace

VakFileFormat VakGetFileFormat(const char* file) {
  std::string_view name = file;
  for (const std::string_view packed : {".gz", ".bz2"}) {
    if (endsIn(name, packed)) name.remove_suffix(packed.size());
  }
  if (endsIn(name, ".mps")) return VakFileFormat::Mps;
  return endsIn(name, ".lp") ? VakFileFormat::Lp : VakFileFormat::ByName;
}

bool VakIsGzipped(const char* file) { return endsIn(file, ".gz"); }

// Runs a fuzz target over files, for compilers without libFuzzer and for the tests.
//
// usage: replay FILE-OR-FOLDER...
//
// Ends with 1 when there is no file, since a corpus that was lost would else look like one that
// passes.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& place) {
  if (!fs::is_directory(place)) return {place};
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(place)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "%s cannot be read\n", file.c_str());
    return false;
  }
  const std::vector<char> text{std::istreambuf_iterator<char>(in), {}};
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  // What fails ends the process: the name tells by which input.
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  int replayed = 0;
  for (int i = 1; i < count; ++i) {
    for (const fs::path& file : filesOf(arguments[i])) {
      if (!replay(file)) return 1;
      ++replayed;
    }
  }
  std::printf("%d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}

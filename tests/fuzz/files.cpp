// The readers of model files over arbitrary content: what is no model is refused with a reason and
// leaves nothing behind; what is read is sound, and what is written of it can be read again.

#include "vaksolver/files.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "tests/fuzz/program.h"
#include "vakenv/core/environment_impl.h"
#include "vakmodel/modelling.h"

namespace {

/// A file in memory that has a name.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view content)
      : _descriptor(memfd_create("model", MFD_CLOEXEC)),
        _name("/proc/self/fd/" + std::to_string(_descriptor)) {
    VAK_FUZZ_REQUIRE(_descriptor >= 0);
    while (!content.empty()) {
      const auto written = write(_descriptor, content.data(), content.size());
      VAK_FUZZ_REQUIRE(written > 0);
      content.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  ~MemoryFile() { close(_descriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] const char* name() const { return _name.c_str(); }

 private:
  int _descriptor;
  std::string _name;
};

// `b` was read from a file that `a` was written to, which holds no constraints without a bound.
// They come from LP files whose right-hand side is infinite.
void compareModels(VakModel a, VakModel b) {
  VakInt constraints = 0;
  VakInt terms = 0;
  for (const VakConstraint c : a.constraints()) {
    if (std::isinf(c.getLB()) && std::isinf(c.getUB())) continue;
    ++constraints;
    terms += c.getTermCount();
  }
  VAK_FUZZ_REQUIRE(b.getConstraintCount() == constraints);
  VAK_FUZZ_REQUIRE(b.getTermCount() == terms);
  VAK_FUZZ_REQUIRE(a.getVariableCount() == b.getVariableCount());
  const auto isClose = [](VakNum x, VakNum y) {
    return x == y || std::fabs(x - y) <= 1e-9 * std::max(std::fabs(x), std::fabs(y));
  };
  auto other = b.variables().begin();
  for (const VakNumVar x : a.variables()) {
    const VakNumVar y = *other;
    VAK_FUZZ_REQUIRE(isClose(x.getLB(), y.getLB()) && isClose(x.getUB(), y.getUB()));
    VAK_FUZZ_REQUIRE(x.isInteger() == y.isInteger());
    ++other;
  }
}

// An MPS file holds every model that was read, but for free rows; its lines are wide enough for all
// numbers.
void writeAndReadAgain(VakEnv env, VakModel model) {
  char folder[] = "/tmp/vak-fuzz-XXXXXX";
  VAK_FUZZ_REQUIRE(mkdtemp(folder) != nullptr);
  const std::string file = std::string(folder) + "/model.mps";
  std::string failure;
  try {
    VakWriteModel(model, file.c_str());
    compareModels(model, VakReadModel(env, file.c_str()));
  } catch (const VakFileError& error) {
    failure = error.getMessage();
  }
  std::remove(file.c_str());
  rmdir(folder);
  VAK_FUZZ_SOUND(failure);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  VakFuzzEnv scope(program);
  const VakFileFormat formats[] = {VakFileFormat::ByName, VakFileFormat::Mps, VakFileFormat::Lp};
  const VakFileFormat format = formats[program.below(3)];
  const std::string_view content(reinterpret_cast<const char*>(program.getRest()),
                                 program.getLeft());
  const MemoryFile file(content);
  const VakInt before = scope.env.getMemoryUsage();
  try {
    const VakModel model = VakReadModel(scope.env, file.name(), format);
    scope.check();
    VAK_FUZZ_SOUND(model.check());
    if (model.getVariableCount() < 100) writeAndReadAgain(scope.env, model);
  } catch (const VakFileError& error) {
    VAK_FUZZ_REQUIRE(std::strlen(error.getReason()) > 0);
    VAK_FUZZ_REQUIRE(std::string(error.getFile()) == file.name());
    const auto lines = std::count(content.begin(), content.end(), '\n');
    VAK_FUZZ_REQUIRE(error.getLine() >= 0 && error.getLine() <= lines + 3);
    VAK_FUZZ_REQUIRE(scope.env.getMemoryUsage() == before);
  }
  return 0;
}

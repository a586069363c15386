#include "tests/fault/matrix/foreign_code.h"

#include <link.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace {

// Beginnings of their names.
constexpr std::array ForeignLibraries = {"libCbc", "libCgl", "libClp", "libOsi", "libCoinUtils"};
constexpr std::size_t MostRanges = 64;

struct Range {
  std::uintptr_t start;
  std::uintptr_t end;  // The first address behind it.
};

// The code of the foreign libraries, as it was loaded with the program.
struct ForeignRanges {
  ForeignRanges() noexcept {
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t /*size*/, void* self) {
          static_cast<ForeignRanges*>(self)->note(*info);
          return 0;
        },
        this);
  }
  void note(const dl_phdr_info& info) noexcept {
    const char* slash = std::strrchr(info.dlpi_name, '/');
    const char* name = slash == nullptr ? info.dlpi_name : slash + 1;
    const bool isForeign = std::ranges::any_of(ForeignLibraries, [name](const char* library) {
      return std::strncmp(name, library, std::strlen(library)) == 0;
    });
    if (!isForeign) return;
    ++libraries;
    for (int i = 0; i < info.dlpi_phnum && count < MostRanges; ++i) {
      const auto& segment = info.dlpi_phdr[i];
      if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
      const std::uintptr_t start = info.dlpi_addr + segment.p_vaddr;
      ranges[count++] = {start, start + segment.p_memsz};
    }
  }
  [[nodiscard]] bool contain(std::uintptr_t address) const noexcept {
    return std::any_of(ranges.begin(), ranges.begin() + static_cast<std::ptrdiff_t>(count),
                       [address](const Range& r) { return address >= r.start && address < r.end; });
  }

  std::array<Range, MostRanges> ranges{};
  std::size_t count = 0;
  int libraries = 0;
};

const ForeignRanges& foreignRanges() noexcept {
  static const ForeignRanges ranges;
  return ranges;
}

}  // namespace

bool VakIsForeignCode(const void* caller) noexcept {
  if (foreignRanges().contain(reinterpret_cast<std::uintptr_t>(caller))) return true;
  bool isFound = false;
  _Unwind_Backtrace(
      [](_Unwind_Context* frame, void* found) {
        if (!foreignRanges().contain(_Unwind_GetIP(frame))) return _URC_NO_REASON;
        *static_cast<bool*>(found) = true;
        return _URC_END_OF_STACK;
      },
      &isFound);
  return isFound;
}

int VakCountForeignLibraries() noexcept { return foreignRanges().libraries; }

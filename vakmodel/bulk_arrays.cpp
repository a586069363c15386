#include "vakmodel/bulk_arrays.h"

void VakCheckSparse(const char* operation, const VakSparse& matrix, std::size_t count,
                    std::size_t members) {
  VakCheckSizes(operation, matrix.members.size(), matrix.coefs.size());
  if (matrix.starts.empty() && matrix.members.empty()) return;
  VakCheckSizes(operation, count + 1, matrix.starts.size());
  const auto size = static_cast<VakInt>(matrix.members.size());
  for (std::size_t i = 0; i <= count; ++i) {
    const VakInt start = matrix.starts[i];
    if (start < (i == 0 ? 0 : matrix.starts[i - 1]) || start > size) {
      VakThrowModelError(
          nullptr,
          "%s: start %zu is %ld. Starts must not fall and lie from 0 to the number of "
          "entries, which is %ld.",
          operation, i, start, size);
    }
  }
  for (std::size_t i = 0; i < matrix.members.size(); ++i) {
    const int member = matrix.members[i];
    if (member < 0 || static_cast<std::size_t>(member) >= members) {
      VakThrowModelError(nullptr, "%s: entry %zu has the index %d. Indices lie from 0 below %zu.",
                         operation, i, member, members);
    }
  }
}

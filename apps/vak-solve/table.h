#pragma once

// Tables of text with aligned columns.

#include <ostream>
#include <string>
#include <vector>

namespace vaksolve {

/// A table: the first column is aligned to the left, the others, which hold numbers, to the right.
///
///   Variable  Value  Reduced cost
///   --------  -----  ------------
///   x             2             0
class Table {
 public:
  explicit Table(std::vector<std::string> titles) : _titles(std::move(titles)) {}

  /// Adds a row; it must have as many cells as there are titles. Control characters in it are shown
  /// as "?".
  void add(std::vector<std::string> cells);
  [[nodiscard]] bool empty() const { return _rows.empty(); }
  /// Writes titles, a line and the rows. No line ends in blanks.
  void write(std::ostream& out) const;

 private:
  using Row = std::vector<std::string>;

  void writeRow(std::ostream& out, const Row& row, const std::vector<std::size_t>& widths) const;

  Row _titles;
  std::vector<Row> _rows;
};

}  // namespace vaksolve

#include "apps/vak-solve/table.h"

#include <algorithm>
#include <cassert>

#include "apps/vak-solve/text.h"

namespace vaksolve {

void Table::add(std::vector<std::string> cells) {
  assert(cells.size() == _titles.size());
  for (std::string& cell : cells) cell = printable(cell);
  _rows.push_back(std::move(cells));
}

void Table::write(std::ostream& out) const {
  std::vector<std::size_t> widths;
  Row line;
  for (std::size_t column = 0; column < _titles.size(); ++column) {
    std::size_t width = widthOf(_titles[column]);
    for (const Row& row : _rows) width = std::max(width, widthOf(row[column]));
    widths.push_back(width);
    line.emplace_back(width, '-');
  }
  writeRow(out, _titles, widths);
  writeRow(out, line, widths);
  for (const Row& row : _rows) writeRow(out, row, widths);
}

void Table::writeRow(std::ostream& out, const Row& row,
                     const std::vector<std::size_t>& widths) const {
  std::string line = row[0];
  // Blanks are put before what follows only, so that no line ends in them.
  std::size_t pending = widths[0] - widthOf(row[0]);
  for (std::size_t column = 1; column < row.size(); ++column) {
    pending += 2 + widths[column] - widthOf(row[column]);
    if (row[column].empty()) continue;
    line.append(pending, ' ').append(row[column]);
    pending = 0;
  }
  out << line << '\n';
}

}  // namespace vaksolve

#pragma once

// Looks through an MPS file before the libraries' reader gets it.

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "vaksolver/file_text.h"

/// What of an MPS file the reader would print, pass over or stumble at: the sense of the objective,
/// names that occur twice or are too long, semi-continuous variables, tabs, missing names of
/// right-hand sides and bounds.
///
/// The reader guesses from the columns of the first lines whether words are at fixed places, is
/// often wrong, and reads behind the ends of lines then. So all lines are written anew, one for
/// one, as what the reader calls free format. Words are what stands between blanks, unless there is
/// a line that makes no sense so: then they are what stands at the fixed places, where names may
/// have blanks in them, which are dropped.
class VakMpsScanI {
 public:
  /// Lines that the text has before the first one of the file.
  static constexpr int LinesBefore = 1;

  /// Looks through `content`.
  void run(std::string_view content);

  [[nodiscard]] const VakFileFaultI& getFault() const { return _fault; }
  [[nodiscard]] bool isMaximized() const { return _isMaximized; }
  /// The name of the problem; empty for none.
  [[nodiscard]] const std::string& getName() const { return _name; }
  /// What the reader is to read.
  [[nodiscard]] const std::string& getText() const { return _text; }
  /// Whether the reader's numbers of columns and rows are what the file says.
  [[nodiscard]] bool isComplete(int columns, int rows) const;

 private:
  enum class Section : unsigned char { None, Sense, Rows, Columns, Rhs, Ranges, Bounds, End };
  using Words = std::vector<std::string_view>;

  void scan(std::string_view content, bool isFree);
  void requireShort(std::string_view word);
  void enter(const Words& words, std::string_view line);
  void visit(const Words& words);
  void visitRow(const Words& words);
  void visitColumn(const Words& words);
  void visitNumbers(const Words& words);
  void visitFixed(const Words& words, std::string_view line);
  void noteRow(std::string_view name);
  void noteColumn(std::string_view name);
  void visitBound(const Words& words);
  void takeName(std::string_view line);
  void takeSense(std::string_view word);
  void put(std::string_view line);
  void putSet(std::string_view first, std::string_view set, const Words& words, std::size_t from);
  [[nodiscard]] static bool AreNumbersAfterNames(const Words& words, std::size_t from);

  VakFileFaultI _fault;
  bool _isMaximized = false;
  std::string _name;
  std::string _text;
  bool _fits = true;   ///< Whether the last line made sense with the words that were tried.
  VakInt _number = 0;  ///< Of the line at hand.
  Section _section = Section::None;
  std::string _set;     ///< The first name of right-hand sides, ranges or bounds in the section.
  std::string _column;  ///< The one that the last line was about.
  int _freeRows = 0;
  std::unordered_set<std::string> _rows;
  std::unordered_set<std::string> _columns;
};

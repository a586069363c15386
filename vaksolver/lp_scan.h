#pragma once

// Looks through an LP file before the libraries' reader gets it.

#include <string>
#include <string_view>
#include <vector>

#include "vaksolver/file_text.h"

/// What of an LP file the reader would print, misread without a word, or never come to the end of.
///
/// The reader takes "2y" for a variable, "<=4" for a name, and what stands behind the number of a
/// right-hand side for the next constraint. So the text is taken apart into words here and put
/// together again, line for line, with blanks between all of them, and constraints are held to
/// what the reader knows: terms, one comparison, one number.
class VakLpScanI {
 public:
  void run(std::string_view content);

  [[nodiscard]] const VakFileFaultI& getFault() const { return _fault; }
  /// What the reader is to read.
  [[nodiscard]] const std::string& getText() const { return _text; }

 private:
  enum class Section : unsigned char { None, Objective, Constraints, Bounds, Kinds, End };
  /// What the last word of the objective or a constraint was.
  enum class Last : unsigned char { Nothing, Name, Sign, Number, Term, Comparison, Side };
  using Words = std::vector<std::string>;

  [[nodiscard]] Words split(std::string_view line);
  void splitComparison(std::string_view word, Words& words);
  void joinSigns(Words& words) const;
  void visit(const Words& words);
  [[nodiscard]] bool enter(const Words& words, std::size_t& k);
  void endConstraint();
  void visitTerm(const std::string& word, bool isFirstOfLine);
  void visitNumber(const std::string& word);
  void visitComparison();
  void fault(std::string reason) { _fault.note(_number, std::move(reason)); }

  VakFileFaultI _fault;
  std::string _text;
  VakInt _number = 0;  ///< Of the line at hand.
  Section _section = Section::None;
  Last _last = Last::Nothing;
};

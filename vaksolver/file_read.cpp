// Reading models. The libraries' readers do the reading; what they get is the content of the file,
// held in memory, so that it is known which line they are at and what would make them print or
// never end.

#include <CoinError.hpp>
#include <CoinFileIO.hpp>
#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <CoinPackedMatrix.hpp>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "vakenv/core/environment_impl.h"
#include "vaksolver/file_format.h"
#include "vaksolver/files.h"
#include "vaksolver/messages.h"

namespace {

constexpr VakNum LeastInfinite = 1e30;  // Numbers of this size stand for infinity in files.

/// What is wrong with a file, and where; the first thing counts.
struct Fault {
  VakInt line = 0;
  std::string reason;

  [[nodiscard]] bool isFound() const { return !reason.empty(); }
  void note(VakInt where, std::string what) {
    if (isFound()) return;
    line = where;
    reason = std::move(what);
  }
};

/// Keeps the first warning or error of a reader instead of printing it.
class FaultListener final : public CoinMessageHandler {
 public:
  explicit FaultListener(Fault* fault) : _fault(fault) { setLogLevel(1); }
  [[nodiscard]] CoinMessageHandler* clone() const override { return new FaultListener(*this); }
  void checkSeverity() override {}
  int print() override {
    constexpr int FirstWarning = 3000;
    // A variable with bounds and nothing else is unusual, not wrong.
    const bool isHarmless =
        std::strstr(messageBuffer(), "does not appear in objective function") != nullptr;
    if (currentMessage().externalNumber() < FirstWarning || isHarmless) return 0;
    _fault->note(numberIntFields() > 0 ? intValue(0) : 0, cleaned(messageBuffer()));
    return 0;
  }

  /// The text without the marks that the libraries put before and behind it.
  [[nodiscard]] static std::string cleaned(std::string text) {
    for (const char* mark : {"### ERROR: ", "### "}) {
      const auto at = text.find(mark);
      if (at != std::string::npos) text.erase(0, at + std::strlen(mark));
    }
    // "Coin3002W " and the like.
    if (text.rfind("Coin", 0) == 0 && text.find(' ') != std::string::npos) {
      text.erase(0, text.find(' ') + 1);
    }
    // "CoinLpIO::readLp(): " and the like.
    const auto scope = text.find("(): ");
    if (scope != std::string::npos && text.find(' ') > scope) text.erase(0, scope + 4);
    std::replace(text.begin(), text.end(), '\n', ' ');
    while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
    return text.empty() ? "the file cannot be understood" : text;
  }

 private:
  Fault* _fault;  ///< Not owned.
};

/// The content of a file, in whatever way it is compressed.
std::string readContent(const char* file) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) throw VakFileError(file, 0, "there is no such file");
  if (std::filesystem::is_directory(status)) throw VakFileError(file, 0, "this is a directory");
  std::string content;
  try {
    const std::unique_ptr<CoinFileInput> input(CoinFileInput::create(file));
    char block[1 << 16];
    for (int n = input->read(block, sizeof block); n > 0; n = input->read(block, sizeof block)) {
      content.append(block, static_cast<std::size_t>(n));
    }
  } catch (const CoinError&) {
    throw VakFileError(file, 0, "the file cannot be opened for reading");
  }
  return content;
}

/// Goes through a text line by line.
class Lines {
 public:
  explicit Lines(std::string_view text) : _rest(text) {}
  /// The next line without its end; nothing behind the last one.
  std::optional<std::string_view> next() {
    if (_rest.empty()) return std::nullopt;
    const auto end = _rest.find('\n');
    std::string_view line = _rest.substr(0, end);
    _rest.remove_prefix(end == std::string_view::npos ? _rest.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    ++_number;
    return line;
  }
  /// The number of the line that was given last, from 1.
  [[nodiscard]] VakInt getNumber() const { return _number; }

 private:
  std::string_view _rest;
  VakInt _number = 0;
};

std::vector<std::string_view> wordsOf(std::string_view line) {
  std::vector<std::string_view> words;
  constexpr std::string_view Blank = " \t";
  for (auto from = line.find_first_not_of(Blank); from != std::string_view::npos;) {
    const auto to = std::min(line.find_first_of(Blank, from), line.size());
    words.push_back(line.substr(from, to - from));
    from = line.find_first_not_of(Blank, to);
  }
  return words;
}

/// The text with a question mark for every byte that cannot be printed, and no longer than a line.
std::string printable(std::string text) {
  constexpr std::size_t Most = 60;
  if (text.size() > Most) text.resize(Most);
  for (char& c : text) {
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  }
  return text;
}

bool isSame(std::string_view a, const char* b) {
  return a.size() == std::strlen(b) &&
         std::equal(a.begin(), a.end(), b, [](unsigned char x, unsigned char y) {
           return std::tolower(x) == std::tolower(y);
         });
}

/// What of an MPS file the reader would print or pass over: the sense of the objective, names that
/// occur twice. The lines that say the sense become comments.
class MpsScan {
 public:
  explicit MpsScan(std::string& content) : _content(content) {}

  bool isMaximized = false;
  Fault fault;

  void run() {
    Lines lines(_content);
    while (const auto line = lines.next()) {
      if (line->empty() || (*line)[0] == '*') continue;
      const auto words = wordsOf(*line);
      if (words.empty()) continue;
      if (std::isspace(static_cast<unsigned char>((*line)[0])) == 0) {
        enter(words, *line, lines.getNumber());
      } else {
        visit(words, *line, lines.getNumber());
      }
      if (_section == "ENDATA" || fault.isFound()) return;
    }
    fault.note(0, "the file ends without ENDATA");
  }

 private:
  void enter(const std::vector<std::string_view>& words, std::string_view line, VakInt number) {
    static const std::unordered_set<std::string> Known{"NAME", "OBJSENSE", "ROWS",   "COLUMNS",
                                                       "RHS",  "RANGES",   "BOUNDS", "ENDATA"};
    _section = words[0];
    if (Known.count(_section) == 0) fault.note(number, "unknown section " + printable(_section));
    if (_section != "OBJSENSE") return;
    if (words.size() > 1) takeSense(words[1], number);
    blank(line);
  }
  void visit(const std::vector<std::string_view>& words, std::string_view line, VakInt number) {
    if (_section == "OBJSENSE") {
      takeSense(words[0], number);
      blank(line);
    } else if (_section == "ROWS" && words.size() == 2) {
      if (!_rows.emplace(words[1]).second) {
        fault.note(number, "row " + std::string(words[1]) + " is there twice");
      }
    } else if (_section == "COLUMNS" && (words.size() == 3 || words.size() == 5)) {
      visitColumn(words, number);
    }
  }
  void visitColumn(const std::vector<std::string_view>& words, VakInt number) {
    if (words[1] == "'MARKER'" || words[0] == _column) return;
    _column = words[0];
    if (!_columns.insert(_column).second) {
      fault.note(number, "column " + _column + " is there in two places");
    }
  }
  void takeSense(std::string_view word, VakInt number) {
    if (isSame(word, "MAX") || isSame(word, "MAXIMIZE") || isSame(word, "MAXIMISE")) {
      isMaximized = true;
    } else if (isSame(word, "MIN") || isSame(word, "MINIMIZE") || isSame(word, "MINIMISE")) {
      isMaximized = false;
    } else {
      fault.note(number, "unknown sense of the objective " + std::string(word));
    }
  }
  /// Makes a comment of the line, which is part of the content.
  void blank(std::string_view line) {
    const auto at = static_cast<std::size_t>(line.data() - _content.data());
    std::fill_n(_content.begin() + static_cast<std::ptrdiff_t>(at), line.size(), '*');
  }

  std::string& _content;
  std::string _section;
  std::string _column;  ///< The one that the last line was about.
  std::unordered_set<std::string> _rows;
  std::unordered_set<std::string> _columns;
};

/// Gives an MPS reader its lines from memory.
class TextInput final : public CoinFileInput {
 public:
  explicit TextInput(std::string_view text) : CoinFileInput("text"), _rest(text) {}
  int read(void* buffer, int size) override {
    const std::size_t n = std::min(_rest.size(), static_cast<std::size_t>(size));
    std::memcpy(buffer, _rest.data(), n);
    _rest.remove_prefix(n);
    return static_cast<int>(n);
  }
  char* gets(char* buffer, int size) override {
    if (_rest.empty() || size < 2) return nullptr;
    const std::size_t most = std::min(_rest.size(), static_cast<std::size_t>(size) - 1);
    const auto end = _rest.substr(0, most).find('\n');
    const std::size_t n = end == std::string_view::npos ? most : end + 1;
    std::memcpy(buffer, _rest.data(), n);
    buffer[n] = '\0';
    _rest.remove_prefix(n);
    return buffer;
  }

 private:
  std::string_view _rest;
};

/// An MPS reader that reads from memory.
class MpsReader final : public CoinMpsIO {
 public:
  int readText(std::string_view text) {
    cardReader_ = new CoinMpsCardReader(new TextInput(text), this);
    return readMps();
  }
};

/// A stream that reads memory line by line and knows how many lines were taken. Whoever gets the
/// stream closes it, and this object has to outlive it.
class LineStream {
 public:
  explicit LineStream(std::string_view text) : _lines(text) {
    const cookie_io_functions_t functions{Read, nullptr, nullptr, nullptr};
    _stream = fopencookie(this, "r", functions);
    if (_stream == nullptr) throw std::bad_alloc();
  }
  LineStream(const LineStream&) = delete;
  LineStream& operator=(const LineStream&) = delete;

  [[nodiscard]] FILE* get() const { return _stream; }
  [[nodiscard]] VakInt getLine() const { return _lines.getNumber(); }

 private:
  static ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    auto* stream = static_cast<LineStream*>(cookie);
    if (stream->_given == stream->_line.size()) {
      const auto line = stream->_lines.next();
      if (!line) return 0;
      stream->_line = std::string(*line) + '\n';
      stream->_given = 0;
    }
    const std::size_t n = std::min(size, stream->_line.size() - stream->_given);
    std::memcpy(buffer, stream->_line.data() + stream->_given, n);
    stream->_given += n;
    return static_cast<ssize_t>(n);
  }

  Lines _lines;
  std::string _line;       ///< The line that is being given.
  std::size_t _given = 0;  ///< How much of it was given.
  FILE* _stream;
};

/// Makes a model of what a reader of either format holds.
class Builder {
 public:
  Builder(VakEnv env, const char* file) : _env(env), _file(file) {}

  /// `sign` is what the reader's objective has to be multiplied by.
  template <class Reader>
  VakModel build(const Reader& reader, bool isMaximized, double sign, double constant,
                 const char* objectiveName) {
    const char* name = reader.getProblemName();
    _model = VakModel(_env, name != nullptr && *name != '\0' ? name : nullptr);
    try {
      addColumns(reader);
      addRows(reader);
      addObjective(reader, isMaximized, sign, constant, objectiveName);
    } catch (...) {
      undo();
      throw;
    }
    return _model;
  }

 private:
  [[nodiscard]] static VakNum toBound(double bound) {
    if (bound >= LeastInfinite) return VakGetInfinity();
    return bound <= -LeastInfinite ? -VakGetInfinity() : bound;
  }
  void requireNumber(double number, const char* what, const char* name) const {
    if (std::isfinite(number)) return;
    throw VakFileError(_file, 0, (std::string(what) + " of " + name + " is no number").c_str());
  }
  void requireBounds(VakNum lb, VakNum ub, const char* what, const char* name) const {
    if (lb <= ub && lb < VakGetInfinity() && ub > -VakGetInfinity()) return;
    char text[160];
    std::snprintf(text, sizeof text, "the bounds of %s %s make no sense: %.15g and %.15g", what,
                  name, lb, ub);
    throw VakFileError(_file, 0, text);
  }

  template <class Reader>
  void addColumns(const Reader& reader) {
    const int count = reader.getNumCols();
    for (int j = 0; j < count; ++j) {
      const char* name = reader.columnName(j);
      const VakNum lb = toBound(reader.getColLower()[j]);
      const VakNum ub = toBound(reader.getColUpper()[j]);
      requireBounds(lb, ub, "variable", name);
      const bool isBoolean = lb == 0 && ub == 1;
      const VakVarKind kind = !reader.isInteger(j) ? VakVarKind::Continuous
                              : isBoolean          ? VakVarKind::Boolean
                                                   : VakVarKind::Integer;
      _variables.push_back(VakNumVar(_env, lb, ub, kind, name));
    }
    _model.add(_variables);
  }

  template <class Reader>
  void addRows(const Reader& reader) {
    const CoinPackedMatrix* matrix = reader.getMatrixByRow();
    std::vector<VakNum> lbs;
    std::vector<VakNum> ubs;
    std::vector<VakInt> starts{0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    for (int i = 0; i < reader.getNumRows(); ++i) {
      const char* name = reader.rowName(i);
      lbs.push_back(toBound(reader.getRowLower()[i]));
      ubs.push_back(toBound(reader.getRowUpper()[i]));
      requireBounds(lbs.back(), ubs.back(), "constraint", name);
      for (int k = matrix->getVectorFirst(i); k < matrix->getVectorLast(i); ++k) {
        requireNumber(matrix->getElements()[k], "a coefficient", name);
        members.push_back(matrix->getIndices()[k]);
        coefs.push_back(matrix->getElements()[k]);
      }
      starts.push_back(static_cast<VakInt>(members.size()));
    }
    VakRows rows;
    rows.count = lbs.size();
    rows.lbs = lbs;
    rows.ubs = ubs;
    rows.columns = _variables;
    rows.matrix = {starts, members, coefs};
    std::vector<VakConstraint> made(lbs.size());
    _model.addRows(rows, made);
    _constraints = std::move(made);
    for (std::size_t i = 0; i < _constraints.size(); ++i) {
      _constraints[i].setName(reader.rowName(static_cast<int>(i)));
    }
  }

  template <class Reader>
  void addObjective(const Reader& reader, bool isMaximized, double sign, double constant,
                    const char* name) {
    VakExpr expr;
    expr.reserve(_variables.size());
    for (std::size_t j = 0; j < _variables.size(); ++j) {
      const double coef = reader.getObjCoefficients()[j];
      requireNumber(coef, "the objective coefficient", reader.columnName(static_cast<int>(j)));
      if (coef != 0) expr.addTerm(_variables[j], sign * coef);
    }
    requireNumber(constant, "the constant", "the objective");
    expr.setConstant(constant + 0.0);
    _objective = VakObjective(_env, isMaximized ? VakSense::Maximize : VakSense::Minimize, expr,
                              name != nullptr && *name != '\0' ? name : nullptr);
    _model.add(_objective);
  }

  void undo() {
    std::vector<VakExtractable> made;
    made.insert(made.end(), _constraints.begin(), _constraints.end());
    made.insert(made.end(), _variables.begin(), _variables.end());
    made.push_back(_model);
    if (!_objective.isEmpty()) made.push_back(_objective);
    VakEndAll(made);
  }

  VakEnv _env;
  const char* _file;
  VakModel _model;
  std::vector<VakNumVar> _variables;
  std::vector<VakConstraint> _constraints;
  VakObjective _objective;
};

void throwFault(const char* file, const Fault& fault) {
  if (fault.isFound()) throw VakFileError(file, fault.line, fault.reason.c_str());
}

VakModel readMps(VakEnv env, const char* file, std::string& content) {
  MpsScan scan(content);
  scan.run();
  throwFault(file, scan.fault);
  Fault fault;
  FaultListener listener(&fault);
  MpsReader reader;
  reader.passInMessageHandler(&listener);
  const int errors = reader.readText(content);
  throwFault(file, fault);
  if (errors != 0) throw VakFileError(file, 0, "this is no MPS file");
  return Builder(env, file).build(reader, scan.isMaximized, 1, -reader.objectiveOffset(),
                                  reader.getObjectiveName());
}

/// Looks for what an LP reader would print, misread, or never come to the end of.
class LpScan {
 public:
  Fault run(std::string_view content) {
    Lines lines(content);
    while (const auto line = lines.next()) {
      visit(wordsOf(line->substr(0, line->find('\\'))), lines.getNumber());
    }
    if (!isSame(_last, "End")) _fault.note(0, "the file does not end with the word End");
    return _fault;
  }

 private:
  void visit(const std::vector<std::string_view>& words, VakInt number) {
    if (words.empty()) return;
    if (isSame(words[0], "Bounds") || isSame(words[0], "Bound")) _isInBounds = true;
    int comparisons = 0;
    for (const std::string_view word : words) {
      if (std::strchr("<>=", word[0]) == nullptr) continue;
      ++comparisons;
      if (word != "<=" && word != ">=" && word != "=") {
        _fault.note(number, printable(std::string(word)) +
                                " is no comparison; write <=, >= or = by itself");
      }
    }
    if (comparisons > 1 && !_isInBounds) {
      _fault.note(number, "a constraint with two bounds has to be written as two");
    }
    _last = words.back();
  }

  Fault _fault;
  std::string _last;         ///< The last word that is no comment.
  bool _isInBounds = false;  ///< Behind the beginning of the bounds, which may have two sides.
};

VakModel readLp(VakEnv env, const char* file, std::string& content) {
  if (content.find('\0') != std::string::npos) {
    throw VakFileError(file, 0, "this is no text file");
  }
  Fault fault = LpScan().run(content);
  throwFault(file, fault);
  FaultListener listener(&fault);
  // Whatever the reader skips, it finds an end behind it.
  content += "\nEnd\n";
  LineStream stream(content);
  CoinLpIO reader;
  reader.passInMessageHandler(&listener);
  try {
    reader.readLp(stream.get());
  } catch (const CoinError& error) {
    fault = {};
    fault.note(stream.getLine(), FaultListener::cleaned(error.message()));
  } catch (const char* text) {
    fault.note(stream.getLine(), FaultListener::cleaned(text));
  }
  throwFault(file, fault);
  const bool isMaximized = reader.wasMaximization();
  // The reader turns the coefficients of what is maximised, but not the constant.
  return Builder(env, file).build(reader, isMaximized, isMaximized ? -1 : 1,
                                  reader.objectiveOffset(), reader.getObjName());
}

/// MPS files begin with one of their sections; everything else is taken for an LP file.
bool looksLikeMps(std::string_view content) {
  Lines lines(content);
  while (const auto line = lines.next()) {
    if (line->empty() || (*line)[0] == '*') continue;
    const auto words = wordsOf(*line);
    if (words.empty()) continue;
    for (const char* section : {"NAME", "ROWS", "OBJSENSE", "OBJSENSEMAX", "OBJNAME", "FREE"}) {
      if (words[0] == section) return (*line)[0] != ' ';
    }
    return false;
  }
  return false;
}

}  // namespace

VakModel VakReadModel(VakEnv env, const char* file, VakFileFormat format) {
  if (env.getImpl() == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  std::string content = readContent(file);
  if (format == VakFileFormat::ByName) format = VakGetFileFormat(file);
  if (format == VakFileFormat::ByName) {
    format = looksLikeMps(content) ? VakFileFormat::Mps : VakFileFormat::Lp;
  }
  return format == VakFileFormat::Mps ? readMps(env, file, content) : readLp(env, file, content);
}

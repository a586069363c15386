// Reading models. The libraries' readers do the reading; what they get is what a scan makes of the
// file, held in memory, so that it is known which line they are at, and so that nothing makes them
// print, misread or never end.

#include <CoinError.hpp>
#include <CoinFileIO.hpp>
#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <CoinPackedMatrix.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "vakbase/terminated_text.h"
#include "vakenv/core/environment_impl.h"
#include "vakmodel/model_impl.h"
#include "vaksolver/file_format.h"
#include "vaksolver/file_text.h"
#include "vaksolver/files.h"
#include "vaksolver/lp_scan.h"
#include "vaksolver/messages.h"
#include "vaksolver/mps_scan.h"
#include "vaksolver/reader_text.h"

namespace {

constexpr VakNum LeastInfinite = 1e30;  // Numbers of this size stand for infinity in files.

/// Keeps the first warning or error of a reader instead of printing it.
class FaultListener final : public CoinMessageHandler {
 public:
  /// The reader's text has `linesBefore` lines before the first one of the file.
  FaultListener(VakFileFaultI* fault, VakInt linesBefore)
      : _fault(fault), _linesBefore(linesBefore) {
    setLogLevel(1);
  }
  [[nodiscard]] CoinMessageHandler* clone() const override { return new FaultListener(*this); }
  void checkSeverity() override {}
  int print() override {
    constexpr int firstWarning = 3000;
    // A variable with bounds and nothing else is unusual, not wrong.
    const bool isHarmless =
        std::strstr(messageBuffer(), "does not appear in objective function") != nullptr;
    if (currentMessage().externalNumber() < firstWarning || isHarmless) return 0;
    const VakInt line = numberIntFields() > 0 ? intValue(0) - _linesBefore : 0;
    _fault->note(std::max<VakInt>(line, 0), VakExplainReaderText(messageBuffer()));
    return 0;
  }

 private:
  VakFileFaultI* _fault;  ///< Not owned.
  VakInt _linesBefore;
};

/// The content of a file, in whatever way it is compressed.
std::string readContent(const char* file) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) throw VakFileError(file, 0, "there is no such file");
  if (std::filesystem::is_directory(status)) throw VakFileError(file, 0, "this is a directory");
  std::string content;
  if (!std::filesystem::is_regular_file(status)) {
    // The libraries open a file twice, and of a pipe nothing is left for the second time.
    std::ifstream in(file, std::ios::binary);
    if (!in) throw VakFileError(file, 0, "the file cannot be opened for reading");
    content.assign(std::istreambuf_iterator<char>(in), {});
    return content;
  }
  try {
    const std::unique_ptr<CoinFileInput> input(CoinFileInput::create(file));
    char block[1 << 16];
    int n = input->read(block, sizeof block);
    for (; n > 0; n = input->read(block, sizeof block)) {
      content.append(block, static_cast<std::size_t>(n));
    }
    if (n < 0) throw VakFileError(file, 0, "the file is damaged");
  } catch (const CoinError&) {
    throw VakFileError(file, 0, "the file cannot be opened for reading");
  }
  return content;
}

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
  static constexpr const char* LastLine = "End";  ///< The scan writes "End " instead.

  explicit LineStream(std::string_view text) : _lines(text) {
    const cookie_io_functions_t functions{Read, nullptr, nullptr, nullptr};
    _stream = fopencookie(this, "r", functions);
    if (_stream == nullptr) throw std::bad_alloc();
  }
  LineStream(const LineStream&) = delete;
  LineStream& operator=(const LineStream&) = delete;

  [[nodiscard]] FILE* get() const { return _stream; }
  /// The line that was taken last; 0 when all were, since any of them may be meant then.
  [[nodiscard]] VakInt getFaultLine() const { return _isOver ? 0 : _lines.getNumber(); }

 private:
  static ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    auto* stream = static_cast<LineStream*>(cookie);
    if (stream->_given == stream->_line.size()) {
      const auto line = stream->_lines.next();
      stream->_isOver = !line || *line == LastLine;
      if (!line) return 0;
      stream->_line = std::string(*line) + '\n';
      stream->_given = 0;
    }
    const std::size_t n = std::min(size, stream->_line.size() - stream->_given);
    stream->_line.copy(buffer, n, stream->_given);
    stream->_given += n;
    return static_cast<ssize_t>(n);
  }

  VakFileLinesI _lines;
  std::string _line;       ///< The line that is being given.
  std::size_t _given = 0;  ///< How much of it was given.
  bool _isOver = false;    ///< Whether the last line was taken.
  FILE* _stream;
};

/// Makes a model of what a reader of either format holds.
class Builder {
 public:
  Builder(VakEnv env, const char* file) : _env(env), _file(file) {}

  /// `sign` is what the reader's objective has to be multiplied by.
  template <class Reader>
  VakModel build(const Reader& reader, const std::string& name, bool isMaximized, double sign,
                 double constant, const char* objectiveName) {
    check(reader, constant);
    _model = VakModel(_env, name.empty() ? nullptr : name.c_str());
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
  [[nodiscard]] static VakNum ToBound(double bound) {
    if (bound >= LeastInfinite) return VakGetInfinity();
    return bound <= -LeastInfinite ? -VakGetInfinity() : bound;
  }
  void requireNumber(double number, const char* what, const char* name) const {
    if (std::isfinite(number)) return;
    throw VakFileError(_file, 0, (std::string(what) + " of " + name + " is no number").c_str());
  }
  void requireBounds(double lower, double upper, const char* what, const char* name) const {
    const VakNum lb = ToBound(lower);
    const VakNum ub = ToBound(upper);
    if (lb <= ub && lb < VakGetInfinity() && ub > -VakGetInfinity()) return;
    char text[160];
    std::snprintf(text, sizeof text, "the bounds of %s %s make no sense: %.15g and %.15g", what,
                  name, lb, ub);
    throw VakFileError(_file, 0, text);
  }

  // Before anything is made: what a refused file had made would leave its bounds behind in the
  // environment, which shares and keeps them.
  template <class Reader>
  void check(const Reader& reader, double constant) const {
    for (int j = 0; j < reader.getNumCols(); ++j) {
      const char* name = reader.columnName(j);
      requireBounds(reader.getColLower()[j], reader.getColUpper()[j], "variable", name);
      requireNumber(reader.getObjCoefficients()[j], "the objective coefficient", name);
    }
    const CoinPackedMatrix* matrix = reader.getMatrixByRow();
    for (int i = 0; i < reader.getNumRows(); ++i) {
      const char* name = reader.rowName(i);
      requireBounds(reader.getRowLower()[i], reader.getRowUpper()[i], "constraint", name);
      for (int k = matrix->getVectorFirst(i); k < matrix->getVectorLast(i); ++k) {
        requireNumber(matrix->getElements()[k], "a coefficient", name);
      }
    }
    requireNumber(constant, "the constant", "the objective");
  }

  template <class Reader>
  void addColumns(const Reader& reader) {
    const int count = reader.getNumCols();
    _variables.reserve(static_cast<std::size_t>(count));
    for (int j = 0; j < count; ++j) {
      const VakNum lb = ToBound(reader.getColLower()[j]);
      const VakNum ub = ToBound(reader.getColUpper()[j]);
      const bool isBoolean = lb == 0 && ub == 1;
      const VakVarKind kind = !reader.isInteger(j) ? VakVarKind::Continuous
                              : isBoolean          ? VakVarKind::Boolean
                                                   : VakVarKind::Integer;
      _variables.push_back(VakNumVar(_env, lb, ub, kind, reader.columnName(j)));
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
      lbs.push_back(ToBound(reader.getRowLower()[i]));
      ubs.push_back(ToBound(reader.getRowUpper()[i]));
      for (int k = matrix->getVectorFirst(i); k < matrix->getVectorLast(i); ++k) {
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
      if (coef != 0) expr.addTerm(_variables[j], sign * coef);
    }
    expr.setConstant(constant + 0.0);
    _objective = VakObjective(_env, isMaximized ? VakSense::Maximize : VakSense::Minimize, expr,
                              name != nullptr && *name != '\0' ? name : nullptr);
    _model.add(_objective);
  }

  // Needs no memory, of which there may be none left. Nobody has got the model yet, so nobody is
  // told that it goes.
  void undo() {
    delete _objective.getImpl();
    for (const VakConstraint c : _constraints) delete c.getImpl();
    delete _model.getImpl();
    for (const VakNumVar x : _variables) delete x.getImpl();
  }

  VakEnv _env;
  const char* _file;
  VakModel _model;
  std::vector<VakNumVar> _variables;
  std::vector<VakConstraint> _constraints;
  VakObjective _objective;
};

void throwFault(const char* file, const VakFileFaultI& fault) {
  if (fault.isFound()) throw VakFileError(file, fault.line, fault.reason.c_str());
}

VakModel readMps(VakEnv env, const char* file, const std::string& content) {
  VakMpsScanI scan;
  scan.run(content);
  throwFault(file, scan.getFault());
  VakFileFaultI fault;
  FaultListener listener(&fault, VakMpsScanI::LinesBefore);
  MpsReader reader;
  reader.passInMessageHandler(&listener);
  const int errors = reader.readText(scan.getText());
  throwFault(file, fault);
  if (errors != 0 || !scan.isComplete(reader.getNumCols(), reader.getNumRows())) {
    throw VakFileError(file, 0, "this is no MPS file");
  }
  return Builder(env, file).build(reader, scan.getName(), scan.isMaximized(), 1,
                                  -reader.objectiveOffset(), reader.getObjectiveName());
}

VakModel readLp(VakEnv env, const char* file, const std::string& content) {
  VakLpScanI scan;
  scan.run(content);
  throwFault(file, scan.getFault());
  VakFileFaultI fault;
  FaultListener listener(&fault, 0);
  // Whatever the reader skips, it finds an end behind it.
  const std::string text = scan.getText() + LineStream::LastLine + '\n';
  LineStream stream(text);
  CoinLpIO reader;
  reader.passInMessageHandler(&listener);
  try {
    reader.readLp(stream.get());
  } catch (const CoinError& error) {
    fault = {};
    fault.note(stream.getFaultLine(), VakExplainReaderText(error.message()));
  } catch (const char* message) {
    fault.note(stream.getFaultLine(), VakExplainReaderText(message));
  }
  throwFault(file, fault);
  const char* name = reader.getProblemName();
  const bool isMaximized = reader.wasMaximization();
  // The reader turns the coefficients of what is maximised, but not the constant.
  return Builder(env, file).build(reader, name == nullptr ? "" : name, isMaximized,
                                  isMaximized ? -1 : 1, reader.objectiveOffset(),
                                  reader.getObjName());
}

/// MPS files begin with one of their sections; everything else is taken for an LP file.
bool looksLikeMps(std::string_view content) {
  VakFileLinesI lines(content);
  while (const auto line = lines.next()) {
    if (line->empty() || (*line)[0] == '*') continue;
    const auto words = VakGetWords(*line);
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
  if (content.find('\0') != std::string::npos) {
    throw VakFileError(file, 0, "this is no text file");
  }
  if (format == VakFileFormat::ByName) {
    format = looksLikeMps(content) ? VakFileFormat::Mps : VakFileFormat::Lp;
  }
  return format == VakFileFormat::Mps ? readMps(env, file, content) : readLp(env, file, content);
}

VakModel VakReadModel(VakEnv env, std::string_view file, VakFileFormat format) {
  return VakReadModel(env, VakTerminatedText(file).get(), format);
}

// Writing models: the libraries' writers put the problem into a file beside the wanted one; what
// their formats or writers leave out is mended in its text, and then it takes the place of the
// wanted one.

#include <unistd.h>

#include <CoinFileIO.hpp>
#include <CoinFinite.hpp>
#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <CoinPackedMatrix.hpp>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vakbase/terminated_text.h"
#include "vakenv/core/environment_impl.h"
#include "vaksolver/file_format.h"
#include "vaksolver/file_text.h"
#include "vaksolver/files.h"
#include "vaksolver/messages.h"

namespace {

/// The arrays that both writers take.
struct Problem {
  std::vector<double> lbs;
  std::vector<double> ubs;
  std::vector<double> objective;
  std::vector<char> integer;
  std::vector<double> rowLbs;
  std::vector<double> rowUbs;
  CoinPackedMatrix matrix;
  std::vector<int> unused;  ///< Columns without coefficients, which writers leave out.
  double constant = 0;
  bool isMaximized = false;
  std::vector<std::string> columnNames;
  std::vector<std::string> rowNames;
  std::string objectiveName;
};

/// Makes names that a format can hold and that differ from each other.
class Names {
 public:
  Names(VakFileFormat format, const char* prefix)
      : _isLp(format == VakFileFormat::Lp), _prefix(prefix) {}

  /// The name of the object at `place` in the file.
  std::string make(const char* name, std::size_t place) {
    std::string made = name == nullptr ? "" : name;
    for (char& c : made) {
      if (!canHold(c)) c = '_';
    }
    const std::size_t most = 90;  // Of LP files, with what the writer puts behind.
    if (made.size() > most) made.resize(most);
    if (made.empty() || !canBegin(made))
      made = _prefix + (made.empty() ? std::to_string(place) : made);
    std::string unique = made;
    while (!_taken.insert(unique).second) unique = made + '_' + std::to_string(place++);
    return unique;
  }
  /// Keeps a name from being used.
  void reserve(const std::string& name) { _taken.insert(name); }

 private:
  [[nodiscard]] bool canHold(char c) const {
    if (c <= ' ' || c > '~') return false;
    if (!_isLp) return c != '\'';
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::strchr("!\"#$%&(),.;?@_'`{}~", c) != nullptr;
  }
  [[nodiscard]] bool canBegin(const std::string& name) const {
    if (!_isLp) return name[0] != '*' && name[0] != '$' && name[0] != '-' && !IsNumber(name);
    if (std::isalpha(static_cast<unsigned char>(name[0])) == 0 && name[0] != '_') return false;
    if (name[0] == 'e' || name[0] == 'E') return false;  // As in 1e5.
    return !IsKeyword(name);
  }
  [[nodiscard]] static bool IsNumber(const std::string& name) {
    char* end = nullptr;
    std::strtod(name.c_str(), &end);
    return end != name.c_str();
  }
  [[nodiscard]] static bool IsKeyword(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static const std::unordered_set<std::string> keywords{
        "min",      "max",     "minimize",       "maximize", "minimise", "maximise", "minimum",
        "maximum",  "subject", "such",           "st",       "s.t.",     "st.",      "to",
        "that",     "bounds",  "bound",          "general",  "generals", "gen",      "integer",
        "integers", "int",     "binary",         "binaries", "bin",      "semi",     "semis",
        "sos",      "sos1",    "sos2",           "sec",      "end",      "free",     "inf",
        "infinity", "nan",     "semi-continuous"};
    return keywords.count(name) != 0;
  }

  bool _isLp;
  std::string _prefix;
  std::unordered_set<std::string> _taken;
};

double toBound(VakNum bound) {
  if (bound == VakGetInfinity()) return COIN_DBL_MAX;
  return bound == -VakGetInfinity() ? -COIN_DBL_MAX : bound;
}

/// Reads the problem off the model; the names fit the format.
Problem describe(VakModel model, VakFileFormat format) {
  Problem problem;
  std::unordered_map<VakInt, int> columnOf;
  Names columnNames(format, "x");
  for (const VakNumVar x : model.variables()) {
    columnOf[x.getId()] = static_cast<int>(problem.lbs.size());
    problem.columnNames.push_back(columnNames.make(x.getName(), problem.lbs.size()));
    problem.lbs.push_back(toBound(x.getLB()));
    problem.ubs.push_back(toBound(x.getUB()));
    problem.integer.push_back(x.isInteger() ? 1 : 0);
  }
  problem.objective.assign(problem.lbs.size(), 0);
  Names rowNames(format, "c");
  const VakObjective objective = model.getObjective();
  problem.objectiveName = rowNames.make(objective.isEmpty()              ? "obj"
                                        : objective.getName() == nullptr ? "obj"
                                                                         : objective.getName(),
                                        0);
  if (!objective.isEmpty()) {
    for (const VakTerm& term : objective.terms()) {
      problem.objective[static_cast<std::size_t>(columnOf[term.var.getId()])] = term.coef;
    }
    problem.constant = objective.getConstant();
    problem.isMaximized = objective.getSense() == VakSense::Maximize;
  }
  std::vector<int> members;
  std::vector<double> coefs;
  std::vector<CoinBigIndex> starts{0};
  std::vector<int> lengths;
  std::vector<bool> isUsed(problem.lbs.size(), false);
  for (std::size_t j = 0; j < isUsed.size(); ++j) isUsed[j] = problem.objective[j] != 0;
  for (const VakConstraint c : model.constraints()) {
    const bool isFree = c.getLB() == -VakGetInfinity() && c.getUB() == VakGetInfinity();
    if (isFree && format == VakFileFormat::Lp) continue;
    problem.rowNames.push_back(rowNames.make(c.getName(), problem.rowLbs.size()));
    problem.rowLbs.push_back(toBound(c.getLB()));
    problem.rowUbs.push_back(toBound(c.getUB()));
    for (const VakTerm& term : c.terms()) {
      members.push_back(columnOf[term.var.getId()]);
      coefs.push_back(term.coef);
      isUsed[static_cast<std::size_t>(members.back())] = true;
    }
    lengths.push_back(static_cast<int>(members.size()) - starts.back());
    starts.push_back(static_cast<CoinBigIndex>(members.size()));
  }
  for (std::size_t j = 0; j < isUsed.size(); ++j) {
    if (!isUsed[j]) problem.unused.push_back(static_cast<int>(j));
  }
  // A free row, which readers leave out, holds the unused columns of an MPS file.
  if (format == VakFileFormat::Mps && !problem.unused.empty()) {
    problem.rowNames.push_back(rowNames.make("unused", problem.rowLbs.size()));
    problem.rowLbs.push_back(-COIN_DBL_MAX);
    problem.rowUbs.push_back(COIN_DBL_MAX);
    members.insert(members.end(), problem.unused.begin(), problem.unused.end());
    coefs.insert(coefs.end(), problem.unused.size(), 1);
    lengths.push_back(static_cast<int>(members.size()) - starts.back());
    starts.push_back(static_cast<CoinBigIndex>(members.size()));
  }
  problem.matrix = CoinPackedMatrix(false, static_cast<int>(problem.lbs.size()),
                                    static_cast<int>(problem.rowLbs.size()),
                                    static_cast<CoinBigIndex>(members.size()), coefs.data(),
                                    members.data(), starts.data(), lengths.data());
  return problem;
}

std::vector<const char*> pointersTo(const std::vector<std::string>& names) {
  std::vector<const char*> pointers;
  pointers.reserve(names.size());
  for (const std::string& name : names) pointers.push_back(name.c_str());
  return pointers;
}

/// A file of a name that nobody else uses, in the folder of another one; gone with this object.
class NeighbourFile {
 public:
  explicit NeighbourFile(const char* file) : _name(std::string(file) + ".XXXXXX") {
    const int descriptor = mkstemp(_name.data());
    if (descriptor < 0) throw VakFileError(file, 0, std::strerror(errno));
    close(descriptor);
  }
  ~NeighbourFile() {
    if (!_name.empty()) std::remove(_name.c_str());
  }
  NeighbourFile(const NeighbourFile&) = delete;
  NeighbourFile& operator=(const NeighbourFile&) = delete;

  [[nodiscard]] const char* get() const { return _name.c_str(); }
  [[nodiscard]] std::string read() const {
    std::ifstream in(_name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  /// Takes the place of `file`.
  void rename(const char* file) {
    if (std::rename(_name.c_str(), file) != 0) throw VakFileError(file, 0, std::strerror(errno));
    _name.clear();
  }

 private:
  std::string _name;
};

/// The writer says of integer columns with equal bounds only that they are fixed, which makes them
/// continuous. A lower and an upper bound of an integer column say both.
std::string withFixedIntegers(const Problem& problem, const std::string& text) {
  std::unordered_set<std::string_view> fixed;
  for (std::size_t j = 0; j < problem.lbs.size(); ++j) {
    if (problem.integer[j] != 0 && problem.lbs[j] == problem.ubs[j]) {
      fixed.insert(problem.columnNames[j]);
    }
  }
  if (fixed.empty()) return text;
  std::string made;
  made.reserve(text.size() + 32 * fixed.size());
  VakFileLinesI lines(text);
  while (const auto line = lines.next()) {
    constexpr std::string_view kind = " FX ";
    if (line->substr(0, kind.size()) == kind && fixed.count(VakGetWords(*line)[2]) != 0) {
      const std::string_view rest = line->substr(kind.size() - 1);
      for (const char* each : {" LI", " UI"}) made.append(each).append(rest).append("\n");
    } else {
      made.append(*line).append("\n");
    }
  }
  return made;
}

/// The problem in MPS format. The writer knows no sense of the objective.
std::string makeMps(const Problem& problem, const NeighbourFile& scratch, const char* problemName) {
  constexpr int plain = 0;
  constexpr int accurate = 1;
  constexpr int oneAcross = 1;
  VakMessagesI messages;
  CoinMpsIO writer;
  writer.passInMessageHandler(&messages);
  const auto columns = pointersTo(problem.columnNames);
  const auto rows = pointersTo(problem.rowNames);
  writer.setMpsData(problem.matrix, COIN_DBL_MAX, problem.lbs.data(), problem.ubs.data(),
                    problem.objective.data(), problem.integer.data(), problem.rowLbs.data(),
                    problem.rowUbs.data(), columns.data(), rows.data());
  writer.setProblemName(problemName);
  writer.setObjectiveName(problem.objectiveName.c_str());
  writer.setObjectiveOffset(-problem.constant);
  writer.writeMps(scratch.get(), plain, accurate, oneAcross);
  std::string text = withFixedIntegers(problem, scratch.read());
  if (problem.isMaximized) {
    const auto rowsAt = text.find("\nROWS");
    if (rowsAt != std::string::npos) text.insert(rowsAt, "\nOBJSENSE\n    MAX");
  }
  return text;
}

/// As many decimals as it takes to write the smallest number with 15 digits.
int getDecimals(const Problem& problem) {
  constexpr int digits = 15;
  constexpr int most = 40;
  double least = 1;
  const auto visit = [&least](double number) {
    if (number != 0) least = std::min(least, std::abs(number));
  };
  std::for_each_n(problem.matrix.getElements(), problem.matrix.getNumElements(), visit);
  for (const auto* numbers :
       {&problem.objective, &problem.lbs, &problem.ubs, &problem.rowLbs, &problem.rowUbs}) {
    std::for_each(numbers->begin(), numbers->end(), visit);
  }
  return std::min(most, digits + static_cast<int>(std::ceil(-std::log10(least))));
}

/// Puts the columns that the writer left out into the objective of an LP file.
void addUnused(const Problem& problem, std::string& text) {
  if (problem.unused.empty()) return;
  const std::string begin = '\n' + problem.objectiveName + ':';
  const auto at = text.find(begin);
  if (at == std::string::npos) return;
  std::string terms;
  for (const int column : problem.unused) {
    terms +=
        (terms.empty() ? " 0 " : " + 0 ") + problem.columnNames[static_cast<std::size_t>(column)];
    constexpr std::size_t longLine = 70;
    if (terms.size() - std::min(terms.size(), terms.rfind('\n') + 1) > longLine) terms += '\n';
  }
  const auto behind = at + begin.size();
  const auto next = text.find_first_not_of(' ', behind);
  const bool needsSign =
      next != std::string::npos && text[next] != '-' && text[next] != '+' && text[next] != '\n';
  text.insert(behind, terms + (needsSign ? " +" : ""));
}

/// The problem in LP format. The writer knows no sense but the smaller.
std::string makeLp(const Problem& problem, const NeighbourFile& scratch) {
  constexpr double epsilon = 1e-12;
  constexpr int tenAcross = 10;
  VakMessagesI messages;
  CoinLpIO writer;
  writer.passInMessageHandler(&messages);
  writer.setInfinity(COIN_DBL_MAX);
  writer.setLpDataWithoutRowAndColNames(problem.matrix, problem.lbs.data(), problem.ubs.data(),
                                        problem.objective.data(), problem.integer.data(),
                                        problem.rowLbs.data(), problem.rowUbs.data());
  auto rows = pointersTo(problem.rowNames);
  rows.push_back(problem.objectiveName.c_str());
  const auto columns = pointersTo(problem.columnNames);
  writer.setLpDataRowAndColNames(rows.data(), columns.data());
  writer.setObjectiveOffset(problem.constant);
  writer.writeLp(scratch.get(), epsilon, tenAcross, getDecimals(problem), true);
  std::string text = scratch.read();
  addUnused(problem, text);
  constexpr std::string_view smaller = "Minimize";
  const auto at = text.find(smaller);
  if (problem.isMaximized && at != std::string::npos) text.replace(at, smaller.size(), "Maximize");
  return text;
}

void writeText(const char* file, const std::string& text, NeighbourFile& scratch) {
  const auto compression =
      VakIsGzipped(file) ? CoinFileOutput::COMPRESS_GZIP : CoinFileOutput::COMPRESS_NONE;
  const std::unique_ptr<CoinFileOutput> out(CoinFileOutput::create(scratch.get(), compression));
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t n = std::min<std::size_t>(text.size() - from, 1 << 20);
    if (out->write(text.data() + from, static_cast<int>(n)) != static_cast<int>(n)) {
      throw VakFileError(file, 0, "the disk is full");
    }
    from += n;
  }
}

/// Throws unless the LP format, in which everything has terms, can hold the model.
void requireLpForm(VakModel model, const char* file) {
  if (model.getVariableCount() == 0) {
    throw VakFileError(file, 0, "the LP format cannot hold a model without variables");
  }
  for (const VakConstraint c : model.constraints()) {
    const bool isFree = c.getLB() == -VakGetInfinity() && c.getUB() == VakGetInfinity();
    if (isFree || c.getTermCount() > 0) continue;
    const std::string name = c.getName() == nullptr ? "" : std::string(" ") + c.getName();
    throw VakFileError(file, 0,
                       ("the LP format cannot hold constraint" + name + " without terms").c_str());
  }
}

}  // namespace

void VakWriteModel(VakModel model, const char* file, VakFileFormat format) {
  (void)model.checked();
  if (format == VakFileFormat::ByName) format = VakGetFileFormat(file);
  if (format == VakFileFormat::ByName) {
    throw VakFileError(file, 0, "the name ends neither in .mps nor in .lp");
  }
  if (format == VakFileFormat::Lp) requireLpForm(model, file);
  const Problem problem = describe(model, format);
  NeighbourFile scratch(file);
  try {
    const char* name = model.getName() == nullptr ? "model" : model.getName();
    const std::string text =
        format == VakFileFormat::Mps ? makeMps(problem, scratch, name) : makeLp(problem, scratch);
    writeText(file, text, scratch);
  } catch (const CoinError& error) {
    throw VakFileError(file, 0, error.message().c_str());
  }
  scratch.rename(file);
}

void VakWriteModel(VakModel model, std::string_view file, VakFileFormat format) {
  VakWriteModel(model, VakTerminatedText(file).get(), format);
}

#pragma once

// An algorithm whose problem is a copy of the model in plain containers, kept up to date by its
// hooks.

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "vakmodel/model_algorithm.h"

/// Knows every variable and constraint of its model by number. Solving it finds nothing but the
/// lower bounds.
class MirrorAlgorithm : public VakModelAlgorithmI {
 public:
  explicit MirrorAlgorithm(VakEnv env) : VakModelAlgorithmI(env.getImpl()) {}

  [[nodiscard]] bool hasSolution() const override { return isLoaded() && _isSolved; }

  /// The problem as a text; numbers stand for variables and constraints.
  [[nodiscard]] std::string text() const {
    std::ostringstream text;
    text << (_hasObjective ? (_isMaximized ? "max " : "min ") : "no objective ") << _constant;
    print(text, _objective);
    for (const Row& row : _rows) {
      text << '\n' << row.lb << ".." << row.ub;
      print(text, row.coefs);
    }
    for (const Column& column : _columns) {
      text << '\n' << column.lb << ".." << column.ub << " kind " << static_cast<int>(column.kind);
    }
    return text.str();
  }
  /// What text() must be, read from the model.
  [[nodiscard]] std::string expectedText() const {
    MirrorAlgorithm fresh{VakEnv(_env)};
    fresh.extract(getModel());
    // Numbers may differ: the fresh one has those of the model.
    fresh.renumberLike(*this);
    return fresh.text();
  }

  int loads = 0;                          ///< How often the problem was built.
  std::string log;                        ///< Names of the hooks that were called.
  std::function<void()> onRun;            ///< Called by run().
  std::function<void()> onHook;           ///< Called by every hook before it does anything.
  std::vector<VakExtractableI*> refused;  ///< What the next hook refuses; none when empty.

  using VakModelAlgorithmI::isAborting;

 protected:
  using Coefs = std::map<int, VakNum>;  // By column.
  struct Row {
    VakNum lb;
    VakNum ub;
    Coefs coefs;
  };
  struct Column {
    VakNum lb;
    VakNum ub;
    VakVarKind kind;
  };

  void load() override {
    ++loads;
    for (int j = 0; j < getColumnCount(); ++j) _columns.push_back(readColumn(j));
    for (int i = 0; i < getRowCount(); ++i) _rows.push_back(readRow(i));
    readObjective();
  }
  void unload() override {
    _columns.clear();
    _rows.clear();
    _objective.clear();
    _hasObjective = false;
    _isSolved = false;
  }
  VakStatus run() override {
    if (onRun) onRun();
    _isSolved = true;
    return VakStatus::Optimal;
  }
  [[nodiscard]] VakNum getColumnValue(int column) const override {
    return _columns[static_cast<std::size_t>(column)].lb;
  }

  void boundsChanged(std::span<const int> columns) override {
    enter("bounds");
    for (const int j : columns) _columns[static_cast<std::size_t>(j)] = readColumn(j);
  }
  void kindsChanged(std::span<const int> columns) override {
    enter("kinds");
    for (const int j : columns) _columns[static_cast<std::size_t>(j)] = readColumn(j);
  }
  void rowBoundsChanged(std::span<const int> rows) override {
    enter("rowBounds");
    for (const int i : rows) {
      Row& row = _rows[static_cast<std::size_t>(i)];
      row.lb = getConstraint(i)->_lb;
      row.ub = getConstraint(i)->_ub;
    }
  }
  void coefsChanged(std::span<const Entry> entries) override {
    enter("coefs");
    for (const Entry& entry : entries) set(entry);
  }
  void rowChanged(int row) override {
    enter("row");
    _rows[static_cast<std::size_t>(row)] = readRow(row);
  }
  void objectiveChanged() override {
    enter("objective");
    readObjective();
  }
  void senseChanged() override {
    enter("sense");
    _isMaximized = getModel().getObjective().getSense() == VakSense::Maximize;
  }
  void constantChanged() override {
    enter("constant");
    _constant = getModel().getObjective().getConstant();
  }
  void columnsAdded(int first, int count, std::span<const Entry> entries) override {
    enter("columnsAdded");
    for (int j = first; j < first + count; ++j) _columns.push_back(readColumn(j));
    for (const Entry& entry : entries) set(entry);
  }
  void rowsAdded(int first, int count) override {
    enter("rowsAdded");
    for (int i = first; i < first + count; ++i) _rows.push_back(readRow(i));
  }
  void rowsRemoved(std::span<const int> rows) override {
    enter("rowsRemoved");
    for (auto i = rows.rbegin(); i != rows.rend(); ++i) _rows.erase(_rows.begin() + *i);
  }
  void columnsRemoved(std::span<const int> columns) override {
    enter("columnsRemoved");
    for (auto j = columns.rbegin(); j != columns.rend(); ++j) {
      _columns.erase(_columns.begin() + *j);
      moveUp(_objective, *j);
      for (Row& row : _rows) moveUp(row.coefs, *j);
    }
  }

 private:
  void enter(const char* hook) {
    log += (log.empty() ? "" : " ") + std::string(hook);
    if (onHook) onHook();
    if (refused.empty()) return;
    const std::vector<VakExtractableI*> objects = std::move(refused);
    refused.clear();
    refuse(objects);
  }
  [[nodiscard]] Column readColumn(int j) const {
    const VakModelVarI* variable = getVariable(j);
    return {variable->getLB(), variable->getUB(), variable->getKind()};
  }
  [[nodiscard]] Row readRow(int i) const {
    const VakConstraintI* constraint = getConstraint(i);
    Row row{constraint->_lb, constraint->_ub, {}};
    forEachTerm(constraint, [&](int column, VakNum coef) { row.coefs[column] = coef; });
    return row;
  }
  void readObjective() {
    _objective.clear();
    const VakObjective objective = getModel().getObjective();
    _hasObjective = !objective.isEmpty();
    _isMaximized = _hasObjective && objective.getSense() == VakSense::Maximize;
    _constant = _hasObjective ? objective.getConstant() : 0;
    if (!_hasObjective) return;
    forEachTerm(objective.getImpl(), [&](int column, VakNum coef) { _objective[column] = coef; });
  }
  void set(const Entry& entry) {
    Coefs& coefs =
        entry.row == ObjectiveRow ? _objective : _rows[static_cast<std::size_t>(entry.row)].coefs;
    if (entry.coef == 0) {
      coefs.erase(entry.column);
    } else {
      coefs[entry.column] = entry.coef;
    }
  }
  static void moveUp(Coefs& coefs, int removed) {
    Coefs moved;
    for (const auto& [column, coef] : coefs) {
      if (column != removed) moved[column > removed ? column - 1 : column] = coef;
    }
    coefs = moved;
  }
  static void print(std::ostream& out, const Coefs& coefs) {
    for (const auto& [column, coef] : coefs) out << ' ' << column << ':' << coef;
  }
  // Gives columns and rows the numbers that they have in another algorithm with the same model.
  void renumberLike(const MirrorAlgorithm& other) {
    std::vector<int> newNumber;
    std::vector<Column> columns(_columns.size());
    for (int j = 0; j < getColumnCount(); ++j) {
      newNumber.push_back(other.getColumn(getVariable(j)));
      columns.at(static_cast<std::size_t>(newNumber.back())) =
          _columns[static_cast<std::size_t>(j)];
    }
    const auto renumber = [&](const Coefs& coefs) {
      Coefs result;
      for (const auto& [column, coef] : coefs) {
        result[newNumber[static_cast<std::size_t>(column)]] = coef;
      }
      return result;
    };
    std::vector<Row> rows(_rows.size());
    for (int i = 0; i < getRowCount(); ++i) {
      Row& row = rows.at(static_cast<std::size_t>(other.getRow(getConstraint(i))));
      row = _rows[static_cast<std::size_t>(i)];
      row.coefs = renumber(row.coefs);
    }
    _objective = renumber(_objective);
    _columns = columns;
    _rows = rows;
  }

  std::vector<Column> _columns;
  std::vector<Row> _rows;
  Coefs _objective;
  VakNum _constant = 0;
  bool _hasObjective = false;
  bool _isMaximized = false;
  bool _isSolved = false;
};

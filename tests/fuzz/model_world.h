#pragma once

// What the target `models` expects of an environment: plain records of all that was made in it, how
// the bytes of an input choose among them, and the comparison of the records with the objects.

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/fuzz/program.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "vakbase/globals.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/modelling.h"

/// What listeners throw that is no refusal.
struct FuzzTrouble {};

/// An algorithm that refuses the next change when it is told to, or throws something else.
class FuzzListener : public VakAlgorithmI {
 public:
  explicit FuzzListener(VakEnv env) : VakAlgorithmI(env.getImpl()) { attach(); }
  void change(const VakChange&, const VakExtractableI*) override { tell(); }
  void change(const VakChange&) override { tell(); }

  bool refusesNext = false;
  bool throwsNext = false;

 private:
  void tell();
};

using FuzzTerms = std::map<VakExtractableI*, VakNum>;

struct FuzzVar {
  VakNumVar handle;
  VakNum lb = 0;
  VakNum ub = 0;
  VakVarKind kind = VakVarKind::Continuous;

  /// True when it may not get these bounds.
  [[nodiscard]] bool refuses(VakNum newLB, VakNum newUB) const {
    return newLB > newUB || (kind == VakVarKind::Boolean && (newLB < 0 || newUB > 1));
  }
  /// True when it may not get this kind.
  [[nodiscard]] bool refuses(VakVarKind newKind) const {
    return newKind == VakVarKind::Boolean && (lb < 0 || ub > 1);
  }
};

/// A constraint, or an objective with its constant in `lb`.
struct FuzzRow {
  VakLinear handle;
  FuzzTerms terms;
  VakNum lb = 0;
  VakNum ub = 0;
  bool isKept = false;
  bool isObjective = false;
  bool isMaximized = false;
  VakExtractableI* model = nullptr;

  [[nodiscard]] VakConstraint constraint() const { return VakConstraint::From(handle); }
  [[nodiscard]] VakObjective objective() const { return VakObjective::From(handle); }
  void put(VakExtractableI* x, VakNum coef);
};

struct FuzzModel {
  VakModel handle;
  std::set<VakExtractableI*> vars;
};

/// A stored expression.
struct FuzzStored {
  VakNumExpr handle;
  FuzzTerms terms;
  VakNum constant = 0;
};

/// Records by object, and the objects in the order in which they were entered, which does not
/// depend on addresses.
template <class Record>
class FuzzTable {
 public:
  Record& add(const Record& record) {
    VakExtractableI* key = record.handle.VakExtractable::getImpl();
    VAK_FUZZ_REQUIRE(_records.emplace(key, record).second);
    _order.push_back(key);
    return _records.at(key);
  }
  void drop(VakExtractableI* key) {
    _records.erase(key);
    std::erase(_order, key);
  }
  [[nodiscard]] Record& at(VakExtractableI* key) { return _records.at(key); }
  [[nodiscard]] bool holds(VakExtractableI* key) const { return _records.count(key) > 0; }
  [[nodiscard]] std::size_t size() const { return _order.size(); }
  /// One of them, as the next byte says; null when there is none.
  [[nodiscard]] Record* any(VakFuzzProgram& program) {
    if (_order.empty()) return nullptr;
    return &_records.at(_order[static_cast<std::size_t>(program.byte()) % _order.size()]);
  }
  [[nodiscard]] const std::vector<VakExtractableI*>& order() const { return _order; }
  [[nodiscard]] auto begin() { return _records.begin(); }
  [[nodiscard]] auto end() { return _records.end(); }

 private:
  std::map<VakExtractableI*, Record> _records;
  std::vector<VakExtractableI*> _order;
};

/// All that is expected of one environment, with the algorithms that listen to it.
class ModelWorld {
 public:
  static constexpr std::size_t Most = 12;  ///< Objects of a class, about.

  explicit ModelWorld(VakFuzzProgram& bytes);
  ~ModelWorld();
  ModelWorld(const ModelWorld&) = delete;
  ModelWorld& operator=(const ModelWorld&) = delete;

  // ---- Choosing ---------------------------------------------------------------------------------

  FuzzVar* anyVar() { return vars.any(program); }
  FuzzRow* anyRow() { return rows.any(program); }
  /// A row that is a constraint, or null.
  FuzzRow* anyConstraint();
  FuzzModel* anyModel() { return models.any(program); }
  VakExtractable anyObject();
  VakNum anyNumber() { return program.byte() - 128; }
  VakNum anyCoef() { return program.below(5) - 2; }
  VakVarKind anyKind();
  std::string anyName();
  VakExpr anyExpr();

  // ---- Doing ------------------------------------------------------------------------------------

  /// Does what algorithms may refuse. True when none did, so that the records are to change.
  template <class Operation>
  bool attempt(Operation operation) {
    const Armed armed(*this);
    try {
      operation();
    } catch (VakAlgorithm::CannotChangeException& refusal) {
      refusal.end();
      return false;
    } catch (const FuzzTrouble&) {
      return false;
    }
    return true;
  }
  /// The same for what has to be refused with a VakModelError when it is wrong, and only then.
  template <class Operation>
  bool attemptUnless(bool isWrong, Operation operation) {
    bool isDone = false;
    const std::string message = VakFuzzMessage<VakModelError>([&] { isDone = attempt(operation); });
    VAK_FUZZ_REQUIRE(message.empty() != isWrong);
    return isDone;
  }

  // ---- Records ----------------------------------------------------------------------------------

  [[nodiscard]] static VakExtractableI* IdOf(VakExtractable object) { return object.getImpl(); }
  [[nodiscard]] static FuzzTerms TermsOf(const VakExpr& expr);
  [[nodiscard]] FuzzRow* objectiveOf(const FuzzModel& model);
  /// Enters the variables of a row that is in a model into the model.
  void join(const FuzzRow& row);
  /// Takes the variables among `gone` out of everything but what is `spared`; returns the rows
  /// that lost their last one.
  std::vector<VakExtractableI*> strike(const std::set<VakExtractableI*>& gone,
                                       const std::set<VakExtractableI*>& spared = {});
  void forgetRow(VakExtractableI* key);
  void forgetVar(VakExtractableI* key);
  void forgetModel(VakExtractableI* key);
  void forgetStored(VakExtractableI* key);
  [[nodiscard]] VakInt countObjects() const;

  // ---- Comparing --------------------------------------------------------------------------------

  /// Fails unless everything is as recorded and passes its own checks.
  void compare();

  VakFuzzProgram& program;
  VakFuzzEnv scope;
  VakEnv env;
  FuzzListener* listener;             ///< Ends with the environment, attached.
  MirrorAlgorithm* mirror = nullptr;  ///< Ends with the environment; null for none.
  VakExtractableI* mirrored = nullptr;

  FuzzTable<FuzzVar> vars;
  FuzzTable<FuzzRow> rows;
  FuzzTable<FuzzModel> models;
  FuzzTable<FuzzStored> stored;
  std::map<VakExtractableI*, std::string> names;  ///< Of what has one.

 private:
  /// Makes one of the algorithms refuse, now and then, while it lives.
  class Armed {
   public:
    explicit Armed(ModelWorld& world);
    ~Armed();
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;

   private:
    ModelWorld& _world;
  };

  void compareName(VakExtractable object) const;
  void compareRow(const FuzzRow& row) const;
  void compareModel(const FuzzModel& model);
  void compareMirror() const;
};

// Algorithms that extract and solve models, and the changes that they are told of.

#include <span>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "vakmodel/changes.h"
#include "vakmodel/object_text.h"
#include "vakmodel/objects_view.h"

namespace {

// A model world with an algorithm whose hooks can fail. It keeps its problem in containers of the
// standard library, so it can also run out of memory.
struct Solved : VakModelWorld {
  explicit Solved(VakStage& s) : VakModelWorld(s), algorithm(new MirrorAlgorithm(env)) {
    algorithm->onHook = [] { VakFailingCallback::Tick(); };
    algorithm->onRun = [] { VakFailingCallback::Tick(); };
  }

  // What is wrong with the algorithm's problem, which may have been dropped.
  [[nodiscard]] std::string checkProblem() const {
    if (algorithm->isRunning()) return "the algorithm is running";
    if (algorithm->getModel().isEmpty() || !algorithm->isLoaded()) return "";
    return algorithm->text() == algorithm->expectedText() ? "" : "the problem differs";
  }

  MirrorAlgorithm* algorithm;
};

// A change of a model whose problem is loaded.
VakScene changing(VakStage& s, void (*change)(VakModelWorld& w)) {
  auto& w = s.keep<Solved>(s);
  w.algorithm->extract(w.m);
  static_cast<void>(w.algorithm->solve());
  w.before = w.state();
  return {.act = [&w, change] { change(w); },
          .undo =
              [&w] {
                w.algorithm->onRun = {};
                static_cast<void>(w.algorithm->solve());
              },
          .afterFailure = [&w]() -> std::string {
            return w.state() == w.before ? w.checkProblem() : "the model was changed";
          },
          .afterSuccess = [&w] { return w.checkProblem(); },
          .mayKeep = "lists of the model, and tables of the environment, keep the room they got"};
}

// A removal from everything, which is not all or nothing.
VakScene removing(VakStage& s, void (*remove)(VakModelWorld& w)) {
  VakScene scene = changing(s, remove);
  scene.afterFailure = {};
  scene.mayKeep = "what was taken out or ended before stays so";
  return scene;
}

const std::vector<VakFaultOperation> _operations = {
    {"make an algorithm", "VakModelAlgorithmI::VakModelAlgorithmI*",
     [](VakStage& s) {
       auto& algorithm = s.keep<MirrorAlgorithm*>(nullptr);
       return VakScene{.act = [&] { algorithm = new MirrorAlgorithm(s.env); },
                       .undo = [&] { algorithm->end(); }};
     }},
    {"extract a model",
     "VakModelAlgorithmI::extract VakModelAlgorithmI::clear VakModelAlgorithmI::getModel "
     "VakModelAlgorithmI::isLoaded",
     [](VakStage& s) {
       auto& w = s.keep<Solved>(s);
       return VakScene{.act = [&w] { w.algorithm->extract(w.m); },
                       .undo = [&w] { w.algorithm->clear(); },
                       .afterFailure = [&w]() -> std::string {
                         if (w.algorithm->isLoaded()) return "a problem is loaded";
                         return w.algorithm->getModel().isEmpty() ? "" : "there is a model";
                       },
                       .afterSuccess = [&w] { return w.checkProblem(); }};
     }},
    {"solve a model",
     "VakModelAlgorithmI::solve VakModelAlgorithmI::getStatus VakModelAlgorithmI::isRunning "
     "VakModelAlgorithmI::abort VakGetStatusName",
     [](VakStage& s) {
       auto& w = s.keep<Solved>(s);
       w.algorithm->extract(w.m);
       w.m.add(w.loose);
       return VakScene{.act =
                           [&w] {
                             w.algorithm->abort();
                             static_cast<void>(w.algorithm->solve());
                             if (VakGetStatusName(w.algorithm->getStatus()) == nullptr) {
                               throw std::logic_error("a status");
                             }
                           },
                       .undo = [&w] { w.algorithm->clear(); },
                       .afterFailure = [&w]() -> std::string {
                         if (w.algorithm->getStatus() == VakStatus::Optimal) return "it is solved";
                         return w.checkProblem();
                       }};
     }},
    {"end an algorithm that is solving", "VakModelAlgorithmI::end VakModelAlgorithmI::solve",
     [](VakStage& s) {
       auto& w = s.keep<Solved>(s);
       w.algorithm->extract(w.m);
       w.m.add(w.loose);
       w.algorithm->onRun = [&w] {
         std::exchange(w.algorithm, nullptr)->end();
         VakFailingCallback::Tick();
       };
       return VakScene{.act = [&w] {
         if (w.algorithm != nullptr) static_cast<void>(w.algorithm->solve());
       }};
     }},
    {"read a solution",
     "VakModelAlgorithmI::getValue VakModelAlgorithmI::getObjectiveValue "
     "VakModelAlgorithmI::hasSolution VakModelAlgorithmI::makeModelEvaluator "
     "VakModelAlgorithmI::getColumnCount VakModelAlgorithmI::getRowCount "
     "VakModelAlgorithmI::getVariable VakModelAlgorithmI::getConstraint "
     "VakModelAlgorithmI::getColumn VakModelAlgorithmI::getRow VakModelAlgorithmI::forEachTerm",
     [](VakStage& s) {
       auto& w = s.keep<Solved>(s);
       w.algorithm->extract(w.m);
       static_cast<void>(w.algorithm->solve());
       return VakScene{.act = [&w] {
         MirrorAlgorithm& a = *w.algorithm;
         a.makeModelEvaluator();
         bool fine = a.hasSolution() && a.getValue(w.x) == 0 && a.getValue(w.x + 1) == 1;
         fine = fine && a.getObjectiveValue() == -1 && a.getColumnCount() == 2;
         fine = fine && a.getRow(a.getConstraint(a.getRowCount() - 1)) == 1;
         fine = fine && a.getColumn(a.getVariable(1)) == 1;
         int terms = 0;
         a.forEachTerm(w.c.getImpl(), [&](int, VakNum) { ++terms; });
         fine = fine && terms == 2 && a._modelEvaluator->evaluate(w.x.getImpl()) == 0;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"tell an algorithm of new bounds",
     "VakModelAlgorithmI::change VakBoundsChange::VakBoundsChange* "
     "VakVariablesChange::getVariables*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.x.setBounds(1.5, 2.5); }); }},
    {"tell an algorithm of a new kind", "VakModelAlgorithmI::change VakKindChange::VakKindChange*",
     [](VakStage& s) {
       return changing(s, [](VakModelWorld& w) { w.x.setKind(VakVarKind::Integer); });
     }},
    {"tell an algorithm of new bounds of a constraint",
     "VakRowBoundsChange::VakRowBoundsChange* VakRowBoundsChange::getConstraints*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.c.setBounds(1, 2); }); }},
    {"tell an algorithm of a coefficient",
     "VakCoefsChange::VakCoefsChange* VakCoefsChange::getCoefs*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.c.setCoef(w.z, 3); }); }},
    {"tell an algorithm of other terms",
     "VakTermsChange::VakTermsChange* VakLinearChange::getLinear*",
     [](VakStage& s) {
       return changing(s, [](VakModelWorld& w) { w.c.setRelation(1 <= 2 * w.z + w.x <= 5); });
     }},
    {"tell an algorithm of the sense", "VakSenseChange::VakSenseChange*",
     [](VakStage& s) {
       return changing(s, [](VakModelWorld& w) { w.o.setSense(VakSense::Minimize); });
     }},
    {"tell an algorithm of the constant", "VakConstantChange::VakConstantChange*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.o.setConstant(9); }); }},
    {"tell an algorithm of another objective", "VakTermsChange::VakTermsChange*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.o.setExpr(w.z + w.y); }); }},
    {"tell an algorithm of what joined the model",
     "VakAddChange::VakAddChange* VakAddChange::getCoefs* VakMembersChange::getModel "
     "VakMembersChange::getMembers*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.m.add(w.loose); }); }},
    {"tell an algorithm of new columns", "VakAddChange::VakAddChange*",
     [](VakStage& s) {
       return changing(s, [](VakModelWorld& w) {
         const std::array rows = {w.c, w.d};
         const std::array coefs = {1.0, 2.0};
         w.m.addColumn(0, 1.5, 2, rows, coefs);
       });
     }},
    {"tell an algorithm of what left the model", "VakRemoveChange::VakRemoveChange*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.m.remove(w.y); }); }},
    {"tell an algorithm of a constraint that left the model", "VakRemoveChange::VakRemoveChange*",
     [](VakStage& s) { return changing(s, [](VakModelWorld& w) { w.m.remove(w.c); }); }},
    {"tell an algorithm of the end of a variable",
     "VakDestroyExtractable::VakDestroyExtractable* VakDestroyExtractable::getExtractable* "
     "VakRemoveFromAllChange::VakRemoveFromAllChange* VakRemoveFromAllChange::getExtractables*",
     [](VakStage& s) { return removing(s, [](VakModelWorld& w) { w.y.end(); }); }},
    {"tell an algorithm of the end of a constraint", "VakModelAlgorithmI::change",
     [](VakStage& s) { return removing(s, [](VakModelWorld& w) { w.c.end(); }); }},
    {"build and look into changes by hand",
     "VakObjectsView::VakObjectsView VakObjectsView::size VakObjectsView::empty "
     "VakObjectsView::operator[] VakObjectsView::begin VakObjectsView::end "
     "VakObjectText::VakObjectText "
     "VakObjectText::get",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         VakModelVarI* variables[] = {w.x.getImpl(), w.y.getImpl()};
         const VakBoundsChange bounds(variables);
         const VakKindChange kinds(variables);
         VakConstraintI* rows[] = {w.c.getImpl()};
         const VakRowBoundsChange rowBounds(rows);
         const VakCoefI coefs[] = {{w.c.getImpl(), w.x.getImpl(), 1}};
         const VakCoefsChange coefChange(coefs);
         const VakTermsChange terms(w.c.getImpl());
         const VakSenseChange sense(w.o.getImpl());
         const VakConstantChange constant(w.o.getImpl());
         VakMembersView members;
         members.variables =
             VakObjectsView<VakModelVarI>(std::span<VakModelVarI* const>(variables));
         const VakAddChange added(w.m.getImpl(), members, coefs);
         const VakRemoveChange removed(w.m.getImpl(), members);
         const VakDestroyExtractable destroyed(w.x.getImpl());
         const VakRemoveFromAllChange fromAll{VakExtractableArray()};
         bool fine = bounds.getVariables().size() == kinds.getVariables().size();
         fine = fine && rowBounds.getConstraints()[0] == w.c.getImpl();
         fine = fine && coefChange.getCoefs().size() == added.getCoefs().size();
         fine = fine && terms.getLinear() == w.c.getImpl() &&
                sense.getLinear() == constant.getLinear();
         fine = fine && added.getModel() == removed.getModel();
         const auto& view = added.getMembers().variables;
         fine = fine && view.size() == 2 && !view.empty() && view[1] == w.y.getImpl();
         for (const VakModelVarI* variable : view) fine = fine && variable != nullptr;
         fine = fine && view.begin() != view.end();
         fine = fine && destroyed.getExtractable() == w.x.getImpl();
         fine = fine && fromAll.getExtractables().isEmpty();
         fine = fine && std::string_view(VakObjectText(w.x.getImpl()).get()) == "variable \"x\"";
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"use the modelling layer wrongly",
     "VakModelError::VakModelError VakModelError::getObject VakModelError::operator= "
     "VakModelMismatch::VakModelMismatch VakModelMismatch::getObject VakModelMismatch::operator= "
     "VakErrorText::VakErrorText VakErrorText::text VakThrowModelError VakThrowMismatch "
     "VakThrowUnusable VakThrowBounds VakThrowCoef VakThrowSizeMismatch VakCheckBounds "
     "VakCheckCoef VakCheckConstant VakCheckSizes VakCheckUsable "
     "VakNoChangeDuringSearchException::VakNoChangeDuringSearchException "
     "VakArrayError::VakArrayError",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& x = s.keep<VakNumVar>(s.other, 0, 1);
       return VakScene{.act = [&w, &x] {
         VakModelVarI* impl = w.x.getImpl();
         VakEnvI* env = w.env.getImpl();
         const std::array<std::function<void()>, 10> wrong = {
             [&] { VakThrowModelError(impl, "%d", 3); },
             [&] { VakThrowMismatch(x.getImpl(), w.c.getImpl()); },
             [&] { VakThrowUnusable(impl); },
             [&] { VakThrowBounds(impl, "what", 1, 0); },
             [&] { VakThrowCoef(impl, w.c.getImpl(), 1); },
             [&] { VakThrowSizeMismatch("what", 1, 2); },
             [&] { VakCheckBounds(impl, "what", 2, 1); },
             [&] { VakCheckCoef(impl, w.c.getImpl(), VakGetInfinity()); },
             [&] { VakCheckUsable(x.getImpl(), env, nullptr); },
             [&] { VakCheckSizes("what", 1, 2); }};
         int caught = 0;
         for (const auto& action : wrong) {
           try {
             action();
           } catch (VakModelError& e) {
             const VakModelError copy(e);
             e = copy;
             static_cast<void>(e.getObject());
             ++caught;
           } catch (VakModelMismatch& e) {
             const VakModelMismatch copy(e);
             e = copy;
             if (e.getObject().is(x)) ++caught;
           }
         }
         VakCheckConstant(impl, "what", 1);
         const VakErrorText text("a text");
         const VakNoChangeDuringSearchException running;
         const VakArrayError error("a text");
         bool fine = caught == 10 && std::string_view(text.text()) == error.getMessage();
         fine = fine && running.getMessage() != nullptr;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
};

}  // namespace

VakFaultGroup VakAlgorithmFaults() { return {"Algorithms and changes", _operations}; }

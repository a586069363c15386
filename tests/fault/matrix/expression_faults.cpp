// Expressions and relations as values, stored expressions, constraints, objectives.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "vakmodel/contract/model_evaluator.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/term_list.h"
#include "vakmodel/variable_impl.h"

namespace {

// Work on an expression, which is as before when it fails.
VakScene working(VakStage& s, VakExpr (*start)(VakModelWorld& w),
                 void (*work)(VakModelWorld& w, VakExpr& e)) {
  auto& w = s.keep<VakModelWorld>(s);
  auto& e = s.keep<VakExpr>();
  return {.act =
              [&w, &e, start, work] {
                e = start(w);
                work(w, e);
              },
          .undo = [&e] { e = VakExpr(); }};
}

const std::vector<VakFaultOperation> _operations = {
    {"add up variables, terms and numbers",
     "VakExpr::VakExpr VakExpr::operator+= VakExpr::operator-= VakExpr::operator*= "
     "VakExpr::operator/= VakTerm::VakTerm VakMakeExpr operator+ operator- operator* operator/ "
     "VakExpr::addTerm VakExpr::negate VakExpr::reserve VakExpr::setConstant",
     [](VakStage& s) {
       return working(
           s, [](VakModelWorld& w) { return 2 * w.x + w.y / 4 - VakTerm(w.z, 3) + w.e; },
           [](VakModelWorld& w, VakExpr& e) {
             e += 1;
             e -= 2;
             e += w.x;
             e -= w.y;
             e += VakTerm(w.z, 1);
             e -= VakTerm(w.z, 2);
             e += w.x + w.y;
             e -= VakMakeExpr(w.x);
             e *= 2;
             e /= 4;
             e = -(+e) - 3;
             e.negate();
             e.reserve(100);
             e.addTerm(w.x, 4);
             e.setConstant(1);
           });
     }},
    {"put an expression in order and substitute in it",
     "VakExpr::normalize VakExpr::isNormal VakExpr::substitute VakExpr::getCoef "
     "VakExpr::getConstant VakExpr::getTerms VakExpr::isConstant VakExpr::clear",
     [](VakStage& s) {
       return working(
           s, [](VakModelWorld& w) { return 2 * w.x + w.y + w.x - w.y; },
           [](VakModelWorld& w, VakExpr& e) {
             for (int i = 0; i < 40; ++i) e += w.x - w.z;
             e.substitute(w.x, w.x + 2 * w.y);
             e.normalize();
             static_cast<void>(e.isNormal());
             bool fine = e.getCoef(w.x) == 43 && e.getTerms().size() == 3;
             fine = fine && e.getConstant() == 0 && !e.isConstant();
             e.clear();
             if (!fine) throw std::logic_error("an expression");
           });
     }},
    {"put an expression of many variables in order", "VakExpr::normalize",
     [](VakStage& s) {
       auto& array = s.keep<VakNumVarArray>(s.env, 100, 0, 1);
       auto& e = s.keep<VakExpr>();
       return VakScene{.act =
                           [&] {
                             e = VakSum(array) + VakSum(array);
                             e.normalize();
                           },
                       .undo = [&] { e = VakExpr(); }};
     }},
    {"sum over arrays", "VakSum VakScalProd VakCountOf",
     [](VakStage& s) {
       struct Arrays {
         VakNumVarArray vars;
         std::vector<VakNum> coefs = std::vector<VakNum>(20, 2);
         VakExpr e;
       };
       auto& arrays = s.keep<Arrays>();
       arrays.vars = VakNumVarArray(s.env, 20, 0, 1);
       return VakScene{.act =
                           [&] {
                             arrays.e =
                                 VakSum(arrays.vars) + VakScalProd(arrays.coefs, arrays.vars);
                             arrays.e += VakSum(arrays.coefs, [&](VakNum coef) {
                               VakFailingCallback::Tick();
                               return coef * arrays.vars[0];
                             });
                             if (VakCountOf(arrays.vars) != 20) throw std::logic_error("a count");
                           },
                       .undo = [&] { arrays.e = VakExpr(); }};
     }},
    {"compare expressions",
     "VakRelation::VakRelation VakRelation::LessOrEqual VakRelation::GreaterOrEqual "
     "VakRelation::Equal VakRelation::addUpper VakRelation::addLower VakRelation::getExpr "
     "VakRelation::getLB VakRelation::getUB VakBetween operator<= operator>= operator==",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         const VakRelation between = 1 <= w.x + w.y <= 4;
         const VakRelation above = 4 >= w.x + w.y >= 1;
         const VakRelation equal = w.x + w.y == 2 * w.z;
         const VakRelation same = VakBetween(1, w.x, 2);
         VakRelation open = VakRelation::LessOrEqual(1, w.x, true);
         open.addUpper(3);
         VakRelation other = VakRelation::GreaterOrEqual(4, w.x, true);
         other.addLower(1);
         const VakRelation third = VakRelation::Equal(w.x, w.y, false);
         bool fine = between.getLB() == above.getLB() && equal.getExpr().getTerms().size() == 3;
         fine = fine && same.getUB() == 2 && third.getUB() == 0;
         if (!fine) throw std::logic_error("a relation");
       }};
     }},
    {"print expressions and relations",
     "operator<<(VakExpr) operator<<(VakTerm) operator<<(VakRelation) operator<<(VakVarEquality) "
     "operator<<(VakConstraint) operator<<(VakObjective) operator<<(VakModel) "
     "operator<<(VakExtractable)",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& out = s.keep<VakUserStream>();
       return VakScene{.act =
                           [&w, &out] {
                             out << w.x + 2 * w.y - 1 << 2 * w.x;
                             out << (1 <= w.x - w.y <= 3) << (w.x == w.y);
                             out << w.c << w.o << w.m << VakExtractable(w.c.getImpl());
                           },
                       .prepare = [&out] { out.clear(); }};
     }},
    {"print the words of models",
     "operator<<(VakVarKind) operator<<(VakSense) operator<<(VakStatus)",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       return VakScene{
           .act =
               [&out] { out << VakVarKind::Integer << VakSense::Maximize << VakStatus::Optimal; },
           .prepare = [&out] { out.clear(); }};
     }},
    {"make a stored expression", "VakNumExpr::VakNumExpr VakNumLinExprI::Make*",
     [](VakStage& s) {
       return VakMakeObject<VakNumExpr>(
           s, [](VakModelWorld& w) { return VakNumExpr(w.env, 3 * w.x + w.y + w.x, "stored"); });
     }},
    {"change a stored expression", "VakNumExpr::setExpr VakNumLinExprI::setExpr",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.e.setExpr(w.z + w.y + w.z - 4); });
     }},
    {"ask a stored expression about itself",
     "VakNumExpr::From VakNumExpr::getImpl VakNumExpr::checked VakNumExpr::getConstant "
     "VakNumExpr::terms VakNumExpr::getExpr VakNumExpr::evaluate VakNumLinExprI::evaluate",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& point = s.keep<VakModelEvaluatorI>();
       return VakScene{.act = [&w, &point] {
         const VakNumExpr same = VakNumExpr::From(w.e);
         point.setValue(w.x.getImpl(), 1);
         point.setValue(w.z.getImpl(), 2);
         bool fine = same.getImpl() == w.e.checked() && same.getConstant() == 0;
         fine = fine && same.evaluate(point) == 3 && same.getImpl()->evaluate(point) == 3;
         fine = fine && same.getExpr().getTerms().size() == 2 &&
                same.terms().begin() != same.terms().end();
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"clone a stored expression", "VakNumLinExprI::makeClone",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       w.env.getImpl()->lockCloning();
       for (const VakNumVar v : {w.x, w.y, w.z})
         w.env.getImpl()->setClone(v.getImpl(), v.getImpl());
       auto& copy = s.keep<VakExtractable>();
       return VakScene{
           .act = [&w, &copy] { copy = VakExtractable(w.e.getImpl()->makeClone(w.env.getImpl())); },
           .undo = [&copy] { copy.end(); },
           .mayKeep = "tables of the environment keep the room they got"};
     }},
    {"make a constraint",
     "VakConstraint::VakConstraint VakConstraintI::Make* VakLinear::VakLinear*",
     [](VakStage& s) {
       return VakMakeObject<VakConstraint>(
           s, [](VakModelWorld& w) { return VakConstraint(w.env, 3 * w.x + w.y <= 4, "made"); });
     }},
    {"make a constraint without terms", "VakConstraint::VakConstraint",
     [](VakStage& s) {
       return VakMakeObject<VakConstraint>(
           s, [](VakModelWorld& w) { return VakConstraint(w.env, 1, 4, "made"); });
     }},
    {"make an objective",
     "VakObjective::VakObjective VakMinimize::VakMinimize VakObjectiveI::Make*",
     [](VakStage& s) {
       return VakMakeObject<VakObjective>(s, [](VakModelWorld& w) -> VakObjective {
         return VakMinimize(w.env, 3 * w.x + w.y + 5, "made");
       });
     }},
    {"make an objective that is to be maximised", "VakMaximize::VakMaximize",
     [](VakStage& s) {
       return VakMakeObject<VakObjective>(
           s, [](VakModelWorld& w) -> VakObjective { return VakMaximize(w.env, w.x); });
     }},
    {"change the bounds of a constraint",
     "VakConstraint::setBounds "
     "VakConstraintI::setBounds",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.c.setBounds(1, 2); }); }},
    {"change the lower bound of a constraint", "VakConstraint::setLB",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.c.setLB(1); }); }},
    {"change the upper bound of a constraint", "VakConstraint::setUB",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.c.setUB(1); }); }},
    {"change the bounds of many constraints", "VakSetBounds",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array rows = {w.c, w.d};
         VakSetBounds(rows, 0, 1);
       });
     }},
    {"change the bounds of many constraints one by one", "VakSetBounds",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array rows = {w.c, w.d};
         const std::array lower = {0.5, 0.25};
         const std::array upper = {1.5, 1.25};
         VakSetBounds(rows, lower, upper);
       });
     }},
    {"replace a constraint by another relation",
     "VakConstraint::setRelation VakConstraintI::setRelation",
     [](VakStage& s) {
       return VakChangeModel(
           s, [](VakModelWorld& w) { w.c.setRelation(1 <= 2 * w.z + w.x + w.z <= 5); });
     }},
    {"keep a constraint when it is empty",
     "VakConstraint::setKeptWhenEmpty VakConstraint::isKeptWhenEmpty VakConstraint::From "
     "VakConstraint::getImpl VakConstraint::checked VakConstraint::getLB VakConstraint::getUB "
     "VakConstraint::getExpr VakConstraint::getRelation VakLinear::getImpl VakLinear::getModel "
     "VakLinear::getTermCount VakLinear::terms VakLinear::getCoef",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         w.c.setKeptWhenEmpty(true);
         const VakConstraint same = VakConstraint::From(w.c);
         const VakLinear linear = same;
         bool fine = same.isKeptWhenEmpty() && same.getImpl() == w.c.checked();
         fine = fine && linear.getImpl() == same.getImpl() && linear.getModel() == w.m;
         fine = fine && linear.getTermCount() == 2 && linear.getCoef(w.y) == 2;
         fine = fine && same.getUB() == 14 && same.getLB() == same.getRelation().getLB();
         fine = fine && same.getExpr().getTerms().size() == 2;
         for (const VakTerm term : linear.terms()) fine = fine && term.coef != 0;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"change a coefficient", "VakLinear::setCoef VakLinearI::setCoef VakLinearI::checkCoef*",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.c.setCoef(w.z, 3); }); }},
    {"take a coefficient away", "VakLinear::setCoef",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.c.setCoef(w.y, 0); }); }},
    {"add to a coefficient", "VakLinear::addTerm",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.o.addTerm(w.z, 2); }); }},
    {"change several coefficients of a constraint", "VakLinear::setCoefs",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.z, w.x};
         const std::array coefs = {8.0, 0.0};
         w.c.setCoefs(vars, coefs);
       });
     }},
    {"change coefficients of several objects", "VakSetCoefs VakAssignCoefs*",
     [](VakStage& s) {
       VakScene scene = VakChangeModel(s, [](VakModelWorld& w) {
         const std::array<VakCoef, 4> coefs = {
             VakCoef{w.c, w.y, 0}, {w.d, w.z, 4}, {w.o, w.z, 5}, {w.c, w.x, 1}};
         VakSetCoefs(coefs);
       });
       scene.mayAbsorb = {VakFaultKind::Heap, "sorting does without memory when there is none"};
       return scene;
     }},
    {"change an objective", "VakObjective::setExpr VakObjectiveI::setExpr",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.o.setExpr(w.z + w.y + w.z + 7); });
     }},
    {"change the sense of an objective", "VakObjective::setSense VakObjectiveI::setSense",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.o.setSense(VakSense::Minimize); });
     }},
    {"change the constant of an objective", "VakObjective::setConstant VakObjectiveI::setConstant",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.o.setConstant(9); }); }},
    {"ask an objective about itself",
     "VakObjective::From VakObjective::getImpl VakObjective::checked VakObjective::getSense "
     "VakObjective::getConstant VakObjective::getExpr",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         const VakObjective same = VakObjective::From(w.o);
         bool fine = same.getImpl() == w.o.checked() && same.getSense() == VakSense::Maximize;
         fine = fine && same.getConstant() == -1 && same.getExpr().getTerms().size() == 2;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"work on a list of terms",
     "VakTermListI::VakTermListI* VakTermListI::first VakTermListI::size VakTermListI::empty "
     "VakTermListI::find VakTermListI::prepend VakTermListI::takeFirst VakTermListI::unlinkAfter "
     "VakTermListI::dropZeros VakTermListI::cut VakTermListI::swap "
     "VakTermListI::clear VakTermListI::removeHidden VakTermListI::evaluate VakTermListI::addTo "
     "VakTermListI::check VakOwnTermsI::VakOwnTermsI VakOwnTermsI::make VakOwnTermsI::makeAll "
     "VakCheckTerms",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& point = s.keep<VakModelEvaluatorI>();
       for (const VakNumVar v : {w.x, w.y, w.z}) point.setValue(v.getImpl(), 1);
       return VakScene{.act = [&w, &point] {
         VakEnvI* env = w.env.getImpl();
         VakOwnTermsI terms(env);
         VakExpr storage;
         terms.makeAll(VakCheckTerms(env, nullptr, w.x + w.y + w.x, storage));
         terms.make(w.z.getImpl(), 0);
         terms.dropZeros(env);
         terms.make(w.z.getImpl(), 5);
         bool fine = terms.size() == 3 && terms.evaluate(point) == 8 && terms.check().empty();
         fine = fine && terms.find(w.y.getImpl()) != nullptr && !terms.removeHidden(env);
         terms.prepend(terms.takeFirst());
         terms.prepend(terms.unlinkAfter(terms.first()));
         terms.prepend(terms.unlinkAfter(terms.first()));
         terms.cut(env, 1);
         VakExpr copy;
         terms.addTo(copy);
         VakOwnTermsI other(env);
         other.swap(terms);
         fine = fine && terms.empty() && copy.getTerms().size() == 2;
         other.clear(env);
         if (!fine) throw std::logic_error("the terms");
       }};
     }},
};

}  // namespace

VakFaultGroup VakExpressionFaults() {
  return {"Expressions, constraints, objectives", _operations};
}

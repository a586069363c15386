// The deep check of an environment with models finds what is broken in a model.

#include "vakmodel/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "vakbase/fault_text.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/modelling.h"

namespace {

using testing::StartsWith;

const void* at(const void* p) { return p; }

/// A model of two variables, a constraint, an objective and a stored expression beside it.
class VakCheckModelsTest : public testing::Test {
 protected:
  VakCheckModelsTest()
      : env(scoped.env),
        model(env, "plan"),
        x(env, 0, 40, "x"),
        y(env, "y"),
        c(model.add(x + 2 * y <= 14, "capacity")) {
    model.maximize(3 * x + 4 * y);
    expr = VakNumExpr(env, x - y);
  }
  ~VakCheckModelsTest() override { EXPECT_EQ(VakCheckModels(env), ""); }

  template <class T, class U>
  std::string with(T& place, U broken) {
    const T intact = std::exchange(place, static_cast<T>(broken));
    std::string fault = VakCheckModels(env);
    place = intact;
    return fault;
  }
  VakConstraintI* row() { return c.getImpl(); }

  VakScopedEnv scoped;
  VakEnv env;
  VakModel model;
  VakNumVar x;
  VakNumVar y;
  VakConstraint c;
  VakNumExpr expr;
};

TEST_F(VakCheckModelsTest, FindsNothingInASoundModel) { EXPECT_EQ(VakCheckModels(env), ""); }

TEST_F(VakCheckModelsTest, FindsWhatTheEnvironmentFinds) {
  EXPECT_EQ(with(env.getImpl()->_ending, 5), "record: _ending is 5");
}

TEST_F(VakCheckModelsTest, FindsAConstraintAtAnotherPlaceThanItKnows) {
  EXPECT_EQ(with(row()->_place, 7),
            VakFaultText("VakModelI ", model.getId(), ": constraint ", c.getId(),
                         " stands at place 0 and takes itself to be at 7"));
}

TEST_F(VakCheckModelsTest, FindsAVariableAtAnotherPlaceThanTheModelKnows) {
  VakModelI* impl = model.getImpl();
  const auto place = impl->_placeOf[x.getId()];
  impl->_placeOf.set(x.getId(), 9);
  EXPECT_EQ(VakCheckModels(env),
            VakFaultText("VakModelI ", model.getId(), ": variable ", x.getId(), " stands at place ",
                         place - 1, " and is looked for at 8"));
  impl->_placeOf.set(x.getId(), place);
}

TEST_F(VakCheckModelsTest, FindsAConstraintOfAnotherModel) {
  EXPECT_EQ(with(row()->_model, nullptr), VakFaultText("VakModelI ", model.getId(), ": object ",
                                                       c.getId(), " is in another model"));
}

TEST_F(VakCheckModelsTest, FindsACoefficientThatIsZero) {
  VakNumLinExprTermI* term = row()->_terms.first();
  const std::string fault = VakFaultText("the coefficient of variable ", at(term->var), " is 0");
  EXPECT_EQ(with(term->coef, 0),
            VakFaultText("VakModelI ", model.getId(), ": object ", c.getId(), ": ", fault,
                         "\nVakConstraintI ", c.getId(), ": ", fault));
}

TEST_F(VakCheckModelsTest, FindsATermOfAVariableThatIsNotInTheModel) {
  const VakNumVar z(env, "z");
  VakNumLinExprTermI* term = row()->_terms.first()->next;
  EXPECT_THAT(with(term->var, z.getImpl()),
              StartsWith(VakFaultText("VakModelI ", model.getId(), ": ")));
}

TEST_F(VakCheckModelsTest, FindsTermsThatRunInACircle) {
  VakNumLinExprTermI* term = row()->_terms.first();
  EXPECT_EQ(with(term->next, term).substr(0, 11), "VakModelI 0");
}

TEST_F(VakCheckModelsTest, FindsTermsOfAStoredExpressionThatAreMiscounted) {
  VakNumLinExprTermI* term = expr.getImpl()->_terms.first();
  EXPECT_EQ(with(term->next, nullptr),
            VakFaultText("VakNumLinExprI ", expr.getId(), ": there are 1 terms of the 2 counted"));
}

TEST(VakCheckModels, FindsATermThatWasGivenBack) {
  VakUsePooledMemory();
  VakScopedEnv scoped;
  const VakEnv env = scoped.env;
  const VakNumVar x(env, "x");
  const VakNumVar y(env, "y");
  VakNumExpr expr(env, x + y);
  auto* impl = expr.getImpl();
  VakNumLinExprTermI* gone = scoped->newTerm(nullptr, 1);
  scoped->recycleTerm(gone);
  VakNumLinExprTermI* first = impl->_terms.first();
  VakNumLinExprTermI* intact = std::exchange(first->next, gone);
  EXPECT_EQ(VakCheckModels(env),
            VakFaultText("VakNumLinExprI ", expr.getId(), ": term 1 is free memory"));
  first->next = intact;
  EXPECT_EQ(VakCheckModels(env), "");
}

}  // namespace

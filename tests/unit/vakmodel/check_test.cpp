// The deep check of an environment with models finds what is broken in a model.

#include "vakmodel/check.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/broken_place.h"
#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "vakbase/fault_text.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/modelling.h"

namespace {

const void* at(const void* p) { return p; }

VakNumVarI* const HighestAddress = reinterpret_cast<VakNumVarI*>(~7UL);

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
    return VakCheckBroken(place, broken, [this] { return VakCheckModels(env); });
  }
  VakConstraintI* row() { return c.getImpl(); }
  /// What is said of a fault in the terms of the constraint: by the model, and by itself.
  std::string rowFault(const std::string& fault) {
    return VakFaultText("VakModelI ", model.getId(), ": object ", c.getId(), ": ", fault,
                        "\nVakConstraintI ", c.getId(), ": ", fault);
  }
  /// The word in which the constraint's terms keep the highest variable.
  const void*& highest() { return reinterpret_cast<const void**>(&row()->_terms)[1]; }
  /// The first place of a list, past its count.
  static VakExtractableI*& place(const VakPlacesI& list) {
    return const_cast<VakExtractableI*&>((*list.list())[0]);
  }

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
  EXPECT_EQ(with(term->coef, 0),
            rowFault(VakFaultText("the coefficient of variable ", at(term->var), " is 0")));
}

TEST_F(VakCheckModelsTest, FindsATermOfAVariableThatIsNotInTheModel) {
  const VakNumVar z(env, "z");
  VakNumLinExprTermI* term = row()->_terms.first()->next;
  const void* intact = std::exchange(highest(), HighestAddress);
  EXPECT_EQ(with(term->var, z.getImpl()),
            VakFaultText("VakModelI ", model.getId(), ": variable ", z.getId(),
                         " in a term of object ", c.getId(), " is not listed"));
  highest() = intact;
}

TEST_F(VakCheckModelsTest, FindsAVariableAboveTheHighest) {
  EXPECT_EQ(with(row()->_terms.first()->var, HighestAddress),
            rowFault(VakFaultText("variable ", at(HighestAddress), " lies above the highest")));
}

TEST_F(VakCheckModelsTest, FindsAVariableThatOccursTwice) {
  VakNumLinExprTermI* first = row()->_terms.first();
  EXPECT_EQ(with(first->next->var, first->var),
            rowFault(VakFaultText("variable ", at(first->var), " occurs twice")));
}

TEST_F(VakCheckModelsTest, FindsMembersThatAreMiscounted) {
  const std::string name = VakFaultText("VakModelI ", model.getId(), ": there are ");
  EXPECT_EQ(with(place(model.getImpl()->_variables), nullptr),
            name + "1 variables of the 2 counted");
  EXPECT_EQ(with(place(model.getImpl()->_constraints), nullptr),
            name + "0 constraints of the 1 counted");
}

TEST_F(VakCheckModelsTest, FindsTermsThatRunInACircle) {
  VakNumLinExprTermI* term = row()->_terms.first();
  EXPECT_EQ(with(term->next, term),
            rowFault(VakFaultText("variable ", at(term->var), " occurs twice")));
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

// With pooling the pool's own proof finds that its counts are wrong.
TEST(VakCheckModels, FindsMoreTermsThanThereIsMemoryFor) {
  VakUseUnpooledMemory();
  VakScopedEnv scoped;
  const VakNumVar x(scoped.env, "x");
  const VakNumVar y(scoped.env, "y");
  const VakNumExpr expr(scoped.env, x + y);
  const auto& words = *scoped->_memory._allocators[VakMemory::getIndex(VakEnvI::TermSize)];
  EXPECT_EQ(
      VakCheckBroken(scoped->_termAllocator->_bytesInUse, VakEnvI::TermSize - words._bytesInUse,
                     [&] { return VakCheckModels(scoped.env); }),
      "terms: 2 are listed, more than the 24 bytes in use hold");
}

TEST(VakCheckModels, FindsMembersThatWereGivenBack) {
  VakUsePooledMemory();
  VakScopedEnv scoped;
  VakModel model(scoped.env, "plan");
  const VakNumVar x(scoped.env, "x");
  const VakConstraint c = model.add(x <= 14, "capacity");
  model.maximize(3 * x);
  void* gone = scoped->allocate(200);
  scoped->giveBack(gone, 200);
  VakModelI* impl = model.getImpl();
  const auto withGone = [&](auto& place) {
    using T = std::remove_reference_t<decltype(place)>;
    return VakCheckBroken(place, static_cast<T>(gone), [&] { return VakCheckModels(scoped.env); });
  };
  const auto first = [](const VakPlacesI& list) -> VakExtractableI*& {
    return const_cast<VakExtractableI*&>((*list.list())[0]);
  };
  const std::string name = VakFaultText("VakModelI ", model.getId(), ": ");
  EXPECT_EQ(withGone(first(impl->_variables)), name + "the variable at place 0 is free memory");
  EXPECT_EQ(withGone(first(impl->_constraints)), name + "the constraint at place 0 is free memory");
  EXPECT_EQ(withGone(impl->_objective), name + "the objective is free memory");
  const std::string fault = VakFaultText("variable ", gone, " is free memory");
  EXPECT_EQ(withGone(c.getImpl()->_terms.first()->var),
            VakFaultText(name, "object ", c.getId(), ": ", fault, "\nVakConstraintI ", c.getId(),
                         ": ", fault));
  EXPECT_EQ(VakCheckModels(scoped.env), "");
}

}  // namespace

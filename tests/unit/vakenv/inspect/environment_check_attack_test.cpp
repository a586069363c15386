// The deep check and the memory report asked for by everybody whom an environment calls back, at
// every moment at which it does, also when one of them refuses or throws.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "vakenv/core/create.h"
#include "vakenv/environment.h"
#include "vakenv/inspect/memory_report.h"
#include "vakenv/plugins.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/modelling.h"

namespace {

std::vector<std::string> found;
int looks = 0;

// What has to hold whenever somebody is called.
void look(VakEnvI* env) {
  ++looks;
  const VakEnv handle(env);
  const std::string broken = handle.check();
  if (!broken.empty()) found.push_back(broken);
  const VakMemoryReport report(handle);
  VakInt inUse = report.terms.live * report.terms.elementSize;
  for (const auto& c : report.classes) inUse += c.live * c.elementSize;
  if (inUse != report.inUse) found.push_back("the classes are not what is in use");
}

class Algorithm final : public VakAlgorithmI {
 public:
  explicit Algorithm(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  ~Algorithm() noexcept(false) override { look(_env); }
  void change(const VakChange& c, const VakExtractableI* /*extractable*/) override { change(c); }
  void change(const VakChange& /*change*/) override {
    look(_env);
    if (!_refuses) return;
    _refuses = false;
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), VakExtractableArray());
  }
  bool _refuses = false;
};

class PlugIn final : public VakNotifiedPlugIn {
  VAK_RTTI(PlugIn, VakNotifiedPlugIn);
  using VakNotifiedPlugIn::VakNotifiedPlugIn;
  ~PlugIn() noexcept(false) override { look(_env); }
  void notifyChange(const VakChange& /*change*/, const VakExtractableI* /*e*/) override {
    look(_env);
  }
};

class Addon final : public VakPlugInAddon {
  VAK_RTTI(Addon, VakPlugInAddon);
  using VakPlugInAddon::VakPlugInAddon;
  ~Addon() noexcept(false) override { look(_env); }
  void plugInAdded(VakPlugIn* /*plugIn*/) override { look(_env); }
  void plugInRemoved(VakPlugIn* /*plugIn*/) override { look(_env); }
};

class Throwing final : public VakDestroyableI {
  VAK_RTTI(Throwing, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
  ~Throwing() noexcept(false) override {
    look(_env);
    throw std::runtime_error("destroyable");
  }
};

class Object final : public VakExtractableI {
  VAK_RTTI(Object, VakExtractableI);
  explicit Object(VakEnvI* env) : VakExtractableI(env) { look(env); }
  ~Object() noexcept(false) override { look(_env); }
  void removeHidden(VakInt /*mode*/) override { look(_env); }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    look(_env);
    return VakCreate<Object>(env);
  }
};

class Deleter final : public VakBaseDeleterI {
 public:
  using VakBaseDeleterI::VakBaseDeleterI;
  ~Deleter() noexcept(false) override { look(_env); }
  void notifyChange(const VakChange& /*change*/, const VakExtractableI* /*e*/) override {
    look(_env);
  }
  void start() override { look(_env); }
  void extractableAdded(VakExtractableI* /*e*/) override { look(_env); }
  void extractableRemoved(VakExtractableI* /*e*/) override { look(_env); }
  void inhibit(VakInt /*inhibit*/) override {}
  void removeAndDelete(VakExtractableI* /*e*/, VakInt /*flag*/) override {}
  void removeAndDelete(VakExtractableArray /*a*/, VakInt /*flag*/) override {}
  [[nodiscard]] VakInt isUnused(VakExtractableI* /*e*/) const override { return 0; }
  [[nodiscard]] VakInt isInhibited() const override { return 0; }
  void setVerbosityLevel(VakInt /*level*/) override {}
  [[nodiscard]] VakInt getVerbosityLevel() const override { return 0; }
  void reset() override {}
};

class EnvironmentCheckAttack : public testing::TestWithParam<bool> {
 protected:
  EnvironmentCheckAttack() {
    GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
    found.clear();
    looks = 0;
    env = VakEnv();
    algorithm = new Algorithm(env.getImpl());
  }
  ~EnvironmentCheckAttack() override {
    if (env.getImpl() != nullptr) env.end();
    EXPECT_THAT(found, testing::IsEmpty());
  }
  /// Does `change`, first refused and then taken; the environment is sound after both.
  template <class Change>
  void twice(Change change) {
    algorithm->_refuses = true;
    try {
      change();
    } catch (const VakAlgorithm::CannotChangeException&) {
      ++refusals;
    }
    EXPECT_EQ(VakCheckModels(env), "");
    algorithm->_refuses = false;
    change();
    EXPECT_EQ(VakCheckModels(env), "");
  }

  VakEnv env{static_cast<VakEnvI*>(nullptr)};
  Algorithm* algorithm = nullptr;
  int refusals = 0;
};
INSTANTIATE_TEST_SUITE_P(, EnvironmentCheckAttack, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

TEST_P(EnvironmentCheckAttack, FindsNothingInReportsOfChangesThatAreRefusedAndTaken) {
  env.getImpl()->setDeleter(VakCreate<Deleter>(env), 1);
  auto* plugIn = VakCreate<PlugIn>(env);
  env.getImpl()->_plugInManager->addNotified(plugIn);
  VakModel model(env, "m");
  const VakNumVarArray x(env, 10, 0, 7);
  VakConstraint c = model.add(x[0] + 2 * x[1] <= 3, "c");
  const VakConstraint d = model.add(x[1] + x[2] <= 4);
  model.maximize(VakSum(x));
  twice([&] { model.add(x[2] + x[3] <= 1); });
  twice([&] { x[2].setLB(x[2].getLB() + 1); });
  twice([&] { x[3].setKind(VakVarKind::Integer); });
  twice([&] { c.setCoef(x[5], c.getCoef(x[5]) + 1); });
  twice([&] { model.minimize(x[1] + x[0]); });
  twice([&] {
    const std::vector<VakConstraint> rows = {c, d};
    model.addColumn(0, 1, 2, rows, std::vector<VakNum>{1, 2});
  });
  twice([&] { model.remove(model.getObjective()), model.minimize(x[4]); });
  EXPECT_GT(refusals, 5);
  EXPECT_GT(looks, 40);
  env.getImpl()->_plugInManager->removeNotified(plugIn);
  delete plugIn;
}

TEST_P(EnvironmentCheckAttack, FindsNothingInRemovalsAndCopies) {
  VakModel model(env, "m");
  const VakNumVarArray x(env, 4, 0, 7);
  VakConstraint c = model.add(VakSum(x) <= 3);
  VakExtractable one(VakCreate<Object>(env));
  VakCreate<Object>(env);
  looks = 0;
  x[0].removeFromAll();
  VakNumVar last = x[3];
  last.end();
  one.end();
  {
    VakCopier copier(env);
    copier.copy(model).end();
  }
  c.end();
  model.end();
  EXPECT_GT(looks, 10);
}

TEST_P(EnvironmentCheckAttack, FindsNothingInWhatPlugInsAndAddonsAreTold) {
  VakPlugInManager& manager = *env.getImpl()->_plugInManager;
  auto* addon = VakCreate<Addon>(env);
  auto* plugIn = VakCreate<PlugIn>(env);
  manager.add(addon, "name");
  manager.add(plugIn, "name");
  manager.remove(plugIn, "name");
  EXPECT_EQ(looks, 2);
  manager.add(plugIn, "name");
  manager.add(VakCreate<PlugIn>(env), "another name");
  env.end();
  EXPECT_EQ(looks, 3 + 4) << "the algorithm, two plug-ins and the add-on";
}

TEST_P(EnvironmentCheckAttack, FindsNothingInDestructorsThatThrow) {
  auto* destroyable = VakCreate<Throwing>(env);
  EXPECT_THROW(delete destroyable, std::runtime_error);
  EXPECT_EQ(env.check(), "");
  VakCreate<Throwing>(env);
  VakCreate<Throwing>(env);
  env.getImpl()->setDeleter(VakCreate<Deleter>(env), 1);
  looks = 0;
  EXPECT_THROW(env.end(), std::runtime_error);
  EXPECT_EQ(looks, 2 + 2) << "two destroyables, the algorithm and the deleter";
}

}  // namespace

// Every operation of the library survives every fault that it can meet.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/fault/matrix/foreign_code.h"
#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/prescribed_leaks.h"
#include "tests/fault/matrix/runner.h"
#include "tests/support/failing_new.h"
#ifdef VAK_WITH_SOLVER
#include "tests/fault/matrix/solver_world.h"
#endif

namespace {

class FaultMatrix : public testing::TestWithParam<VakFaultGroup> {};

TEST_P(FaultMatrix, IsSurvivedAtEveryPoint) {
  for (const VakFaultOperation& operation : GetParam().operations) {
    for (const std::string& defect : VakDriveFaults(operation).defects) {
      ADD_FAILURE() << operation.name << ": " << defect;
    }
  }
}

std::string nameOf(const testing::TestParamInfo<VakFaultGroup>& group) {
  std::string name;
  bool startsWord = true;
  for (const char c : std::string(group.param.name)) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
      name += startsWord ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
    }
    startsWord = c == ' ';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(, FaultMatrix, testing::ValuesIn(VakFaultGroups()), nameOf);

TEST(FaultMatrixOperations, HaveNamesOfTheirOwn) {
  std::set<std::string> names;
  for (const VakFaultGroup& group : VakFaultGroups()) {
    for (const VakFaultOperation& operation : group.operations) {
      EXPECT_TRUE(names.insert(operation.name).second) << operation.name;
    }
  }
  for (const VakPrescribedLeak& leak : VakGetPrescribedLeaks()) {
    EXPECT_TRUE(names.contains(leak.operation)) << leak.operation;
  }
}

// The runner itself: what it has to find.

VakFaultRow drive(const char* name, VakScene (*makeScene)(VakStage&)) {
  return VakDriveFaults({name, "", makeScene});
}

TEST(FaultRunner, FindsALostElementOfThePool) {
  const VakFaultRow row = drive("lose an element", [](VakStage& s) {
    auto& second = s.keep<void*>(nullptr);
    return VakScene{.act =
                        [&] {
                          static_cast<void>(s->allocate(40));
                          second = s->allocate(40);
                        },
                    .undo = [&] { s->giveBack(second, 40); }};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "pool allocation 2: the failure left 40 bytes in use");
  EXPECT_EQ(row.counts[1].tried, 2);
  EXPECT_EQ(row.counts[1].survived, 1);
}

TEST(FaultRunner, FindsALostHeapBlock) {
  const VakFaultRow row = drive("lose a block", [](VakStage& s) {
    auto& blocks = s.keep<std::array<int*, 2>>();
    return VakScene{.act =
                        [&] {
                          blocks[0] = new int(1);
                          blocks[1] = new int(2);
                        },
                    .undo =
                        [&] {
                          delete blocks[0];
                          delete blocks[1];
                        }};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "heap allocation 2: 1 heap blocks are left when all has ended");
}

TEST(FaultRunner, FindsWhatIsLostOnlyInTheEnd) {
  const VakFaultRow row = drive("lose later", [](VakStage& s) {
    auto& first = s.keep<void*>(nullptr);
    auto& second = s.keep<void*>(nullptr);
    return VakScene{.act =
                        [&] {
                          first = s->allocate(40);
                          second = s->allocate(40);
                        },
                    .undo =
                        [&] {
                          s->giveBack(first, 40);
                          s->giveBack(second, 40);
                        },
                    .mayKeep = "claimed wrongly"};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0],
            "pool allocation 2: 40 bytes more are in use in the end than when nothing fails");
}

TEST(FaultRunner, FindsAnAbsorbedFailure) {
  const VakFaultRow row = drive("absorb", [](VakStage&) {
    return VakScene{.act = [] {
      try {
        VakFailingCallback::Tick();
      } catch (const VakUserFailure&) {
      }
    }};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback 1: the failure was absorbed");
}

// Goes on when its callback fails, which is pardoned for one kind of fault.
template <VakFaultKind Pardoned>
VakScene absorbing(VakStage& /*s*/) {
  return VakScene{.act =
                      [] {
                        try {
                          VakFailingCallback::Tick();
                        } catch (const VakUserFailure&) {
                        }
                      },
                  .mayAbsorb = {{Pardoned, "a test"}}};
}

TEST(FaultRunner, PardonsAnAbsorbedFailureOfTheKindThatIsNamedAlone) {
  EXPECT_TRUE(drive("absorb", absorbing<VakFaultKind::Callback>).defects.empty());
  const VakFaultRow row = drive("absorb", absorbing<VakFaultKind::Heap>);
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback 1: the failure was absorbed");
}

// Fails where the contract lets 48 bytes be lost, and loses as many as asked for.
constexpr const char* Leaking = "remove a deleter that fails";
template <unsigned long Bytes>
VakScene losing(VakStage& s) {
  return VakScene{.act = [&s] {
    try {
      VakFailingCallback::Tick();
    } catch (const VakUserFailure&) {
      if (Bytes != 0) static_cast<void>(s->allocate(Bytes));
      throw;
    }
  }};
}

TEST(FaultRunner, FindsMoreBytesLostThanArePrescribed) {
  EXPECT_TRUE(drive(Leaking, losing<48>).defects.empty());
  const VakFaultRow row = drive(Leaking, losing<56>);
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback 1: the failure left 56 bytes in use");
}

TEST(FaultRunner, FindsThatAPrescribedLeakDoesNotOccur) {
  const VakFaultRow row = drive(Leaking, losing<0>);
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback: the prescribed leak does not occur");
}

TEST(FaultRunner, FindsMoreBlocksLostThanArePrescribed) {
  // Loses the blocks before the one that fails, of which seven are prescribed here.
  const VakFaultRow row = drive("create an environment", [](VakStage& s) {
    auto& blocks = s.keep<std::array<int*, 9>>();
    return VakScene{.act =
                        [&blocks] {
                          for (int*& block : blocks) block = new int(1);
                        },
                    .undo =
                        [&blocks] {
                          for (const int* block : blocks) delete block;
                        }};
  });
  ASSERT_EQ(row.defects.size(), 2U);
  EXPECT_EQ(row.defects[0], "heap allocation 9: 8 heap blocks are left when all has ended");
  EXPECT_EQ(row.defects[1], "pool allocation: the prescribed leak does not occur");
}

TEST(FaultRunner, FindsThatTheProcessDoesNotKeepABlock) {
  const VakFaultRow row =
      drive("keep", [](VakStage&) { return VakScene{.act = [] {}, .processKeeps = 1}; });
  ASSERT_EQ(row.defects.size(), 3U);
  EXPECT_EQ(row.defects[0], "heap allocation 0: -1 heap blocks are left when all has ended");
}

TEST(FaultRunner, RunsTheOperationItselfBetweenPreparingAndCompletingIt) {
  const VakFaultRow row = drive("in steps", [](VakStage& s) {
    auto& steps = s.keep<std::string>();
    return VakScene{.act =
                        [&steps] {
                          steps += "act ";
                          VakFailingCallback::Tick();
                        },
                    .prepare = [&steps] { steps += "prepare "; },
                    .complete = [&steps] { steps += "complete "; },
                    .afterSuccess = [&steps]() -> std::string {
                      return steps == "act " || steps == "act prepare act complete " ? "" : steps;
                    }};
  });
  EXPECT_EQ(row.defects, std::vector<std::string>());
  EXPECT_EQ(row.counts[2].survived, 1);
}

TEST(FaultRunner, FindsAnotherException) {
  const VakFaultRow row = drive("translate", [](VakStage&) {
    return VakScene{.act = [] {
      try {
        VakFailingCallback::Tick();
      } catch (const VakUserFailure&) {
        throw std::logic_error("another");
      }
    }};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback 1: the operation threw another");
}

TEST(FaultRunner, FindsABrokenStructure) {
  const VakFaultRow row = drive("break", [](VakStage& s) {
    return VakScene{.act = [&] {
      try {
        VakFailingCallback::Tick();
      } catch (...) {
        s->_registry.isDestroying = true;
        throw;
      }
    }};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback 1: a destruction is under way");
}

TEST(FaultRunner, FindsAnOperationThatDoesNotSucceedAfterwards) {
  const VakFaultRow row = drive("stay broken", [](VakStage& s) {
    auto& isBroken = s.keep<bool>(false);
    return VakScene{.act = [&] {
      if (isBroken) throw std::logic_error("broken");
      isBroken = true;
      VakFailingCallback::Tick();
      isBroken = false;
    }};
  });
  ASSERT_EQ(row.defects.size(), 1U);
  EXPECT_EQ(row.defects[0], "callback 1: the operation threw broken");
}

#ifdef VAK_WITH_SOLVER

long countNew(VakSparesNew spares, const std::function<void()>& action) {
  const VakFailingNew counting(0, VakFailureSpan::Once, spares);
  action();
  return counting.count();
}

TEST(ForeignCode, IsSparedAndOursIsNot) {
  EXPECT_GT(VakCountForeignLibraries(), 0) << "they have to be shared libraries";
  EXPECT_FALSE(VakIsForeignCode(reinterpret_cast<const void*>(&VakCountForeignLibraries)));
  EXPECT_EQ(countNew(VakIsForeignCode, [] { delete new int(1); }),
            countNew(nullptr, [] { delete new int(1); }));
  VakStage stage(VakStageKind::Foreign);
  VakSolverWorld world(stage, true);
  world.makeSolver();
  world.solve(VakStatus::Optimal);  // So that what the process keeps is there.
  stage.env.setIntProperty("solver.warmStart", 0);
  const auto solve = [&world] { world.solve(VakStatus::Optimal); };
  const long ours = countNew(VakIsForeignCode, solve);
  EXPECT_GT(ours, 0);
  EXPECT_LT(10 * ours, countNew(nullptr, solve));
}

#endif

}  // namespace

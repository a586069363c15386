#include "vaksolver/solver.h"

#include <utility>

#include "vakenv/core/environment_impl.h"
#include "vaksolver/debugger.h"
#include "vaksolver/solver_impl.h"

namespace {

// Links what debuggers read into every program that has a solver.
[[gnu::used, gnu::retain]] const VakSolverDebuggerTypes* const DescribedTypes =
    &VakDescribedSolverTypes;

}  // namespace

VakSolver::VakSolver(VakSolverI* impl) : VakAlgorithm(impl) {}

VakSolver::VakSolver(VakEnv env) {
  if (env.getImpl() == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  _impl = new VakSolverI(env.getImpl());
}

VakSolver::VakSolver(VakModel model) : VakSolver(model.getEnv()) {
  try {
    extract(model);
  } catch (...) {
    end();
    throw;
  }
}

VakSolverI* VakSolver::getImpl() const { return static_cast<VakSolverI*>(_impl); }

VakSolverI* VakSolver::impl() const {
  if (_impl == nullptr) throw VakEmptyHandleException("VakSolver: Using empty handle");
  return getImpl();
}

VakEnv VakSolver::getEnv() const { return VakEnv(impl()->_env); }

void VakSolver::extract(VakModel model) const { impl()->extract(model); }
void VakSolver::clear() const { impl()->clear(); }
VakModel VakSolver::getModel() const { return impl()->getModel(); }

VakStatus VakSolver::solve() const { return impl()->solve(); }

void VakSolver::abort() const noexcept {
  if (_impl != nullptr) getImpl()->abort();
}

void VakSolver::setProgressCallback(ProgressCallback callback) const {
  impl()->_progress = std::move(callback);
}

VakStatus VakSolver::getStatus() const { return impl()->getStatus(); }
bool VakSolver::hasSolution() const { return impl()->hasSolution(); }
VakNum VakSolver::getObjectiveValue() const { return impl()->getObjectiveValue(); }
VakNum VakSolver::getValue(VakNumVar x) const { return impl()->getValue(x); }
VakNum VakSolver::getValue(const VakExpr& e) const { return impl()->getValue(e); }
VakNum VakSolver::getActivity(VakConstraint c) const { return impl()->getActivity(c.checked()); }
VakNum VakSolver::getSlack(VakConstraint c) const { return impl()->getSlack(c.checked()); }

bool VakSolver::hasDuals() const { return impl()->hasDuals(); }
VakNum VakSolver::getReducedCost(VakNumVar x) const { return impl()->getReducedCost(x.checked()); }
VakNum VakSolver::getDual(VakConstraint c) const { return impl()->getDual(c.checked()); }

bool VakSolver::isMip() const { return impl()->isMip(); }
VakInt VakSolver::getIterationCount() const { return impl()->getStatistics().iterations; }
VakInt VakSolver::getNodeCount() const { return impl()->getStatistics().nodes; }
VakNum VakSolver::getTime() const { return impl()->getStatistics().seconds; }
VakNum VakSolver::getBestBound() const { return impl()->getStatistics().bound; }
VakNum VakSolver::getGap() const { return impl()->getGap(); }
VakInt VakSolver::getLoadCount() const { return impl()->getStatistics().loads; }
VakInt VakSolver::getWarmStartCount() const { return impl()->getStatistics().warmStarts; }
VakInt VakSolver::getStartSolutionCount() const { return impl()->getStatistics().startSolutions; }

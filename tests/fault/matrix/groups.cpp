#include "tests/fault/matrix/groups.h"

std::vector<VakFaultGroup> VakFaultGroups() {
  std::vector<VakFaultGroup> groups = {
      VakPoolFaults(),        VakEnvironmentFaults(), VakMemoryFaults(),
      VakTableFaults(),       VakArrayFaults(),       VakSupportFaults(),
      VakUtilityFaults(),     VakPropertyFaults(),    VakPropertyOwnerFaults(),
      VakPlugInFaults(),      VakDomainFaults(),      VakRegistryFaults(),
      VakRemovalFaults(),     VakVariableFaults(),    VakExpressionFaults(),
      VakModelFaults(),       VakAlgorithmFaults(),   VakReferenceFaults(),
      VakConvenienceFaults(), VakInspectionFaults(),  VakReportFaults(),
  };
#ifdef VAK_WITH_SOLVER
  groups.push_back(VakSolverFaults());
  groups.push_back(VakFileFaults());
#endif
  return groups;
}

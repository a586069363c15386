#include "tests/fault/matrix/groups.h"

std::vector<VakFaultGroup> VakFaultGroups() {
  return {
      VakPoolFaults(),        VakEnvironmentFaults(), VakMemoryFaults(),
      VakTableFaults(),       VakArrayFaults(),       VakSupportFaults(),
      VakUtilityFaults(),     VakPropertyFaults(),    VakPropertyOwnerFaults(),
      VakPlugInFaults(),      VakDomainFaults(),      VakRegistryFaults(),
      VakRemovalFaults(),     VakVariableFaults(),    VakExpressionFaults(),
      VakModelFaults(),       VakAlgorithmFaults(),   VakReferenceFaults(),
      VakConvenienceFaults(), VakInspectionFaults(),  VakReportFaults(),
  };
}

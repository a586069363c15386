#pragma once

// The groups of the fault matrix, one for each subsystem and each in a source of its own.

#include "tests/fault/matrix/operation.h"

[[nodiscard]] VakFaultGroup VakPoolFaults();
[[nodiscard]] VakFaultGroup VakEnvironmentFaults();
[[nodiscard]] VakFaultGroup VakMemoryFaults();
[[nodiscard]] VakFaultGroup VakTableFaults();
[[nodiscard]] VakFaultGroup VakArrayFaults();
[[nodiscard]] VakFaultGroup VakSupportFaults();
[[nodiscard]] VakFaultGroup VakUtilityFaults();
[[nodiscard]] VakFaultGroup VakPropertyFaults();
[[nodiscard]] VakFaultGroup VakPropertyOwnerFaults();
[[nodiscard]] VakFaultGroup VakPlugInFaults();
[[nodiscard]] VakFaultGroup VakRegistryFaults();
[[nodiscard]] VakFaultGroup VakRemovalFaults();
[[nodiscard]] VakFaultGroup VakDomainFaults();
[[nodiscard]] VakFaultGroup VakVariableFaults();
[[nodiscard]] VakFaultGroup VakExpressionFaults();
[[nodiscard]] VakFaultGroup VakModelFaults();
[[nodiscard]] VakFaultGroup VakAlgorithmFaults();
[[nodiscard]] VakFaultGroup VakInspectionFaults();
[[nodiscard]] VakFaultGroup VakReferenceFaults();
[[nodiscard]] VakFaultGroup VakConvenienceFaults();
[[nodiscard]] VakFaultGroup VakReportFaults();
/// Only where there is the solver.
[[nodiscard]] VakFaultGroup VakSolverFaults();
[[nodiscard]] VakFaultGroup VakFileFaults();

/// All groups, in the order of the table.
[[nodiscard]] std::vector<VakFaultGroup> VakFaultGroups();

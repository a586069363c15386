#pragma once

// Names every class of the environment component and of the modules it calls on, so that a header
// that only passes pointers and handles around needs no other header.

#include "vakbase/numbers.h"

class VakException;
class VakWrongUsage;

// Pool.
class VakAllocationList;
class VakAllocationStack;
class VakFixedSizeAllocatorI;
class VakMemory;
class VakMemoryInspection;

// Types and exceptions.
class VakRtti;
class VakMemoryException;
class VakEmptyHandleException;
class VakNotImplemented;
class VakNotSupportedOperation;
class VakBadConversion;
class VakEnvironmentMismatch;

// Memory managers, objects that give their memory back, identifiers.
class VakGenAlloc;
class VakTarnAlloc;
class VakStackGenAlloc;
class VakMemoryManager;
class VakMemoryManagerObjectI;
class VakRttiMemoryManagerObjectI;
class VakEnvObjectI;
class VakRttiEnvObjectI;
class VakIdManager;

// Environment.
class VakEnv;
class VakEnvI;
class VakTarnVersion;
class VakBaseEnvMutex;
class VakLocalEnvI;
class VakMTSafeLocalEnvI;

// Tables and arrays.
template <class K, class V>
class VakHashTable;
template <class K, class V>
class VakEnvHashTable;
class VakArrayI;
template <class T>
class VakArray;
class VakNumArray;
class VakIntArray;
class VakBoolArray;
class VakNumArray2;
class VakIntArray2;

// Utilities.
class VakTimer;
class VakNullStream;

// Support modules.
class VakSymbolI;
class VakSymbolTable;
class VakSymbolEncoder;
class VakTypedListManager;
class VakUniqueRandomI;

// Registry.
class VakDestroyableI;
class VakDestroyableList;
class VakRecycleBinI;
class VakBaseDeleterI;
class VakCloneManager;

// Plug-ins.
class VakPlugIn;
class VakNotifiedPlugIn;
class VakPlugInAddon;
class VakPlugInManager;

// Named properties.
class VakNamedPropertyI;
class VakPreNamedPropertyI;
class VakNamedIntPropertyI;
class VakNamedNumPropertyI;
class VakNamedAnyPropertyI;
class VakNamedStringPropertyI;
class VakNamedPropertySetI;
class VakNamedProperty;
class VakNamedIntProperty;
class VakNamedNumProperty;
class VakNamedAnyProperty;
class VakNamedStringProperty;
class VakNamedPropertySet;
class VakExtension;
class VakExtensibleRttiMemoryManagerObjectI;
class VakExtensibleRttiEnvObjectI;

// Shared domains, ranges.
template <class K>
class VakSharedDomainHash;
class VakIntSharedDomainHash;
class VakNumSharedDomainHash;
class VakVarDomainI;
class VakIntRangeI;
class VakNumRangeI;

// Contracts of the modelling layer.
class VakExtractableI;
class VakExtractableArray;
class VakChange;
class VakAlgorithm;
class VakAlgorithmI;
class VakExpanderI;
class VakNumExprI;
class VakAnyExprI;
class VakNumVarI;
struct VakNumLinExprTermI;
class VakModelEvaluatorI;

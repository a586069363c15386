#include "vakenv/core/debugger.h"

#include "vakbase/exception.h"
#include "vakenv/arrays/array_error.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties/extension.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/properties/property_set_impl.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/tables/chained_table.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/contract/linear_term.h"
#include "vakmodel/domains/range.h"
#include "vakmodel/domains/var_domain.h"
#include "vaksupport/symbol_table.h"

namespace {

// An item of one of the library's own tables: naming its size makes the compiler describe it.
template <class K, class V>
struct ItemOf {
  static_assert(sizeof(VakHashItem<K, V>) > 0);
  const VakHashItem<K, V>* item = nullptr;
};

}  // namespace

struct VakDebuggerTypes {
  const char* script = &VakDebuggerScript;
  const VakEnvI* environment = nullptr;
  const VakTarnAlloc* allocator = nullptr;
  const VakIdManager* identifiers = nullptr;
  const VakDestroyableList* destroyables = nullptr;
  const VakPlugInManager* plugIns = nullptr;
  const VakSymbolTable* symbols = nullptr;
  const VakIntSharedDomainHash* intDomains = nullptr;
  const VakNumSharedDomainHash* numDomains = nullptr;
  ItemOf<const char*, VakSymbolI*> symbolItem = {};
  ItemOf<VakIntRangeI*, VakVarDomainI*> intDomainItem = {};
  ItemOf<VakNumRangeI*, VakVarDomainI*> numDomainItem = {};
  ItemOf<VakDestroyableI*, VakDestroyableList::Element*> destroyableItem = {};
  const VakArrayI* array = nullptr;
  const VakExtension* extension = nullptr;
  const VakExtension::VakObjectExtension* objectExtension = nullptr;
  const VakNamedPropertySetI* properties = nullptr;
  const VakNamedIntPropertyI* intProperty = nullptr;
  const VakNamedNumPropertyI* numProperty = nullptr;
  const VakNamedAnyPropertyI* anyProperty = nullptr;
  const VakNamedStringPropertyI* stringProperty = nullptr;
  const VakExtractableI* extractable = nullptr;
  const VakNumLinExprTermI* term = nullptr;
  const VakAlgorithmI* algorithm = nullptr;
  const VakNumSharedVarDomainI* numDomain = nullptr;
  const VakIntSharedVarDomainI* intDomain = nullptr;
  const VakBoolSharedVarDomainI* boolDomain = nullptr;
  const VakWrongUsage* wrongUsage = nullptr;
  const VakMemoryException* memoryException = nullptr;
  const VakEmptyHandleException* emptyHandle = nullptr;
  const VakNotImplemented* notImplemented = nullptr;
  const VakNotSupportedOperation* notSupported = nullptr;
  const VakBadConversion* badConversion = nullptr;
  const VakEnvironmentMismatch* environmentMismatch = nullptr;
  const VakArrayError* arrayError = nullptr;
  const VakNamedPropertySet::NotPresent* notPresent = nullptr;
  const VakNamedPropertySet::AlreadyPresent* alreadyPresent = nullptr;
  const VakNamedPropertySet::BadType* badType = nullptr;
  const VakAlgorithm::CannotChangeException* refusal = nullptr;
};

extern constinit const VakDebuggerTypes VakDescribedTypes = {};

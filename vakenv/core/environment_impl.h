#pragma once

// The environment object: the record on which everything in the library hangs.
//
// Glossary
//   environment        VakEnvI, owner of the memory of everything a program builds in it
//   size class         one of the pool's free lists; memory of n bytes comes from the class of n
//   local environment  a detour of the allocation path, installed by useMTSafeAllocation
//   extractable        a modelling object with an identifier; registered by init, gone by finit
//   destroyable        an object that the environment deletes when it ends
//   removal            taking extractables out of every other object; nested requests are deferred
//                      into the recycle bin of the one removal that runs
//   ending             the time while end() deletes objects; _ending is 1 then
//
// Members come in the order of construction. The record owns what its pointers name unless the
// member says otherwise; service objects come from the general heap, model memory from _memory.
// State that a mechanism needs beside the documented record stands in the trailing members.

#include <mutex>
#include <ostream>
#include <string>

#include "vakbase/fixed_size_allocator.h"
#include "vakbase/memory.h"
#include "vakenv/arrays/array_tally.h"
#include "vakenv/core/local_env.h"
#include "vakenv/core/multithreading.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/env_life.h"
#include "vakenv/registry/registry_state.h"
#include "vakenv/types/rtti.h"
#include "vakenv/utilities/null_stream.h"
#include "vakenv/utilities/timer.h"
#include "vakmodel/contract/linear_term.h"
#include "vaksupport/typed_list_manager.h"

/// One environment. Created through VakEnv(), deleted through VakEnv::end().
///
/// One thread uses an environment unless a member says otherwise. Its destructor ends it and may
/// throw what user destructors throw.
///
/// Threads: read-shared, as VakEnv says; get functions that make something on first use
///     (createRandom, getExpander, getModelEvaluator, getClone, getMarkArray) change. In
///     thread-safe mode allocate, giveBack, init, finit, newTerm, recycleTerm, createRandom,
///     getMarkArray, releaseMarkArray, addDestroyable and removeDestroyable may be called by
///     several threads.
/// Phases: open, and in destructors while end() runs as far as the part that serves them has not
///     gone; see the steps in environment_end.cpp.
/// Gives back: end() or `delete`; giveBack takes back allocate, strFree strDup, recycleTerm
///     newTerm, releaseMarkArray getMarkArray, unlockCloning lockCloning, finit init.
class VakEnvI {
 public:
  static constexpr VakInt TermSize = 24;  ///< Bytes of one term record.
  static constexpr VakInt EndSteps = 16;  ///< Steps of end().

  static VakBaseEnvMutex* Mutex;  ///< The process-wide mutex; null unless VakInitMT installed one.
  static VakInt DeleteMutex;      ///< Non-zero when VakEndMT must delete the mutex.

  /// Throws VakMemoryException ("not enough memory"). Service objects of steps already done are
  /// then not released; the embedded members are.
  VakEnvI();
  /// Ends the environment unless end() has run, then releases all pooled memory at once. The first
  /// exception that a user destructor throws passes on when everything is released.
  ~VakEnvI() noexcept(false);
  VakEnvI(const VakEnvI&) = delete;
  VakEnvI& operator=(const VakEnvI&) = delete;

  /// Tears the environment down in its 16 steps, once: a second call does nothing. If a user
  /// destructor throws, the exception passes on and the next call goes on with what is left.
  void end();

  // ---- Lifecycle and accounting -----------------------------------------------------------------

  /// The identification string, of static lifetime.
  [[nodiscard]] const char* getVersion() const;
  /// Bytes in use in the pool and the term pool: the sum of element sizes, not of sizes asked for.
  [[nodiscard]] VakInt getMemoryUsage() const;
  /// Bytes obtained from the system for the pool and the term pool.
  [[nodiscard]] VakInt getTotalMemoryUsage() const;
  /// Bytes of the identifier table.
  [[nodiscard]] VakInt getIdManagerMemoryUsage() const;
  /// Frees the identifier of an extractable, sets it to -1 and deletes it; ignores null.
  void removeVerticalEnv(void* obj);

  /// Proves the invariants of everything the environment holds: the pool with its free lists, the
  /// record, identifiers and extractables, destroyables, typed lists, algorithms, plug-ins, the
  /// running removal, clones, symbols, shared domains, properties, mark arrays, the counts of
  /// arrays. Where arrays are that others made is known to the checked build alone, which proves
  /// each of them, and the counts by them.
  /// Returns an empty text if all hold; else a line for each structure that is broken, which names
  /// it and what is wrong with which value. When the pool is broken, that is the only line, for
  /// what lies in it cannot be trusted.
  ///
  /// Callable from the end of the constructor until the plug-ins are gone in end(), also from
  /// within callbacks and destructors; no other thread may use the environment meanwhile. Changes
  /// nothing and takes no memory from the environment: it works on the general heap and throws
  /// std::bad_alloc. The time is linear in what the environment holds, with a logarithm for putting
  /// free memory in order. Models prove themselves: see VakCheckModels.
  [[nodiscard]] std::string check() const;

  // ---- The allocation path ----------------------------------------------------------------------

  /// `size` bytes through the local environment when one is installed, else from the size class of
  /// `size`; null for 0. With a constant size this is a free-list pop. Throws std::bad_alloc and
  /// changes nothing then.
  [[nodiscard]] void* allocate(unsigned long size) {
    if (_localEnv != nullptr) [[unlikely]]
      return _localEnv->alloc(size);
    return _memory.allocate(size);
  }
  /// Gives back what allocate() returned for the same `size`; ignores null. Deliberate: a size of 0
  /// is not filtered out here.
  void giveBack(void* p, unsigned long size) {
    if (_localEnv != nullptr) [[unlikely]] {
      _localEnv->free(p, size);
    } else if (p != nullptr) {
      _memory.deallocate(p, size);
    }
  }

  // ---- Services ---------------------------------------------------------------------------------

  /// The symbol of this name, or null; null for a null name.
  [[nodiscard]] VakSymbolI* getSymbol(const char* name) const;
  /// The symbol of this name, made if there is none; null for a null name.
  VakSymbolI* makeSymbol(const char* name);
  /// True when there is a symbol of this name; false for a null name. Throws VakWrongUsage
  /// ("Hash function returned bad index") when the table's hash function is broken.
  [[nodiscard]] bool hasSymbol(const char* name) const;
  /// The numbers of the symbols.
  [[nodiscard]] VakSymbolEncoder* getSymbolEncoder() const;
  /// The one stored copy of a text, which lives as long as the environment; null for null.
  [[nodiscard]] const char* intern(const char* text);
  /// A copy of `text` in the environment's memory, to be given back with strFree; null for null.
  [[nodiscard]] char* strDup(const char* text);
  /// Gives a duplicated text back; ignores null. The length is taken from the text again, so the
  /// text must not have been shortened.
  void strFree(char* text);
  /// The environment's random generator, made under the mutex on first use.
  VakUniqueRandomI* createRandom();
  /// Writes "Elapsed time since creation : ", the processor time since creation in seconds and an
  /// end of line to _out. Changes nothing of the timer.
  void printTime() const;

  // ---- Multithreading and mark arrays -----------------------------------------------------------

  /// Switches thread-safe allocation on (non-zero) or off. Throws VakNotSupportedOperation when
  /// another local environment is installed, VakMemoryException when memory runs out.
  void useMTSafeAllocation(VakInt on);
  /// Switches thread-safe normalization on (non-zero) or off; off deletes all mark arrays.
  void useMTSafeNormalization(VakInt on);
  /// Lends a table of marks, one per identifier and 1000 spare ones, to be left null when released.
  /// Throws VakNotSupportedOperation when thread-safe normalization is off.
  [[nodiscard]] void** getMarkArray();
  /// Takes back what getMarkArray returned.
  void releaseMarkArray(void** marks);
  /// Clears a whole block of (identifiers + 1003) slots and sets its capacity slot.
  void initMarkArray(void** block);
  /// Deletes every mark array.
  void freeMarks();
  /// Forwarded to the local environment when one is installed; otherwise nothing.
  void saveValue(void** address);
  void saveValue(long* address);
  void saveValue(double* address);

  // ---- Registry: destroyables -------------------------------------------------------------------

  /// Lists `d` for deletion at the end; a second registration is a no-op.
  void addDestroyable(VakDestroyableI* d);
  /// Takes `d` off the list; an absent one is ignored.
  void removeDestroyable(VakDestroyableI* d);

  /// Number of live destroyables that the environment will not delete: made in thread-safe mode, or
  /// taken off the list.
  [[nodiscard]] VakInt getUnlistedDestroyables() const;

  // ---- Registry: extractables, algorithms, changes ----------------------------------------------

  /// Registers an extractable: identifier, typed lists, deleter. Undone when it fails half way.
  void init(VakExtractableI* e);
  /// True when nothing but the identifiers takes part in registering an extractable, as is usual.
  [[nodiscard]] bool registersById() const {
    return _localEnv == nullptr && !_typedLists.isOn() && _deleter == nullptr &&
           _recycleBin == nullptr;
  }
  /// Unregisters an extractable; its identifier is -1 afterwards.
  void finit(VakExtractableI* e);
  /// Number of identifiers that stay booked until the end because their extractables went in
  /// thread-safe mode.
  [[nodiscard]] VakInt getUnreleasedIds() const;
  /// Attaches `a` in front of the other algorithms.
  void addAlgorithm(VakAlgorithmI* a);
  /// Detaches `a`, which must be attached: not checked.
  void removeAlgorithm(VakAlgorithmI* a);
  /// Tells the notified plug-ins, then every algorithm, newest first, of a change of `e`. Refusals
  /// are merged and thrown when all were told.
  void change(const VakExtractableI* e, const VakChange& c);
  /// The same for a change that concerns no single extractable.
  void change(const VakChange& c);

  // ---- Registry: destruction and removal --------------------------------------------------------

  /// Notifies `e`, unregisters it and, unless `keep` is non-zero, deletes it.
  void destroy(VakExtractableI* e, VakInt keep);
  /// Takes extractables out of every other object without deleting them.
  void removeFromAll(VakExtractableI* e);
  void removeFromAll(VakExtractableArray a);
  /// Takes extractables out of every other object and destroys them and all that becomes pointless.
  void removeFromAllAndDestroy(VakExtractableI* e, VakInt flag);
  void removeFromAllAndDestroy(VakExtractableArray a, VakInt flag);
  /// Forwarded to the deleter when one is set; otherwise nothing.
  void removeAndDelete(VakExtractableI* e, VakInt flag);
  void removeAndDelete(VakExtractableArray a, VakInt flag);
  /// True while a removal runs, or one was broken off by an exception and not yet abandoned.
  [[nodiscard]] bool isRemoving() const { return _recycleBin != nullptr; }
  /// True while a removal runs that destroys what it takes out: objects that it leaves pointless
  /// may ask for their own.
  [[nodiscard]] bool isDestroying() const { return _registry.isDestroying; }
  /// Gives up a removal that an exception broke off: shows what is still hidden again and releases
  /// the bin. Nothing when none is in progress. Must not be called from within a removal.
  void abandonRemoval();
  /// Installs a deleter, which the environment owns from then on; an earlier one is deleted.
  void setDeleter(VakBaseDeleterI* deleter, int level);
  /// Forwarded to the deleter, which must be set: not checked.
  void inhibitDeleter(VakInt inhibit);
  /// Forwarded to the deleter when one is set.
  void setDeleterVerbosityLevel(VakInt level);
  /// Deletes the deleter, if any, and clears the level.
  void unsetDeleter();

  // ---- Registry: clones, expressions, terms -----------------------------------------------------

  /// 1 while something is copied, else 0.
  [[nodiscard]] VakInt isCloningLocked() const;
  /// Begins a copy: 1 when the caller took the lock, 0 when an outer copy holds it already.
  VakInt lockCloning();
  /// Ends the copy of whoever got 1 from lockCloning(); forgets which copies belong to what.
  void unlockCloning();
  /// The number of copies recorded so far.
  [[nodiscard]] VakInt lockCloningLevel();
  /// Forgets the copies recorded since `level`.
  void unlockCloningLevel(VakInt level);
  /// 1 when a copy of `e` is recorded, else 0.
  [[nodiscard]] VakInt hasClone(VakExtractableI* e) const;
  /// The copy of `e`: the recorded one, else what the pushed expander puts in its place, else a new
  /// one, recorded while an outer copy holds the lock. Copies are the environment's, like all its
  /// objects; they are not owned here. Throws std::bad_alloc and what copying throws.
  VakExtractableI* getClone(VakExtractableI* e);
  /// Records `c` as the copy of `e`; nothing when `e` is not registered. Throws std::bad_alloc.
  void setClone(VakExtractableI* e, VakExtractableI* c);
  /// The clone of `e` with the environment's expander pushed; null for null.
  VakExtractableI* substitute(VakExtractableI* e);
  /// Drops one use of an expression unless the environment is ending or the running removal has
  /// destroyed it already.
  void release(VakNumExprI* e);
  void release(VakAnyExprI* e);
  /// A term record with these values and a null link. Throws std::bad_alloc.
  [[nodiscard]] VakNumLinExprTermI* newTerm(VakNumVarI* var, VakNum coef);
  /// Gives a term record back.
  void recycleTerm(VakNumLinExprTermI* t);
  /// The environment's expander, made on first use. Throws VakMemoryException.
  VakExpanderI* getExpander();
  /// The expander's model evaluator, made on first use.
  VakModelEvaluatorI* getModelEvaluator();

  // ---- Name, user object and named properties ---------------------------------------------------

  /// The environment's own name, user object and properties, with the ownership and the errors that
  /// VakPropertyOwner says of each function.
  [[nodiscard]] const char* getName() const;
  void setName(const char* name);
  [[nodiscard]] VakAny getObject() const;
  void setObject(VakAny object);
  [[nodiscard]] VakNamedPropertySetI* getProperties() const;
  void setProperties(VakNamedPropertySetI* set);
  [[nodiscard]] VakInt hasProperty(const char* name) const;
  [[nodiscard]] VakNamedPropertyI* getProperty(const char* name) const;
  void addProperty(VakNamedPropertyI* p);
  void addClonedProperty(VakNamedPropertyI* p);
  void addProperties(VakNamedPropertySetI* set);
  void removeProperty(const char* name);
  void removeProperty(VakNamedPropertyI* p);
  void removeAllProperties();
  [[nodiscard]] VakInt getIntProperty(const char* name) const;
  [[nodiscard]] VakNum getNumProperty(const char* name) const;
  [[nodiscard]] VakAny getAnyProperty(const char* name) const;
  [[nodiscard]] const char* getStringProperty(const char* name) const;
  void setIntProperty(const char* name, VakInt value);
  void setNumProperty(const char* name, VakNum value);
  void setAnyProperty(const char* name, VakAny value);
  void setStringProperty(const char* name, const char* value);

  // ---- Shared variable domains ------------------------------------------------------------------

  /// The one domain of these bounds; null for 0 and infinity, the default. While a local
  /// environment is installed nothing is shared and every call makes a domain.
  VakVarDomainI* getOrMakeSharedDomain(VakNum lb, VakNum ub);
  VakVarDomainI* getOrMakeSharedDomain(VakNumRangeI* r);
  VakVarDomainI* getOrMakeSharedDomain(VakIntRangeI* r);
  VakVarDomainI* getOrMakeSharedDomain(VakInt lb, VakInt ub);

  // ---- The record -------------------------------------------------------------------------------

  VakInt _flags = 0;         ///< Mode bits; bit 0: pooled memory in use.
  VakInt _useMemoryManager;  ///< 1 when memory is pooled, 0 when VAK_NO_MEMORY_MANAGER is set.
  VakMemory _memory;         ///< The size-class pool from which all model memory comes.
  VakInt _memoryMode;        ///< Copy of _useMemoryManager; not read again.
  VakLocalEnvI* _localEnv =
      nullptr;                      ///< Innermost local environment; null unless one is installed.
  VakInt _mtSafeAllocation = 0;     ///< The last value given to useMTSafeAllocation.
  VakInt _mtSafeNormalization = 0;  ///< The last value given to useMTSafeNormalization.
  void** _markArray = nullptr;      ///< Head of the chain of mark arrays; null for none.
  VakSymbolTable* _symbolTable = nullptr;  ///< Symbols of the environment, in its own memory.
  void* _unusedPointer1 = nullptr;         ///< Null.
  void* _unusedPointer2 = nullptr;         ///< Null.
  void* _unusedPointer3 = nullptr;         ///< Null.
  void* _unusedPointer4 = nullptr;         ///< Null.
  void* _unusedPointer5 = nullptr;         ///< Null.
  void* _unusedPointer6 = nullptr;         ///< Null.
  void* _unusedPointer7 = nullptr;         ///< Null.
  void* _unusedPointer8 = nullptr;         ///< Null.
  VakIdManager* _idManager = nullptr;      ///< Identifiers of extractables.
  VakTypedListManager _typedLists;         ///< Extractables by type; off at first.
  VakAlgorithmI* _algorithms = nullptr;    ///< Newest attached algorithm; not owned; null for none.
  void* _unusedPointer9 = nullptr;         ///< Null.
  VakInt _termSize = TermSize;             ///< Bytes of one term record: 24.
  VakFixedSizeAllocatorI* _termAllocator =
      nullptr;                                 ///< The term pool; its blocks come from _memory.
  VakPlugInManager* _plugInManager = nullptr;  ///< Plug-ins and add-ons by name.
  std::ostream* _out;                          ///< Where printTime writes; not owned.
  std::ostream* _warning;                      ///< A further channel, only set here; not owned.
  std::ostream* _error;                        ///< A further channel, only set here; not owned.
  VakNullStream _nullStream;                   ///< Discards output.
  VakTimer _timer;                             ///< Runs since construction; no memory manager.
  VakCloneManager* _cloneManager = nullptr;    ///< Copies made during a copying operation.
  VakDestroyableList* _destroyables =
      nullptr;                            ///< What dies with the environment; null late in end().
  VakBaseDeleterI* _deleter = nullptr;    ///< Deletion policy; null when unset.
  int _deleterLevel = 0;                  ///< The deleter's level; 0 when unset.
  VakInt _ending = 0;                     ///< 1 while end() deletes objects.
  VakUniqueRandomI* _random = nullptr;    ///< Random generator; null until first used.
  VakTarnAlloc* _allocator = nullptr;     ///< The environment's memory manager.
  VakExpanderI* _expander = nullptr;      ///< Null until made; ended as an algorithm, not here.
  VakBaseEnvMutex* _mutex;                ///< Copy of Mutex at construction; not owned.
  const char* _version;                   ///< The identification string.
  VakExtension* _extension = nullptr;     ///< Name, user object, properties; null until needed.
  VakRecycleBinI* _recycleBin = nullptr;  ///< Work area of the running removal; null for none.
  VakIntSharedDomainHash* _intDomains = nullptr;  ///< Domains of integer bounds.
  VakNumSharedDomainHash* _numDomains = nullptr;  ///< Domains of numeric bounds.

  // ---- Trailing members: state of mechanisms beside the documented record -----------------------

  VakInt _endedSteps = 0;      ///< Steps of end() that are done: 0 while alive, 16 when ended.
  VakRegistryState _registry;  ///< Walks, lists of the running removal, locks of thread-safe mode.
  VakEnvLifeNote _life;        ///< For those who may outlive the environment and have to notice.
  VakArrayTally _arrayTally;   ///< What arrays hold in the memory of this environment.

 private:
  void makeServices();
  void makeTermAllocator();
  /// A step of end().
  struct EndStep {
    void (VakEnvI::*run)();
    bool walksUserObjects;  ///< Entered again when a user destructor throws in it.
  };
  static const EndStep EndStepList[EndSteps];
  void endExtension();
  void endDestroyables();
  void endAlgorithms();
  void forgetExpander();
  void endTypedLists();
  void endExtractables();
  void endIdentifiers();
  void endDomains();
  void endRandom();
  void endPlugIns();
  void endManagers();
  void endSymbols();
  void endTerms();
  void endAllocator();
  void endMarksAndLocalEnv();
  // Strikes `e`, whose registration ends, wherever the registry would go on to use it.
  void forgetExtractable(const VakExtractableI* e);
  void leaveSlot(const VakExtractableI* e);
  void openRecycleBin();
  void finishRemoval();
  // Releases the recycle bin silently; nothing when there is none.
  void closeRecycleBin();
  // The parts of check() whose structures are members of the record; see environment_check.cpp.
  [[nodiscard]] std::string checkRecord() const;
  [[nodiscard]] std::string checkMarkArrays() const;
  [[nodiscard]] std::string checkExtractables(const VakMemoryInspection& pool) const;
  [[nodiscard]] std::string checkDestroyables(const VakMemoryInspection& pool) const;
  [[nodiscard]] std::string checkAlgorithms(const VakMemoryInspection& pool) const;
  [[nodiscard]] std::string checkDomains(const VakMemoryInspection& pool) const;
  [[nodiscard]] std::string checkProperties(const VakMemoryInspection& pool) const;
  // A block for this many identifiers, cleared. Throws VakMemoryException.
  static void** NewMarkArray(VakInt identifiers);
};

inline VakNumLinExprTermI* VakEnvI::newTerm(VakNumVarI* var, VakNum coef) {
  static_assert(TermSize == sizeof(VakNumLinExprTermI));
  void* place = _localEnv == nullptr ? _termAllocator->allocate(&_memory, TermSize)
                                     : _localEnv->alloc(TermSize);
  VakNameElement(place, typeid(VakNumLinExprTermI));
  return ::new (place) VakNumLinExprTermI{var, nullptr, coef};
}

#pragma once

// Where the memory of an environment is: a report as a value, a table and JSON.
//
//   const VakMemoryReport before(env);
//   buildModel(env);
//   std::cout << VakMemoryReport(env) - before;      // what the model takes
//
// Glossary
//   element   what a request gets: as many bytes as its size class says, at least those asked for
//   live      handed out and not given back
//   wasted    bytes of free elements: obtained for a size class and of no use to any other

#include <iosfwd>
#include <string>
#include <vector>

#include "vakenv/memory/env.h"

/// What an environment held at one moment, or the difference of two such reports, in which every
/// number is the later one minus the earlier one.
///
/// A plain value on the general heap, which may outlive the environment. What costs nothing while
/// nobody asks is what the report is made of: the pool counts elements as it always does, and what
/// each class obtained when it asks for more. So `peak` and `highWater` are known to the moments
/// when memory ran short: see there.
///
/// Threads: confined; making one: no other thread uses the environment.
/// Phases: open to make one; any afterwards.
struct VakMemoryReport {
  /// One size class, or the pool of terms. With pooling live + free == elements; without it there
  /// are no blocks, and `blocks`, `elements`, `free` and `wasted` are 0.
  ///
  /// Terms that are made in thread-safe mode come from the class of their size, and are live there.
  /// Given back outside of the mode they wait in the pool of terms, where they are elements then,
  /// but for as many as that has in use itself; and the other way round.
  struct SizeClass {
    VakInt elementSize = 0;  ///< Bytes of an element.
    VakInt blocks = 0;       ///< Blocks obtained; they stay until the environment ends.
    VakInt elements = 0;     ///< Elements in these blocks, but for terms that moved: no more were
                             ///< ever live at once.
    VakInt live = 0;         ///< Elements in use.
    VakInt free = 0;         ///< Elements that wait to be handed out.
    VakInt peak = 0;    ///< At least so many were live at once: the most of what is live now and of
                        ///< what was live when the newest block was obtained, that one included.
                        ///< Without pooling what is live now.
    VakInt wasted = 0;  ///< Bytes of the free elements.
    bool operator==(const SizeClass&) const = default;
  };
  /// Objects of one class, with the bytes of the elements that they are in.
  struct Type {
    std::string name;  ///< The name of the class as a program writes it, namespaces and template
                       ///< arguments included.
    VakInt count = 0;  ///< Objects.
    VakInt bytes = 0;  ///< Of their elements; in `types`, of the nearest base that has VAK_RTTI.
    /// Equal in all of it.
    bool operator==(const Type&) const = default;
  };
  /// So many of something, in so many bytes.
  struct Amount {
    VakInt count = 0;  ///< How many.
    VakInt bytes = 0;  ///< In how many bytes.
    bool operator==(const Amount&) const = default;
  };

  /// A report of nothing.
  VakMemoryReport() = default;
  /// What the environment holds now. Throws VakEmptyHandleException ("VakEnv: Using empty handle")
  /// for an empty handle, and std::bad_alloc. Takes no memory from the environment. The time is
  /// linear in the identifiers, destroyables and symbols, in the checked build in everything in
  /// use. No other thread may use the environment meanwhile. Callbacks may ask for it, and
  /// destructors that end() runs until the plug-ins are gone, as for VakEnv::check().
  explicit VakMemoryReport(VakEnv handle);

  bool isPooled = false;   ///< Memory came from the pool; false with VAK_NO_MEMORY_MANAGER.
  bool isChecked = false;  ///< The checked build, which alone knows `made`.

  std::vector<SizeClass> classes;  ///< Those ever used, by element size; without the pool of terms.
  SizeClass terms;                 ///< The pool of the terms of expressions.
  /// Registered extractables that removals reach and listed destroyables, by name; see
  /// VakEnv::useMTSafeAllocation for others. What they keep beside themselves is not in here.
  std::vector<Type> types;
  Amount identifiers;  ///< Identifiers in use, and the bytes of the whole table.
  Amount symbols;      ///< Symbols, and the bytes of their names and tables.
  Amount arrays;  ///< Arrays that have storage from the environment's own memory manager, and the
                  ///< bytes of array objects, tables and chunks. One that was cleared holds none.
  std::vector<Type> made;  ///< All elements in use, by what was made in them; empty outside the
                           ///< checked build.

  VakInt inUse = 0;      ///< Bytes of live elements: VakEnv::getMemoryUsage.
  VakInt obtained = 0;   ///< Bytes obtained from the heap: VakEnv::getTotalMemoryUsage.
  VakInt highWater = 0;  ///< At least so many bytes were in use at once: the most of what is in use
                         ///< now and whenever the pool asked the heap for more. Without pooling
                         ///< what is in use now.

  /// The numbers of this report minus those of an earlier one of the same environment; classes and
  /// types in which nothing changed are left out.
  [[nodiscard]] VakMemoryReport operator-(const VakMemoryReport& earlier) const;
  bool operator==(const VakMemoryReport&) const = default;

  /// The report as one JSON object without line breaks; names are the members' names, and what the
  /// build does not know is null.
  [[nodiscard]] std::string toJson() const;
};

/// Writes the report as a table with headings, one line for each class and type, each line ended.
std::ostream& operator<<(std::ostream& out, const VakMemoryReport& report);

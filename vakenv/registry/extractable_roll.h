#pragma once

// A list of extractables that are to be visited after user code has run, when some of them may be
// gone.

#include <vector>

#include "vakenv/fwd.h"
#include "vakmodel/contract/extractable_array.h"

/// Lists registered extractables, and strikes out those whose registration ends.
///
/// An entry that is struck stays in its place as null, so that positions hold. The roll can repeat
/// its entries in an array that others see; the roll is the one that counts: it has what was added
/// also when the array lost its storage for want of memory. Adding and striking take constant time;
/// the first strike of a long roll costs time in the number of entries and of identifiers.
///
/// Invariant: while there is an index, the entries of the extractable with identifier i stand at
/// `_lastOf[i]` - 1 and from there at `_before[position]` - 1, until 0.
///
/// Threads: confined to the thread that removes.
/// Phases: open, while a removal runs.
class VakExtractableRoll {
 public:
  VakExtractableRoll() = default;
  VakExtractableRoll(const VakExtractableRoll&) = delete;
  VakExtractableRoll& operator=(const VakExtractableRoll&) = delete;

  /// Number of extractables on the roll.
  [[nodiscard]] VakInt getSize() const { return static_cast<VakInt>(_entries.size()); }
  /// The extractable at `position`, or null when it was struck or none was added there.
  [[nodiscard]] VakExtractableI* operator[](VakInt position) const {
    return _entries[static_cast<std::size_t>(position)];
  }
  /// True when an entry was struck since the roll was empty or compacted.
  [[nodiscard]] bool hasStruck() const { return _hasStruck; }

  /// Says whether the caller adds no extractable twice until the next clear(); without that the
  /// roll assumes that it may. Striking the last entry of a distinct roll needs no index.
  void claimDistinct(bool isDistinct) { _isDistinct = isDistinct; }
  /// Number of entries added since the last clear(), dropped ones included.
  [[nodiscard]] VakInt getAdded() const { return _added; }

  /// Adds an entry, which may be null. Throws std::bad_alloc and changes nothing then.
  void add(VakExtractableI* e);
  /// The same, and repeats it in `mirror`, which has the entries of this roll and no others.
  void add(VakExtractableI* e, VakExtractableArray mirror);
  /// Strikes all entries of `e`, whose identifier must still be that of its registration.
  void strike(const VakExtractableI* e) noexcept;
  /// Drops the last entry.
  void dropLast();
  /// Drops the struck entries at the end.
  void trim();
  /// Drops all struck entries.
  void compact();
  /// Drops all entries and forgets the mirror, whose elements stay.
  void clear();

 private:
  [[nodiscard]] bool makeIndex() noexcept;
  void dropIndex();
  void enter(VakInt position);
  void strikeAt(VakInt position);

  std::vector<VakExtractableI*> _entries;  ///< Not owned; null where struck.
  std::vector<VakInt> _lastOf;  ///< By identifier: 1 + the last position of it; 0 for none.
  std::vector<VakInt> _before;  ///< By position: 1 + the position before it of the same; or 0.
  VakInt _added = 0;            ///< Entries added since the last clear().
  bool _isIndexed = false;      ///< True when the two tables above are kept.
  bool _hasStruck = false;      ///< True when an entry was struck.
  bool _isDistinct = false;     ///< True when no extractable is entered twice.
  VakExtractableArray _mirror;  ///< Repeats the entries; an empty handle for none; not owned.
};

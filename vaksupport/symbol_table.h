#pragma once

// Symbols: names of which an environment stores one copy each, so that equal names are one pointer,
// and the numbers by which they can be kept in arrays.
//
// The table finds a symbol by its name; its encoder lists the symbols in the order in which they
// were made, and the place in that list is a symbol's number. Symbols, names, the list and the hash
// table live in the environment's memory and go with the symbol table.

#include <span>
#include <string>

#include "vakenv/fwd.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/tables/env_hash_table.h"

/// A stored name. Made by VakSymbolTable::make, lives as long as its table, never copied.
///
/// Threads: read-shared.
/// Phases: open, as long as its table.
/// Gives back: nothing: symbols end with their table.
class VakSymbolI {
 public:
  VakSymbolI(const VakSymbolI&) = delete;
  VakSymbolI& operator=(const VakSymbolI&) = delete;

  /// The name as it is stored: one pointer for all equal names of a table.
  [[nodiscard]] const char* getName() const { return _name; }
  /// The number of characters of the name.
  [[nodiscard]] VakInt getLength() const { return _length; }
  /// The symbol's number in the encoder of its table.
  [[nodiscard]] VakInt getCode() const { return _code; }

 private:
  friend class VakSymbolTable;
  VakSymbolI(const char* name, VakInt length, VakInt code)
      : _name(name), _length(length), _code(code) {}

  const char* _name;  ///< The text behind this object, in the same block of memory.
  VakInt _length;     ///< Characters of the text without its terminator.
  VakInt _code;       ///< Index of the symbol in the encoder's list.
};

/// The symbols of one table under the numbers 0, 1, 2, ... in the order in which they were made.
///
/// Embedded in its symbol table, which alone adds to it. Invariant: the symbol at number i has the
/// code i.
///
/// Threads: read-shared.
/// Phases: open, as long as its table.
class VakSymbolEncoder {
 public:
  VakSymbolEncoder(const VakSymbolEncoder&) = delete;
  VakSymbolEncoder& operator=(const VakSymbolEncoder&) = delete;

  /// The number of symbols, which is the next number to be given.
  [[nodiscard]] VakInt getSize() const { return _size; }
  /// The number of a symbol; -1 for null and for a symbol of another table.
  [[nodiscard]] VakInt encode(const VakSymbolI* symbol) const {
    return symbol != nullptr && decode(symbol->getCode()) == symbol ? symbol->getCode() : -1;
  }
  /// The symbol with this number; null if there is none.
  [[nodiscard]] VakSymbolI* decode(VakInt code) const {
    return code >= 0 && code < _size ? _symbols[code] : nullptr;
  }

 private:
  friend class VakSymbolTable;
  explicit VakSymbolEncoder(VakEnvI* env) : _env(env) {}
  ~VakSymbolEncoder();

  void makeRoom();
  void append(VakSymbolI* symbol) { _symbols[_size++] = symbol; }

  VakEnvI* _env;                    ///< Owner of the list's memory.
  VakSymbolI** _symbols = nullptr;  ///< The list; owned, null while it has no room.
  VakInt _size = 0;                 ///< Number of symbols.
  VakInt _capacity = 0;             ///< Number of symbols that the list has room for.
};

/// All symbols of one environment.
///
/// Made by the environment's constructor and deleted near its end; anybody may make another one
/// with VakCreate. It needs the environment's memory and nothing else of it. Symbols are never
/// removed. Not for several threads at once.
///
/// Threads: read-shared for finding; make changes and is confined, also in thread-safe mode.
/// Phases: open; the environment's own until step 13 of the end.
/// Gives back: `delete` for a table of one's own; symbols end with it.
class VakSymbolTable : public VakEnvObjectI {
 public:
  /// An empty table whose names will be hashed into `initialSize` buckets at first, one at least.
  /// Takes no memory.
  VakSymbolTable(VakEnvI* env, VakInt initialSize);
  /// Gives all symbols back; pointers to them and to their names dangle.
  ~VakSymbolTable() noexcept(false) override;

  /// The symbol of this name, or null; null for a null name.
  [[nodiscard]] VakSymbolI* get(const char* name) const;
  /// The symbol of this name, made from a copy of it if there is none; null for a null name. Throws
  /// std::bad_alloc; there is no symbol of this name then.
  VakSymbolI* make(const char* name);

  /// The numbers of the symbols.
  [[nodiscard]] VakSymbolEncoder* getEncoder() { return &_encoder; }
  [[nodiscard]] const VakSymbolEncoder* getEncoder() const { return &_encoder; }
  [[nodiscard]] VakInt getSize() const { return _encoder.getSize(); }
  /// Bytes of the elements that hold symbols, names, their list and the hash table; not of this
  /// object. Costs a step a symbol.
  [[nodiscard]] VakInt getMemoryUsage() const;
  /// All symbols in the order in which they were made, until the next one is made.
  [[nodiscard]] std::span<VakSymbolI* const> getSymbols() const {
    return {_encoder._symbols, static_cast<std::size_t>(_encoder._size)};
  }

  /// An empty text if hash table and encoder hold the same symbols, each under its name and its
  /// number, and with `pool` nothing of them is free memory, else what is broken. Costs time in the
  /// characters of all names.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

  /// The bucket of a name among `size`; every character counts. `size` must be positive.
  [[nodiscard]] static VakInt HashName(const char* name, VakInt size);
  /// 1 for equal texts, else 0.
  [[nodiscard]] static VakInt CompareNames(const char* a, const char* b);

  VakEnvHashTable<const char*, VakSymbolI*> _table;  ///< From the stored names to the symbols.

 private:
  VakSymbolI* makeSymbol(const char* name);
  void giveBackSymbol(VakSymbolI* symbol);
  [[nodiscard]] std::string checkMemory(const VakMemoryInspection* pool) const;

  VakSymbolEncoder _encoder;  ///< The symbols by number; the list through which they are owned.
};

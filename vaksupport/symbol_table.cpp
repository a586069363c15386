#include "vaksupport/symbol_table.h"

#include <algorithm>
#include <cstring>

#include "vakbase/fault_text.h"
#include "vakbase/memory.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/tables/item_check.h"

namespace {

constexpr VakInt FirstEncoderCapacity = 16;  // symbols; doubled when it is used up

// A symbol and its text are one block: the text stands behind the object.
unsigned long blockSize(VakInt length) {
  return sizeof(VakSymbolI) + static_cast<unsigned long>(length) + 1;
}

unsigned long bytesOf(VakInt symbols) {
  return static_cast<unsigned long>(symbols) * sizeof(VakSymbolI*);
}

// What the pool takes for a request.
VakInt elementBytes(unsigned long size) {
  return size == 0 ? 0 : VakMemory::getElementSize(VakMemory::getIndex(static_cast<long>(size)));
}

}  // namespace

VakSymbolEncoder::~VakSymbolEncoder() { VakFreeIn(_env, _symbols, bytesOf(_capacity)); }

// Makes sure that one more symbol can be appended.
void VakSymbolEncoder::makeRoom() {
  if (_size < _capacity) return;
  const VakInt capacity = std::max(FirstEncoderCapacity, 2 * _capacity);
  VakSymbolI** symbols = static_cast<VakSymbolI**>(VakAllocateIn(_env, bytesOf(capacity)));
  std::copy_n(_symbols, _size, symbols);
  VakFreeIn(_env, _symbols, bytesOf(_capacity));
  _symbols = symbols;
  _capacity = capacity;
}

VakSymbolTable::VakSymbolTable(VakEnvI* env, VakInt initialSize)
    : VakEnvObjectI(env),
      _table(env, std::max(initialSize, VakInt{1}), HashName, CompareNames),
      _encoder(env) {}

// The hash table is destroyed after the symbols whose names are its keys; it only frees its items
// and reads no key any more.
VakSymbolTable::~VakSymbolTable() noexcept(false) {
  for (VakSymbolI* symbol : getSymbols()) giveBackSymbol(symbol);
}

VakSymbolI* VakSymbolTable::get(const char* name) const {
  VakSymbolI* symbol = nullptr;
  if (name == nullptr || _table.find(name, symbol) != VakHashDone) return nullptr;
  return symbol;
}

// 1. Make room in the encoder, so that step 4 cannot fail.
// 2. Make the symbol.
// 3. Enter it in the hash table; if that fails, it goes again.
// 4. Enter it in the encoder.
VakSymbolI* VakSymbolTable::make(const char* name) {
  if (name == nullptr) return nullptr;
  if (VakSymbolI* known = get(name)) return known;
  _encoder.makeRoom();
  VakSymbolI* symbol = makeSymbol(name);
  try {
    _table.add(symbol->getName(), symbol);
  } catch (...) {
    giveBackSymbol(symbol);
    throw;
  }
  _encoder.append(symbol);
  return symbol;
}

VakSymbolI* VakSymbolTable::makeSymbol(const char* name) {
  const VakInt length = static_cast<VakInt>(std::strlen(name));
  void* block = VakAllocateIn(_env, blockSize(length));
  char* text = static_cast<char*>(block) + sizeof(VakSymbolI);
  std::memcpy(text, name, static_cast<unsigned long>(length) + 1);
  return ::new (block) VakSymbolI(text, length, _encoder.getSize());
}

void VakSymbolTable::giveBackSymbol(VakSymbolI* symbol) {
  VakFreeIn(_env, symbol, blockSize(symbol->getLength()));
}

VakInt VakSymbolTable::getMemoryUsage() const {
  VakInt bytes = elementBytes(bytesOf(_encoder._capacity));
  for (const VakSymbolI* symbol : getSymbols())
    bytes += elementBytes(blockSize(symbol->getLength()));
  if (_table._buckets == nullptr) return bytes;
  using Item = decltype(_table)::Item;
  bytes += elementBytes(static_cast<unsigned long>(_table._size) * sizeof(Item*));
  return bytes + _table._nbItems * elementBytes(sizeof(Item));
}

// Whether table, list and symbols are there at all; hashing and comparing reads names.
std::string VakSymbolTable::checkMemory(const VakMemoryInspection* pool) const {
  const auto visit = [pool](const auto* item) -> std::string {
    const void* name = item->_key;
    if (name != nullptr && !VakIsGone(pool, name)) return "";
    return VakFaultText("name ", name, " is free memory");
  };
  std::string broken = VakNameFault("names", VakCheckItems(_table, pool, visit));
  if (!broken.empty()) return broken;
  if (VakIsGone(pool, _encoder._symbols)) return "the list of symbols is free memory";
  for (VakInt code = 0; code < getSize(); ++code) {
    const VakSymbolI* symbol = getSymbols()[static_cast<std::size_t>(code)];
    if (symbol == nullptr || VakIsGone(pool, symbol)) {
      return VakFaultText("the symbol at number ", code, " is free memory");
    }
  }
  return "";
}

std::string VakSymbolTable::check(const VakMemoryInspection* pool) const {
  std::string broken = checkMemory(pool);
  if (broken.empty()) broken = VakNameFault("names", _table.check());
  if (!broken.empty()) return broken;
  if (_table._nbItems != getSize()) {
    return VakFaultText(getSize(), " symbols have numbers, ", _table._nbItems, " have names");
  }
  VakInt code = 0;
  for (const VakSymbolI* symbol : getSymbols()) {
    if (symbol->getCode() != code) {
      return VakFaultText("the symbol at number ", code, " has the code ", symbol->getCode());
    }
    if (get(symbol->getName()) != symbol) {
      return VakFaultText("the name \"", symbol->getName(), "\" does not lead to symbol ", code);
    }
    ++code;
  }
  return "";
}

// FNV-1a over the characters.
VakInt VakSymbolTable::HashName(const char* name, VakInt size) {
  constexpr unsigned long offsetBasis = 14695981039346656037UL;
  constexpr unsigned long prime = 1099511628211UL;
  unsigned long hash = offsetBasis;
  for (; *name != '\0'; ++name) {
    hash = (hash ^ static_cast<unsigned char>(*name)) * prime;
  }
  return static_cast<VakInt>(hash % static_cast<unsigned long>(size));
}

VakInt VakSymbolTable::CompareNames(const char* a, const char* b) {
  return std::strcmp(a, b) == 0 ? 1 : 0;
}

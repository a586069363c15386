// Symbols, texts, the random generator and the elapsed-time line.

#include <atomic>
#include <cstring>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

VakSymbolI* VakEnvI::getSymbol(const char* name) const { return _symbolTable->get(name); }

VakSymbolI* VakEnvI::makeSymbol(const char* name) { return _symbolTable->make(name); }

bool VakEnvI::hasSymbol(const char* name) const {
  if (name == nullptr) return false;
  VakSymbolI* symbol = nullptr;
  return _symbolTable->_table.find(name, symbol) == VakHashDone;
}

VakSymbolEncoder* VakEnvI::getSymbolEncoder() const { return _symbolTable->getEncoder(); }

const char* VakEnvI::intern(const char* text) {
  if (text == nullptr) return nullptr;
  return _symbolTable->make(text)->getName();
}

char* VakEnvI::strDup(const char* text) {
  if (text == nullptr) return nullptr;
  const unsigned long n = std::strlen(text) + 1;
  void* copy = allocate(n);
  std::memcpy(copy, text, n);
  return static_cast<char*>(copy);
}

void VakEnvI::strFree(char* text) {
  if (text != nullptr) giveBack(text, std::strlen(text) + 1);
}

VakUniqueRandomI* VakEnvI::createRandom() {
  std::atomic_ref<VakUniqueRandomI*> random(_random);
  if (VakUniqueRandomI* made = random.load(std::memory_order_acquire)) return made;
  const VakMutexGuard guard(_mutex);
  if (random.load(std::memory_order_relaxed) == nullptr) {
    constexpr VakInt seed = 0;
    random.store(VakCreate<VakUniqueRandomI>(static_cast<VakGenAlloc*>(_allocator), seed),
                 std::memory_order_release);
  }
  return random.load(std::memory_order_relaxed);
}

void VakEnvI::printTime() const {
  *_out << "Elapsed time since creation : " << _timer.getTime() << std::endl;
}

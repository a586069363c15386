#include "vaksupport/stack_gen_alloc.h"

#include "vakbase/allocation_stack.h"
#include "vaksupport/symbol_table.h"

VakStackGenAlloc::VakStackGenAlloc(VakAllocationStack* allocationStack, VakSymbolTable* symbolTable)
    : stack(allocationStack), symbols(symbolTable) {}

VakStackGenAlloc::~VakStackGenAlloc() noexcept(false) = default;

void* VakStackGenAlloc::alloc(unsigned long size) const { return stack->allocate(size); }

void VakStackGenAlloc::free(void* p, unsigned long size) const {
  if (p != nullptr && size != 0) stack->free(p, size);
}

void VakStackGenAlloc::saveValue(void** /*address*/) const {}
void VakStackGenAlloc::saveValue(long* /*address*/) const {}
void VakStackGenAlloc::saveValue(double* /*address*/) const {}

const char* VakStackGenAlloc::intern(const char* text) const {
  if (text == nullptr) return nullptr;
  return symbols->make(text)->getName();
}

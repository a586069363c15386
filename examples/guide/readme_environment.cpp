// What the README shows first: an environment and its memory.

#include <iostream>

#include "vakenv/environment.h"

int main() {
  try {
    VakEnv env;
    VakGenAlloc* memory = env.getMemoryManager().getImpl();
    void* block = memory->alloc(1000);
    std::cout << env.getVersion() << ": " << env.getMemoryUsage() << " bytes in use\n";
    memory->free(block, 1000);
    env.end();
  } catch (const VakException& failure) {
    failure.print(std::cerr);
    return 1;
  }
}

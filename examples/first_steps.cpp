// First steps: an environment, its memory, and objects that live in it.
//
// Everything that a program builds belongs to an environment. Memory is taken from the
// environment's memory manager and given back with its size; objects remember where their memory
// came from, so `delete` is enough. What is not deleted goes when the environment ends.

#include <cstring>
#include <iostream>

#include "vakenv/core/create.h"
#include "vakenv/environment.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/memory_manager_object.h"

namespace {

// One class for each of the four bases: objects hold a memory manager or an environment, and take
// part in the library's type system or do not.

class Note : public VakMemoryManagerObjectI {
 public:
  Note(VakMemoryManager manager, long number) : VakMemoryManagerObjectI(manager), _number(number) {}
  long _number;
};

class Label : public VakRttiMemoryManagerObjectI {
  VAK_RTTI(Label, VakRttiMemoryManagerObjectI);
  explicit Label(VakMemoryManager manager) : VakRttiMemoryManagerObjectI(manager) {}
};

class Task : public VakEnvObjectI {
 public:
  Task(VakEnvI* env, double effort) : VakEnvObjectI(env), _effort(effort) {}
  double _effort;
};

class Machine : public VakRttiEnvObjectI {
  VAK_RTTI(Machine, VakRttiEnvObjectI);
  explicit Machine(VakEnvI* env) : VakRttiEnvObjectI(env) {}
};

void useMemory(VakEnv env) {
  const VakInt before = env.getMemoryUsage();
  VakGenAlloc* memory = env.getMemoryManager().getImpl();
  void* block = memory->alloc(100);
  std::memset(block, 0, 100);
  std::cout << "A block of 100 bytes uses " << env.getMemoryUsage() - before << " bytes.\n";
  memory->free(block, 100);
  std::cout << "Given back, it uses " << env.getMemoryUsage() - before << " bytes.\n";
  std::cout << "The system has lent at least what is in use: " << std::boolalpha
            << (env.getTotalMemoryUsage() >= env.getMemoryUsage()) << ".\n";
}

void makeObjects(VakEnv env) {
  const VakInt before = env.getMemoryUsage();
  Note* note = VakCreate<Note>(env.getMemoryManager(), 7L);
  Label* label = VakCreate<Label>(env.getMemoryManager());
  Task* task = VakCreate<Task>(env, 2.5);
  Machine* machine = VakCreate<Machine>(env);
  std::cout << "Four objects use " << env.getMemoryUsage() - before << " bytes: note "
            << note->_number << ", a " << label->getRttiTypeName() << ", a task of "
            << task->_effort << " hours and a " << machine->getRttiTypeName() << " of "
            << machine->getExtractableSize() << " bytes.\n";
  std::cout << "The note knows its environment: " << (note->getEnv() == env) << ".\n";
  std::cout << "The machine knows its memory manager: "
            << (machine->getMemoryManager() == env.getMemoryManager()) << ".\n";
  std::cout << "The label is an object with a memory manager: "
            << (label->isType(VakRttiMemoryManagerObjectI::GetTypeInfo()) != 0) << ".\n";
  delete note;
  delete label;
  delete task;
  delete machine;
  std::cout << "Deleted, they use " << env.getMemoryUsage() - before << " bytes.\n";
}

}  // namespace

int main() {
  try {
    VakEnv env;
    std::cout << "This is " << env.getVersion() << ".\n";
    const VakEnv found(env.getMemoryManager());
    std::cout << "The memory manager leads back to its environment: " << std::boolalpha
              << (found == env) << ".\n";
    useMemory(env);
    makeObjects(env);
    env.end();
    std::cout << "The environment has ended.\n";
    static_cast<void>(env.getVersion());
  } catch (const VakEmptyHandleException& failure) {
    std::cout << "Its handle is empty now: " << failure.getMessage() << ".\n";
    return 0;
  } catch (const VakException& failure) {
    std::cerr << failure.getMessage() << '\n';
  }
  return 1;
}

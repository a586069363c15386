#include "vakenv/core/multithreading.h"

#include "vakenv/core/environment_impl.h"

VakBaseEnvMutex* VakEnvI::Mutex = nullptr;
VakInt VakEnvI::DeleteMutex = 0;

void VakBaseEnvMutex::lock() {}
void VakBaseEnvMutex::unlock() {}
VakBaseEnvMutex::~VakBaseEnvMutex() = default;

void VakRecursiveEnvMutex::lock() { _mutex.lock(); }
void VakRecursiveEnvMutex::unlock() { _mutex.unlock(); }
VakRecursiveEnvMutex::~VakRecursiveEnvMutex() = default;

void VakInitMT(VakBaseEnvMutex* mutex) {
  VakEnvI::Mutex = mutex;
  VakEnvI::DeleteMutex = 0;
}

bool VakIsMTEnabled() { return VakEnvI::Mutex != nullptr; }

void VakEndMT() {
  if (VakEnvI::DeleteMutex != 0 && VakEnvI::Mutex != nullptr) delete VakEnvI::Mutex;
  VakEnvI::Mutex = nullptr;
  VakEnvI::DeleteMutex = 0;
}

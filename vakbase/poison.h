#pragma once

// Marks memory as not to be touched for the address sanitizer, so that use of a pooled element
// after it was given back, and of memory that was never handed out, is reported like any other use
// after free. Without the sanitizer every function here is empty and costs nothing.
//
// The library and the application must agree on the sanitizer: the pool poisons and lifts the
// poison in inline functions, and a program of which only one half does so is told of errors that
// are none.

#if defined(__SANITIZE_ADDRESS__)
#define VAK_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VAK_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef VAK_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

#if defined(VAK_ADDRESS_SANITIZER) || defined(__SANITIZE_THREAD__)
#define VAK_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define VAK_SANITIZED 1
#endif
#endif

/// True when a sanitizer that follows memory watches this program.
#ifdef VAK_SANITIZED
inline constexpr bool VakIsSanitized = true;
#else
inline constexpr bool VakIsSanitized = false;
#endif

#ifdef VAK_ADDRESS_SANITIZER

/// True when the address sanitizer watches this program.
inline constexpr bool VakPoisonsMemory = true;

/// Makes every access to the `size` bytes at `start` an error until the poison is lifted.
/// Threads: confined, as the memory is. Phases: any.
inline void VakPoison(const volatile void* start, unsigned long size) {
  __asan_poison_memory_region(start, size);
}

/// Makes the `size` bytes at `start` usable again; they keep their contents.
/// Threads: confined, as the memory is. Phases: any.
inline void VakUnpoison(const volatile void* start, unsigned long size) {
  __asan_unpoison_memory_region(start, size);
}

/// Reads the byte at `address`, so that the sanitizer reports it if it is poisoned.
/// Threads: read-shared, as the memory is. Phases: any.
inline void VakTouch(const volatile void* address) {
  static_cast<void>(*static_cast<const volatile char*>(address));
}

/// Tells whether the byte at `address` is poisoned.
/// Threads: read-shared, as the memory is. Phases: any.
[[nodiscard]] inline bool VakIsPoisoned(const volatile void* address) {
  return __asan_address_is_poisoned(address) != 0;
}

#else

/// Without the address sanitizer there is no poison, and these cost nothing.
/// Threads: thread safe. Phases: any.
inline constexpr bool VakPoisonsMemory = false;
inline void VakPoison(const volatile void*, unsigned long) {}
inline void VakUnpoison(const volatile void*, unsigned long) {}
inline void VakTouch(const volatile void*) {}
[[nodiscard]] inline bool VakIsPoisoned(const volatile void*) { return false; }

#endif

#undef VAK_ADDRESS_SANITIZER
#undef VAK_SANITIZED

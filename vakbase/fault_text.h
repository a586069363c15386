#pragma once

// What functions share that prove invariants: texts that say what is broken, with the values that
// show it, and a walk that survives broken lists.

#include <locale>
#include <sstream>
#include <string>

/// Returns the parts one after the other as a stream writes them, whatever locale the program has
/// chosen; pointers as addresses. Throws std::bad_alloc.
/// Threads: thread safe. Phases: any.
template <class... Parts>
[[nodiscard]] std::string VakFaultText(const Parts&... parts) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.exceptions(std::ios::badbit);  // Else what there is no memory for is left out unseen.
  (text << ... << parts);
  return text.str();
}

/// Puts the name of a structure before what is broken in it; nothing before an empty text.
/// Threads: thread safe. Phases: any.
[[nodiscard]] inline std::string VakNameFault(const char* structure, const std::string& fault) {
  return fault.empty() ? fault : structure + (": " + fault);
}

/// Walks a list from `first` on, asking `visit` what is broken in each element before `next` gives
/// the one after it. Returns the first text that is not empty, or that the list runs in a circle,
/// or an empty text. Visits no element of a circle more than a few times, and takes no memory.
/// Threads: read-shared, as the list is. Phases: any.
template <class T, class Next, class Visit>
[[nodiscard]] std::string VakCheckChain(const T* first, Next next, Visit visit) {
  const T* mark = nullptr;
  unsigned long stretch = 1;
  unsigned long left = stretch;
  for (const T* element = first; element != nullptr; element = next(element)) {
    if (element == mark) {
      return VakFaultText("the list runs in a circle through ", static_cast<const void*>(element));
    }
    std::string fault = visit(element);
    if (!fault.empty()) return fault;
    if (--left != 0) continue;
    mark = element;
    stretch *= 2;
    left = stretch;
  }
  return "";
}

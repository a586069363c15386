#include "vakbase/memory_ledger.h"

#include "vakbase/checked_memory.h"

#ifndef VAK_CHECKED_MEMORY

VakMemoryDefectHandler VakSetMemoryDefectHandler(VakMemoryDefectHandler /*handler*/) {
  return nullptr;
}
std::ostream* VakSetLeftoverStream(std::ostream* /*stream*/) { return nullptr; }

#else

#include <cxxabi.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>
#include <utility>

#include "vakbase/fault_text.h"
#include "vakbase/fixed_size_allocator.h"

namespace {

constexpr unsigned char GuardByte = 0xFD;  // behind what was asked for
constexpr unsigned char FreeByte = 0xDD;   // in what was given back, behind the link
constexpr long LinkBytes = sizeof(void*);

// Memory past the program's operator new.
template <class T>
struct Malloc {
  using value_type = T;
  Malloc() = default;
  template <class U>
  Malloc(const Malloc<U>& /*other*/) {}
  T* allocate(std::size_t n) {
    void* p = std::malloc(n * sizeof(T));
    if (p == nullptr) std::abort();
    return static_cast<T*>(p);
  }
  void deallocate(T* p, std::size_t /*n*/) { std::free(p); }
  template <class U>
  bool operator==(const Malloc<U>& /*other*/) const {
    return true;
  }
};

struct Record {
  long size = 0;                         // asked for
  long elementSize = 0;                  // of the class
  const std::type_info* type = nullptr;  // null when not known
  const void* link = nullptr;            // what follows it in the free list since it was given back
  bool isLive = false;                   // false once it was given back
  bool isPooled = false;                 // its memory stays with the pool
  bool isGone = false;                   // its memory ended with its list while it was in use
};

template <class K, class V>
using Table = std::map<K, V, std::less<K>, Malloc<std::pair<const K, V>>>;
using Page = Table<const void*, Record>;
using Text = std::basic_string<char, std::char_traits<char>, Malloc<char>>;

// Never destroyed, since environments may end after everything else.
struct Book {
  std::mutex lock;
  Table<const VakMemory*, Page> pages;
  VakMemoryDefectHandler handler = nullptr;
  // Held while the stream is written to or exchanged, so that two environments that end at the same
  // time write one after the other, and whoever exchanged the stream may free the old one. Taken
  // before `lock`, never after it: writing runs the program's code, which may need `lock`.
  std::mutex leftoversLock;
  std::ostream* leftovers = &std::cerr;
};

Book& theBook() {
  static Book* book = new (Malloc<Book>().allocate(1)) Book;
  return *book;
}

using Lock = std::unique_lock<std::mutex>;

// A record with the pool whose page it is on; a null record for none.
struct Found {
  const VakMemory* pool = nullptr;
  Record* record = nullptr;
};

// The record of an element, one in use before one that was given back: without pooling the heap may
// serve another pool with the same memory later.
Found find(Book& book, const void* element) {
  Found found;
  for (auto& [pool, page] : book.pages) {
    const auto entry = page.find(element);
    if (entry == page.end() || entry->second.isGone) continue;
    found = {pool, &entry->second};
    if (entry->second.isLive) return found;
  }
  return found;
}

Text nameOf(const std::type_info* type) {
  if (type == nullptr) return "no known type";
  int status = 0;
  char* name = abi::__cxa_demangle(type->name(), nullptr, nullptr, &status);
  Text text = name != nullptr ? name : type->name();
  std::free(name);
  return text;
}

void appendNumber(Text& text, long number) {
  char digits[24];  // more than a number of 64 bits has
  text.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
}

// The list of what is in use in a pool; an empty text for nothing.
Text listLeftovers(Book& book, const VakMemory* pool) {
  struct Amount {
    long elements = 0;
    long bytes = 0;  // asked for
  };
  Table<Text, Amount> types;
  {
    const Lock lock(book.lock);
    const auto page = book.pages.find(pool);
    if (page == book.pages.end()) return {};
    for (const auto& [start, record] : page->second) {
      if (!record.isLive) continue;
      Amount& amount = types[nameOf(record.type)];
      ++amount.elements;
      amount.bytes += record.size;
    }
  }
  if (types.empty()) return {};
  Text text = "Vak: left when the environment ended:\n";
  for (const auto& [name, amount] : types) {
    text += "  ";
    appendNumber(text, amount.elements);
    text += " of " + name + ", ";
    appendNumber(text, amount.bytes);
    text += " bytes\n";
  }
  return text;
}

std::string describe(const void* element, const Found& found) {
  const Record& record = *found.record;
  const std::string type =
      record.type == nullptr ? "" : " (" + VakMemoryLedger::GetTypeName(record.type) + ")";
  return VakFaultText(element, type, ", ", record.size, " bytes in the class of ",
                      record.elementSize, " bytes of pool ", static_cast<const void*>(found.pool),
                      ",");
}

// Tells the handler of a misuse, without holding the lock.
void report(Lock& lock, VakMemoryFault fault, const void* element, std::string text) {
  const VakMemoryDefectHandler handler = theBook().handler;
  lock.unlock();
  const VakMemoryDefect defect{fault, element, std::move(text)};
  if (handler != nullptr) {
    handler(defect);
    return;
  }
  std::cerr << "Vak: memory misused: " << defect.text << std::endl;
  std::abort();
}

const unsigned char* bytesOf(const void* element) {
  return static_cast<const unsigned char*>(element);
}

// The first byte from `from` on and before `to` that is not `byte`; `to` for none.
long firstOther(const void* element, long from, long to, unsigned char byte) {
  const unsigned char* start = bytesOf(element);
  return std::find_if(start + from, start + to, [byte](unsigned char b) { return b != byte; }) -
         start;
}

void fill(const void* element, long from, long to, unsigned char byte) {
  std::memset(static_cast<char*>(const_cast<void*>(element)) + from, byte,
              static_cast<std::size_t>(to - from));
}

// Which byte behind those asked for was written; an empty text for none.
std::string findOverrun(const void* element, const Found& found) {
  const long end = found.record->elementSize + VakGuardBytes;
  const long hurt = firstOther(element, found.record->size, end, GuardByte);
  if (hurt == end) return "";
  return VakFaultText(describe(element, found), " was written at byte ", hurt);
}

// Which byte of a pooled element was written after it was given back; an empty text for none.
std::string findLateWrite(const void* element, const Found& found) {
  const unsigned char* link = bytesOf(element);
  long hurt = std::mismatch(link, link + LinkBytes, bytesOf(&found.record->link)).first - link;
  const long end = found.record->elementSize;
  if (hurt == LinkBytes) hurt = firstOther(element, LinkBytes, end, FreeByte);
  if (hurt == end) return "";
  return VakFaultText(describe(element, found), " was written at byte ", hurt,
                      " after it was given back");
}

// What is hurt in an element or where it was; an empty text for nothing.
VakMemoryDefect findHurt(const VakMemory* pool, const void* element, Record& record) {
  VakMemoryDefect defect{VakMemoryFault::Overrun, element, ""};
  if (record.isGone) return defect;
  if (record.isLive) {
    defect.text = findOverrun(element, {pool, &record});
  } else if (record.isPooled) {
    defect.fault = VakMemoryFault::UseAfterFree;
    defect.text = findLateWrite(element, {pool, &record});
  }
  return defect;
}

}  // namespace

VakMemoryDefectHandler VakSetMemoryDefectHandler(VakMemoryDefectHandler handler) {
  const Lock lock(theBook().lock);
  return std::exchange(theBook().handler, handler);
}

std::ostream* VakSetLeftoverStream(std::ostream* stream) {
  const Lock lock(theBook().leftoversLock);
  return std::exchange(theBook().leftovers, stream);
}

// What is not pooled may have served others of the heap meanwhile.
void VakMemoryLedger::Take(const VakMemory* pool, void* element, long elementSize, bool isPooled) {
  Book& book = theBook();
  Lock lock(book.lock);
  Record& record = book.pages[pool][element];
  const Found found{pool, &record};
  std::string fault;
  VakMemoryFault kind = VakMemoryFault::TakenTwice;
  if (record.isLive && record.isPooled) {
    fault = describe(element, found) + " is handed out while it is in use";
  } else if (record.isPooled && record.elementSize == elementSize) {
    kind = VakMemoryFault::UseAfterFree;
    fault = findLateWrite(element, found);
  }
  record = Record{elementSize, elementSize, nullptr, nullptr, true, isPooled, false};
  fill(element, elementSize, elementSize + VakGuardBytes, GuardByte);
  if (!fault.empty()) report(lock, kind, element, std::move(fault));
}

void VakMemoryLedger::Narrow(const void* element, long size) {
  Book& book = theBook();
  const Lock lock(book.lock);
  const Found found = find(book, element);
  if (found.record == nullptr) return;
  found.record->size = size;
  fill(element, size, found.record->elementSize, GuardByte);
}

void VakMemoryLedger::Name(const void* element, const std::type_info& type) {
  Book& book = theBook();
  const Lock lock(book.lock);
  const Found found = find(book, element);
  if (found.record != nullptr && found.record->isLive) found.record->type = &type;
}

bool VakMemoryLedger::MayGiveBack(const VakMemory* pool, const void* element, long size) {
  Book& book = theBook();
  Lock lock(book.lock);
  const Found found = find(book, element);
  VakMemoryFault fault = VakMemoryFault::Unknown;
  std::string text;
  if (found.record == nullptr) {
    text = VakFaultText(element, " is given back as ", size, " bytes and was never handed out");
  } else if (!found.record->isLive) {
    fault = VakMemoryFault::DoubleFree;
    text = describe(element, found) + " is given back again";
  } else if (found.pool != pool) {
    fault = VakMemoryFault::Foreign;
    text = VakFaultText(describe(element, found), " is given back to pool ",
                        static_cast<const void*>(pool));
  } else if (found.record->size != size) {
    fault = VakMemoryFault::WrongSize;
    text = VakFaultText(describe(element, found), " is given back as ", size, " bytes");
  } else {
    return true;
  }
  report(lock, fault, element, std::move(text));
  return false;
}

bool VakMemoryLedger::GiveBack(void* element, long elementSize, const void* link) {
  Book& book = theBook();
  Lock lock(book.lock);
  const Found found = find(book, element);
  VakMemoryFault fault = VakMemoryFault::Unknown;
  std::string text;
  if (found.record == nullptr) {
    text = VakFaultText(element, " is given back to the class of ", elementSize,
                        " bytes and was never handed out");
  } else if (!found.record->isLive) {
    fault = VakMemoryFault::DoubleFree;
    text = describe(element, found) + " is given back again";
  } else if (found.record->elementSize != elementSize) {
    fault = VakMemoryFault::WrongSize;
    text = VakFaultText(describe(element, found), " is given back to the class of ", elementSize,
                        " bytes");
  }
  if (!text.empty()) {
    report(lock, fault, element, std::move(text));
    return false;
  }
  text = findOverrun(element, found);
  found.record->isLive = false;
  found.record->type = nullptr;
  found.record->link = link;
  fill(element, LinkBytes, elementSize, FreeByte);
  if (!text.empty()) report(lock, VakMemoryFault::Overrun, element, std::move(text));
  return true;
}

void* VakMemoryLedger::GetLink(const void* element) {
  Book& book = theBook();
  const Lock lock(book.lock);
  const Found found = find(book, element);
  if (found.record == nullptr || found.record->isLive || !found.record->isPooled) {
    return VakFixedSizeAllocatorI::LoadLink(element);
  }
  return const_cast<void*>(found.record->link);
}

void VakMemoryLedger::Abandon(const void* element) noexcept {
  Book& book = theBook();
  Lock lock(book.lock);
  const Found found = find(book, element);
  if (found.record == nullptr || !found.record->isLive) return;
  VakMemoryDefect hurt = findHurt(found.pool, element, *found.record);
  found.record->isGone = true;
  if (!hurt.text.empty()) report(lock, hurt.fault, element, std::move(hurt.text));
}

void VakMemoryLedger::Forget(const VakMemory* pool) noexcept {
  Book& book = theBook();
  Lock lock(book.lock);
  const auto page = book.pages.find(pool);
  if (page == book.pages.end()) return;
  std::vector<VakMemoryDefect> defects;
  for (auto& [start, record] : page->second) {
    VakMemoryDefect hurt = findHurt(pool, start, record);
    if (!hurt.text.empty()) defects.push_back(std::move(hurt));
  }
  book.pages.erase(page);
  for (VakMemoryDefect& defect : defects) {
    if (!lock.owns_lock()) lock.lock();
    report(lock, defect.fault, defect.element, std::move(defect.text));
  }
}

std::vector<VakMemoryLedger::Element> VakMemoryLedger::GetElements(const VakMemory* pool) {
  Book& book = theBook();
  const Lock lock(book.lock);
  std::vector<Element> elements;
  const auto page = book.pages.find(pool);
  if (page == book.pages.end()) return elements;
  for (const auto& [start, record] : page->second) {
    if (!record.isLive) continue;
    elements.push_back({start, record.size, record.elementSize, record.type});
  }
  return elements;
}

std::string VakMemoryLedger::Check(const VakMemory* pool) {
  Book& book = theBook();
  const Lock lock(book.lock);
  const auto page = book.pages.find(pool);
  if (page == book.pages.end()) return "";
  for (auto& [start, record] : page->second) {
    std::string fault = findHurt(pool, start, record).text;
    if (!fault.empty()) return fault;
  }
  return "";
}

// The list goes out in one piece. Deliberate: a stream that throws loses it, for this is the last
// step of an environment's end, which has nobody to tell.
void VakMemoryLedger::WriteLeftovers(const VakMemory* pool) noexcept {
  Book& book = theBook();
  const Lock lock(book.leftoversLock);
  if (book.leftovers == nullptr) return;
  const Text text = listLeftovers(book, pool);
  if (text.empty()) return;
  try {
    book.leftovers->write(text.data(), static_cast<std::streamsize>(text.size()));
    book.leftovers->flush();
  } catch (...) {
  }
}

std::string VakMemoryLedger::GetTypeName(const std::type_info* type) {
  return std::string(nameOf(type));
}

#endif

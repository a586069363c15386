#pragma once

// The library's own run-time type identification.
//
// Every participating class derives from VakRtti and stamps one set of members with VAK_RTTI (or
// VAK_RTTI_BELOW_ROOT when VakRtti is its direct base). The set gives the class
//   type info         the address of its static GetBaseTypeInfo: compared, walked up, never called
//                     as the type it is passed around as;
//   type index        1, 2, 3, ... in the order in which classes are first asked through the static
//                     GetTypeIndex; 0 means never asked, and the root has 0 for good;
//   type name         the class name, one pointer for the static and the virtual form;
//   extractable size  the size in bytes of an object of exactly this class.
//
// The declared parent is a class of this type system and need not be the C++ base class.

#include <atomic>

#include "vakbase/numbers.h"

/// Identity of a class: equal exactly when the classes are the same; null above the root.
/// It is the address of a function of another type, so it must never be called as it stands.
using VakTypeInfo = void (*)();

/// The type info of the declared parent of the class that `type` stands for; null for the root.
/// `type` must not be null.
/// Threads: thread safe. Phases: any.
[[nodiscard]] VakTypeInfo VakGetBaseTypeInfo(VakTypeInfo type);

/// Keeps two functions with equal bodies apart even when a linker folds identical code: the
/// function that calls this refers to `word`, which no other class shares.
/// Threads: thread safe. Phases: any.
inline void VakKeepDistinct(const VakInt& word) { asm volatile("" : : "r"(&word)); }

/// The answer 1 of isType, behind a branch of its own: compilers would join all the comparisons.
/// Threads: thread safe. Phases: any.
inline VakInt VakAnswerAtOnce() {
  asm volatile("");
  return 1;
}

/// Root of the type system. It has no data; destructors below it may throw.
///
/// Threads: thread safe for asking what an object is; that several threads ask a class for its
///     index first takes the process-wide mutex. Else as the class that derives from it says.
/// Phases: any.
class VakRtti {
 public:
  virtual ~VakRtti() noexcept(false) = default;

  /// The class's type index as it stands: 0 until the static GetTypeIndex was called.
  [[nodiscard]] virtual VakInt getTypeIndex() const;
  /// The type info of the object's class.
  [[nodiscard]] virtual VakTypeInfo getTypeInfo() const;
  /// 1 if the object's class is the one `type` stands for or has it among its declared parents,
  /// else 0. One comparison per level.
  [[nodiscard]] virtual VakInt isType(VakTypeInfo type) const {
    return type == VakRtti::GetTypeInfo() ? 1 : 0;
  }
  /// The name of the object's class, of static lifetime.
  [[nodiscard]] virtual const char* getRttiTypeName() const = 0;
  /// The size in bytes of the whole object.
  [[nodiscard]] virtual VakInt getExtractableSize() const = 0;

  /// Always null: nothing is above the root.
  static VakTypeInfo GetBaseTypeInfo();
  [[nodiscard]] static VakTypeInfo GetTypeInfo() {
    return reinterpret_cast<VakTypeInfo>(&VakRtti::GetBaseTypeInfo);
  }
  /// Always 0: the root never takes an index.
  [[nodiscard]] static VakInt GetTypeIndex() { return 0; }

  static VakInt _counter;  ///< The last type index handed out in this process; 0 at start.

 protected:
  VakRtti() = default;
  VakRtti(const VakRtti&) = default;
  VakRtti& operator=(const VakRtti&) = default;

  /// Gives `index` the next number if it is still 0; tested again under the process-wide mutex
  /// when one is installed. unlock() goes to the mutex that is installed by then.
  static void AssignTypeIndex(VakInt& index);

  /// Reads an index word that another thread may be assigning. Once assigned it never changes,
  /// which is why no lock is needed.
  static VakInt ReadTypeIndex(VakInt& index) {
    return std::atomic_ref<VakInt>(index).load(std::memory_order_acquire);
  }
};

// The members that both stamps share. `BaseSpecifier` is `override` except in the classes that
// introduce the two base queries. The name is an object, because equal string literals need not be
// one.
/// Not to be used elsewhere: what both stamps put into a class.
#define VAK_RTTI_MEMBERS_(Class, Parent, BaseSpecifier)                                            \
 public:                                                                                           \
  static VakTypeInfo GetBaseTypeInfo() {                                                           \
    VakKeepDistinct(Class::_rttiIndex);                                                            \
    return Parent::GetTypeInfo();                                                                  \
  }                                                                                                \
  [[nodiscard]] static VakTypeInfo GetTypeInfo() {                                                 \
    return reinterpret_cast<VakTypeInfo>(&Class::GetBaseTypeInfo);                                 \
  }                                                                                                \
  static void InitTypeIndex() {                                                                    \
    if (ReadTypeIndex(Class::_rttiIndex) == 0) AssignTypeIndex(Class::_rttiIndex);                 \
  }                                                                                                \
  static VakInt GetTypeIndex() {                                                                   \
    Class::InitTypeIndex();                                                                        \
    return ReadTypeIndex(Class::_rttiIndex);                                                       \
  }                                                                                                \
  [[nodiscard]] static const char* GetRttiTypeName() { return Class::_rttiTypeName; }              \
  [[nodiscard]] static VakInt GetExtractableSize() { return static_cast<VakInt>(sizeof(Class)); }  \
  [[nodiscard]] VakInt getTypeIndex() const override { return ReadTypeIndex(Class::_rttiIndex); }  \
  [[nodiscard]] VakTypeInfo getTypeInfo() const override { return Class::GetTypeInfo(); }          \
  [[nodiscard]] VakInt isType(VakTypeInfo type) const override {                                   \
    if (type == Class::GetTypeInfo()) return VakAnswerAtOnce();                                    \
    return Parent::isType(type);                                                                   \
  }                                                                                                \
  [[nodiscard]] const char* getRttiTypeName() const override { return Class::GetRttiTypeName(); }  \
  [[nodiscard]] VakInt getExtractableSize() const override { return Class::GetExtractableSize(); } \
  [[nodiscard]] virtual VakTypeInfo getBaseTypeInfo() const BaseSpecifier {                        \
    return Parent::GetTypeInfo();                                                                  \
  }                                                                                                \
  [[nodiscard]] virtual VakInt getBaseTypeIndex() const BaseSpecifier {                            \
    return Parent::GetTypeIndex();                                                                 \
  }                                                                                                \
  inline static constexpr char _rttiTypeName[] = #Class;                                           \
  inline static VakInt _rttiIndex = 0 /* 0 until the class is first asked */

/// Stamps the type members into `Class`, whose declared parent is `Parent`. Stands first in the
/// class body, is closed with a semicolon and leaves the access public. A class with its own
/// destructor defined in a source file keeps its virtual table there.
#define VAK_RTTI(Class, Parent) VAK_RTTI_MEMBERS_(Class, Parent, override)

/// The same for a class whose C++ base class is VakRtti itself: it introduces getBaseTypeInfo and
/// getBaseTypeIndex, which its descendants override in the same virtual slots.
#define VAK_RTTI_BELOW_ROOT(Class) VAK_RTTI_MEMBERS_(Class, VakRtti, )

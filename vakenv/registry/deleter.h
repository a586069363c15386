#pragma once

// The deleter: a policy that can take over the removal and destruction of extractables.

#include "vakenv/fwd.h"
#include "vakenv/plugins/plugin.h"
#include "vakmodel/contract/extractable_array.h"

/// Decides what is destroyed with what, in place of the environment's own removal.
///
/// Made with VakCreate and installed with VakEnvI::setDeleter; the environment owns it from then on
/// and deletes it in unsetDeleter and at its end. It is a notified plug-in, but installing it does
/// not enter it in the plug-in manager: a deleter that wants to hear of changes enters itself, and
/// takes itself out in its destructor. In the type system it is a VakNotifiedPlugIn. The order of
/// the virtual functions is fixed.
///
/// Threads: confined, as the environment is.
/// Phases: open, between setDeleter and unsetDeleter; deleted in step 6 of the end, or in step 11
///     when it is installed in between.
/// Gives back: unsetDeleter or the environment's end deletes it.
class VakBaseDeleterI : public VakNotifiedPlugIn {
 public:
  explicit VakBaseDeleterI(VakEnvI* env);
  ~VakBaseDeleterI() noexcept(false) override;

  /// Takes stock of the extractables that are registered already. For whoever installs the deleter;
  /// the environment does not call it.
  virtual void start() = 0;
  /// `e` was just registered; its derived parts are not constructed yet. An exception undoes the
  /// registration.
  virtual void extractableAdded(VakExtractableI* e) = 0;
  /// `e` is unregistered, but still has its old identifier; it may be half destroyed. It must not
  /// be deleted from here.
  virtual void extractableRemoved(VakExtractableI* e) = 0;
  /// Suspends (non-zero) or resumes the deleter.
  virtual void inhibit(VakInt inhibit) = 0;
  /// Takes `e` out of all other objects and deletes it and whatever becomes pointless; `flag` is
  /// what was given to VakEnvI::removeFromAllAndDestroy or removeAndDelete.
  virtual void removeAndDelete(VakExtractableI* e, VakInt flag) = 0;
  /// 1 when nothing refers to `e` any more, else 0. The environment does not call it.
  [[nodiscard]] virtual VakInt isUnused(VakExtractableI* e) const = 0;
  /// The same as the form for one extractable, for several at once.
  virtual void removeAndDelete(VakExtractableArray a, VakInt flag) = 0;
  /// How much the deleter reports of its work; 0 is nothing.
  virtual void setVerbosityLevel(VakInt level) = 0;
  /// The level last set. The environment does not call it.
  [[nodiscard]] virtual VakInt getVerbosityLevel() const = 0;
  /// 1 while suspended, else 0. The environment does not call it.
  [[nodiscard]] virtual VakInt isInhibited() const = 0;
  /// Forgets everything it knows of extractables. The environment does not call it.
  virtual void reset() = 0;
};

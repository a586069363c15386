#pragma once

// What the modelling layer throws when it is used wrongly. The text names the object and says what
// to do; the model is as it was before.
//
// An operation on an empty handle throws VakEmptyHandleException instead, with a text that names
// the handle's class: "VakNumVar: Using empty handle". Memory that runs out is std::bad_alloc.

#include <string_view>

#include "vakbase/error_text.h"
#include "vakbase/exception.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/fwd.h"

/// A modelling object was used in a way that makes no sense: a bound that is NaN, a lower bound
/// above the upper one, an object that was removed, and the like.
class VakModelError : private VakErrorText, public VakWrongUsage {
 public:
  /// Copies `text`. `object` is what the text is about; null for none.
  VakModelError(std::string_view text, VakExtractableI* object);
  VakModelError(const VakModelError& other);
  VakModelError& operator=(const VakModelError& other);
  ~VakModelError() override;

  /// The object the text is about, or an empty handle. It may have ended since.
  [[nodiscard]] VakExtractable getObject() const;

 private:
  VakExtractableI* _object;  ///< Not owned; null for none.
};

/// Objects of two environments met in one operation.
class VakModelMismatch : private VakErrorText, public VakEnvironmentMismatch {
 public:
  /// About `object`, which is not owned; the text is copied and its end cut if it is long.
  VakModelMismatch(std::string_view text, VakExtractableI* object);
  VakModelMismatch(const VakModelMismatch& other);
  VakModelMismatch& operator=(const VakModelMismatch& other);
  ~VakModelMismatch() override;

  /// The object of the other environment. It may have ended since.
  [[nodiscard]] VakExtractable getObject() const;

 private:
  VakExtractableI* _object;  ///< Not owned.
};

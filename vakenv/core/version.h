#pragma once

// The version record.

#include <iosfwd>

/// The version of the library, as constants of the process.
///
/// Threads: thread safe: it holds constants.
/// Phases: any.
class VakTarnVersion {
 public:
  static const char* const _VAK_NAME;     ///< Name of the product.
  static const int _VAK_MAJOR_VERSION;    ///< 2
  static const int _VAK_MINOR_VERSION;    ///< 4
  static const int _VAK_TECH_VERSION;     ///< 0
  static const int _VAK_RELEASE_TYPE;     ///< 0
  static const char* const _VAK_COMMENT;  ///< ""
  static const int _VAK_BUILD_NUMBER;     ///< 0
  static const char* const _VAK_DATE;     ///< "2007-03-26"

  /// The one text that names the library, its version and date.
  static const char* const _identification;
};

/// Writes the text that names the library, its version and date, as in
/// std::cout << VakTarnVersion().
std::ostream& operator<<(std::ostream& out, VakTarnVersion version);

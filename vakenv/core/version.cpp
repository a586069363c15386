#include "vakenv/core/version.h"

#include <ostream>

const char* const VakTarnVersion::_VAK_NAME = "Vak";
const int VakTarnVersion::_VAK_MAJOR_VERSION = 2;
const int VakTarnVersion::_VAK_MINOR_VERSION = 4;
const int VakTarnVersion::_VAK_TECH_VERSION = 0;
const int VakTarnVersion::_VAK_RELEASE_TYPE = 0;
const char* const VakTarnVersion::_VAK_COMMENT = "";
const int VakTarnVersion::_VAK_BUILD_NUMBER = 0;
const char* const VakTarnVersion::_VAK_DATE = "2007-03-26";
const char* const VakTarnVersion::_identification = "Vak 2.4 (2007-03-26)";

std::ostream& operator<<(std::ostream& out, VakTarnVersion /*version*/) {
  return out << VakTarnVersion::_identification;
}

#pragma once

// What displaying and printing write, as a string.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "vakbase/exception.h"
#include "vakenv/properties/named_property_impl.h"

/// What `property` displays; the stream must stay good.
inline std::string VakDisplayed(const VakNamedPropertyI& property) {
  std::ostringstream out;
  property.display(out);
  EXPECT_TRUE(out.good());
  return out.str();
}

/// What `exception` prints; the stream must stay good.
inline std::string VakPrinted(const VakException& exception) {
  std::ostringstream out;
  exception.print(out);
  EXPECT_TRUE(out.good());
  return out.str();
}

/// What the exception that `attempt` throws prints, provided it is an `Exception`; otherwise a text
/// that says so.
template <class Exception, class Attempt>
std::string VakPrintedBy(Attempt attempt) {
  try {
    attempt();
  } catch (const Exception& exception) {
    return VakPrinted(exception);
  } catch (...) {
    return "(another exception)";
  }
  return "(no exception)";
}

/// The message of the exception that `attempt` throws, provided it is an `Exception`.
template <class Exception, class Attempt>
std::string VakMessageBy(Attempt attempt) {
  try {
    attempt();
  } catch (const Exception& exception) {
    return exception.getMessage();
  } catch (...) {
    return "(another exception)";
  }
  return "(no exception)";
}

/// The address as a stream writes it.
inline std::string VakAddress(const void* address) {
  std::ostringstream out;
  out << address;
  return out.str();
}

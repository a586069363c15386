#pragma once

// Models and exceptions as texts, to be compared whole.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "vakmodel/modelling.h"

template <class T>
std::string VakTextOf(const T& value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

/// The message of what `action` throws as an Exception; other exceptions pass on.
template <class Exception, class Action>
std::string VakMessageOf(Action action) {
  try {
    action();
  } catch (const Exception& e) {
    return e.getMessage();
  }
  return "nothing was thrown";
}

/// The names of the objects that a refusal lists, as in "[x c]". Ends the refusal.
template <class Action>
std::string VakRefusalOf(Action action) {
  try {
    action();
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    std::string text = "[";
    for (VakExtractableI* e : refusal.getExtractables()) {
      text += (text.size() > 1 ? " " : "") + std::string(VakExtractable(e).getName());
    }
    refusal.end();
    return text + "]";
  }
  return "nothing was refused";
}

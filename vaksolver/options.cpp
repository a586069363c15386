#include "vaksolver/options.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "vakenv/properties.h"

namespace {

constexpr char Prefix[] = "solver.";
constexpr VakNum None = -1;  // In the table: no upper limit.

struct NumOption {
  const char* name;
  VakNum VakSolverOptions::*member;
  VakNum least;
  VakNum most;  // None for any.
};

struct IntOption {
  const char* name;
  VakInt VakSolverOptions::*member;
  VakInt most;  // None for any.
};

struct BoolOption {
  const char* name;
  bool VakSolverOptions::*member;
};

constexpr NumOption NumOptions[] = {
    {"solver.timeLimit", &VakSolverOptions::timeLimit, 0, None},
    {"solver.gap", &VakSolverOptions::gap, 0, None},
    {"solver.absoluteGap", &VakSolverOptions::absoluteGap, 0, None},
    {"solver.feasibilityTolerance", &VakSolverOptions::feasibilityTolerance, 1e-9, 1e-4},
    {"solver.optimalityTolerance", &VakSolverOptions::optimalityTolerance, 1e-9, 1e-4},
    {"solver.integralityTolerance", &VakSolverOptions::integralityTolerance, 1e-9, 1e-3},
    {"solver.progressInterval", &VakSolverOptions::progressInterval, 0, None},
};

constexpr IntOption IntOptions[] = {
    {"solver.nodeLimit", &VakSolverOptions::nodeLimit, -1},
    {"solver.iterationLimit", &VakSolverOptions::iterationLimit, -1},
    {"solver.logLevel", &VakSolverOptions::logLevel, 4},
    {"solver.seed", &VakSolverOptions::seed, 1000000000},
};

constexpr BoolOption BoolOptions[] = {
    {"solver.presolve", &VakSolverOptions::presolve},
    {"solver.cuts", &VakSolverOptions::cuts},
    {"solver.heuristics", &VakSolverOptions::heuristics},
    {"solver.warmStart", &VakSolverOptions::warmStart},
};

constexpr char AlgorithmName[] = "solver.algorithm";

[[noreturn]] void throwValue(const char* name, const std::string& wanted, const std::string& is) {
  const std::string text = "option \"" + std::string(name) + "\" must be " + wanted + ", not " + is;
  throw VakSolverOptionError(text.c_str());
}

std::string toText(VakNum value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", value);
  return text;
}

/// The value of a property that holds a number of either kind; false when it holds none.
bool readNumber(const VakNamedPropertyI* property, VakNum& value) {
  if (property->isType(VakNamedNumPropertyI::GetTypeInfo()) != 0) {
    value = static_cast<const VakNamedNumPropertyI*>(property)->getValue();
    return true;
  }
  if (property->isType(VakNamedIntPropertyI::GetTypeInfo()) != 0) {
    value = static_cast<VakNum>(static_cast<const VakNamedIntPropertyI*>(property)->getValue());
    return true;
  }
  return false;
}

void setNum(const NumOption& option, const VakNamedPropertyI* property, VakSolverOptions& options) {
  std::string wanted = "a number of at least " + toText(option.least);
  if (option.most != None) wanted += " and at most " + toText(option.most);
  VakNum value = 0;
  if (!readNumber(property, value)) throwValue(option.name, wanted, "of another type");
  if (!(value >= option.least) || (option.most != None && value > option.most)) {
    throwValue(option.name, wanted, toText(value));
  }
  options.*option.member = value;
}

/// A whole number from 0 to `most`.
VakInt readWhole(const char* name, VakInt most, const VakNamedPropertyI* property) {
  constexpr VakNum mostInt = 9e15;  // Up to here, whole numbers are exact.
  const std::string wanted = most < 0 ? "a whole number of at least 0"
                                      : "a whole number from 0 to " + std::to_string(most);
  VakNum value = 0;
  if (!readNumber(property, value)) throwValue(name, wanted, "of another type");
  const VakNum greatest = most < 0 ? mostInt : static_cast<VakNum>(most);
  if (!(value >= 0 && value <= greatest) || value != std::floor(value)) {
    throwValue(name, wanted, toText(value));
  }
  return static_cast<VakInt>(value);
}

VakSolverOptions::Algorithm readAlgorithm(const VakNamedPropertyI* property) {
  const std::string wanted = "\"auto\", \"primal\" or \"dual\"";
  if (property->isType(VakNamedStringPropertyI::GetTypeInfo()) == 0) {
    throwValue(AlgorithmName, wanted, "of another type");
  }
  const char* text = static_cast<const VakNamedStringPropertyI*>(property)->getValue();
  const std::string value = text == nullptr ? "" : text;
  if (value == "auto") return VakSolverOptions::Algorithm::Auto;
  if (value == "primal") return VakSolverOptions::Algorithm::Primal;
  if (value == "dual") return VakSolverOptions::Algorithm::Dual;
  throwValue(AlgorithmName, wanted, '"' + value + '"');
}

void setOption(const VakNamedPropertyI* property, VakSolverOptions& options) {
  const char* name = property->getName();
  for (const NumOption& option : NumOptions) {
    if (std::strcmp(name, option.name) == 0) return setNum(option, property, options);
  }
  for (const IntOption& option : IntOptions) {
    if (std::strcmp(name, option.name) != 0) continue;
    options.*option.member = readWhole(name, option.most, property);
    return;
  }
  for (const BoolOption& option : BoolOptions) {
    if (std::strcmp(name, option.name) != 0) continue;
    options.*option.member = readWhole(name, 1, property) != 0;
    return;
  }
  if (std::strcmp(name, AlgorithmName) == 0) {
    options.algorithm = readAlgorithm(property);
    return;
  }
  throw VakSolverOptionError(("there is no option \"" + std::string(name) + '"').c_str());
}

}  // namespace

VakSolverOptionError::VakSolverOptionError(const char* text)
    : VakErrorText(text), VakWrongUsage(VakErrorText::text()) {}

VakSolverOptionError::VakSolverOptionError(const VakSolverOptionError& other)
    : VakErrorText(other), VakWrongUsage(VakErrorText::text()) {}

VakSolverOptionError& VakSolverOptionError::operator=(const VakSolverOptionError& other) {
  VakErrorText::operator=(other);
  return *this;
}

VakSolverOptionError::~VakSolverOptionError() = default;

VakSolverOptions VakReadSolverOptions(VakEnv env) {
  VakSolverOptions options;
  for (const VakNamedProperty property : env.getProperties().all()) {
    const VakNamedPropertyI* impl = property.getImpl();
    const char* name = impl->getName();
    if (name != nullptr && std::strncmp(name, Prefix, sizeof Prefix - 1) == 0) {
      setOption(impl, options);
    }
  }
  return options;
}

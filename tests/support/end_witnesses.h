#pragma once

// User objects of every kind that the end of an environment deletes. Each writes down what it sees
// of the environment when it goes, and throws if it is told to.

#include <string>
#include <vector>

#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/contract/model_evaluator.h"

/// What one object saw when it went.
struct VakSighting {
  std::string who;
  VakInt ending;
  bool hasExtension;
  bool hasDestroyables;
  bool hasAlgorithms;
  bool hasExpander;
  bool hasTypedLists;
  bool hasDeleter;
  bool hasIdentifiers;
  bool hasDomains;
};

/// The sightings of one environment, in order.
class VakEndLog {
 public:
  explicit VakEndLog(VakEnvI* env) : _env(env) {}

  void see(const std::string& who) {
    sightings.push_back({who, _env->_ending, _env->_extension != nullptr,
                         _env->_destroyables != nullptr, _env->_algorithms != nullptr,
                         _env->_expander != nullptr, _env->_typedLists.isOn(),
                         _env->_deleter != nullptr, _env->_idManager->getMemoryUsage() != 0,
                         _env->_intDomains != nullptr && _env->_numDomains != nullptr});
  }
  /// Writes down the sighting and then throws the name if it was told to.
  void leave(const std::string& who) {
    see(who);
    if (throwing.find(who) != std::string::npos) throw who;
  }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const VakSighting& sighting : sightings) result.push_back(sighting.who);
    return result;
  }

  std::vector<VakSighting> sightings;
  std::string throwing;  ///< The names of those that throw.

 private:
  VakEnvI* _env;
};

/// A property whose destructor is watched, for the extension of an environment.
class VakPropertyWitness : public VakPreNamedPropertyI {
 public:
  VakPropertyWitness(VakMemoryManager manager, VakEndLog* log, const char* who)
      : VakPreNamedPropertyI(manager, who), _log(log), _who(who) {}
  ~VakPropertyWitness() override { _log->leave(_who); }

 private:
  VakEndLog* _log;
  const char* _who;
};

class VakDestroyableWitness : public VakDestroyableI {
 public:
  VakDestroyableWitness(VakEnvI* env, VakEndLog* log, const char* who)
      : VakDestroyableI(env), _log(log), _who(who) {}
  ~VakDestroyableWitness() override { _log->leave(_who); }

 private:
  VakEndLog* _log;
  const char* _who;
};

class VakAlgorithmWitness : public VakAlgorithmI {
 public:
  VakAlgorithmWitness(VakEnvI* env, VakEndLog* log, const char* who)
      : VakAlgorithmI(env), _log(log), _who(who) {
    attach();
  }
  ~VakAlgorithmWitness() override { _log->leave(_who); }
  void change(const VakChange&, const VakExtractableI*) override {}
  void change(const VakChange&) override {}

 private:
  VakEndLog* _log;
  const char* _who;
};

class VakDeleterWitness : public VakBaseDeleterI {
 public:
  VakDeleterWitness(VakEnvI* env, VakEndLog* log, const char* who)
      : VakBaseDeleterI(env), _log(log), _who(who) {}
  ~VakDeleterWitness() override { _log->leave(_who); }
  void notifyChange(const VakChange&, const VakExtractableI*) override {}
  void start() override {}
  void extractableAdded(VakExtractableI*) override {}
  void extractableRemoved(VakExtractableI*) override {}
  void inhibit(VakInt) override {}
  void removeAndDelete(VakExtractableI*, VakInt) override {}
  [[nodiscard]] VakInt isUnused(VakExtractableI*) const override { return 0; }
  void removeAndDelete(VakExtractableArray, VakInt) override {}
  void setVerbosityLevel(VakInt) override {}
  [[nodiscard]] VakInt getVerbosityLevel() const override { return 0; }
  [[nodiscard]] VakInt isInhibited() const override { return 0; }
  void reset() override {}

 private:
  VakEndLog* _log;
  const char* _who;
};

class VakExtractableWitness : public VakExtractableI {
 public:
  VakExtractableWitness(VakEnvI* env, VakEndLog* log, const char* who)
      : VakExtractableI(env), _log(log), _who(who) {}
  ~VakExtractableWitness() override {
    idAtTheEnd = id;
    _log->leave(_who);
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI*) const override { return nullptr; }

  inline static VakInt idAtTheEnd = -2;  ///< The identifier of the last one that went.

 private:
  VakEndLog* _log;
  const char* _who;
};

class VakPlugInWitness : public VakPlugIn {
 public:
  VakPlugInWitness(VakEnvI* env, VakEndLog* log, const char* who)
      : VakPlugIn(env), _log(log), _who(who) {}
  ~VakPlugInWitness() override { _log->leave(_who); }

 private:
  VakEndLog* _log;
  const char* _who;
};

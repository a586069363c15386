#pragma once

// A deleter that writes down what it is asked, and can refuse.

#include <stdexcept>
#include <string>

#include "tests/support/model_objects.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/deleter.h"

/// Logs every call to the script of its test. It deletes nothing.
class VakTestDeleter : public VakBaseDeleterI {
 public:
  VakTestDeleter(VakEnvI* env, VakTestScript& script) : VakBaseDeleterI(env), _script(script) {}
  ~VakTestDeleter() noexcept(false) override {
    _script.write("~deleter");
    if (_throwsOnDelete) throw std::runtime_error("~deleter");
  }

  void notifyChange(const VakChange& /*change*/, const VakExtractableI* /*e*/) override {}
  void start() override { _script.write("start"); }
  void extractableAdded(VakExtractableI* e) override { tell("added", e, _throwsOnAdded); }
  void extractableRemoved(VakExtractableI* e) override { tell("removed", e, _throwsOnRemoved); }
  void inhibit(VakInt inhibit) override { _script.write("inhibit " + std::to_string(inhibit)); }
  void removeAndDelete(VakExtractableI* e, VakInt flag) override {
    _script.write("delete " + std::to_string(e->id) + " " + std::to_string(flag));
  }
  [[nodiscard]] VakInt isUnused(VakExtractableI* /*e*/) const override { return 0; }
  void removeAndDelete(VakExtractableArray a, VakInt flag) override {
    _script.write("delete array of " + std::to_string(a.getSize()) + " " + std::to_string(flag));
  }
  void setVerbosityLevel(VakInt level) override { _level = level; }
  [[nodiscard]] VakInt getVerbosityLevel() const override { return _level; }
  [[nodiscard]] VakInt isInhibited() const override { return 0; }
  void reset() override { _script.write("reset"); }

  VakTestScript& _script;
  VakInt _level = 0;
  bool _throwsOnAdded = false;
  bool _throwsOnRemoved = false;
  bool _throwsOnDelete = false;

 private:
  void tell(const char* what, const VakExtractableI* e, bool throws) {
    const bool live = e->_env->_idManager->isLive(e->id);
    _script.write(std::string(what) + " " + std::to_string(e->id) + (live ? " live" : " free"));
    if (throws) throw std::runtime_error(what);
  }
};

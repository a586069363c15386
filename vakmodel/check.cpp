#include "vakmodel/check.h"

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/model_impl.h"

namespace {

// One walk over the extractables of an environment that is known to be sound.
class ModelCheck {
 public:
  explicit ModelCheck(const VakEnvI* env) : _env(env), _pool(env->_memory, {env->_termAllocator}) {}

  std::string run() {
    const VakIdManager* ids = _env->_idManager;
    for (VakInt id = 0; id < ids->_size && ids->isInTable(id); ++id) {
      if (ids->isLive(id)) visit(static_cast<const VakExtractableI*>(ids->_data[id]));
    }
    const VakInt inUse =
        _env->_termAllocator->_bytesInUse +
        _env->_memory._allocators[VakMemory::getIndex(VakEnvI::TermSize)]->_bytesInUse;
    if (_terms * VakEnvI::TermSize > inUse) {
      add(VakFaultText("terms: ", _terms, " are listed, more than the ", inUse,
                       " bytes in use hold"));
    }
    return _text;
  }

 private:
  // Terms come first: a model walks over those of its objects.
  void visit(const VakExtractableI* e) {
    if (e->isType(VakLinearI::GetTypeInfo()) != 0) {
      addTerms(e, static_cast<const VakLinearI*>(e)->_terms);
    } else if (e->isType(VakNumLinExprI::GetTypeInfo()) != 0) {
      addTerms(e, static_cast<const VakNumLinExprI*>(e)->_terms);
    } else if (e->isType(VakModelI::GetTypeInfo()) != 0) {
      add(e, static_cast<const VakModelI*>(e)->check(&_pool));
    }
  }
  void addTerms(const VakExtractableI* e, const VakTermListI& terms) {
    _terms += terms.size();
    add(e, terms.check(&_pool));
  }
  void add(const VakExtractableI* e, const std::string& fault) {
    if (!fault.empty()) add(VakFaultText(e->getRttiTypeName(), " ", e->id, ": ", fault));
  }
  void add(const std::string& line) {
    if (!_text.empty()) _text += '\n';
    _text += line;
  }

  const VakEnvI* _env;
  VakMemoryInspection _pool;
  VakInt _terms = 0;  // of all objects
  std::string _text;
};

}  // namespace

std::string VakCheckModels(VakEnv env) {
  std::string broken = env.check();
  return broken.empty() ? ModelCheck(env.getImpl()).run() : broken;
}

// The life of an environment: what it owns, what goes at its end, and in which order.

#include <iostream>

#include "vakenv/core/create.h"
#include "vakenv/environment.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/modelling.h"

namespace {

class Cache : public VakDestroyableI {
 public:
  explicit Cache(VakEnvI* env) : VakDestroyableI(env) {}
  ~Cache() noexcept(false) override { std::cout << "the cache goes\n"; }
};

void byHand() {
  VakEnv env;
  VakEnv same = env;
  std::cout << (same == env ? "one environment, two handles\n" : "");
  env.end();
  std::cout << (env.getImpl() == nullptr ? "the handle that ended it is empty\n" : "");
  // same.getMemoryUsage() would read memory that is gone
}

void withItsScope() {
  VakEnvOwner env;
  VakCreate<Cache>(env);
  VakModel model(env, "plan");
  VakNumVar x(env, "x");
  model.add(x <= 4);
  std::cout << "the scope ends\n";
}

}  // namespace

int main() {
  byHand();
  withItsScope();
}

// What the README shows of the conveniences.

#include <iostream>
#include <string>

#include "vakenv/memory/memory_resource.h"
#include "vakenv/memory/std_allocator.h"
#include "vakmodel/modelling.h"

int main() {
  VakEnvOwner env;  // ends with its scope, also on exceptions
  VakModel model(env, "plan");
  std::string name = "x";
  VakNumVar x(env, 0, 40, name + "1");  // texts that are not kept: any string or view
  model.maximize(3 * x);
  VakVector<double> costs(env);     // a std::vector in the environment's memory
  VakMemoryResource resource(env);  // the same for std::pmr containers
  VakRef<VakNumVar> ref = x;        // notices when x or its environment is gone
  VakDumpModel(std::cout, model);   // as text; VakDumpGraph writes a graph for dot
  x.end();
  std::cout << ref << ' ' << ref.isAlive() << '\n';  // (object gone) 0
}

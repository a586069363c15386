// Properties: what users hang on environments and objects, by name.

#include "vakenv/properties.h"

#include <iostream>

#include "vakmodel/modelling.h"

int main() {
  VakEnvOwner env;
  VakNumVar x(env, "x");

  x.setNumProperty("weight", 2.5);
  x.setStringProperty("colour", "red");
  std::cout << x.getProperty<VakNum>("weight") << ' ' << x.getProperty<const char*>("colour") << ' '
            << x.getProperty<VakInt>("priority", 7) << '\n';

  for (VakNamedProperty property : x.getProperties().all()) std::cout << property << '\n';

  try {
    x.setIntProperty("weight", 3);
  } catch (const VakNamedPropertySet::BadType& failure) {
    failure.print(std::cout);
    std::cout << '\n';
  }
  try {
    x.removeProperty("height");
  } catch (const VakNamedPropertySet::NotPresent& failure) {
    failure.print(std::cout);
    std::cout << '\n';
  }

  VakNamedPropertySet set(env);
  set.addClonedProperty(x.getProperty("weight"));
  VakNumVar y(env, "y");
  y.addProperties(set);  // copies
  set.end();             // the set is ours until an owner takes it over
  std::cout << y.getProperties() << '\n';
}

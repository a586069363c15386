// Modelling objects in general, variables, arrays of them.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/variable_impl.h"

namespace {

constexpr const char* Partly = "what was taken out or ended before stays so";

// Remembers objects, to find out later which of them live.
struct Roll {
  void add(const VakExtractable object) { entries.push_back({object.getImpl(), object.getId()}); }
  [[nodiscard]] std::vector<VakExtractable> living(const VakEnvI* env) const {
    std::vector<VakExtractable> handles;
    for (const Entry& entry : entries) {
      if (env->_idManager->_data[entry.id] == entry.object) {
        handles.push_back(VakExtractable(entry.object));
      }
    }
    return handles;
  }

  struct Entry {
    VakExtractableI* object;
    VakInt id;
  };
  std::vector<Entry> entries;
};

// Ends objects one after the other; a handle that is empty is passed over.
VakScene ending(VakStage& s, void (*end)(VakModelWorld& w)) {
  auto& w = s.keep<VakModelWorld>(s);
  // Kept, since a constraint that ran out of memory as it asked for its own end would stay.
  w.c.setKeptWhenEmpty(true);
  w.d.setKeptWhenEmpty(true);
  w.loose.setKeptWhenEmpty(true);
  return {.act = [&w, end] { end(w); },
          .afterFailure = [&w]() -> std::string { return w.m.isEmpty() ? "" : w.m.check(); },
          .mayKeep = Partly};
}

const std::vector<VakFaultOperation> _operations = {
    {"make a continuous variable",
     "VakNumVar::VakNumVar VakExtractable::VakExtractable* VakModelVarI::Make* "
     "VakModelVarI::VakModelVarI* VakModelVarI::CheckBounds* ",
     [](VakStage& s) {
       return VakMakeObject<VakNumVar>(
           s, [](VakModelWorld& w) { return VakNumVar(w.env, 1.5, 2.5, "a name of some length"); });
     }},
    {"make a variable with the usual bounds", "VakNumVar::VakNumVar",
     [](VakStage& s) {
       return VakMakeObject<VakNumVar>(s, [](VakModelWorld& w) { return VakNumVar(w.env, "v"); });
     }},
    {"make a variable of a kind", "VakNumVar::VakNumVar",
     [](VakStage& s) {
       return VakMakeObject<VakNumVar>(
           s, [](VakModelWorld& w) { return VakNumVar(w.env, -1, 2, VakVarKind::Integer, "v"); });
     }},
    {"make an integer variable", "VakIntVar::VakIntVar",
     [](VakStage& s) {
       return VakMakeObject<VakIntVar>(
           s, [](VakModelWorld& w) { return VakIntVar(w.env, 1, 9, "n"); });
     }},
    {"make a Boolean variable", "VakBoolVar::VakBoolVar",
     [](VakStage& s) {
       return VakMakeObject<VakBoolVar>(s, [](VakModelWorld& w) { return VakBoolVar(w.env, "b"); });
     }},
    {"make a variable when the shared domains are full", "VakNumVar::VakNumVar",
     [](VakStage& s) {
       for (VakInt i = 0; i <= VakModelVarI::MostSharedDomains; ++i) {
         s->getOrMakeSharedDomain(0.5, static_cast<VakNum>(i) + 1);
       }
       return VakMakeObject<VakNumVar>(
           s, [](VakModelWorld& w) { return VakNumVar(w.env, 0.25, 0.75, "own"); });
     }},
    {"make an array of variables", "VakNumVarArray::VakNumVarArray",
     [](VakStage& s) {
       auto& array = s.keep<VakNumVarArray>();
       return VakScene{.act = [&] { array = VakNumVarArray(s.env, 300, 1.25, 2.5); },
                       .undo =
                           [&] {
                             VakEndAll(array);
                             array.end();
                           },
                       .mayKeep = "tables of the environment keep the room they got"};
     }},
    {"make an array of variables of arrays of bounds", "VakNumVarArray::VakNumVarArray",
     [](VakStage& s) {
       struct Bounds {
         std::vector<VakNum> lower = std::vector<VakNum>(20, 1);
         std::vector<VakNum> upper = std::vector<VakNum>(20, 2);
         VakNumVarArray array;
       };
       auto& bounds = s.keep<Bounds>();
       return VakScene{.act =
                           [&] {
                             VakNumVarArray(s.env, 5).end();
                             bounds.array = VakNumVarArray(s.env, bounds.lower, bounds.upper,
                                                           VakVarKind::Integer);
                           },
                       .undo =
                           [&] {
                             VakEndAll(bounds.array);
                             bounds.array.end();
                           },
                       .mayKeep = "tables of the environment keep the room they got"};
     }},
    {"look into an array of variables",
     "VakNumVarArray::begin VakNumVarArray::end VakNumVarArray::getSize",
     [](VakStage& s) {
       VakNumVarArray array(s.env, 20, 0, 1);
       return VakScene{.act = [array] {
         if (end(array) - begin(array) != array.getSize()) throw std::logic_error("an answer");
       }};
     }},
    {"ask a variable about itself",
     "VakNumVar::From VakNumVar::getImpl VakNumVar::checked VakNumVar::getLB VakNumVar::getUB "
     "VakNumVar::getKind VakNumVar::isInteger VakModelVarI::getKind VakModelVarI::getLB "
     "VakModelVarI::getUB VakExtractable::getImpl VakExtractable::isEmpty VakExtractable::is "
     "VakExtractable::operator== VakExtractable::getEnv VakExtractable::getId "
     "VakVarEquality::VakVarEquality VakVarEquality::getLeft VakVarEquality::getRight "
     "VakVarEquality::operator_bool operator!=",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         const VakNumVar same = VakNumVar::From(w.x);
         const VakVarEquality equality = same == w.x;
         bool fine = equality && same != w.y && same.is(w.x) && !same.isEmpty();
         fine = fine && VakExtractable(same) == VakExtractable(w.x) && same.getEnv() == w.env;
         fine = fine && equality.getLeft().getImpl() == equality.getRight().checked();
         fine = fine && same.getLB() == same.getImpl()->getLB() && same.getUB() == 40;
         fine = fine && same.getImpl()->getUB() == 40 && same.getId() >= 0 && !same.isInteger();
         fine = fine && same.getKind() == same.getImpl()->getKind();
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"change the bounds of a variable",
     "VakNumVar::setBounds "
     "VakModelVarI::setBounds",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.x.setBounds(1.5, 2.5); });
     }},
    {"change one bound of a variable", "VakNumVar::setLB",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.y.setLB(0.5); }); }},
    {"change the upper bound of a variable", "VakNumVar::setUB",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.y.setUB(2.5); }); }},
    {"fix a variable", "VakNumVar::fix",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.z.fix(2); }); }},
    {"change the kind of a variable", "VakNumVar::setKind VakModelVarI::setKind",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.z.setKind(VakVarKind::Integer); });
     }},
    {"change the bounds of many variables", "VakSetBounds",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.x, w.y, w.z};
         VakSetBounds(vars, 0.5, 0.75);
       });
     }},
    {"change the bounds of many variables one by one", "VakSetBounds",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.x, w.y, w.z};
         const std::array lower = {0.5, 0.25, 0.75};
         const std::array upper = {1.5, 1.25, 1.75};
         VakSetBounds(vars, lower, upper);
       });
     }},
    {"change the kind of many variables", "VakSetKind",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.x, w.z};
         VakSetKind(vars, VakVarKind::Integer);
       });
     }},
    {"assign and restore the state of a variable",
     "VakModelVarI::assign VakModelVarI::getState VakModelVarI::restore",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const VakModelVarI::State state = w.y.getImpl()->getState();
         w.y.getImpl()->assign(VakVarKind::Integer, 1, 2);
         w.y.getImpl()->restore(state);
       });
     }},
    {"name a modelling object", "VakExtractable::setName VakExtractable::getName",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] { w.x.setName("another name"); },
                       .afterFailure = [&w]() -> std::string {
                         return w.x.getName() == nullptr ? "" : "a name is there";
                       },
                       .mayKeep = "the old name is given back first"};
     }},
    {"give a modelling object an object and values",
     "VakExtractable::setObject VakExtractable::getObject VakExtractable::setIntProperty "
     "VakExtractable::setNumProperty VakExtractable::setAnyProperty "
     "VakExtractable::setStringProperty VakExtractable::getProperties "
     "VakExtractable::hasProperty VakExtractable::getProperty VakExtractable::addProperties "
     "VakExtractable::removeProperty VakExtractable::removeAllProperties",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       const auto use = [&w] {
         w.x.setObject(&w);
         w.x.setIntProperty("i", 1);
         w.x.setNumProperty("n", 1.5);
         w.x.setAnyProperty("a", &w);
         w.x.setStringProperty("s", "text");
         bool fine = w.x.getObject() == &w && w.x.hasProperty("i");
         fine = fine && w.x.getProperty<int>("i") == 1;
         fine = fine && !(w.x.getProperty("i") == w.x.getProperty("n"));
         w.y.addProperties(w.x.getProperties());
         w.x.removeProperty("i");
         if (!fine) throw std::logic_error("an answer");
       };
       return VakScene{.act = use,
                       .undo =
                           [&w] {
                             w.x.removeAllProperties();
                             w.y.removeAllProperties();
                           },
                       .prepare = [&w] { w.y.removeAllProperties(); },
                       .mayKeep = "values that were given before stay"};
     }},
    {"clone a variable", "VakModelVarI::makeClone",
     [](VakStage& s) {
       return VakMakeObject<VakExtractable>(s, [](VakModelWorld& w) {
         return VakExtractable(w.z.getImpl()->makeClone(w.env.getImpl()));
       });
     }},
    {"take a variable out of everything", "VakExtractable::removeFromAll",
     [](VakStage& s) { return ending(s, [](VakModelWorld& w) { w.y.removeFromAll(); }); }},
    {"end a variable", "VakExtractable::end",
     [](VakStage& s) { return ending(s, [](VakModelWorld& w) { w.y.end(); }); }},
    {"end several objects at once",
     "VakEndAll VakMakeExtractableArray* VakWithExtractableArray* "
     "VakExtractableArray::add",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       for (const VakConstraint row : {w.c, w.d, w.loose}) row.setKeptWhenEmpty(true);
       auto& roll = s.keep<Roll>();
       for (const VakExtractable object :
            std::initializer_list<VakExtractable>{w.x, w.z, w.loose}) {
         roll.add(object);
       }
       return VakScene{.act = [&s, &roll] { VakEndAll(roll.living(s.impl())); },
                       .afterFailure = [&w] { return w.m.check(); },
                       .mayKeep = Partly};
     }},
    {"take several objects out of everything", "VakRemoveAllFromAll",
     [](VakStage& s) {
       return ending(s, [](VakModelWorld& w) {
         const std::array all = {w.x, w.z};
         VakRemoveAllFromAll(all);
       });
     }},
    {"end a model", "VakExtractable::end",
     [](VakStage& s) {
       // A constraint or an objective that left the model, and could not ask for its end, stays.
       auto& w = s.keep<VakModelWorld>(s);
       auto& roll = s.keep<Roll>();
       for (const VakConstraint row : {w.c, w.d}) {
         row.setKeptWhenEmpty(true);
         roll.add(row);
       }
       roll.add(w.o);
       return VakScene{.act = [&w] { w.m.end(); },
                       .complete =
                           [&s, &roll] {
                             for (VakExtractable object : roll.living(s.impl())) object.end();
                           },
                       .afterFailure = [&w] { return w.m.check(); },
                       .mayKeep = Partly};
     }},
    {"end a constraint and an objective", "VakExtractable::end",
     [](VakStage& s) {
       return ending(s, [](VakModelWorld& w) {
         w.c.end();
         w.o.end();
         w.e.end();
       });
     }},
    {"fill an array of extractables",
     "VakExtractableArray::VakExtractableArray VakExtractableArray::add "
     "VakExtractableArray::getSize VakExtractableArray::isEmpty VakExtractableArray::dropLast "
     "VakExtractableArray::removeAll VakExtractableArray::begin VakExtractableArray::end",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& array = s.keep<VakExtractableArray>();
       return VakScene{.act =
                           [&] {
                             array.end();
                             array = VakExtractableArray(s.env);
                             array.add(w.x.getImpl());
                             array.add(array);
                             for (int i = 0; i < 5; ++i) array.add(array);
                             array.dropLast();
                             bool fine = end(array) - begin(array) == array.getSize();
                             fine = fine && array.getSize() == 63 && !array.isEmpty();
                             array.removeAll();
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { array.end(); },
                       .mayKeep = "elements that were added before stay"};
     }},
};

}  // namespace

VakFaultGroup VakVariableFaults() { return {"Modelling objects and variables", _operations}; }

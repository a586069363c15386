// Models: adding, removing, looking, copying.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/block_list.h"
#include "vakmodel/model_impl.h"

namespace {

// Coefficients by row or column, for three of them.
const std::vector<VakInt> _starts = {0, 2, 2, 5};
const std::vector<int> _members = {0, 1, 1, 0, 1};
const std::vector<VakNum> _coefs = {1, 2, 3, 4, 5};
const std::vector<VakNum> _objective = {1, 2, 3};

// Copies into another environment; undo() and a further attempt delete what was copied.
VakScene copying(VakStage& s, void (*copy)(VakModelWorld& w, VakCopier& copier), VakEnv target) {
  auto& w = s.keep<VakModelWorld>(s);
  w.x.setNumProperty("weight", 2);
  w.before = w.state();
  const VakInt first = target.getImpl()->_idManager->_size;
  const auto clear = [target, first] {
    VakIdManager& ids = *target.getImpl()->_idManager;
    for (VakInt id = ids._size; id-- > first;) {
      if (ids.isLive(id)) delete static_cast<VakExtractableI*>(ids._data[id]);
    }
  };
  return {.act =
              [&w, copy, target] {
                VakCopier copier(target);
                copy(w, copier);
              },
          .undo = clear,
          .afterFailure = [&w, target, first]() -> std::string {
            const VakIdManager& ids = *target.getImpl()->_idManager;
            for (VakInt id = first; id < ids._size; ++id) {
              if (ids.isLive(id)) return "a copy is left";
            }
            return w.state() == w.before ? "" : "the model was changed";
          },
          .mayKeep = "tables of the environments keep the room they got"};
}

const std::vector<VakFaultOperation> _operations = {
    {"make a model", "VakModel::VakModel VakModelI::VakModelI*",
     [](VakStage& s) {
       return VakMakeObject<VakModel>(s, [](VakModelWorld& w) { return VakModel(w.env, "made"); });
     }},
    {"add a constraint of a relation", "VakModel::add VakModelI::add",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.m.add(w.z + w.x <= 3, "name"); });
     }},
    {"add a constraint", "VakModel::add",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.m.add(w.loose); }); }},
    {"add a variable", "VakModel::add",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.m.add(w.z); }); }},
    {"add an objective", "VakModel::add VakModel::remove VakModelI::removeObjective*",
     [](VakStage& s) {
       VakScene scene = VakChangeModel(s, [](VakModelWorld& w) {
         if (w.o.getModel() == w.m) w.m.remove(w.o);
         w.m.add(w.o);
       });
       scene.afterFailure = {};  // The first step may have been taken.
       return scene;
     }},
    {"set the objective of a model", "VakModel::minimize ",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) { w.m.minimize(w.z + w.y + 4); });
     }},
    {"set the objective of a model that has none", "VakModel::maximize VakModelI::setObjective*",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       w.second = VakModel(w.env, "second");
       w.before = w.state();
       return VakScene{.act = [&w] { w.second.maximize(w.x + w.z); },
                       .afterFailure = [&w]() -> std::string {
                         return w.state() == w.before ? "" : "a model was changed";
                       },
                       .mayKeep = "lists of the model keep the room they got"};
     }},
    {"change sense, terms and constant of an objective", "VakObjectiveI::setAll VakLinear::checked",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         if (w.o.checked() != w.o.getImpl()) throw std::logic_error("an object");
         w.o.getImpl()->setAll(VakSense::Minimize, w.z + 5 * w.x + 2);
       });
     }},
    {"add several constraints", "VakModel::add",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array rows = {w.loose};
         w.m.add(rows);
       });
     }},
    {"add several variables", "VakModel::add",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.x, w.z};
         w.m.add(vars);
       });
     }},
    {"add an array of variables", "VakModel::add",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& array = s.keep<VakNumVarArray>(s.env, 400, 0, 1);
       w.before = w.state();
       return VakScene{.act = [&w, &array] { w.m.add(array); },
                       .afterFailure = [&w]() -> std::string {
                         return w.state() == w.before ? "" : "the model was changed";
                       },
                       .mayKeep = "lists of the model keep the room they got"};
     }},
    {"add constraints of several relations", "VakModel::add",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::vector<VakRelation> relations = {w.x <= 1, w.y + w.z >= 2,
                                                     w.x + w.x + w.y <= 7};
         w.m.add(relations);
       });
     }},
    {"add a column", "VakModel::addColumn VakModelI::addColumn",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array rows = {w.c, w.d};
         const std::array coefs = {1.0, 2.0};
         w.m.addColumn(0, 1.5, 2, rows, coefs);
       });
     }},
    {"add columns",
     "VakModel::addColumns VakModelI::addColumns VakModelVarI::MakeAfter* "
     "VakTermListI::prependAll*",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array rows = {w.c, w.d};
         VakColumns columns;
         columns.count = 3;
         columns.objective = _objective;
         columns.rows = rows;
         columns.matrix = {_starts, _members, _coefs};
         w.m.addColumns(columns);
       });
     }},
    {"add rows", "VakModel::addRows VakModelI::addRows",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.z, w.y};
         VakRows rows;
         rows.count = 3;
         rows.columns = vars;
         rows.matrix = {_starts, _members, _coefs};
         w.m.addRows(rows);
       });
     }},
    {"remove a variable from a model", "VakModel::remove VakModelI::remove",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.m.remove(w.y); }); }},
    {"remove a constraint from a model", "VakModel::remove",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.m.remove(w.c); }); }},
    {"remove the objective from a model", "VakModel::remove",
     [](VakStage& s) { return VakChangeModel(s, [](VakModelWorld& w) { w.m.remove(w.o); }); }},
    {"remove several variables from a model", "VakModel::remove",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array vars = {w.y, w.x};
         w.m.remove(vars);
       });
     }},
    {"remove several constraints from a model", "VakModel::remove",
     [](VakStage& s) {
       return VakChangeModel(s, [](VakModelWorld& w) {
         const std::array rows = {w.d, w.c};
         w.m.remove(rows);
       });
     }},
    {"ask a model about itself",
     "VakModel::From VakModel::getImpl VakModel::checked VakModel::getVariableCount "
     "VakModel::getConstraintCount VakModel::getTermCount VakModel::variables "
     "VakModel::constraints VakModel::getObjective VakModel::contains VakModel::findVariable "
     "VakModel::findConstraint VakModel::check VakModelI::check VakModelI::contains",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         const VakModel same = VakModel::From(w.m);
         bool fine = same.getImpl() == w.m.checked() && same.getVariableCount() == 2;
         fine = fine && same.getConstraintCount() == 2 && same.getTermCount() == 3;
         fine = fine && same.getObjective() == w.o && same.contains(w.x) && same.contains(w.c);
         fine = fine && same.findVariable("x").is(w.x) && same.findConstraint("d") == w.d;
         fine = fine && same.check().empty() && same.getImpl()->check().empty();
         fine = fine && !same.getImpl()->contains(w.z.getImpl());
         VakInt walked = 0;
         for (const VakNumVar v : same.variables()) walked += v.isEmpty() ? 0 : 1;
         for (const VakConstraint row : same.constraints()) walked += row.isEmpty() ? 0 : 1;
         if (!fine || walked != 4) throw std::logic_error("an answer");
       }};
     }},
    {"copy a model into another environment",
     "VakCopier::VakCopier VakCopier::copy VakModelI::makeClone* VakConstraintI::makeClone* "
     "VakObjectiveI::makeClone*",
     [](VakStage& s) {
       return copying(
           s,
           [](VakModelWorld& w, VakCopier& copier) {
             if (copier.copy(w.m).getVariableCount() != 2) throw std::logic_error("a copy");
           },
           s.other);
     }},
    {"copy a model within its environment, sharing a variable",
     "VakCopier::substitute VakCopier::openLevel VakCopier::closeLevel",
     [](VakStage& s) {
       return copying(
           s,
           [](VakModelWorld& w, VakCopier& copier) {
             copier.substitute(w.x, w.x);
             const VakInt level = copier.openLevel();
             const VakModel copy = copier.copy(w.m);
             copier.closeLevel(level);
             if (!copy.contains(w.x)) throw std::logic_error("a copy");
           },
           s.env);
     }},
    {"look up what was copied",
     "VakCopier::getCopy VakCopier::getMap VakObjectMap::getSize VakObjectMap::operator()",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       struct Copied {
         explicit Copied(const VakModelWorld& world)
             : copier(world.env), copy(copier.copy(world.m)) {}
         VakCopier copier;
         VakModel copy;
       };
       auto& copied = s.keep<std::unique_ptr<Copied>>(std::make_unique<Copied>(w));
       return VakScene{.act =
                           [&w, &copied] {
                             const VakObjectMap map = copied->copier.getMap();
                             bool fine = map(w.m) == copied->copy && map.getSize() == 6;
                             fine = fine && copied->copier.getCopy(w.m) == copied->copy;
                             if (!fine) throw std::logic_error("a copy");
                           },
                       .undo = [&copied] { copied.reset(); }};
     }},
    {"work on lists and tables of a model",
     "VakBlockList::VakBlockList VakBlockList::add VakBlockList::operator[] VakBlockList::size "
     "VakBlockList::truncate VakPlacesI::VakPlacesI VakPlacesI::add VakPlacesI::operator[] "
     "VakPlacesI::list VakPlacesI::count VakPlacesI::isSparse VakPlacesI::empty "
     "VakPlacesI::restore VakPlacesI::truncate VakPlacesI::closeUp VakIdTableI::VakIdTableI "
     "VakIdTableI::operator[] VakIdTableI::reserve VakIdTableI::set",
     [](VakStage& s) {
       VakExtractableI* member = VakCreate<VakUserVar>(s.impl());
       return VakScene{.act = [&s, member] {
         VakBlockList<int> list(s.impl());
         for (int i = 0; i < 1000; ++i) list.add(i);
         list.truncate(700);
         bool fine = list[699] == 699 && list.size() == 700;
         VakPlacesI places(s.impl());
         for (int i = 0; i < 200; ++i) places.add(member);
         for (VakInt i = 0; i < 150; ++i) places.empty(i);
         places.restore(0, member);
         fine = fine && places.isSparse() && places.count() == 51 && places[1] == nullptr;
         fine = fine && places.list()->size() == 200;
         places.closeUp([](VakExtractableI*, VakInt) {});
         places.truncate(10);
         fine = fine && places.count() == 10;
         VakIdTableI table(s.impl());
         table.reserve(1000);
         table.set(1000, 7);
         fine = fine && table[1000] == 7 && table[5000] == 0;
         if (!fine) throw std::logic_error("a list");
       }};
     }},
    {"make modelling objects by their classes",
     "VakConstraintI::VakConstraintI VakObjectiveI::VakObjectiveI VakLinearI::VakLinearI "
     "VakNumLinExprI::VakNumLinExprI",
     [](VakStage& s) {
       auto& made = s.keep<std::array<VakExtractableI*, 3>>();
       return VakScene{.act =
                           [&] {
                             VakEnvI* env = s.impl();
                             if (made[0] == nullptr) made[0] = VakCreate<VakConstraintI>(env, 1, 2);
                             if (made[1] == nullptr) {
                               made[1] = VakCreate<VakObjectiveI>(env, VakSense::Minimize);
                             }
                             VakLinearI* linear = static_cast<VakLinearI*>(made[1]);
                             if (!linear->_terms.empty()) throw std::logic_error("a term");
                             made[2] = VakCreate<VakNumLinExprI>(env);
                           },
                       .undo =
                           [&] {
                             for (VakExtractableI* object : made) delete object;
                           },
                       .mayKeep = "objects that were made before stay"};
     }},
    {"drop what is hidden",
     "VakLinearI::dropHidden VakLinearI::removeHidden VakModelI::removeHidden "
     "VakNumLinExprI::removeHidden",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         VakExtractableI* y = w.y.getImpl();
         void*& slot = w.env.getImpl()->_idManager->_data[y->id];
         slot = VakIdManager::HiddenMark();
         w.c.getImpl()->dropHidden();
         w.loose.getImpl()->removeHidden(0);
         w.o.getImpl()->removeHidden(0);
         w.e.getImpl()->removeHidden(0);
         w.m.getImpl()->removeHidden(0);
         slot = y;
         if (w.c.getTermCount() != 1) throw std::logic_error("a term");
       }};
     }},
    {"take the right to change a model", "VakMembershipI::VakMembershipI",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         const VakMembershipI ofNone(nullptr);
         for (int round = 0; round < 2; ++round) {
           const VakMembershipI right(w.m.getImpl());
           bool isRefused = false;
           try {
             w.m.add(w.z);
           } catch (const VakModelError&) {
             isRefused = true;
           }
           if (!isRefused) throw std::logic_error("two changes at once");
         }
       }};
     }},
    {"let variables join and leave a model",
     "VakModelI::join VakModelI::unjoin VakModelI::tidy VakModelI::forget* "
     "VakJoiningI::VakJoiningI VakJoiningI::join VakJoiningI::joinAll VakJoiningI::keep "
     "VakJoiningI::takeBack VakJoiningI::getFrom VakJoiningI::getModel",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& vars = s.keep<VakNumVarArray>(s.env, 300, 0, 1);
       w.before = w.state();
       return VakScene{.act =
                           [&w, &vars] {
                             VakModelI* m = w.m.getImpl();
                             m->tidy();
                             {
                               VakJoiningI joining(m);
                               for (const VakNumVar v : vars) joining.join(v.getImpl());
                               joining.joinAll(w.loose.getImpl()->_terms);
                               if (joining.getModel() != m) throw std::logic_error("a model");
                             }
                             VakJoiningI joining(m);
                             joining.join(w.z.getImpl());
                             m->join(vars[0].getImpl());
                             m->unjoin(joining.getFrom() + 1);
                             joining.takeBack();
                             joining.keep();
                           },
                       .afterFailure = [&w]() -> std::string {
                         return w.state() == w.before ? "" : "the model was changed";
                       },
                       .mayKeep = "lists of the model keep the room they got",
                       .mayAbsorb = {{VakFaultKind::Callback,
                                      "what is thrown while a change is taken back is dropped"}}};
     }},
};

}  // namespace

VakFaultGroup VakModelFaults() { return {"Models", _operations}; }

// References that notice the end of their object, and the lives and stamps behind them.

#include <array>
#include <unordered_set>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "tests/support/failing_new.h"
#include "vakenv/core/env_owner.h"
#include "vakenv/memory/env_life.h"
#include "vakenv/registry/reference_table.h"
#include "vakmodel/object_text.h"
#include "vakmodel/ref.h"

namespace {

// References to objects that are gone, each in another way.
struct Gone {
  explicit Gone(VakStage& s) : w(s), otherEnv(s.other) {
    VakNumVar brief(s.env, 0, 1);
    ended = brief;
    brief.end();
    const VakEnvOwner env;
    withEnv = VakNumVar(env, 0, 1);
    foreign = w.x;
  }
  VakModelWorld w;
  VakEnv otherEnv;
  VakRef<VakNumVar> empty;
  VakRef<VakNumVar> ended;
  VakRef<VakNumVar> withEnv;
  VakRef<VakNumVar> foreign;  // Of an object that lives, in another environment than asked for.
};

// True when `use` throws that the object has this state, and the exception can be copied.
template <class Use>
bool throwsState(VakRefState state, Use use) {
  try {
    use();
  } catch (const VakRefError& error) {
    VakRefError copy("another text", VakRefState::Empty);
    copy = VakRefError(error);
    return copy.getState() == state && std::string_view(copy.getMessage()) == error.getMessage();
  }
  return false;
}

// The notes of as many lives as it takes to leave no cell for a further one.
struct Notes {
  explicit Notes(VakEnvI* env) {
    notes.reserve(MostNotes);
    for (bool isFresh = false; !isFresh && notes.size() < MostNotes;) {
      notes.push_back(std::make_unique<VakEnvLifeNote>());
      const long blocks = VakFailingNew::CountBlocks();
      static_cast<void>(notes.back()->get(env));
      isFresh = VakFailingNew::CountBlocks() != blocks;
    }
  }
  static constexpr std::size_t MostNotes = 10000;
  std::vector<std::unique_ptr<VakEnvLifeNote>> notes;
  VakEnvLifeNote next;
};

const std::vector<VakFaultOperation> _operations = {
    {"refer to a variable",
     "VakRef::VakRef VakAnyRef::VakAnyRef* VakRef::get VakRef::checked VakAnyRef::getState "
     "VakAnyRef::isAlive VakAnyRef::isEmpty VakAnyRef::operator== VakAnyRef::getHash",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       auto& ref = s.keep<VakRef<VakExtractable>>();
       w.before = w.state();
       return VakScene{.act =
                           [&w, &ref] {
                             ref = VakRef<VakExtractable>(VakRef<VakNumVar>(w.x));
                             bool fine = ref.get().is(w.x) && ref.checked(w.env).is(w.x);
                             fine = fine && ref == VakRef<VakExtractable>(w.x);
                             fine = fine && !(ref == VakAnyRef()) && ref.getHash() != 0;
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .afterFailure = [&w, &ref]() -> std::string {
                         if (!ref.isEmpty() || ref.getState() != VakRefState::Empty) {
                           return "half a reference is there";
                         }
                         return w.state() == w.before ? "" : "the model was changed";
                       },
                       .afterSuccess = [&ref]() -> std::string {
                         return ref.isAlive() ? "" : "the object seems to be gone";
                       }};
     }},
    {"keep references in a table of the standard library",
     "std::hash::operator() VakAnyRef::getHash* VakRef::VakRef",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       return VakScene{.act = [&w] {
         const std::unordered_set<VakRef<VakNumVar>> refs = {w.x, w.y, w.x};
         if (refs.size() != 2 || !refs.contains(w.y)) throw std::logic_error("an answer");
       }};
     }},
    {"use references whose objects are gone",
     "VakRef::checked VakRef::get VakAnyRef::getState VakAnyRef::isAlive VakRefError::VakRefError "
     "VakRefError::getState VakRefError::operator= VakGetRefStateName VakGetKindText VakCapitalize",
     [](VakStage& s) {
       auto& gone = s.keep<Gone>(s);
       return VakScene{.act = [&gone] {
         const VakEnv env = gone.w.env;
         bool fine = throwsState(VakRefState::Empty, [&] { (void)gone.empty.checked(); });
         fine = fine && throwsState(VakRefState::ObjectGone, [&] { (void)gone.ended.checked(); });
         fine = fine && throwsState(VakRefState::EnvironmentEnded,
                                    [&] { (void)gone.withEnv.checked(env); });
         fine = fine && throwsState(VakRefState::OtherEnvironment,
                                    [&] { (void)gone.foreign.checked(gone.otherEnv); });
         fine = fine && gone.foreign.isAlive() && gone.foreign.get(gone.otherEnv).isEmpty();
         fine = fine && gone.ended.get().isEmpty() && gone.withEnv.get().isEmpty();
         fine =
             fine && std::string_view(VakGetRefStateName(VakRefState::ObjectGone)) == "object gone";
         std::array text = {'v', 'a', 'r', '\0'};
         VakCapitalize(text.data());
         fine = fine && std::string_view(text.data()) == "Var";
         fine = fine && std::string_view(VakGetKindText(gone.w.c.VakExtractable::getImpl())) ==
                            "constraint";
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"write references", "operator<<(VakRef) operator<<(VakRefState)",
     [](VakStage& s) {
       auto& gone = s.keep<Gone>(s);
       auto& out = s.keep<VakUserStream>();
       return VakScene{
           .act = [&gone, &out] { out << gone.foreign << gone.ended << gone.withEnv.getState(); },
           .prepare = [&out] { out.clear(); }};
     }},
    {"stamp identifiers",
     "VakReferenceTable::VakReferenceTable VakReferenceTable::make VakReferenceTable::find "
     "VakReferenceTable::drop VakReferenceTable::end",
     [](VakStage& s) {
       struct Stamped {
         VakReferenceTable table;
         std::array<VakInt, 3> ids = {0, 600, 70000};  // On three pages, two of one list.
         std::array<VakReferenceTable::Stamp, 3> stamps = {};
       };
       auto& stamped = s.keep<Stamped>();
       return VakScene{.act =
                           [&stamped] {
                             for (std::size_t i = 0; i < stamped.ids.size(); ++i) {
                               stamped.stamps[i] = stamped.table.make(stamped.ids[i]);
                             }
                           },
                       .undo =
                           [&stamped] {
                             stamped.table.drop(600);
                             if (stamped.table.find(600) != 0) std::abort();
                             stamped.table.end();
                           },
                       .afterFailure = [&stamped]() -> std::string {
                         for (std::size_t i = 0; i < stamped.ids.size(); ++i) {
                           if (stamped.table.find(stamped.ids[i]) != stamped.stamps[i]) {
                             return "a stamp";
                           }
                         }
                         return "";
                       },
                       .afterSuccess = [&stamped]() -> std::string {
                         const auto& stamps = stamped.stamps;
                         return stamps[0] != 0 && stamps[0] < stamps[1] && stamps[1] < stamps[2]
                                    ? ""
                                    : "the stamps";
                       }};
     }},
    {"keep the life of an environment",
     "VakEnvLife::VakEnvLife VakEnvLife::isOver VakEnvLife::getEnv VakEnvLife::operator==",
     [](VakStage& s) {
       return VakScene{.act = [&s] {
         const VakEnvLife life(s.impl());
         bool fine = !life.isOver() && life.getEnv() == s.impl();
         fine = fine && life == VakEnvLife(s.impl()) && !(life == VakEnvLife());
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"note the life of an environment when no cell is free",
     "VakEnvLifeNote::VakEnvLifeNote VakEnvLifeNote::get VakEnvLifeNote::end",
     [](VakStage& s) {
       auto& notes = s.keep<Notes>(s.impl());
       auto& life = s.keep<VakEnvLife>();
       // Deliberate: where a life is noted can be read for ever, so it is never given back. Setting
       // up makes one such cell, by which it knows that the others are in use, and success another.
       return VakScene{.act = [&s, &notes, &life] { life = notes.next.get(s.impl()); },
                       .undo =
                           [&notes, &life] {
                             notes.next.end();
                             if (!life.isOver()) std::abort();
                           },
                       .afterFailure = [&life]() -> std::string {
                         return life == VakEnvLife() ? "" : "half a life is there";
                       },
                       .afterSuccess = [&s, &life]() -> std::string {
                         return life.getEnv() == s.impl() ? "" : "the life is over";
                       },
                       .processKeeps = 2};
     }},
};

}  // namespace

VakFaultGroup VakReferenceFaults() { return {"References and lives", _operations}; }

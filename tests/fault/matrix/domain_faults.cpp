// Ranges, domains of variables, and the tables that share them.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakmodel/domains/range.h"
#include "vakmodel/domains/var_domain.h"

namespace {

// Ranges of the user, which are asked for a key and for their bounds.
struct UserIntRange : VakIntRangeI {
  using VakIntRangeI::VakIntRangeI;
  VakIntRangeI* makeKey(VakEnvI* env) const override {
    VakFailingCallback::Tick();
    return VakIntRangeI::makeKey(env);
  }
};
struct UserNumRange : VakNumRangeI {
  using VakNumRangeI::VakNumRangeI;
  VakNumRangeI* makeKey(VakEnvI* env) const override {
    VakFailingCallback::Tick();
    return VakNumRangeI::makeKey(env);
  }
};

template <class Domain, class... Values>
VakScene makeDomain(VakStage& s, Values... values) {
  auto& domain = s.keep<Domain*>(nullptr);
  return {.act =
              [&domain, &s, values...] {
                domain = VakCreate<Domain>(s.impl(), values...);
                const VakVarDomainI* base = domain;
                if (!base->contains(base->getLB()) || base->getUB() < base->getLB()) {
                  throw std::logic_error("a bound");
                }
                static_cast<void>(base->isShared());
              },
          .undo = [&domain] { delete domain; }};
}

// Makes the shared domains of many bounds.
template <class Make>
VakScene shareDomains(VakStage& s, Make make) {
  return {.act =
              [&s, make] {
                for (VakInt i = 2; i < 70; ++i) {
                  if (make(s, i) != make(s, i)) throw std::logic_error("two domains");
                }
              },
          .mayKeep = "domains that were made before stay with the environment"};
}

const std::vector<VakFaultOperation> _operations = {
    {"make a range of integers",
     "VakIntRangeI::VakIntRangeI VakIntRangeI::makeKey VakIntRangeI::getLB VakIntRangeI::getUB",
     [](VakStage& s) {
       auto& range = s.keep<VakIntRangeI*>(nullptr);
       return VakScene{.act =
                           [&] {
                             const VakIntRangeI original(s.impl(), 1, 4);
                             range = original.makeKey(s.impl());
                             if (range->getLB() != 1 || range->getUB() != 4) {
                               throw std::logic_error("a bound");
                             }
                           },
                       .undo = [&] { delete range; }};
     }},
    {"make a range of numbers",
     "VakNumRangeI::VakNumRangeI VakNumRangeI::makeKey VakNumRangeI::getLB VakNumRangeI::getUB",
     [](VakStage& s) {
       auto& range = s.keep<VakNumRangeI*>(nullptr);
       return VakScene{.act =
                           [&] {
                             const VakNumRangeI original(s.impl(), 1.5, 4);
                             range = original.makeKey(s.impl());
                             if (range->getLB() != 1.5 || range->getUB() != 4) {
                               throw std::logic_error("a bound");
                             }
                           },
                       .undo = [&] { delete range; }};
     }},
    {"make a numeric domain",
     "VakNumVarDomainI::VakNumVarDomainI VakVarDomainI::VakVarDomainI VakNumVarDomainI::contains "
     "VakNumVarDomainI::getLB VakNumVarDomainI::getUB VakVarDomainI::contains VakVarDomainI::getLB "
     "VakVarDomainI::getUB VakVarDomainI::isShared",
     [](VakStage& s) { return makeDomain<VakNumVarDomainI>(s, 1.5, 2.5); }},
    {"make an integer domain",
     "VakIntVarDomainI::VakIntVarDomainI VakIntVarDomainI::contains VakIntVarDomainI::getLB "
     "VakIntVarDomainI::getUB",
     [](VakStage& s) { return makeDomain<VakIntVarDomainI>(s, 1L, 9L, 2L); }},
    {"make a Boolean domain",
     "VakBoolVarDomainI::VakBoolVarDomainI VakBoolVarDomainI::contains VakBoolVarDomainI::getLB "
     "VakBoolVarDomainI::getUB",
     [](VakStage& s) { return makeDomain<VakBoolVarDomainI>(s, 0L, 1L); }},
    {"make a numeric domain of the shared kind",
     "VakNumSharedVarDomainI::VakNumSharedVarDomainI VakNumSharedVarDomainI::isShared",
     [](VakStage& s) { return makeDomain<VakNumSharedVarDomainI>(s, 1.5, 2.5); }},
    {"make an integer domain of the shared kind",
     "VakIntSharedVarDomainI::VakIntSharedVarDomainI VakIntSharedVarDomainI::isShared",
     [](VakStage& s) { return makeDomain<VakIntSharedVarDomainI>(s, 1L, 9L, 0L); }},
    {"make a Boolean domain of the shared kind",
     "VakBoolSharedVarDomainI::VakBoolSharedVarDomainI VakBoolSharedVarDomainI::isShared",
     [](VakStage& s) { return makeDomain<VakBoolSharedVarDomainI>(s, 0L, 1L); }},
    {"share domains of numeric bounds", "VakEnvI::getOrMakeSharedDomain",
     [](VakStage& s) {
       return shareDomains(s, [](VakStage& t, VakInt i) {
         return t->getOrMakeSharedDomain(0.5, static_cast<VakNum>(i));
       });
     }},
    {"share domains of integer bounds", "VakEnvI::getOrMakeSharedDomain",
     [](VakStage& s) {
       return shareDomains(
           s, [](VakStage& t, VakInt i) { return t->getOrMakeSharedDomain(i % 2, i); });
     }},
    {"share domains of the user's numeric ranges", "VakEnvI::getOrMakeSharedDomain",
     [](VakStage& s) {
       return shareDomains(s, [](VakStage& t, VakInt i) {
         UserNumRange range(t.impl(), 0.5, static_cast<VakNum>(i));
         return t->getOrMakeSharedDomain(&range);
       });
     }},
    {"share domains of the user's integer ranges", "VakEnvI::getOrMakeSharedDomain",
     [](VakStage& s) {
       return shareDomains(s, [](VakStage& t, VakInt i) {
         UserIntRange range(t.impl(), 0, i);
         return t->getOrMakeSharedDomain(&range);
       });
     }},
    {"make a domain in thread-safe mode", "VakEnvI::getOrMakeSharedDomain",
     [](VakStage& s) {
       auto& made = s.keep<std::array<VakVarDomainI*, 2>>();
       return VakScene{.act =
                           [&] {
                             if (made[0] == nullptr) made[0] = s->getOrMakeSharedDomain(1.5, 2.5);
                             VakIntRangeI range(s.impl(), 1, 4);
                             made[1] = s->getOrMakeSharedDomain(&range);
                           },
                       .mayKeep = "a domain that was made before is held"};
     },
     VakStageKind::ThreadSafe},
    {"make the tables of shared domains",
     "VakIntSharedDomainHash::VakIntSharedDomainHash "
     "VakNumSharedDomainHash::VakNumSharedDomainHash VakIntDomainHashFunction "
     "VakIntDomainCompFunction VakNumDomainHashFunction VakNumDomainCompFunction",
     [](VakStage& s) {
       struct Tables {
         explicit Tables(VakEnvI* env) : integers(env), numbers(env) {}
         VakIntSharedDomainHash integers;
         VakNumSharedDomainHash numbers;
       };
       auto& tables = s.keep<std::unique_ptr<Tables>>();
       return VakScene{.act =
                           [&] {
                             tables = std::make_unique<Tables>(s.impl());
                             tables->integers.create();
                             tables->numbers.create();
                             VakIntRangeI i(s.impl(), 1, 2);
                             VakNumRangeI n(s.impl(), 1, 2);
                             bool fine = VakIntDomainHashFunction(&i, 31) < 31;
                             fine = fine && VakNumDomainHashFunction(&n, 31) < 31;
                             fine = fine && VakIntDomainCompFunction(&i, &i) == 1;
                             fine = fine && VakNumDomainCompFunction(&n, &n) == 1;
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { tables.reset(); },
                       .mayKeep = "the tables are held"};
     }},
    {"ask an integer domain for its values",
     "VakIntVarDomainI::getIntLB VakIntVarDomainI::getIntUB VakIntVarDomainI::getStep",
     [](VakStage& s) {
       auto* domain = VakCreate<VakIntVarDomainI>(s.impl(), 1L, 9L, 2L);
       return VakScene{.act = [domain] {
         if (domain->getIntLB() + domain->getIntUB() + domain->getStep() != 12) {
           throw std::logic_error("a bound");
         }
       }};
     }},
};

}  // namespace

VakFaultGroup VakDomainFaults() { return {"Ranges and domains", _operations}; }

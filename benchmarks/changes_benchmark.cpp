// Asking for types beside dynamic_cast, and telling of changes beside the signals of Boost and the
// bounds of GLPK.
#include <array>
#include <memory>
#include <vector>

#ifdef VAK_HAS_BOOST
#include <boost/signals2.hpp>
#endif
#ifdef VAK_HAS_GLPK
#include <glpk.h>
#endif

#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/modelling.h"

// ---- Types --------------------------------------------------------------------------------------

// Five levels below a base class, once in the library's type system and once in the language's.
// What is asked for is a class of a level above that of the objects. The classes are seen by other
// sources, as those of headers are: the language then compares their names where addresses differ.
namespace family {

struct Typed0 : VakRtti {
  VAK_RTTI_BELOW_ROOT(Typed0);
};
struct Typed1 : Typed0 {
  VAK_RTTI(Typed1, Typed0);
};
struct Typed2 : Typed1 {
  VAK_RTTI(Typed2, Typed1);
};
struct Typed3 : Typed2 {
  VAK_RTTI(Typed3, Typed2);
};
struct Typed4 : Typed3 {
  VAK_RTTI(Typed4, Typed3);
};
struct Typed5 : Typed4 {
  VAK_RTTI(Typed5, Typed4);
};
struct TypedStranger : Typed0 {
  VAK_RTTI(TypedStranger, Typed0);
};

struct Plain0 {
  virtual ~Plain0() = default;
};
struct Plain1 : Plain0 {};
struct Plain2 : Plain1 {};
struct Plain3 : Plain2 {};
struct Plain4 : Plain3 {};
struct Plain5 : Plain4 {};
struct PlainStranger : Plain0 {};

}  // namespace family

namespace {

constexpr std::size_t Objects = 1024;

template <class Class, class Base>
std::vector<std::unique_ptr<Base>> makeObjects() {
  std::vector<std::unique_ptr<Base>> objects;
  for (std::size_t i = 0; i < Objects; ++i) objects.push_back(std::make_unique<Class>());
  return objects;
}

template <class Wanted>
void askIsType(benchmark::State& state) {
  const auto objects = makeObjects<family::Typed5, family::Typed0>();
  for (auto _ : state) {
    VakInt found = 0;
    for (const auto& object : objects) found += object->isType(Wanted::GetTypeInfo());
    benchmark::DoNotOptimize(found);
  }
  VakCountItems(state, Objects);
}

template <class Wanted>
void askDynamicCast(benchmark::State& state) {
  const auto objects = makeObjects<family::Plain5, family::Plain0>();
  for (auto _ : state) {
    long found = 0;
    for (const auto& object : objects) {
      found += dynamic_cast<Wanted*>(object.get()) != nullptr ? 1 : 0;
    }
    benchmark::DoNotOptimize(found);
  }
  VakCountItems(state, Objects);
}

// ---- Telling ------------------------------------------------------------------------------------

class NothingInParticular final : public VakChange {
  VAK_RTTI(NothingInParticular, VakChange);
};

class Counter final : public VakAlgorithmI {
 public:
  explicit Counter(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  void change(const VakChange& /*change*/, const VakExtractableI* /*e*/) override { ++_told; }
  void change(const VakChange& /*change*/) override { ++_told; }
  [[nodiscard]] long getTold() const { return _told; }

 private:
  long _told = 0;
};

void tellAlgorithms(benchmark::State& state) {
  VakEnv env;
  for (long i = 0; i < state.range(0); ++i) new Counter(env.getImpl());
  const NothingInParticular change;
  for (auto _ : state) {
    env.getImpl()->change(nullptr, change);
    benchmark::ClobberMemory();
  }
  VakCountItems(state, 1);
  env.end();
}

#ifdef VAK_HAS_BOOST
void tellSlots(benchmark::State& state) {
  boost::signals2::signal<void(const NothingInParticular&, const void*)> signal;
  long told = 0;
  for (long i = 0; i < state.range(0); ++i) {
    signal.connect([&told](const NothingInParticular&, const void*) { ++told; });
  }
  const NothingInParticular change;
  for (auto _ : state) {
    signal(change, nullptr);
    benchmark::ClobberMemory();
  }
  VakCountItems(state, 1);
}
#endif

// ---- One bound ----------------------------------------------------------------------------------

constexpr std::size_t Columns = 1000;

template <bool told>
void changeBound(benchmark::State& state) {
  VakEnv env;
  std::vector<VakNumVar> vars;
  for (std::size_t i = 0; i < Columns; ++i) vars.emplace_back(env, 0, 10);
  if (told) new Counter(env.getImpl());
  double ub = 10;
  for (auto _ : state) {
    ub = 30 - ub;
    for (const VakNumVar& x : vars) x.setUB(ub);
  }
  VakCountItems(state, Columns);
  env.end();
}

#ifdef VAK_HAS_GLPK
void changeBoundOfGlpk(benchmark::State& state) {
  glp_prob* problem = glp_create_prob();
  glp_add_cols(problem, static_cast<int>(Columns));
  double ub = 10;
  for (auto _ : state) {
    ub = 30 - ub;
    for (int i = 1; i <= static_cast<int>(Columns); ++i) {
      glp_set_col_bnds(problem, i, GLP_DB, 0, ub);
    }
  }
  VakCountItems(state, Columns);
  glp_delete_prob(problem);
}
#endif

}  // namespace

void VakRegisterBenchmarks() {
  VakRow("is_type_own", "vak", askIsType<family::Typed5>);
  VakRow("is_type_own", "dynamic_cast", askDynamicCast<family::Plain5>);
  VakRow("is_type_depth_1", "vak", askIsType<family::Typed4>);
  VakRow("is_type_depth_1", "dynamic_cast", askDynamicCast<family::Plain4>);
  VakRow("is_type_depth_4", "vak", askIsType<family::Typed1>);
  VakRow("is_type_depth_4", "dynamic_cast", askDynamicCast<family::Plain1>);
  VakRow("is_type_no", "vak", askIsType<family::TypedStranger>);
  VakRow("is_type_no", "dynamic_cast", askDynamicCast<family::PlainStranger>);
  VakRow("tell_observers", "vak", tellAlgorithms)->Arg(1)->Arg(4);
  VakRow("change_bound_untold", "vak", changeBound<false>);
  VakRow("change_bound_told", "vak", changeBound<true>);
#ifdef VAK_HAS_BOOST
  VakRow("tell_observers", "boost_signals2", tellSlots)->Arg(1)->Arg(4);
#endif
#ifdef VAK_HAS_GLPK
  VakRow("change_bound_untold", "glpk", changeBoundOfGlpk);
  VakRow("change_bound_told", "glpk", changeBoundOfGlpk);
#endif
}

// Named properties and shared domains beside what a program would keep in their place: a map from
// names to values, and a hash map from bounds to domains of its own.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"
#include "vakenv/properties.h"

namespace {

/// An environment that ends with the benchmark.
class ScopedEnv {
 public:
  ScopedEnv() = default;
  ~ScopedEnv() { env.end(); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;
  VakEnv env;
};

std::vector<std::string> makeNames(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back("algorithm.option" + std::to_string(i));
  return names;
}

using Value = std::variant<VakInt, VakNum, VakAny, std::string>;
using PlainMap = std::map<std::string, Value, std::less<>>;

// ---- Properties: every name in turn, among 1, 10 and 100 ----------------------------------------

void GetOfProperties(benchmark::State& state) {
  const ScopedEnv scope;
  const auto names = makeNames(static_cast<std::size_t>(state.range(0)));
  for (const std::string& name : names) scope.env.setNumProperty(name.c_str(), 1.5);
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(scope.env.getNumProperty(names[next].c_str()));
    if (++next == names.size()) next = 0;
  }
  VakCountItems(state, 1);
}

void GetOfMap(benchmark::State& state) {
  const auto names = makeNames(static_cast<std::size_t>(state.range(0)));
  PlainMap map;
  for (const std::string& name : names) map[name] = 1.5;
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::get<VakNum>(map.find(names[next].c_str())->second));
    if (++next == names.size()) next = 0;
  }
  VakCountItems(state, 1);
}

void SetOfProperties(benchmark::State& state) {
  const ScopedEnv scope;
  const auto names = makeNames(static_cast<std::size_t>(state.range(0)));
  for (const std::string& name : names) scope.env.setNumProperty(name.c_str(), 1.5);
  std::size_t next = 0;
  VakNum value = 0;
  for (auto _ : state) {
    scope.env.setNumProperty(names[next].c_str(), value += 1);
    if (++next == names.size()) next = 0;
  }
  VakCountItems(state, 1);
}

void SetOfMap(benchmark::State& state) {
  const auto names = makeNames(static_cast<std::size_t>(state.range(0)));
  PlainMap map;
  for (const std::string& name : names) map[name] = 1.5;
  std::size_t next = 0;
  VakNum value = 0;
  for (auto _ : state) {
    map.find(names[next].c_str())->second = (value += 1);
    if (++next == names.size()) next = 0;
  }
  VakCountItems(state, 1);
}

// ---- Shared domains: bounds that are known, and bounds that are new -----------------------------

struct PlainDomain {
  VakNum lb;
  VakNum ub;
};

struct PlainHash {
  std::size_t operator()(const std::pair<VakNum, VakNum>& bounds) const {
    const std::hash<VakNum> hash;
    return hash(bounds.first) * 31 + hash(bounds.second);
  }
};

using PlainDomains =
    std::unordered_map<std::pair<VakNum, VakNum>, std::unique_ptr<PlainDomain>, PlainHash>;

PlainDomain* getOrMake(PlainDomains& domains, VakNum lb, VakNum ub) {
  std::unique_ptr<PlainDomain>& domain = domains[{lb, ub}];
  if (!domain) domain = std::make_unique<PlainDomain>(PlainDomain{lb, ub});
  return domain.get();
}

void HitOfSharedDomains(benchmark::State& state) {
  const ScopedEnv scope;
  VakEnvI* env = scope.env.getImpl();
  const VakInt count = state.range(0);
  for (VakInt i = 0; i < count; ++i) env->getOrMakeSharedDomain(1.0, static_cast<VakNum>(i));
  VakInt next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(env->getOrMakeSharedDomain(1.0, static_cast<VakNum>(next)));
    if (++next == count) next = 0;
  }
  VakCountItems(state, 1);
}

void HitOfMap(benchmark::State& state) {
  PlainDomains domains;
  const VakInt count = state.range(0);
  for (VakInt i = 0; i < count; ++i) getOrMake(domains, 1.0, static_cast<VakNum>(i));
  VakInt next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(getOrMake(domains, 1.0, static_cast<VakNum>(next)));
    if (++next == count) next = 0;
  }
  VakCountItems(state, 1);
}

// One iteration fills an empty table, so that no table grows without end.

void MissOfSharedDomains(benchmark::State& state) {
  const VakInt count = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    auto scope = std::make_unique<ScopedEnv>();
    VakEnvI* env = scope->env.getImpl();
    state.ResumeTiming();
    for (VakInt i = 0; i < count; ++i) {
      benchmark::DoNotOptimize(env->getOrMakeSharedDomain(1.0, static_cast<VakNum>(i)));
    }
    state.PauseTiming();
    scope.reset();
    state.ResumeTiming();
  }
  VakCountItems(state, count);
}

void MissOfMap(benchmark::State& state) {
  const VakInt count = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    auto domains = std::make_unique<PlainDomains>();
    state.ResumeTiming();
    for (VakInt i = 0; i < count; ++i) {
      benchmark::DoNotOptimize(getOrMake(*domains, 1.0, static_cast<VakNum>(i)));
    }
    state.PauseTiming();
    domains.reset();
    state.ResumeTiming();
  }
  VakCountItems(state, count);
}

using Row = benchmark::internal::Benchmark;
void few(Row* row) { row->Arg(1)->Arg(10)->Arg(100); }
void many(Row* row) { row->Arg(200)->Arg(20'000); }

}  // namespace

void VakRegisterBenchmarks() {
  VakRow("property_get", "vak", GetOfProperties)->Apply(few);
  VakRow("property_get", "map", GetOfMap)->Apply(few);
  VakRow("property_set", "vak", SetOfProperties)->Apply(few);
  VakRow("property_set", "map", SetOfMap)->Apply(few);
  VakRow("shared_domain_hit", "vak", HitOfSharedDomains)->Apply(many);
  VakRow("shared_domain_hit", "unordered_map", HitOfMap)->Apply(many);
  VakRow("shared_domain_miss", "vak", MissOfSharedDomains)->Apply(many);
  VakRow("shared_domain_miss", "unordered_map", MissOfMap)->Apply(many);
}

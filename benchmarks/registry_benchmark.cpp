// Modelling objects in an environment beside objects that a program keeps itself: a vector of
// owning pointers, where a removal visits every object and erases what is marked. Ratios of two
// lines with the same argument, the number of objects, are what counts. `bytes` is what one object
// takes of the environment: its pool and its identifier table.
#include <benchmark/benchmark.h>

#include <memory>
#include <unordered_map>
#include <vector>

#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/contract/extractable_array.h"
#include "vakmodel/contract/linear_term.h"

namespace {

// ---- Objects with one reference -----------------------------------------------------------------

class Node : public VakExtractableI {
 public:
  Node(VakEnvI* env, Node* ref) : VakExtractableI(env), _ref(ref) {}
  void removeHidden(VakInt /*mode*/) override {
    if (IsHidden(_ref)) _ref = nullptr;
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<Node>(env, _ref);
  }

  Node* _ref;
};

class Peer {
 public:
  explicit Peer(Peer* ref) : _ref(ref) {}
  virtual ~Peer() = default;
  virtual void removeMarked() {
    if (_ref != nullptr && _ref->_marked) _ref = nullptr;
  }

  Peer* _ref;
  bool _marked = false;
};

using Peers = std::vector<std::unique_ptr<Peer>>;

// A model of n objects, each but the first referring to the one before it.
std::vector<Node*> makeNodes(VakEnv env, long n) {
  std::vector<Node*> nodes;
  nodes.reserve(static_cast<std::size_t>(n));
  Node* last = nullptr;
  for (long i = 0; i < n; ++i) {
    last = VakCreate<Node>(env.getImpl(), last);
    nodes.push_back(last);
  }
  return nodes;
}

Peers makePeers(long n) {
  Peers peers;
  peers.reserve(static_cast<std::size_t>(n));
  Peer* last = nullptr;
  for (long i = 0; i < n; ++i) {
    peers.push_back(std::make_unique<Peer>(last));
    last = peers.back().get();
  }
  return peers;
}

void count(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void createExtractables(benchmark::State& state) {
  for (auto _ : state) {
    VakEnv env;
    benchmark::DoNotOptimize(makeNodes(env, state.range(0)).data());
    state.PauseTiming();
    state.counters["bytes"] =
        static_cast<double>(env.getTotalMemoryUsage()) / static_cast<double>(state.range(0));
    env.end();
    state.ResumeTiming();
  }
  count(state);
}

void createPeers(benchmark::State& state) {
  for (auto _ : state) {
    Peers peers = makePeers(state.range(0));
    benchmark::DoNotOptimize(peers.data());
    state.PauseTiming();
    peers.clear();
    state.ResumeTiming();
  }
  count(state);
}

// Every second object, in one request.
void removeHalfOfTheExtractables(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    VakEnv env;
    const std::vector<Node*> nodes = makeNodes(env, state.range(0));
    VakExtractableArray half(env.getMemoryManager());
    for (std::size_t i = 0; i < nodes.size(); i += 2) half.add(nodes[i]);
    state.ResumeTiming();
    env.getImpl()->removeFromAllAndDestroy(half, 0);
    state.PauseTiming();
    env.end();
    state.ResumeTiming();
  }
  count(state);
}

void removeHalfOfThePeers(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Peers peers = makePeers(state.range(0));
    state.ResumeTiming();
    for (std::size_t i = 0; i < peers.size(); i += 2) peers[i]->_marked = true;
    for (const auto& peer : peers) peer->removeMarked();
    std::erase_if(peers, [](const auto& peer) { return peer->_marked; });
    state.PauseTiming();
    peers.clear();
    state.ResumeTiming();
  }
  count(state);
}

void endWithExtractables(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    VakEnv env;
    makeNodes(env, state.range(0));
    state.ResumeTiming();
    env.end();
  }
  count(state);
}

void endPeers(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Peers peers = makePeers(state.range(0));
    state.ResumeTiming();
    peers.clear();
  }
  count(state);
}

// ---- Destroyables -------------------------------------------------------------------------------

class Mortal : public VakDestroyableI {
 public:
  explicit Mortal(VakEnvI* env) : VakDestroyableI(env) {}
};

void listAndDeleteDestroyables(benchmark::State& state) {
  VakEnv env;
  std::vector<Mortal*> all(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (Mortal*& each : all) each = VakCreate<Mortal>(env.getImpl());
    for (Mortal* each : all) delete each;
  }
  env.end();
  count(state);
}

void ownAndEraseInAMap(benchmark::State& state) {
  std::unordered_map<Peer*, std::unique_ptr<Peer>> owned;
  std::vector<Peer*> all(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (Peer*& each : all) {
      auto peer = std::make_unique<Peer>(nullptr);
      each = peer.get();
      owned.emplace(each, std::move(peer));
    }
    for (Peer* each : all) owned.erase(each);
  }
  count(state);
}

// ---- Terms --------------------------------------------------------------------------------------

void takeAndRecycleTerms(benchmark::State& state) {
  VakEnv env;
  std::vector<VakNumLinExprTermI*> all(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (auto*& each : all) each = env.getImpl()->newTerm(nullptr, 1);
    for (auto* each : all) env.getImpl()->recycleTerm(each);
  }
  env.end();
  count(state);
}

void newAndDeleteTerms(benchmark::State& state) {
  std::vector<VakNumLinExprTermI*> all(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (auto*& each : all) each = new VakNumLinExprTermI{nullptr, nullptr, 1};
    benchmark::DoNotOptimize(all.data());
    for (auto* each : all) delete each;
  }
  count(state);
}

void sizes(benchmark::internal::Benchmark* b) {
  b->Arg(1000)->Arg(30000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(createExtractables)->Apply(sizes);
BENCHMARK(createPeers)->Apply(sizes);
BENCHMARK(removeHalfOfTheExtractables)->Apply(sizes);
BENCHMARK(removeHalfOfThePeers)->Apply(sizes);
BENCHMARK(endWithExtractables)->Apply(sizes);
BENCHMARK(endPeers)->Apply(sizes);
BENCHMARK(listAndDeleteDestroyables)->Apply(sizes);
BENCHMARK(ownAndEraseInAMap)->Apply(sizes);
BENCHMARK(takeAndRecycleTerms)->Apply(sizes);
BENCHMARK(newAndDeleteTerms)->Apply(sizes);

}  // namespace

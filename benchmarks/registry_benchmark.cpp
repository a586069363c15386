// Modelling objects in an environment beside objects that a program keeps itself: a vector of
// owning pointers, where a removal visits every object and erases what is marked.
#include <list>
#include <memory>
#include <unordered_map>
#include <vector>

#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
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

void count(benchmark::State& state) { VakCountItems(state, state.range(0)); }

// Making all objects, and ending what holds them.

void makeAndEndExtractables(benchmark::State& state) {
  std::vector<Node*> nodes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    VakTimeIteration(state, [&] {
      VakEnv env;
      Node* last = nullptr;
      for (Node*& node : nodes) node = last = VakCreate<Node>(env.getImpl(), last);
      env.end();
    });
  }
  count(state);
}

void makeAndEndPeers(benchmark::State& state) {
  for (auto _ : state) {
    VakTimeIteration(state, [&] {
      Peers peers = makePeers(state.range(0));
      benchmark::DoNotOptimize(peers.data());
    });
  }
  count(state);
}

void makeExtractables(benchmark::State& state) {
  for (auto _ : state) {
    VakEnv env;
    VakTimeIteration(state,
                     [&] { benchmark::DoNotOptimize(makeNodes(env, state.range(0)).data()); });
    env.end();
  }
  count(state);
}

void makePeersOnly(benchmark::State& state) {
  for (auto _ : state) {
    Peers peers;
    VakTimeIteration(state, [&] { peers = makePeers(state.range(0)); });
  }
  count(state);
}

// Every second object, in one request.
void removeHalfOfTheExtractables(benchmark::State& state) {
  for (auto _ : state) {
    VakEnv env;
    const std::vector<Node*> nodes = makeNodes(env, state.range(0));
    VakExtractableArray half(env.getMemoryManager());
    for (std::size_t i = 0; i < nodes.size(); i += 2) half.add(nodes[i]);
    VakTimeIteration(state, [&] { env.getImpl()->removeFromAllAndDestroy(half, 0); });
    env.end();
  }
  count(state);
}

void removeHalfOfThePeers(benchmark::State& state) {
  for (auto _ : state) {
    Peers peers = makePeers(state.range(0));
    VakTimeIteration(state, [&] {
      for (std::size_t i = 0; i < peers.size(); i += 2) peers[i]->_marked = true;
      for (const auto& peer : peers) peer->removeMarked();
      std::erase_if(peers, [](const auto& peer) { return peer->_marked; });
    });
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

// What a program would keep in their place: a list that owns, newest first, and an index into it.
void ownInAListWithAnIndex(benchmark::State& state) {
  using List = std::list<std::unique_ptr<Peer>>;
  List owned;
  std::unordered_map<Peer*, List::iterator> index;
  std::vector<Peer*> all(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (Peer*& each : all) {
      owned.push_front(std::make_unique<Peer>(nullptr));
      each = owned.front().get();
      index.emplace(each, owned.begin());
    }
    for (Peer* each : all) {
      const auto found = index.find(each);
      owned.erase(found->second);
      index.erase(found);
    }
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

void sizes(benchmark::internal::Benchmark* row) {
  row->Arg(1000)->Arg(30'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}

}  // namespace

void VakRegisterBenchmarks() {
  VakTimedRow("registered_make_and_end", "vak", makeAndEndExtractables)->Apply(sizes);
  VakTimedRow("registered_make_and_end", "vector_of_unique_ptr", makeAndEndPeers)->Apply(sizes);
  VakTimedRow("registered_make", "vak", makeExtractables)->Apply(sizes);
  VakTimedRow("registered_make", "vector_of_unique_ptr", makePeersOnly)->Apply(sizes);
  VakTimedRow("registered_remove_half", "vak", removeHalfOfTheExtractables)->Apply(sizes);
  VakTimedRow("registered_remove_half", "vector_of_unique_ptr", removeHalfOfThePeers)->Apply(sizes);
  VakRow("destroyables_in_and_out", "vak", listAndDeleteDestroyables)->Apply(sizes);
  VakRow("destroyables_in_and_out", "list_with_index", ownInAListWithAnIndex)->Apply(sizes);
  VakRow("terms", "vak", takeAndRecycleTerms)->Apply(sizes);
  VakRow("terms", "glibc", newAndDeleteTerms)->Apply(sizes);
}

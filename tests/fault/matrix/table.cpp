// Writes docs/fault-matrix.md: drives every operation with every fault, with the memory pool and
// without it, and prints what came of it. Ends with 1 when there was a defect.

#include <iostream>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/prescribed_leaks.h"
#include "tests/fault/matrix/runner.h"
#include "tests/support/environment_mode.h"

namespace {

using Counts = std::array<VakFaultCount, VakFaultKinds.size()>;

constexpr const char* Introduction =
    R"(# Fault matrix

Every public operation of the library was run with its first, second, ... request of a kind failing, each time
in new environments, until it succeeded without reaching the request that was to fail:

* **heap**: a call of the global `operator new` that does not come from a memory pool;
* **pool**: a request for an element of a memory pool, of every environment involved;
* **callback**: a function that the user supplies: a listener, a hook, a hash function, a destructor, a stream.

Memory failed twice at each point: for that request alone, and for that request and all that follow. A point is
survived if

1. the exception of the failure comes out, and no other; a few operations succeed instead, which do without what
   failed, each at one kind of failure only;
2. the deep check of every environment finds nothing, and no walk, removal, lock or watch is left over;
3. no memory is lost: what is in use is what was in use before, or what the operation says that it keeps;
4. the same operation then succeeds, once what it consumed is there again;
5. when it is taken back, exactly as much memory is in use as when nothing fails;
6. when the environments have ended, every heap block is given back. Only the places where lives of environments
   are noted stay, since they can be read for ever: of these there are exactly as many more as were taken.

The cells say how many points were survived out of how many were tried with the memory pool, and behind the
bar whether all were survived without it; how many there are without the pool depends on the addresses that
the heap gives. An operation of which all cells are empty asks for no memory and calls nobody.

Of the solver and the files of models, what fails is our own memory: the libraries behind do not survive that
theirs runs out, so a request counts only while none of their functions runs. How often they call back is
theirs too: the progress callback fails at its first four calls.

This page is written by `scripts/fault_matrix.sh`; the tests compare it with a run of their own.
)";

std::string cell(const VakFaultCount& pooled, const VakFaultCount& plain) {
  const auto text = [](const VakFaultCount& count) {
    return std::to_string(count.survived) + "/" + std::to_string(count.tried);
  };
  if (pooled.tried == 0 && plain.tried == 0) return "";
  return text(pooled) + " \\| " + (plain.survived == plain.tried ? "all" : text(plain));
}

void add(Counts& sum, const Counts& counts) {
  for (std::size_t kind = 0; kind < counts.size(); ++kind) {
    sum[kind].tried += counts[kind].tried;
    sum[kind].survived += counts[kind].survived;
  }
}

void printRow(const std::string& name, const Counts& pooled, const Counts& plain) {
  std::cout << "| " << name;
  for (std::size_t kind = 0; kind < pooled.size(); ++kind) {
    std::cout << " | " << cell(pooled[kind], plain[kind]);
  }
  std::cout << " |\n";
}

void printHead(const std::string& first) {
  std::cout << "| " << first << " | heap | pool | callback |\n|---|---|---|---|\n";
}

const char* nameOf(VakFaultKind kind) {
  if (kind == VakFaultKind::Heap) return "heap";
  return kind == VakFaultKind::Pool ? "pool" : "callback";
}

void printLeaks() {
  std::cout << R"(
## What is left behind on purpose

In each of these rows, and in no others, a failure of that kind loses memory at some point, and never more than
is said here. "Bytes" stay in use in the environment until it ends, "blocks" of the heap stay for ever. Everything
else is held to the same conditions.

| operation | kind | bytes | blocks | what and why |
|---|---|---|---|---|
)";
  for (const VakPrescribedLeak& leak : VakGetPrescribedLeaks()) {
    std::cout << "| " << leak.operation << " | " << nameOf(leak.kind) << " | " << leak.mostBytes
              << " | " << leak.mostBlocks << " | " << leak.reason << " |\n";
  }
}

}  // namespace

int main() {
  struct Total {
    std::string name;
    Counts pooled{};
    Counts plain{};
  };
  std::vector<Total> totals;
  Total all{"all"};
  bool isSound = true;
  std::cout << Introduction;
  for (const VakFaultGroup& group : VakFaultGroups()) {
    std::cout << "\n## " << group.name << "\n\n";
    printHead("operation");
    Total total{group.name};
    for (const VakFaultOperation& operation : group.operations) {
      VakUsePooledMemory();
      const VakFaultRow pooled = VakDriveFaults(operation);
      VakUseUnpooledMemory();
      const VakFaultRow plain = VakDriveFaults(operation);
      for (const VakFaultRow* row : {&pooled, &plain}) {
        for (const std::string& defect : row->defects) {
          std::cerr << operation.name << ": " << defect << "\n";
          isSound = false;
        }
      }
      printRow(operation.name, pooled.counts, plain.counts);
      add(total.pooled, pooled.counts);
      add(total.plain, plain.counts);
    }
    add(all.pooled, total.pooled);
    add(all.plain, total.plain);
    totals.push_back(total);
  }
  std::cout << "\n## Sums\n\n";
  printHead("subsystem");
  for (const Total& total : totals) printRow(total.name, total.pooled, total.plain);
  printRow("**all**", all.pooled, all.plain);
  printLeaks();
  return isSound ? 0 : 1;
}

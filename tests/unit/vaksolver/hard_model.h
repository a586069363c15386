#pragma once

// A model whose search takes long, for tests of limits.

#include <vector>

#include "vakmodel/modelling.h"

/// Maximise the sum of `n` truth values of which several weighted sums must be small: a market
/// split with slack, which has solutions at once and a proof of the best one not for a long time.
inline VakModel makeHardModel(VakEnv env, int n = 50, int rows = 6) {
  const VakModel model(env, "hard");
  std::vector<VakNumVar> x;
  for (int j = 0; j < n; ++j) x.push_back(VakBoolVar(env));
  VakExpr objective;
  unsigned state = 12345;
  const auto next = [&state] { return (state = state * 1103515245 + 12345) >> 16 & 0x7fff; };
  for (int i = 0; i < rows; ++i) {
    VakExpr sum;
    VakNum total = 0;
    for (const VakNumVar v : x) {
      const auto weight = static_cast<VakNum>(next() % 100);
      total += weight;
      sum += weight * v;
    }
    const VakNumVar under(env, 0, VakGetInfinity());
    const VakNumVar over(env, 0, VakGetInfinity());
    model.add(sum + under - over == static_cast<VakNum>(static_cast<long>(total / 2)));
    objective += under + over;
  }
  model.minimize(objective);
  return model;
}

// Writes large models with random data, for trying the library and the solver at any size:
//
//   generate_model transport  PLANTS CUSTOMERS [SEED] FILE      linear
//   generate_model facilities SITES CUSTOMERS [SEED] FILE       a binary variable for each site
//   generate_model periods    PRODUCTS PERIODS [SEED] FILE      production and stock over time
//
// The file is in MPS or LP format, as its name tells. The same arguments give the same model on
// every machine: all data are whole numbers from the environment's random generator. Every model
// has a solution.

#include <algorithm>
#include <charconv>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vakmodel/modelling.h"
#include "vaksolver/files.h"
#include "vaksupport/random.h"

namespace {

/// What the arguments ask for.
struct Task {
  std::string kind;
  VakInt first = 0;   ///< Plants, sites or products.
  VakInt second = 0;  ///< Customers or periods.
  VakInt seed = 1;
  std::string file;
};

/// The user is to be told how the program is called.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Numbers = std::vector<VakInt>;
using Variables = std::vector<VakNumVar>;

Numbers draw(VakUniqueRandomI& random, VakInt count, VakInt least, VakInt most) {
  Numbers numbers;
  for (VakInt i = 0; i < count; ++i) numbers.push_back(least + random.getInt(most - least + 1));
  return numbers;
}

VakInt sum(const Numbers& numbers) {
  VakInt total = 0;
  for (const VakInt number : numbers) total += number;
  return total;
}

std::string name(const char* what, VakInt i) { return what + std::to_string(i + 1); }
std::string name(const char* what, VakInt i, VakInt j) {
  return name(what, i) + '_' + std::to_string(j + 1);
}

/// New variables `what`1_1, `what`1_2 ... with an upper bound; number i * columns + j is `what`i_j.
Variables makeGrid(VakEnv env, const char* what, VakInt rows, VakInt columns, VakNum ub) {
  Variables grid;
  for (VakInt i = 0; i < rows; ++i) {
    for (VakInt j = 0; j < columns; ++j) grid.emplace_back(env, 0, ub, name(what, i, j).c_str());
  }
  return grid;
}

/// Ship from plants with supplies to customers with demands at the least cost.
VakModel makeTransport(VakEnv env, const Task& task, VakUniqueRandomI& random) {
  const VakInt plants = task.first;
  const VakInt customers = task.second;
  const Numbers demands = draw(random, customers, 10, 100);
  // Supplies that suffice, with a tenth to spare.
  const VakInt supply = (sum(demands) * 11 / 10 + plants) / plants;
  const Numbers costs = draw(random, plants * customers, 1, 1000);
  const Variables ship = makeGrid(env, "ship", plants, customers, VakGetInfinity());

  VakModel model(env, "transport");
  for (VakInt p = 0; p < plants; ++p) {
    VakExpr shipped;
    for (VakInt c = 0; c < customers; ++c) shipped += ship[p * customers + c];
    model.add(shipped <= supply, name("supply", p).c_str());
  }
  for (VakInt c = 0; c < customers; ++c) {
    VakExpr received;
    for (VakInt p = 0; p < plants; ++p) received += ship[p * customers + c];
    model.add(received >= demands[c], name("demand", c).c_str());
  }
  model.minimize(VakScalProd(costs, ship));
  return model;
}

/// Open sites at a cost and serve each customer from open ones, within their capacities.
VakModel makeFacilities(VakEnv env, const Task& task, VakUniqueRandomI& random) {
  const VakInt sites = task.first;
  const VakInt customers = task.second;
  const Numbers demands = draw(random, customers, 5, 35);
  // About a quarter of the sites, but never less than all of one, suffice.
  const VakInt capacity = std::max(4 * sum(demands) / sites + 1, sum(demands) / sites + 35);
  const Numbers openings = draw(random, sites, 1000, 3000);
  const Numbers costs = draw(random, sites * customers, 10, 400);
  const Variables serve = makeGrid(env, "serve", sites, customers, 1);

  VakModel model(env, "facilities");
  VakExpr cost = VakScalProd(costs, serve);
  for (VakInt s = 0; s < sites; ++s) {
    const VakBoolVar open(env, name("open", s).c_str());
    cost += openings[s] * open;
    VakExpr load;
    for (VakInt c = 0; c < customers; ++c) load += demands[c] * serve[s * customers + c];
    model.add(load <= capacity * open, name("capacity", s).c_str());
  }
  for (VakInt c = 0; c < customers; ++c) {
    VakExpr share;
    for (VakInt s = 0; s < sites; ++s) share += serve[s * customers + c];
    model.add(share == 1, name("customer", c).c_str());
  }
  model.minimize(cost);
  return model;
}

/// Make and store products so that the demand of each period is met, with limited hours and dear
/// overtime.
VakModel makePeriods(VakEnv env, const Task& task, VakUniqueRandomI& random) {
  const VakInt products = task.first;
  const VakInt periods = task.second;
  const Numbers hours = draw(random, products, 1, 9);
  const Numbers demands = draw(random, products * periods, 0, 100);
  const Numbers costs = draw(random, products, 10, 50);
  const Variables make = makeGrid(env, "make", products, periods, VakGetInfinity());
  const Variables keep = makeGrid(env, "keep", products, periods, VakGetInfinity());
  // Hours for the average demand; what is above takes overtime.
  VakInt work = 0;
  for (VakInt p = 0; p < products; ++p) work += 50 * hours[p];

  VakModel model(env, "periods");
  VakExpr cost;
  for (VakInt t = 0; t < periods; ++t) {
    VakExpr used;
    for (VakInt p = 0; p < products; ++p) {
      const VakInt i = p * periods + t;
      VakExpr stock = make[i] - keep[i];
      if (t > 0) stock += keep[i - 1];
      model.add(stock == demands[i], name("demand", p, t).c_str());
      used += hours[p] * make[i];
      cost += costs[p] * make[i] + keep[i];
    }
    const VakNumVar overtime(env, name("overtime", t).c_str());
    cost += 20 * overtime;
    model.add(used <= overtime + work, name("hours", t).c_str());
  }
  model.minimize(cost);
  return model;
}

VakInt parseInt(std::string_view text, const char* what, VakInt least) {
  VakInt value = 0;
  const char* end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, value);
  // Larger sizes would overflow in products, and no machine holds such a model.
  if (result.ec != std::errc() || result.ptr != end || value < least || value > 1'000'000'000) {
    throw UsageError("\"" + std::string(text) + "\" is no " + what);
  }
  return value;
}

Task parse(const std::vector<std::string_view>& words) {
  if (words.size() != 4 && words.size() != 5) throw UsageError("4 or 5 arguments are needed");
  Task task;
  task.kind = words[0];
  task.first = parseInt(words[1], "size", 1);
  task.second = parseInt(words[2], "size", 1);
  if (words.size() == 5) task.seed = parseInt(words[3], "seed", 0);
  task.file = words.back();
  return task;
}

VakModel make(VakEnv env, const Task& task) {
  VakUniqueRandomI& random = *env.getRandom();
  random.reseed(task.seed);
  if (task.kind == "transport") return makeTransport(env, task, random);
  if (task.kind == "facilities") return makeFacilities(env, task, random);
  if (task.kind == "periods") return makePeriods(env, task, random);
  throw UsageError("\"" + task.kind + "\" is no kind of model");
}

void generate(const std::vector<std::string_view>& words) {
  const Task task = parse(words);
  VakEnvOwner env;
  const VakModel model = make(env, task);
  VakWriteModel(model, task.file.c_str());
  std::cout << task.file << ": " << model.getVariableCount() << " variables, "
            << model.getConstraintCount() << " constraints, " << model.getTermCount()
            << " coefficients\n";
}

}  // namespace

int main(int count, char** words) {
  try {
    generate({words + 1, words + count});
  } catch (const UsageError& error) {
    std::cerr << "generate_model: " << error.what() << "\n"
              << "usage: generate_model transport|facilities|periods SIZE SIZE [SEED] FILE\n";
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "generate_model: " << error.what() << '\n';
    return 1;
  }
}

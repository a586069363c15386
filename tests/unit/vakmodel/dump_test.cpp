#include "vakmodel/dump.h"

#include <cmath>
#include <iomanip>
#include <limits>
#include <locale>
#include <new>
#include <vector>

#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"

namespace {

const VakNum Infinity = VakGetInfinity();

std::string dumped(VakModel model, const VakDumpOptions& options = {}) {
  std::ostringstream out;
  VakDumpModel(out, model, options);
  EXPECT_TRUE(out.good());
  return out.str();
}

std::string drawn(std::span<const VakModel> models, const VakGraphOptions& options = {}) {
  std::ostringstream out;
  VakDumpGraph(out, models, options);
  EXPECT_TRUE(out.good());
  return out.str();
}

std::string drawn(VakModel model, const VakGraphOptions& options = {}) {
  return drawn({&model, 1}, options);
}

struct Dump : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "plan"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, "y"};
  VakBoolVar z{env, "z 1"};

  [[nodiscard]] static std::string idOf(VakExtractable object) {
    return std::to_string(object.getId());
  }
};

TEST_F(Dump, IsTheModelInSections) {
  m.add(VakBetween(1, x + 2 * y + z, 14), "capacity");
  m.maximize(3 * x + 4 * y - 2 * z + 7);
  m.getObjective().setName("profit");
  EXPECT_EQ(dumped(m),
            "model plan: 3 variables, 1 constraint, 3 terms\n"
            "maximize\n"
            "  profit: 3 x + 4 y - 2 \"z 1\" + 7\n"
            "subject to\n"
            "  capacity: 1 <= x + 2 y + \"z 1\" <= 14\n"
            "bounds\n"
            "  0 <= x <= 40\n"
            "  y >= 0\n"
            "Boolean\n"
            "  \"z 1\"\n");
}

TEST_F(Dump, WritesAllSortsOfBounds) {
  m.add(VakNumVar(env, -Infinity, Infinity, "free1"));
  m.add(VakNumVar(env, -Infinity, 4, "below"));
  m.add(VakNumVar(env, -4, Infinity, "above"));
  m.add(VakNumVar(env, 4, 4, "fixed"));
  m.add(VakIntVar(env, 1, 2, "n"));
  m.add(VakIntVar(env, 1, 2, "k"));
  m.add(VakNumVar(env, 1, 1, VakVarKind::Boolean, "b"));
  m.add(x >= 1);
  m.add(x <= 2, "c");
  m.add(-x - y == -3, "d");
  m.add(VakConstraint(env, -Infinity, Infinity, "e"));
  EXPECT_EQ(dumped(m),
            "model plan: 9 variables, 4 constraints, 4 terms\n"
            "subject to\n"
            "  x >= 1\n"
            "  c: x <= 2\n"
            "  d: -x - y = -3\n"
            "  e: 0 free\n"
            "bounds\n"
            "  free1 free\n"
            "  below <= 4\n"
            "  above >= -4\n"
            "  fixed = 4\n"
            "  1 <= n <= 2\n"
            "  1 <= k <= 2\n"
            "  b = 1\n"
            "  0 <= x <= 40\n"
            "  y >= 0\n"
            "integer\n"
            "  n k\n"
            "Boolean\n"
            "  b\n");
}

TEST_F(Dump, WritesEmptyModelsAndHandles) {
  EXPECT_EQ(dumped(VakModel()), "(empty)\n");
  EXPECT_EQ(dumped(VakModel(env)), "model: 0 variables, 0 constraints, 0 terms\n");
  VakModel constant(env);
  constant.minimize(VakExpr(-2.5));
  EXPECT_EQ(dumped(constant),
            "model: 0 variables, 0 constraints, 0 terms\n"
            "minimize\n"
            "  0 - 2.5\n");
}

TEST_F(Dump, BreaksLongLinesBetweenTerms) {
  VakExpr sum;
  for (int i = 0; i < 6; ++i) sum += VakNumVar(env, ("var" + std::to_string(i)).c_str());
  m.add(sum <= 1, "sum");
  VakDumpOptions options;
  options.lineWidth = 24;
  options.mostVariables = 0;
  EXPECT_EQ(dumped(m, options),
            "model plan: 6 variables, 1 constraint, 6 terms\n"
            "subject to\n"
            "  sum: var0 + var1\n"
            "      + var2 + var3\n"
            "      + var4 + var5 <= 1\n"
            "bounds\n"
            "  ... 6 more variables\n");
  options.lineWidth = 0;
  EXPECT_NE(dumped(m, options).find("  sum: var0\n      + var1\n"), std::string::npos);
}

TEST_F(Dump, NeverExceedsTheLineWidth) {
  VakExpr sum;
  for (int i = 0; i < 300; ++i) sum += (i % 7 - 3.25) * VakNumVar(env, std::to_string(i * i));
  m.add(sum <= 1, "sum");
  for (const VakInt width : {60, 61, 80, 133}) {
    VakDumpOptions options;
    options.lineWidth = width;
    std::istringstream lines(dumped(m, options));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(static_cast<VakInt>(line.size()), width) << line;
    }
  }
}

TEST_F(Dump, CountsWhatItLeavesOut) {
  m.add(x + y + z <= 1, "a");
  m.add(x + y <= 1, "b");
  m.add(x <= 1, "c");
  VakDumpOptions options;
  options.mostVariables = 2;
  options.mostConstraints = 1;
  options.mostTerms = 2;
  EXPECT_EQ(dumped(m, options),
            "model plan: 3 variables, 3 constraints, 6 terms\n"
            "subject to\n"
            "  a: x + y + ... 1 more term <= 1\n"
            "  ... 2 more constraints\n"
            "bounds\n"
            "  0 <= x <= 40\n"
            "  y >= 0\n"
            "  ... 1 more variable\n");
  options.mostTerms = 0;
  EXPECT_NE(dumped(m, options).find("  a: ... 3 more terms <= 1\n"), std::string::npos);
}

TEST_F(Dump, TellsObjectsOfOneNameApart) {
  const VakNumVar other(env, "x");
  const VakNumVar nameless(env);
  m.add(x + other + nameless <= 1, "c");
  const VakConstraint second = m.add(y <= 1, "c");
  const std::string text = dumped(m);
  EXPECT_NE(text.find(": x#" + idOf(x) + " + x#" + idOf(other) + " + #" + idOf(nameless) + " <= 1"),
            std::string::npos);
  EXPECT_NE(text.find("  c#" + idOf(second) + ": y <= 1\n"), std::string::npos);
}

TEST_F(Dump, QuotesNamesThatCouldBeMistaken) {
  const std::vector<std::pair<const char*, const char*>> names = {
      {"x[1,2]", "x[1,2]"},
      {"größe", "größe"},
      {"", "\"\""},
      {"a b", "\"a b\""},
      {"3x", "\"3x\""},
      {"a+b", "\"a+b\""},
      {"x#12", "\"x#12\""},
      {"free", "\"free\""},
      {"a\"b\\c", "\"a\\\"b\\\\c\""},
      {"a\nb\tc\x01\x7f", "\"a\\nb\\tc\\x01\\x7f\""}};
  for (const auto& [name, written] : names) {
    VakModel one(env);
    one.add(VakNumVar(env, name));
    EXPECT_EQ(dumped(one), std::string("model: 1 variable, 0 constraints, 0 terms\nbounds\n  ") +
                               written + " >= 0\n");
  }
}

TEST_F(Dump, WritesNumbersThatReadBackTheSameWhateverTheStreamIsSetTo) {
  m.add(x / 3 + 1e100 * y <= 0.1, "c");
  std::ostringstream out;
  out << std::setw(40) << std::setfill('*') << std::setprecision(2) << std::fixed << std::showpos;
  VakDumpModel(out, m);
  EXPECT_NE(out.str().find("  c: 0.3333333333333333 x + 1e+100 y <= 0.1\n"), std::string::npos);
  EXPECT_EQ(out.str().find('*'), std::string::npos);
  EXPECT_EQ(out.width(), 40);
  EXPECT_EQ(out.precision(), 2);
}

TEST_F(Dump, LeavesTheModelAloneWhenMemoryRunsOut) {
  m.add(x + 2 * y <= 14, "capacity");
  // A stream keeps exceptions of its buffer to itself unless it is told otherwise.
  const auto write = [this] {
    std::ostringstream out;
    out.exceptions(std::ios::badbit);
    VakDumpModel(out, m);
    VakDumpGraph(out, m);
    return out.str();
  };
  std::string text;
  const long failures = VakFailEachNew([&] { text = write(); },
                                       [&](const std::exception_ptr& thrown) {
                                         EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                                         EXPECT_EQ(m.check(), "");
                                       });
  EXPECT_GT(failures, 10);
  EXPECT_EQ(text, dumped(m) + drawn(m));
}

// ---- Graphs -------------------------------------------------------------------------------------

struct Graph : Dump {};

TEST_F(Graph, HasANodeForEachObjectAndAnEdgeForEachTerm) {
  const VakIntVar n(env, 0, 3, "n");
  const VakConstraint c = m.add(x + 2 * n <= 14, "capacity");
  const VakConstraint d = m.add(VakBetween(0, x - z, 2));
  const VakObjective o = m.maximize(3 * x - 1);
  EXPECT_EQ(drawn(m),
            "graph \"plan\" {\n"
            "  rankdir=LR;\n"
            "  v" +
                idOf(x) +
                " [label=\"0 <= x <= 40\", shape=ellipse];\n"
                "  v" +
                idOf(n) +
                " [label=\"0 <= n <= 3\", shape=box, style=rounded];\n"
                "  v" +
                idOf(z) +
                " [label=\"z 1\", shape=diamond];\n"
                "  c" +
                idOf(c) +
                " [label=\"capacity\\nsum <= 14\", shape=box];\n"
                "  c" +
                idOf(d) + " [label=\"#" + idOf(d) +
                "\\n0 <= sum <= 2\", shape=box];\n"
                "  o" +
                idOf(o) +
                " [label=\"maximize\\nconstant -1\", shape=house];\n"
                "  o" +
                idOf(o) + " -- v" + idOf(x) +
                " [label=\"3\"];\n"
                "  c" +
                idOf(c) + " -- v" + idOf(x) +
                " [label=\"1\"];\n"
                "  c" +
                idOf(c) + " -- v" + idOf(n) +
                " [label=\"2\"];\n"
                "  c" +
                idOf(d) + " -- v" + idOf(x) +
                " [label=\"1\"];\n"
                "  c" +
                idOf(d) + " -- v" + idOf(z) +
                " [label=\"-1\"];\n"
                "}\n");
}

TEST_F(Graph, OfSeveralModelsHasFramesAndSharedVariablesOutside) {
  VakModel second(env);
  const VakConstraint c = m.add(x + y <= 1, "c");
  const VakConstraint d = second.add(x + z <= 1, "d");
  const std::vector<VakModel> models = {m, VakModel(), second, m};
  VakGraphOptions options;
  options.showsCoefs = false;
  EXPECT_EQ(drawn(models, options),
            "graph \"models\" {\n"
            "  rankdir=LR;\n"
            "  subgraph cluster_0 {\n"
            "    label=\"plan\";\n"
            "  v" +
                idOf(y) +
                " [label=\"y >= 0\", shape=ellipse];\n"
                "  c" +
                idOf(c) +
                " [label=\"c\\nsum <= 1\", shape=box];\n"
                "  }\n"
                "  subgraph cluster_1 {\n"
                "    label=\"model\";\n"
                "  v" +
                idOf(z) +
                " [label=\"z 1\", shape=diamond];\n"
                "  c" +
                idOf(d) +
                " [label=\"d\\nsum <= 1\", shape=box];\n"
                "  }\n"
                "  v" +
                idOf(x) +
                " [label=\"0 <= x <= 40\", shape=ellipse, peripheries=2];\n"
                "  c" +
                idOf(c) + " -- v" + idOf(x) +
                ";\n"
                "  c" +
                idOf(c) + " -- v" + idOf(y) +
                ";\n"
                "  c" +
                idOf(d) + " -- v" + idOf(x) +
                ";\n"
                "  c" +
                idOf(d) + " -- v" + idOf(z) +
                ";\n"
                "}\n");
}

TEST_F(Graph, LeavesOutWhatIsTooMuchAndSaysSo) {
  m.add(x + y + z <= 1, "a");
  m.add(x <= 1, "b");
  m.minimize(x + y);
  VakGraphOptions options;
  options.mostVariables = 2;
  options.mostConstraints = 1;
  options.mostTerms = 3;
  const std::string graph = drawn(m, options);
  EXPECT_NE(graph.find("  note0 [label=\"1 more variable\\n1 more constraint\\n3 more terms\", "
                       "shape=note];\n"),
            std::string::npos)
      << graph;
  EXPECT_EQ(graph.find("z 1"), std::string::npos);
  std::size_t edges = 0;
  for (std::size_t at = 0; (at = graph.find(" -- ", at)) != std::string::npos; ++at) ++edges;
  EXPECT_EQ(edges, 3u);
}

TEST_F(Graph, DrawsAVariableOnceThatOnlyOneOfItsModelsHasRoomFor) {
  VakModel second(env);
  m.add(x + y <= 1);
  second.add(y + z <= 1);
  VakGraphOptions options;
  options.mostVariables = 1;
  const std::string graph = drawn(std::vector<VakModel>{m, second}, options);
  const std::string node = "\n  v" + idOf(y) + " [";
  EXPECT_NE(graph.find(node), std::string::npos) << graph;
  EXPECT_EQ(graph.find(node), graph.rfind(node)) << graph;
}

TEST_F(Graph, EscapesNames) {
  m.setName("a \"b\" \\ c");
  m.add(VakNumVar(env, "x\\n\n\"\x01"));
  const std::string graph = drawn(m);
  EXPECT_NE(graph.find("graph \"a \\\"b\\\" \\\\ c\" {\n"), std::string::npos) << graph;
  EXPECT_NE(graph.find("[label=\"x\\\\n\\n\\\"\\\\x01 >= 0\""), std::string::npos) << graph;
}

TEST_F(Graph, OfAnEmptyHandleIsEmpty) {
  EXPECT_EQ(drawn(VakModel()), "graph \"models\" {\n  rankdir=LR;\n}\n");
}

TEST_F(Graph, RefusesModelsOfDifferentEnvironments) {
  const VakScopedEnv other;
  const VakModel foreign(other.env, "foreign");
  std::ostringstream out;
  const std::vector<VakModel> models = {m, foreign};
  EXPECT_EQ(VakMessageOf<VakModelMismatch>([&] { VakDumpGraph(out, models); }),
            "Model \"foreign\" belongs to another environment than model \"plan\". Use objects of "
            "one environment, or copy the model with a VakCopier.");
  EXPECT_EQ(out.str(), "");
}

}  // namespace

// Models in files.

#include "vaksolver/files.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

const VakNum Infinity = VakGetInfinity();

/// A folder of its own for each test.
class Files : public testing::Test {
 protected:
  Files() {
    std::string name = testing::TempDir() + "vak_files_XXXXXX";
    folder = mkdtemp(name.data());
  }
  ~Files() override { std::filesystem::remove_all(folder); }

  [[nodiscard]] std::string path(const char* name) const { return folder + "/" + name; }
  std::string write(const char* name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }
  /// The text of the error that reading `text` gives, without the folder.
  std::string errorOf(const char* name, const std::string& text) {
    const std::string file = write(name, text);
    VakScopedEnv fresh;
    const VakInt usage = fresh.env.getMemoryUsage();
    try {
      (void)VakReadModel(fresh.env, file.c_str());
    } catch (const VakFileError& e) {
      EXPECT_EQ(fresh.env.getMemoryUsage(), usage);
      EXPECT_EQ(e.getFile(), file);
      const std::string whole = e.getMessage();
      return whole.substr(folder.size() + 1);
    }
    return "";
  }

  std::string folder;
  VakScopedEnv scoped;
  VakEnv env = scoped.env;
};

constexpr char Plan[] = R"(NAME          plan
ROWS
 N  cost
 L  lim1
 G  lim2
 E  myeqn
 N  other
COLUMNS
    x         cost         1.0   lim1         1.0
    x         lim2         1.0   other        2.0
    MARKER                 'MARKER'                 'INTORG'
    y         cost         2.0   lim1         1.0
    y         myeqn       -1.0
    MARKER                 'MARKER'                 'INTEND'
    z         cost        -1.0   myeqn        1.0
RHS
    RHS       cost        -5.0
    RHS       lim1         4.0   lim2         1.0
    RHS       myeqn        7.0
RANGES
    RNG       lim1         2.5
BOUNDS
 UP BND       x            4.5
 LO BND       y            0.5
 UP BND       y            1.5
 MI BND       z
ENDATA
)";

/// The text between blanks, behind which more follows: it has no terminator.
std::string_view inTheMiddle(const std::string& text) {
  return std::string_view(text).substr(1, text.size() - 2);
}

TEST_F(Files, AreReadByANameWithoutTerminator) {
  const std::string name = " " + write("plan.mps", Plan) + "x";
  const VakModel model = VakReadModel(env, inTheMiddle(name));
  EXPECT_STREQ(model.getName(), "plan");
}

TEST_F(Files, AreWrittenByANameWithoutTerminator) {
  const std::string name = " " + path("plan.lp") + "x";
  const VakModel model(env, "plan");
  model.add(VakNumVar(env, "x"));
  VakWriteModel(model, inTheMiddle(name));
  EXPECT_TRUE(std::filesystem::exists(path("plan.lp")));
  EXPECT_FALSE(std::filesystem::exists(path("plan.lpx")));
}

TEST_F(Files, AreReadAndWrittenInAFormatThatTheirNamesDoNotTell) {
  const std::string name = write("plan.txt", Plan);
  const VakModel model = VakReadModel(env, std::string_view(name), VakFileFormat::Mps);
  VakWriteModel(model, std::string_view(path("again.txt")), VakFileFormat::Mps);
  EXPECT_STREQ(VakReadModel(env, path("again.txt"), VakFileFormat::Mps).getName(), "plan");
}

TEST(FileError, CopiesTextsWithoutTerminator) {
  const VakFileError error(std::string_view("plan.mpsx", 8), 12,
                           std::string_view("unknown row!", 11));
  EXPECT_STREQ(error.getMessage(), "plan.mps, line 12: unknown row");
  EXPECT_STREQ(error.getFile(), "plan.mps");
  EXPECT_STREQ(error.getReason(), "unknown row");
}

TEST_F(Files, ReadsMps) {
  const VakModel model = VakReadModel(env, write("plan.mps", Plan).c_str());
  EXPECT_STREQ(model.getName(), "plan");
  std::ostringstream text;
  text << model;
  EXPECT_EQ(text.str(),
            "minimize cost: x + 2 y - z + 5\n"
            "lim1: 1.5 <= x + y <= 4\n"
            "lim2: x >= 1\n"
            "myeqn: -y + z == 7\n"
            "x in [0, 4.5]\n"
            "y in [0.5, 1.5] integer\n"
            "z in [-inf, inf]\n");
}

TEST_F(Files, ReadsTheSenseOfMpsWithoutPrinting) {
  std::string text = Plan;
  text.insert(text.find("ROWS"), "OBJSENSE\n    MAX\n");
  const std::string file = write("plan.mps", text);
  testing::internal::CaptureStdout();
  const VakModel model = VakReadModel(env, file.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(model.getObjective().getSense(), VakSense::Maximize);
  EXPECT_EQ(model.getObjective().getConstant(), 5);
}

TEST_F(Files, ReadsLp) {
  const VakModel model = VakReadModel(env, write("plan.lp", R"(\ a comment
Maximize
 obj: 3 x + 2 y - 7
Subject To
 c1: x + y <= 4
 c2: - x + 3 y >= -2
Bounds
 x <= 4.5
 -3 <= y <= 8
 z free
Generals
 y
Binaries
 b
End
)")
                                               .c_str());
  std::ostringstream text;
  text << model;
  EXPECT_EQ(text.str(),
            "maximize obj: 3 x + 2 y - 7\n"
            "c1: x + y <= 4\n"
            "c2: -x + 3 y >= -2\n"
            "x in [0, 4.5]\n"
            "y in [-3, 8] integer\n"
            "z in [-inf, inf]\n"
            "b in [0, 1] Boolean\n");
}

TEST_F(Files, TellsTheFormatByTheContentWhenTheNameDoesNot) {
  EXPECT_EQ(VakReadModel(env, write("plan", Plan).c_str()).getConstraintCount(), 3);
  const std::string lp = "Minimize\n obj: x\nSubject To\n c: x >= 1\nEnd\n";
  EXPECT_EQ(VakReadModel(env, write("plan.txt", lp).c_str()).getConstraintCount(), 1);
}

TEST_F(Files, SayLineAndReasonOfBrokenMps) {
  const auto changed = [](const char* from, const char* to) {
    std::string text = Plan;
    return text.replace(text.find(from), std::string(from).size(), to);
  };
  EXPECT_EQ(errorOf("a.mps", changed("lim1         1.0\n", "limX 1.0\n")),
            "a.mps, line 9: there is no row limX: x cost 1.0 limX 1.0");
  EXPECT_EQ(errorOf("b.mps", changed(" N  other", " N  lim1")),
            "b.mps, line 7: row lim1 is there twice");
  EXPECT_EQ(errorOf("c.mps", changed("    z         cost", "    x         cost")),
            "c.mps, line 15: column x is there in two places");
  EXPECT_EQ(errorOf("d.mps", changed("ENDATA", "")), "d.mps: the file ends without ENDATA");
  EXPECT_EQ(errorOf("e.mps", changed("RANGES", "RINGS")), "e.mps, line 20: unknown section RINGS");
  EXPECT_EQ(errorOf("f.mps", "hello\n"), "f.mps, line 1: unknown section hello");
  EXPECT_EQ(errorOf("g.mps", ""), "g.mps: the file ends without ENDATA");
  EXPECT_EQ(errorOf("h.mps", changed("ROWS", "OBJSENSE\n    MIX\nROWS")),
            "h.mps, line 3: unknown sense of the objective MIX");
}

TEST_F(Files, SayLineAndReasonOfBrokenLp) {
  EXPECT_EQ(errorOf("a.lp", "Minimize\n obj: x\nSubject To\n c: x >= 1\n"),
            "a.lp: the file does not end with the word End");
  EXPECT_EQ(errorOf("b.lp", "Minimize\n obj: x\nSubject To\n c: x >= 1\nBounds\n x <= two\nEnd\n"),
            "b.lp, line 6: a number is expected in the bounds, not two");
  EXPECT_EQ(errorOf("c.lp", "hello\nEnd\n"),
            "c.lp, line 1: the file begins with Minimize or Maximize, not hello");
  EXPECT_EQ(errorOf("d.lp", "Minimize\n obj: x\nSubject To\n c: x >= 1\n c: x <= 3\nEnd\n"),
            "d.lp: two constraints have the same name, or one has that of the objective");
}

// The reader of MPS files takes them for the ends of lines that it goes on behind.
TEST_F(Files, WithNullCharactersAreNoText) {
  using namespace std::string_literals;
  const std::string line = "    X1        COST               1.0   LIM1  \0\0\0   1.0"s;
  EXPECT_EQ(errorOf("a.mps", "ROWS\n N  COST\n L  LIM1\nCOLUMNS\n" + line + "\nENDATA\n"),
            "a.mps: this is no text file");
  EXPECT_EQ(errorOf("a.lp", "Minimize\n obj: x\nSubject To\n c: x >= \0001\nEnd\n"s),
            "a.lp: this is no text file");
}

// Words at fixed places, since a name has a blank in it: the reader would look for the number
// behind the end of the line.
TEST_F(Files, WithFixedPlacesNeedANumberInThem) {
  EXPECT_EQ(errorOf("a.mps",
                    "ROWS\n N  COST\n L  A B\nCOLUMNS\n    X  Y      COST               1.0\n"
                    "    X  Y      A B                1.0\nRHS\n    RHS       A'MAWYORK\nENDATA\n"),
            "a.mps, line 8: this cannot be understood: RHS       A'MAWYORK");
}

TEST_F(Files, SayWhatIsWrongWithBounds) {
  EXPECT_EQ(
      errorOf("a.lp", "Minimize\n obj: x\nSubject To\n c: x >= 1\nBounds\n 3 <= x <= 2\nEnd\n"),
      "a.lp: the bounds of variable x make no sense: 3 and 2");
}

// The environment shares and keeps bounds, so those of variables before the fault would stay.
TEST_F(Files, LeaveNoBoundsBehindWhenLaterOnesMakeNoSense) {
  EXPECT_EQ(errorOf("a.lp",
                    "Minimize\n obj: x + y\nSubject To\n c: x + y >= 1\nBounds\n 0 <= x <= 40\n"
                    " 3 <= y <= 2\nEnd\n"),
            "a.lp: the bounds of variable y make no sense: 3 and 2");
}

TEST_F(Files, ThatCannotBeOpenedAreSaidSo) {
  const auto reasonOf = [this](const std::string& file) -> std::string {
    try {
      (void)VakReadModel(env, file.c_str());
    } catch (const VakFileError& e) {
      EXPECT_EQ(e.getLine(), 0);
      return e.getReason();
    }
    return "";
  };
  EXPECT_EQ(reasonOf(path("nothing.mps")), "there is no such file");
  EXPECT_EQ(reasonOf(folder), "this is a directory");
}

TEST_F(Files, DamagedAnywhereEndInAnErrorOrAModel) {
  std::mt19937 random(1);
  testing::internal::CaptureStdout();
  for (const bool isMps : {true, false}) {
    const std::string whole =
        isMps ? Plan
              : "Maximize\n obj: 3 x + 2 y\nSubject To\n c1: x + y <= 4\nBounds\n x <= 4.5\nEnd\n";
    for (int i = 0; i < 300; ++i) {
      std::string text = whole;
      for (unsigned damages = 1 + random() % 3; damages > 0; --damages) {
        const std::size_t at = random() % text.size();
        switch (random() % 4) {
          case 0:
            text.erase(at, 1 + random() % 5);
            break;
          case 1:
            text.insert(at, 1, "<>=:+-*\n09xe."[random() % 13]);
            break;
          case 2:
            text[at] = static_cast<char>(32 + random() % 95);
            break;
          default:
            text.insert(at, text.substr(random() % text.size(), random() % 40));
        }
        if (text.empty()) text = " ";
      }
      VakScopedEnv fresh;
      const VakInt usage = fresh.env.getMemoryUsage();
      const std::string file = write(isMps ? "a.mps" : "a.lp", text);
      try {
        const VakModel model = VakReadModel(fresh.env, file.c_str());
        ASSERT_EQ(model.check(), "") << text;
      } catch (const VakFileError&) {
        ASSERT_EQ(fresh.env.getMemoryUsage(), usage) << text;
      }
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

/// A model with everything that is awkward to write.
VakModel makeAwkward(VakEnv env) {
  const VakModel model(env, "awkward model");
  const VakNumVar x(env, -3.123456789012345, 4.5, "x");
  const VakNumVar y(env, -Infinity, Infinity, "a name with spaces");
  const VakNumVar z(env, 0, Infinity, VakVarKind::Integer, "z");
  const VakBoolVar b(env, "x");
  const VakNumVar fractional(env, 0.5, 2.5, VakVarKind::Integer, "3rd");
  const VakNumVar negative(env, -Infinity, -1, "end");
  const VakNumVar unused(env, -5, 7, VakVarKind::Integer, "<=");
  const VakNumVar lonely(env, nullptr);
  const VakNumVar fixed(env, 2, 2);
  model.add(unused);
  model.add(lonely);
  model.add(x + 1.0 / 3 * y <= 4, "c");
  model.add(1 <= x - z <= 8, "c");
  model.add(-2 <= y + b <= 3, "range-1");
  model.add(VakConstraint(env, VakBetween(-Infinity, x + y, Infinity), "free row"));
  model.add(fractional + z + y + 1e-7 * negative + fixed == 5);
  model.maximize(3 * x + 2 * y - z + b + negative + 4.25);
  return model;
}

TEST_F(Files, WrittenAndReadAgainSolveTheSame) {
  const VakModel model = makeAwkward(env);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  for (const char* name : {"a.mps", "a.lp", "a.mps.gz", "a.lp.gz"}) {
    VakWriteModel(model, path(name).c_str());
    VakScopedEnv other;
    const VakModel again = VakReadModel(other.env, path(name).c_str());
    EXPECT_EQ(again.getVariableCount(), model.getVariableCount()) << name;
    EXPECT_EQ(again.getObjective().getSense(), VakSense::Maximize);
    EXPECT_NEAR(again.getObjective().getConstant(), 4.25, 1e-12);
    const VakSolver second(again);
    ASSERT_EQ(second.solve(), VakStatus::Optimal) << name;
    EXPECT_NEAR(second.getObjectiveValue(), solver.getObjectiveValue(), 1e-6) << name;
    EXPECT_EQ(again.findVariable("x").getLB(), -3.123456789012345) << name;
  }
}

// The writer of MPS files forgets that a fixed variable is an integer.
TEST_F(Files, KeepTheBoundsAndKindsOfVariables) {
  const std::pair<VakNum, VakNum> bounds[] = {
      {0, Infinity},  {0, 1},          {0, 0},         {1, 1},
      {-4, -4},       {3, 3},          {0, 7},         {2, 7},
      {-5, 7},        {-7, -2},        {-7, 0},        {2, Infinity},
      {-Infinity, 5}, {-Infinity, -5}, {-Infinity, 0}, {-Infinity, Infinity}};
  for (const VakVarKind kind : {VakVarKind::Continuous, VakVarKind::Integer}) {
    const VakModel model(env);
    for (const auto& [lb, ub] : bounds) model.add(VakNumVar(env, lb, ub, kind));
    for (const char* name : {"a.mps", "a.lp"}) {
      VakWriteModel(model, path(name).c_str());
      VakScopedEnv other;
      const VakModel again = VakReadModel(other.env, path(name).c_str());
      ASSERT_EQ(again.getVariableCount(), std::ssize(bounds)) << name;
      auto written = model.variables().begin();
      for (const VakNumVar x : again.variables()) {
        const VakNumVar before = *written;
        ++written;
        EXPECT_EQ(x.getLB(), before.getLB()) << name << ' ' << before.getUB();
        EXPECT_EQ(x.getUB(), before.getUB()) << name << ' ' << before.getLB();
        EXPECT_EQ(x.isInteger(), before.isInteger())
            << name << ' ' << before.getLB() << ' ' << before.getUB();
      }
    }
  }
}

TEST_F(Files, WriteTheSameNamesEachTime) {
  VakWriteModel(makeAwkward(env), path("a.mps").c_str());
  VakWriteModel(makeAwkward(env), path("b.mps").c_str());
  const auto contentOf = [&](const char* name) {
    std::ifstream in(path(name));
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  EXPECT_EQ(contentOf("a.mps"), contentOf("b.mps"));
  const VakModel again = VakReadModel(env, path("a.mps").c_str());
  EXPECT_FALSE(again.findVariable("a_name_with_spaces").isEmpty());
  EXPECT_FALSE(again.findConstraint("c_1").isEmpty());
}

TEST_F(Files, RandomModelsSolveTheSameAfterwards) {
  std::mt19937 random(7);
  const auto pick = [&random](int from, int to) {
    return std::uniform_int_distribution<int>(from, to)(random);
  };
  for (int i = 0; i < 60; ++i) {
    VakScopedEnv own;
    const VakModel model(own.env);
    std::vector<VakNumVar> xs;
    for (int j = pick(1, 6); j > 0; --j) {
      const VakNum lb = pick(0, 4) == 0 ? -Infinity : pick(-4, 2) + 0.125 * pick(0, 1);
      const VakNum ub = pick(0, 2) == 0 ? Infinity : std::max(lb, -4.0) + pick(1, 6);
      xs.push_back(VakNumVar(own.env, lb, ub, static_cast<VakVarKind>(pick(0, 1))));
    }
    model.add(xs);
    const auto expr = [&] {
      VakExpr e;
      for (const VakNumVar x : xs) e += (pick(-9, 9) / 7.0) * x;
      return e;
    };
    for (int j = pick(0, 5); j > 0; --j) {
      const VakNum base = pick(-9, 20);
      model.add(VakBetween(pick(0, 1) == 0 ? -Infinity : base - 30, expr() + 0.001 * xs[0],
                           pick(0, 3) == 0 ? Infinity : base));
    }
    pick(0, 1) == 0 ? model.minimize(expr() + 1.5) : model.maximize(expr() - pick(0, 9));
    own.env.setIntProperty("solver.nodeLimit", 500);
    const VakSolver solver(model);
    const VakStatus status = solver.solve();
    if (status == VakStatus::NodeLimit || status == VakStatus::InfeasibleOrUnbounded) continue;
    for (const char* name : {"r.mps", "r.lp"}) {
      VakWriteModel(model, path(name).c_str());
      VakScopedEnv other;
      const VakModel again = VakReadModel(other.env, path(name).c_str());
      const VakSolver second(again);
      ASSERT_STREQ(VakGetStatusName(second.solve()), VakGetStatusName(status)) << name << model;
      if (status != VakStatus::Optimal) continue;
      ASSERT_NEAR(second.getObjectiveValue(), solver.getObjectiveValue(),
                  1e-6 * std::max(1.0, std::abs(solver.getObjectiveValue())))
          << name << model;
    }
  }
}

TEST_F(Files, AreLeftAloneWhenTheModelCannotBeWritten) {
  const std::string file = write("a.lp", "what was there");
  const VakModel empty(env);
  const auto reasonOf = [&](const char* name) -> std::string {
    try {
      VakWriteModel(empty, path(name).c_str());
    } catch (const VakFileError& e) {
      return e.getReason();
    }
    return "";
  };
  EXPECT_EQ(reasonOf("a.lp"), "the LP format cannot hold a model without variables");
  EXPECT_EQ(reasonOf("a.xyz"), "the name ends neither in .mps nor in .lp");
  EXPECT_EQ(reasonOf("no/such/folder/a.mps"), "No such file or directory");
  std::ifstream in(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "what was there");
  const std::filesystem::directory_iterator entries(folder);
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(Files, OfEmptyModelsSolveTheSame) {
  const VakModel empty(env);
  VakWriteModel(empty, path("a.mps").c_str());
  const VakModel again = VakReadModel(env, path("a.mps").c_str());
  EXPECT_EQ(again.getVariableCount(), 0);
  EXPECT_EQ(VakSolver(again).solve(), VakStatus::Optimal);
}

TEST_F(Files, NamesAreFoundAndCounted) {
  const VakModel model = makeAwkward(env);
  const VakNameMap names(model);
  EXPECT_EQ(names.countVariables("x"), 2);
  EXPECT_EQ(names.findVariable("x"), model.findVariable("x"));
  EXPECT_EQ(names.countConstraints("c"), 2);
  EXPECT_EQ(names.findConstraint("range-1"), model.findConstraint("range-1"));
  EXPECT_TRUE(names.findVariable("nobody").isEmpty());
  EXPECT_EQ(names.countVariables("nobody"), 0);
}

}  // namespace

// What model files of other programs look like: layouts, kinds of rows and bounds, what is refused.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"
#include "vaksolver/files.h"

namespace {

const VakNum Infinity = VakGetInfinity();

/// The parts of an MPS file with one constraint and two variables.
struct Mps {
  std::string head = "NAME t\n";
  std::string rows = " N obj\n L r\n";
  std::string columns = "    x obj 1 r 1\n    y obj 1 r 1\n";
  std::string rhs = "    RHS r 4\n";
  std::string ranges;
  std::string bounds;

  [[nodiscard]] std::string text() const {
    return head + "ROWS\n" + rows + "COLUMNS\n" + columns + "RHS\n" + rhs + "RANGES\n" + ranges +
           "BOUNDS\n" + bounds + "ENDATA\n";
  }
};

class Dialects : public testing::Test {
 protected:
  Dialects() {
    std::string name = testing::TempDir() + "vak_dialects_XXXXXX";
    _folder = mkdtemp(name.data());
  }
  ~Dialects() override { std::filesystem::remove_all(_folder); }

  [[nodiscard]] std::string path(const char* name) const { return _folder + '/' + name; }
  /// What the model is, or what is wrong with the file, without its folder.
  std::string read(const std::string& text, const char* name) {
    const std::string file = _folder + '/' + name;
    std::ofstream(file, std::ios::binary) << text;
    const VakScopedEnv fresh;
    try {
      std::ostringstream out;
      out << VakReadModel(fresh.env, file.c_str());
      return out.str();
    } catch (const VakFileError& e) {
      return std::string(e.getMessage()).substr(_folder.size() + 1);
    }
  }
  std::string readMps(const Mps& mps) { return read(mps.text(), "t.mps"); }
  std::string readLp(const std::string& text) { return read(text, "t.lp"); }

  /// The text as a compressed file.
  std::string compressed(const std::string& text) {
    const std::string file = _folder + "/compressed.mps.gz";
    const std::string plain = _folder + "/plain.mps";
    std::ofstream(plain, std::ios::binary) << text;
    EXPECT_EQ(std::system(("gzip -c " + plain + " > " + file).c_str()), 0);
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  /// The bounds that a line of the section BOUNDS gives to x.
  std::string boundsOf(const std::string& line, bool isInteger = false) {
    Mps mps;
    mps.bounds = line + '\n';
    if (isInteger) {
      mps.columns = "    M 'MARKER' 'INTORG'\n    x obj 1 r 1\n    M 'MARKER' 'INTEND'\n";
    }
    const std::string text = readMps(mps);
    const auto at = text.find("x in ");
    return at == std::string::npos ? text : text.substr(at + 5, text.find('\n', at) - at - 5);
  }

 private:
  std::string _folder;
};

const std::string PlainModel = "minimize obj: x + y\nr: x + y <= 4\nx in [0, inf]\ny in [0, inf]\n";

TEST_F(Dialects, OfMpsMayHaveAnyLayout) {
  Mps mps;
  EXPECT_EQ(readMps(mps), PlainModel);
  const std::string text = mps.text();
  const auto changed = [text](const std::string& from, const std::string& to) {
    std::string made;
    for (std::size_t at = 0;;) {
      const auto next = text.find(from, at);
      made += text.substr(at, next - at);
      if (next == std::string::npos) return made;
      made += to;
      at = next + from.size();
    }
  };
  EXPECT_EQ(read(changed("\n", "\r\n"), "a.mps"), PlainModel);
  EXPECT_EQ(read(changed("    ", "\t"), "b.mps"), PlainModel);
  EXPECT_EQ(read(text.substr(0, text.size() - 1), "c.mps"), PlainModel);
  EXPECT_EQ(read(changed("ROWS", "* a comment\n\nROWS"), "d.mps"), PlainModel);
  EXPECT_EQ(read(changed(" r 4", " r 4" + std::string(3000, ' ')), "e.mps"), PlainModel);
}

TEST_F(Dialects, OfMpsMayHaveOneNumberALine) {
  Mps mps;
  mps.columns = "    x obj 1\n    x r 1\n    y obj 1\n    y r 1\n";
  EXPECT_EQ(readMps(mps), PlainModel);
}

TEST_F(Dialects, OfMpsMayLeaveOutTheNamesOfSets) {
  Mps mps;
  mps.rhs = "    r 4\n";
  mps.ranges = "    r 3\n";
  mps.bounds = " UP x 3\n FR y\n";
  EXPECT_EQ(readMps(mps),
            "minimize obj: x + y\nr: 1 <= x + y <= 4\nx in [0, 3]\ny in [-inf, inf]\n");
}

TEST_F(Dialects, OfMpsMayLeaveOutTheName) {
  Mps mps;
  mps.head = "";
  EXPECT_EQ(readMps(mps), PlainModel);
  mps.head = "NAME\n";
  EXPECT_EQ(readMps(mps), PlainModel);
  mps.head = "NAME t FREE\n";
  EXPECT_EQ(readMps(mps), PlainModel);
}

TEST_F(Dialects, OfMpsMayHaveBlanksInNamesAtFixedPlaces) {
  EXPECT_EQ(read("NAME          t\nROWS\n N  my obj\n L  row one\nCOLUMNS\n"
                 "    col one   my obj            -1.0   row one           1.0\n"
                 "    col two   my obj            -1.0   row one           1.0\n"
                 "RHS\n    RHS       row one           4.0\nENDATA\n",
                 "t.mps"),
            "minimize myobj: -colone - coltwo\nrowone: colone + coltwo <= 4\n"
            "colone in [0, inf]\ncoltwo in [0, inf]\n");
}

// Every section with words at fixed places; the line of "col two" has two numbers.
TEST_F(Dialects, OfMpsMayHaveAllSectionsAtFixedPlaces) {
  const std::string model = read(
      "NAME          t\nROWS\n N  my obj\n L  row one\n G  row two\nCOLUMNS\n"
      "    M A       'MARKER'                 'INTORG'\n"
      "    col one   my obj            -1.0\n"
      "    col one   row one            1.0\n"
      "    M A       'MARKER'                 'INTEND'\n"
      "    col two   my obj            -1.0   row two           2.0\n"
      "RHS\n              row one            4.0   row two            1.0\n"
      "RANGES\n    RNG       row one           3.0\n"
      "BOUNDS\n UP BND       col one          7.0\n FR BND       col two\nENDATA\n",
      "t.mps");
  EXPECT_EQ(model,
            "minimize myobj: -colone - coltwo\nrowone: 1 <= colone <= 4\n"
            "rowtwo: 2 coltwo >= 1\ncolone in [0, 7] integer\ncoltwo in [-inf, inf]\n");
}

// Lines whose words are between blanks but at no fixed place are read among those with places.
TEST_F(Dialects, OfMpsMayMixFixedPlacesAndBlanks) {
  EXPECT_EQ(read("ROWS\n N obj\n L  row one\nCOLUMNS\n"
                 "    col one   obj               -1.0   row one           1.0\n"
                 " x obj 1\n x rowone 2\n"
                 "RHS\n    RHS       row one           4.0\n"
                 "BOUNDS\n FR B x\nENDATA\n",
                 "t.mps"),
            "minimize obj: -colone + x\nrowone: colone + 2 x <= 4\n"
            "colone in [0, inf]\nx in [-inf, inf]\n");
}

// The reader looked for numbers behind the end of the second line of "x y" then.
TEST_F(Dialects, OfMpsAtFixedPlacesRefuseWhatIsBesideThem) {
  const auto fault = [this](const std::string& line) {
    return read(
        "ROWS\n N  obj\n L  row one\nCOLUMNS\n"
        "    x y       obj               -1.0   row one           1.0\n" +
            line + "\nRHS\nENDATA\n",
        "t.mps");
  };
  EXPECT_EQ(fault("    z         row one           1.0  K"),
            "t.mps, line 6: this cannot be understood: z         row one           1.0  K");
  EXPECT_EQ(
      fault("    z  IC   HCA            0.12K    !       325"),
      "t.mps, line 6: this cannot be understood: z  IC   HCA            0.12K    !       325");
  const std::string name(40, 'y');
  EXPECT_EQ(fault("    z " + name + ' ' + name), "t.mps, line 6: this cannot be understood: z " +
                                                     name + ' ' + std::string(17, 'y') + "...");
  EXPECT_EQ(fault("    z         row one         1 0"),
            "t.mps, line 6: this cannot be understood: z         row one         1 0");
  EXPECT_EQ(fault("    z y z                       1.0"),
            "t.mps, line 6: this cannot be understood: z y z                       1.0");
}

TEST_F(Dialects, OfMpsRefuseNamesOfRowsThatAreTooLongWithoutTheirBlanks) {
  const std::string half(100, 'a');
  EXPECT_EQ(
      read("ROWS\n N  obj\n L  " + half + ' ' + half + "\nENDATA\n", "t.mps"),
      "t.mps, line 3: " + (half + half).substr(0, 60) + "... is too long; 150 bytes are the most");
}

TEST_F(Dialects, OfMpsCountTheFirstSetOnly) {
  Mps mps;
  mps.rhs = "    RHS r 4\n    MORE r 5\n";
  EXPECT_EQ(readMps(mps), PlainModel);
}

TEST_F(Dialects, OfMpsSayTheSenseInSeveralWays) {
  for (const char* head : {"NAME t\nOBJSENSE\n    MAX\n", "NAME t\nOBJSENSE MAXIMIZE\n",
                           "OBJSENSE\n    maximise\nNAME t\n"}) {
    Mps mps;
    mps.head = head;
    EXPECT_EQ(readMps(mps).substr(0, 8), "maximize") << head;
  }
}

TEST_F(Dialects, OfMpsHaveBoundsOfManyKinds) {
  EXPECT_EQ(boundsOf(" UP B x 3"), "[0, 3]");
  EXPECT_EQ(boundsOf(" UP B x 0"), "[0, 0]");
  EXPECT_EQ(boundsOf(" UP B x -3"), "[-inf, -3]");
  EXPECT_EQ(boundsOf(" UP B x 1e30"), "[0, inf]");
  EXPECT_EQ(boundsOf(" UP B x Inf"), "[0, inf]");
  EXPECT_EQ(boundsOf(" LO B x 3"), "[3, inf]");
  EXPECT_EQ(boundsOf(" LO B x -3"), "[-3, inf]");
  EXPECT_EQ(boundsOf(" LO B x -infinity"), "[-inf, inf]");
  EXPECT_EQ(boundsOf(" FX B x -3"), "[-3, -3]");
  EXPECT_EQ(boundsOf(" FR B x"), "[-inf, inf]");
  EXPECT_EQ(boundsOf(" MI B x"), "[-inf, inf]");
  EXPECT_EQ(boundsOf(" MI B x\n UP B x -1"), "[-inf, -1]");
  EXPECT_EQ(boundsOf(" PL B x"), "[0, inf]");
  EXPECT_EQ(boundsOf(" PL B x 7"), "[0, inf]");
  EXPECT_EQ(boundsOf(" BV B x"), "[0, 1] Boolean");
  EXPECT_EQ(boundsOf(" LI B x 3"), "[3, inf] integer");
  EXPECT_EQ(boundsOf(" UI B x 3"), "[0, 3] integer");
  EXPECT_EQ(boundsOf(" LO B x -5\n UP B x -1"), "[-5, -1]");
  EXPECT_EQ(boundsOf(" UP B x -1\n LO B x -5"), "[-5, -1]");
}

TEST_F(Dialects, OfMpsHaveTruthValuesAmongIntegersWithoutBounds) {
  EXPECT_EQ(boundsOf("", true), "[0, 1] Boolean");
  EXPECT_EQ(boundsOf(" LO B x 2", true), "[2, inf] integer");
  EXPECT_EQ(boundsOf(" PL B x", true), "[0, inf] integer");
}

TEST_F(Dialects, OfMpsRefuseBoundsThatAreNone) {
  const std::string unsupported = "t.mps, line 12: semi-continuous variables are not supported";
  EXPECT_EQ(boundsOf(" SC B x 3"), unsupported);
  EXPECT_EQ(boundsOf(" SI B x 3"), unsupported);
  EXPECT_EQ(boundsOf(" XX B x 3"), "t.mps, line 12: unknown kind of bound XX");
  EXPECT_EQ(boundsOf(" UP B q 3"), "t.mps, line 12: there is no column q: UP B q 3");
  EXPECT_EQ(boundsOf(" UP B x"), "t.mps, line 12: this cannot be understood: UP B x");
  EXPECT_EQ(boundsOf(" UP B x 3 4"), "t.mps, line 12: this cannot be understood: UP B x 3 4");
}

TEST_F(Dialects, OfMpsRefuseNumbersThatAreNotExpected) {
  const auto changed = [this](const char* rows, const char* columns, const char* rhs,
                              const char* ranges) {
    Mps mps;
    mps.rows += rows;
    mps.columns += columns;
    mps.rhs += rhs;
    mps.ranges += ranges;
    return readMps(mps);
  };
  EXPECT_EQ(changed("", "    y r 2\n", "", ""),
            "t.mps, line 8: there is a second number for row r: y r 2");
  EXPECT_EQ(changed("", "", "    RHS r 5\n", ""),
            "t.mps, line 10: there is a second number for row r: RHS r 5");
  EXPECT_EQ(changed("", "", "", "    RNG obj 5\n"),
            "t.mps, line 11: there is a number too many for the objective: RNG obj 5");
  EXPECT_EQ(changed("", "    z\n", "", ""), "t.mps, line 8: this cannot be understood: z");
  EXPECT_EQ(changed(" Q q\n", "", "", ""), "t.mps, line 5: this cannot be understood: Q q");
}

TEST_F(Dialects, OfMpsHaveRangesOfEachSign) {
  struct Case {
    const char* kind;
    VakNum rhs;
    VakNum range;
    const char* bounds;
  };
  for (const Case& c :
       {Case{"L", 4, 2, "r: 2 <= x + y <= 4"}, Case{"L", 4, -2, "r: 2 <= x + y <= 4"},
        Case{"L", -4, 2, "r: -6 <= x + y <= -4"}, Case{"L", 4, 0, "r: x + y == 4"},
        Case{"G", 4, 2, "r: 4 <= x + y <= 6"}, Case{"G", 4, -2, "r: 4 <= x + y <= 6"},
        Case{"G", -4, -2, "r: -4 <= x + y <= -2"}, Case{"E", 4, 2, "r: 4 <= x + y <= 6"},
        Case{"E", 4, -2, "r: 2 <= x + y <= 4"}, Case{"E", -4, -2, "r: -6 <= x + y <= -4"},
        Case{"E", 0, 0, "r: x + y == 0"}}) {
    Mps mps;
    mps.rows = std::string(" N obj\n ") + c.kind + " r\n";
    mps.rhs = "    RHS r " + std::to_string(c.rhs) + '\n';
    mps.ranges = "    RNG r " + std::to_string(c.range) + '\n';
    const std::string text = readMps(mps);
    const auto at = text.find("\nr: ") + 1;
    EXPECT_EQ(text.substr(at, text.find('\n', at) - at), c.bounds) << mps.text();
  }
}

TEST_F(Dialects, OfMpsNegateTheRightHandSideOfTheObjective) {
  Mps mps;
  mps.rhs = "    RHS obj -5 r 4\n";
  EXPECT_EQ(readMps(mps).substr(0, 26), "minimize obj: x + y + 5\nr:");
}

TEST_F(Dialects, WithWordsThatAreTooLongAreRefused) {
  const std::string longWord(5000, 'x');
  Mps mps;
  mps.columns = "    " + longWord.substr(0, 200) + " obj 1 r 1\n";
  EXPECT_EQ(readMps(mps),
            "t.mps, line 6: " + longWord.substr(0, 60) + "... is too long; 150 bytes are the most");
  mps.columns = "    " + longWord + " obj 1 r 1\n";
  EXPECT_EQ(readMps(mps), "t.mps, line 6: a line of more than 800 bytes");
  mps.columns = "    a b " + longWord.substr(0, 200) + " obj 1 r 1\n";
  EXPECT_EQ(readMps(mps),
            "t.mps, line 6: " + longWord.substr(0, 60) + "... is too long; 150 bytes are the most");
  EXPECT_EQ(readLp("Minimize\n obj: " + longWord + "\nSubject To\nEnd\n"),
            "t.lp, line 2: " + longWord.substr(0, 60) + "... is too long");
}

TEST_F(Dialects, ThatAreCompressedAndDamagedAreRefused) {
  const std::string whole = compressed(Mps().text());
  EXPECT_EQ(read(whole, "t.mps.gz"), PlainModel);
  EXPECT_EQ(read(whole.substr(0, whole.size() / 2), "t.mps.gz").substr(0, 10), "t.mps.gz: ");
  std::string other = whole;
  other[other.size() - 6] ^= 1;  // Part of the check sum.
  EXPECT_EQ(read(other, "t.mps.gz"), "t.mps.gz: the file is damaged");
}

TEST_F(Dialects, AreReadFromPipes) {
  const std::string pipe = path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] { std::ofstream(pipe, std::ios::binary) << Mps().text(); });
  const VakScopedEnv fresh;
  std::ostringstream out;
  out << VakReadModel(fresh.env, pipe.c_str());
  writer.join();
  EXPECT_EQ(out.str(), PlainModel);
}

/// An LP file with this constraint.
std::string lpOf(const std::string& constraint) {
  return "Minimize\n obj: x + y\nSubject To\n " + constraint + "\nEnd\n";
}

TEST_F(Dialects, OfLpMayHaveAnyLayout) {
  EXPECT_EQ(readLp(lpOf("r: x + y <= 4")), PlainModel);
  EXPECT_EQ(readLp(lpOf("r: x + y<=4")), PlainModel);
  EXPECT_EQ(readLp(lpOf("r:x + y =< 4")), PlainModel);
  EXPECT_EQ(readLp(lpOf("r : x + y < 4")), PlainModel);
  EXPECT_EQ(readLp(lpOf("r:\n x\n + y <=\n 4")), PlainModel);
  EXPECT_EQ(readLp("minimise\n obj:\tx + y\nsuch that\n\tr: x + y <= 4\r\nend"), PlainModel);
  EXPECT_EQ(readLp("\\ why\nMin obj: x + y st r: x + y <= 4 \\ not\n\nEnd\n"), PlainModel);
}

TEST_F(Dialects, OfLpMayHaveInfiniteBoundsAndSignsApart) {
  EXPECT_EQ(readLp("Minimize\n obj: x + y\nSubject To\n r: x + y >= - 4\nBounds\n"
                   " -Infinity <= x <= - 2\n y<=+inf\nEnd\n"),
            "minimize obj: x + y\nr: x + y >= -4\nx in [-inf, -2]\ny in [0, inf]\n");
}

TEST_F(Dialects, OfLpAreNotMisread) {
  const auto reasonOf = [this](const std::string& constraint) { return readLp(lpOf(constraint)); };
  const std::string at = "t.lp, line 4: ";
  EXPECT_EQ(reasonOf("r: x + 2y <= 4"),
            at + "2y is neither a number nor a name; blanks stand between them");
  EXPECT_EQ(reasonOf("r: x +2y <= 4"),
            at + "+2y is neither a number nor a name; blanks stand between them");
  EXPECT_EQ(reasonOf("r: x + y <= 4 + z"), at + "nothing can follow the number of a constraint");
  EXPECT_EQ(reasonOf("r: x + y <= z"), at + "a number has to follow a comparison, not z");
  EXPECT_EQ(reasonOf("r: x + y <=\n s: x <= 1"),
            "t.lp, line 5: there is no number behind a comparison");
  EXPECT_EQ(reasonOf("r: x + y"), "t.lp, line 5: a constraint has no comparison");
  EXPECT_EQ(reasonOf("r: x + 1 + y <= 4"),
            at + "a constant stands among the terms of a constraint");
  const std::string two =
      at +
      "a number stands before a comparison; a constraint with two bounds has to "
      "be two";
  EXPECT_EQ(reasonOf("r: x + y + 1 <= 4"), two);
  EXPECT_EQ(reasonOf("r: 1 <= x + y <= 4"), two);
  EXPECT_EQ(reasonOf("r: x + y <= 4 <= 5"), at + "a constraint with two bounds has to be two");
  EXPECT_EQ(reasonOf("r: x y <= 4"), at + "there is no sign before y");
  EXPECT_EQ(reasonOf("r: x 3 <= 4"), at + "there is no sign before 3");
  EXPECT_EQ(reasonOf("r: 2 3 x <= 4"), at + "there are two numbers in a row");
  EXPECT_EQ(reasonOf("r: x + - y <= 4"), at + "there are two signs in a row");
  EXPECT_EQ(reasonOf(": x <= 4"), at + "there is no name before a colon");
  EXPECT_EQ(reasonOf("r: x <= : 4"), at + "there is no name before a colon");
  EXPECT_EQ(reasonOf("r: x <=:4"), at + "there is no name before a colon");
  EXPECT_EQ(reasonOf("r: <= 4"), at + "there are no terms before a comparison");
  EXPECT_EQ(reasonOf("r: x <=> 4"), at + "<=> is no comparison; write <=, >= or =");
  EXPECT_EQ(reasonOf("r: x + [ y ^ 2 ] <= 4"), at + "[ is not supported: products and powers");
  EXPECT_EQ(reasonOf("r: x = 1 -> y <= 4"), at + "conditions (->) are not supported");
}

TEST_F(Dialects, OfLpHaveNoColonsBehindTheConstraints) {
  EXPECT_EQ(readLp(lpOf("r: x + y <= 4\nBounds\n x <=: 3")),
            "t.lp, line 6: a colon stands behind the constraints");
}

TEST_F(Dialects, OfLpSayWhatIsWrongWithBoundsAndNames) {
  const auto bounds = [this](const std::string& line) {
    return readLp(lpOf("r: x + y <= 4\nBounds\n " + line));
  };
  EXPECT_EQ(bounds("x <= 4 5"), "t.lp, line 7: a comparison is expected in the bounds, not End");
  EXPECT_EQ(bounds("x >= z"), "t.lp, line 6: a number is expected in the bounds, not z");
  EXPECT_EQ(bounds("3 <="), "t.lp: this is no name: End");
  EXPECT_EQ(readLp(lpOf("r: x + y + x <= 4")),
            "t.lp, line 5: a variable stands twice in the objective or in a constraint");
}

TEST_F(Dialects, OfLpRefuseSectionsThatModelsCannotHold) {
  EXPECT_EQ(readLp(lpOf("r: x + y <= 4\nSemi-Continuous\n x")),
            "t.lp, line 5: the section Semi-Continuous is not supported");
  EXPECT_EQ(readLp(lpOf("r: x + y <= 4\nSOS\n s: S1:: x:1 y:2")),
            "t.lp, line 5: the section SOS is not supported");
  EXPECT_EQ(readLp("Minimize\n obj: x\nEnd\n"),
            "t.lp, line 3: the constraints are missing, which begin with Subject To");
  EXPECT_EQ(readLp(lpOf("r: x <= 4\nEnd\nEnd")), "t.lp, line 6: something stands behind End");
}

}  // namespace

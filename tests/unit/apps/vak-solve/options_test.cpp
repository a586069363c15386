#include "apps/vak-solve/options.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "apps/vak-solve/errors.h"

namespace vaksolve {
namespace {

Options parse(const std::vector<const char*>& arguments) { return parseOptions(arguments); }

std::string errorOf(const std::vector<const char*>& arguments) {
  try {
    static_cast<void>(parseOptions(arguments));
  } catch (const InputError& error) {
    return error.what();
  }
  return "no error";
}

TEST(Options, HaveUsualValues) {
  const Options options = parse({"plan.mps"});
  EXPECT_EQ(options.model, "plan.mps");
  EXPECT_TRUE(options.edits.empty());
  EXPECT_FALSE(options.timeLimit);
  EXPECT_FALSE(options.gap);
  EXPECT_EQ(options.writeTo, "");
  EXPECT_EQ(options.rows, 50);
  EXPECT_FALSE(options.isJson || options.isReported || options.isQuiet || options.isHelp ||
               options.isVersion);
}

TEST(Options, TakeValuesBehindThemOrBehindAnEqualsSign) {
  for (const std::vector<const char*>& arguments :
       {std::vector<const char*>{"--time-limit", "2.5", "--gap", "0.01", "m", "--rows", "0",
                                 "--write", "out.lp"},
        std::vector<const char*>{"--time-limit=2.5", "--gap=0.01", "m", "--rows=0",
                                 "--write=out.lp"}}) {
    const Options options = parse(arguments);
    EXPECT_EQ(options.timeLimit, 2.5);
    EXPECT_EQ(options.gap, 0.01);
    EXPECT_EQ(options.rows, 0);
    EXPECT_EQ(options.writeTo, "out.lp");
    EXPECT_EQ(options.model, "m");
  }
}

TEST(Options, SwitchThingsOn) {
  const Options options = parse({"m", "--json", "--report", "--quiet"});
  EXPECT_TRUE(options.isJson);
  EXPECT_TRUE(options.isReported);
  EXPECT_TRUE(options.isQuiet);
}

TEST(Options, KeepTheOrderOfEdits) {
  const Options options = parse({"--set", "x.ub=4", "--maximize", "m", "--fix=y=1", "--remove", "c",
                                 "--minimize", "--set=c.lb=-2"});
  std::vector<std::string> texts;
  for (const Edit& edit : options.edits) texts.push_back(edit.text);
  EXPECT_EQ(texts, (std::vector<std::string>{"--set x.ub=4", "--maximize", "--fix y=1",
                                             "--remove c", "--minimize", "--set c.lb=-2"}));
}

TEST(Options, EndAtADoubleDash) {
  EXPECT_EQ(parse({"--json", "--", "--json"}).model, "--json");
  EXPECT_EQ(errorOf({"--", "a", "--json"}),
            R"(one model file at a time: "a" and "--json" were given)");
}

TEST(Options, LetHelpAndVersionDecideAlone) {
  EXPECT_TRUE(parse({"--help"}).isHelp);
  EXPECT_TRUE(parse({"--version", "--unknown"}).isVersion);
  EXPECT_TRUE(parse({"a", "--help", "b"}).isHelp);
}

TEST(Options, SayWhatIsWrong) {
  EXPECT_EQ(errorOf({}), "no model file was given; --help says more");
  EXPECT_EQ(errorOf({""}), "the name of the model file is empty");
  EXPECT_EQ(errorOf({"a", "b"}), R"(one model file at a time: "a" and "b" were given)");
  EXPECT_EQ(errorOf({"m", "--tme"}), R"(unknown option "--tme"; --help lists all)");
  EXPECT_EQ(errorOf({"m", "--tme=4"}), R"(unknown option "--tme"; --help lists all)");
  EXPECT_EQ(errorOf({"m", "-x"}), R"(unknown option "-x"; --help lists all)");
  EXPECT_EQ(errorOf({"m", "-set", "x.ub=1"}), R"(unknown option "-set"; --help lists all)");
  EXPECT_EQ(errorOf({"m", "--set"}), "--set needs a value: NAME.PROPERTY=VALUE");
  EXPECT_EQ(errorOf({"m", "--json=1"}), "--json takes no value");
  EXPECT_EQ(errorOf({"m", "--write", ""}), "--write: the name of the file is empty");
}

TEST(Options, RefuseNumbersThatMakeNoSense) {
  EXPECT_EQ(errorOf({"m", "--time-limit", "soon"}),
            "--time-limit soon: write a number of seconds, 0 or more");
  EXPECT_EQ(errorOf({"m", "--time-limit=-1"}),
            "--time-limit -1: write a number of seconds, 0 or more");
  EXPECT_EQ(errorOf({"m", "--time-limit", "inf"}),
            "--time-limit inf: write a number of seconds, 0 or more");
  EXPECT_EQ(errorOf({"m", "--gap", "1%"}), "--gap 1%: write a ratio, 0 or more, as in 0.01");
  EXPECT_EQ(errorOf({"m", "--gap", "-0.1"}), "--gap -0.1: write a ratio, 0 or more, as in 0.01");
  EXPECT_EQ(errorOf({"m", "--rows", "2.5"}), "--rows 2.5: write a whole number, 0 or more");
  EXPECT_EQ(errorOf({"m", "--rows", "-1"}), "--rows -1: write a whole number, 0 or more");
  EXPECT_EQ(errorOf({"m", "--rows", "99999999999999999999"}),
            "--rows 99999999999999999999: write a whole number, 0 or more");
}

// ---- What the documentation lists ---------------------------------------------------------------

std::set<std::string> knownOptions() {
  std::set<std::string> names;
  for (const OptionRule& rule : optionRules()) names.insert(std::string("--") + rule.name);
  return names;
}

std::string readFile(const char* name) {
  const std::ifstream file(std::string(VAK_SOLVE_SOURCES "/") + name);
  EXPECT_TRUE(file.good()) << name;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// The option names in `text` that stand right behind `marker`, with "--" before them.
std::set<std::string> namesBehind(const std::string& text, const std::string& marker) {
  std::set<std::string> found;
  for (std::size_t place = text.find(marker); place != std::string::npos;
       place = text.find(marker, place)) {
    std::string name;
    for (place += marker.size(); place < text.size(); ++place) {
      const char c = text[place];
      // Manual pages write a dash behind a backslash.
      if (c == '\\') continue;
      if (c != '-' && (c < 'a' || c > 'z')) break;
      name += c;
    }
    if (!name.empty()) found.insert("--" + name);
  }
  return found;
}

TEST(OptionRules, AreWhatTheHelpLists) {
  EXPECT_EQ(namesBehind(helpText(), "\n  --"), knownOptions());
}

TEST(OptionRules, AreWhatTheManualPageLists) {
  const std::string page = readFile("vak-solve.1");
  std::set<std::string> listed = namesBehind(page, "\n.TP\n.B \\-\\-");
  listed.merge(namesBehind(page, "\n.TP\n.BI \\-\\-"));
  EXPECT_EQ(listed, knownOptions());
}

TEST(OptionRules, AreWhatTheCompletionOffers) {
  const std::string script = readFile("vak-solve.bash");
  const std::size_t begin = script.find("options='");
  ASSERT_NE(begin, std::string::npos);
  const std::size_t end = script.find('\'', begin + 9);
  EXPECT_EQ(namesBehind(script.substr(begin, end - begin), "--"), knownOptions());
}

TEST(OptionRules, HaveHelpThatFitsATerminal) {
  std::istringstream lines(helpText());
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80U) << line;
    EXPECT_FALSE(line.ends_with(' ')) << line;
  }
}

TEST(ManualPage, ListsTheExitCodesOfTheHelp) {
  const std::string page = readFile("vak-solve.1");
  const std::string help = helpText();
  for (int code = 0; code <= 9; ++code) {
    const std::string number = std::to_string(code);
    EXPECT_NE(page.find("\n.TP\n.B " + number + "\n"), std::string::npos) << code;
    EXPECT_NE(help.find("  " + number + "  "), std::string::npos) << code;
  }
}

}  // namespace
}  // namespace vaksolve

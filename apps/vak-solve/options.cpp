#include "apps/vak-solve/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "apps/vak-solve/errors.h"
#include "apps/vak-solve/text.h"

namespace vaksolve {

namespace {

constexpr std::array Rules{
    OptionRule{"set", "NAME.PROPERTY=VALUE",
               "change a bound (x.ub=4, c.lb=2), a right-hand side\n"
               "(c.rhs=7), an objective coefficient (x.obj=3), a kind\n"
               "(x.kind=integer) or a coefficient (c.x=5, of the\n"
               "variable x in the constraint c)"},
    OptionRule{"fix", "VARIABLE=VALUE", "set both bounds of a variable"},
    OptionRule{"remove", "NAME", "remove a variable or a constraint"},
    OptionRule{"minimize", nullptr, "minimize the objective"},
    OptionRule{"maximize", nullptr, "maximize the objective"},
    OptionRule{"time-limit", "SECONDS", "stop each solve after this time"},
    OptionRule{"gap", "RATIO", "be content with a solution within this relative gap"},
    OptionRule{"write", "FILE", "write the edited model (.mps or .lp)"},
    OptionRule{"rows", "N", "print N rows of a table at most, 0 for all; usually 50"},
    OptionRule{"json", nullptr, "print everything as one JSON object"},
    OptionRule{"report", nullptr, "print memory, objects, changes and times as well"},
    OptionRule{"quiet", nullptr, "print one line for each solve"},
    OptionRule{"help", nullptr, "print this help"},
    OptionRule{"version", nullptr, "print the version"},
};

double parseSeconds(std::string_view value) {
  const std::optional<double> seconds = parseNumber(value);
  if (!seconds || !(*seconds >= 0) || std::isinf(*seconds)) {
    throw InputError("--time-limit " + printable(value) + ": write a number of seconds, 0 or more");
  }
  return *seconds;
}

double parseGap(std::string_view value) {
  const std::optional<double> gap = parseNumber(value);
  if (!gap || !(*gap >= 0) || std::isinf(*gap)) {
    throw InputError("--gap " + printable(value) + ": write a ratio, 0 or more, as in 0.01");
  }
  return *gap;
}

long parseRows(std::string_view value) {
  long rows = -1;
  const char* end = value.data() + value.size();
  const std::from_chars_result result = std::from_chars(value.data(), end, rows);
  if (result.ec != std::errc() || result.ptr != end || rows < 0) {
    throw InputError("--rows " + printable(value) + ": write a whole number, 0 or more");
  }
  return rows;
}

std::string parseFile(std::string_view option, std::string_view value) {
  if (value.empty()) throw InputError(std::string(option) + ": the name of the file is empty");
  return std::string(value);
}

/// Takes one option, known and with the value that it needs, into `options`.
void take(Options& options, std::string_view name, std::string_view value) {
  if (name == "set") {
    options.edits.push_back(parseSet(value));
  } else if (name == "fix") {
    options.edits.push_back(parseFix(value));
  } else if (name == "remove") {
    options.edits.push_back(parseRemove(value));
  } else if (name == "minimize") {
    options.edits.push_back(makeMinimize());
  } else if (name == "maximize") {
    options.edits.push_back(makeMaximize());
  } else if (name == "time-limit") {
    options.timeLimit = parseSeconds(value);
  } else if (name == "gap") {
    options.gap = parseGap(value);
  } else if (name == "write") {
    options.writeTo = parseFile("--write", value);
  } else if (name == "rows") {
    options.rows = parseRows(value);
  } else if (name == "json") {
    options.isJson = true;
  } else if (name == "report") {
    options.isReported = true;
  } else if (name == "quiet") {
    options.isQuiet = true;
  } else if (name == "help") {
    options.isHelp = true;
  } else {
    options.isVersion = true;
  }
}

/// The rule of an option. Throws InputError when there is none.
const OptionRule& findRule(std::string_view argument, std::string_view name) {
  const auto* const rule =
      std::find_if(Rules.begin(), Rules.end(), [&](const OptionRule& r) { return r.name == name; });
  if (rule == Rules.end()) {
    throw InputError("unknown option " + quote(argument) + "; --help lists all");
  }
  return *rule;
}

void takeModel(Options& options, std::string_view argument) {
  if (argument.empty()) throw InputError("the name of the model file is empty");
  if (!options.model.empty()) {
    throw InputError("one model file at a time: " + quote(options.model) + " and " +
                     quote(argument) + " were given");
  }
  options.model = argument;
}

}  // namespace

std::span<const OptionRule> optionRules() { return Rules; }

Options parseOptions(std::span<const char* const> arguments) {
  Options options;
  bool areOptionsOver = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view argument = arguments[i];
    if (areOptionsOver || !argument.starts_with('-') || argument == "-") {
      takeModel(options, argument);
      continue;
    }
    if (argument == "--") {
      areOptionsOver = true;
      continue;
    }
    const std::size_t equals = argument.find('=');
    const std::string_view option = argument.substr(0, equals);
    const OptionRule& rule =
        findRule(option, option.starts_with("--") ? option.substr(2) : std::string_view());
    std::string_view value;
    if (equals != std::string_view::npos) {
      if (rule.value == nullptr) throw InputError(std::string(option) + " takes no value");
      value = argument.substr(equals + 1);
    } else if (rule.value != nullptr) {
      if (++i == arguments.size()) {
        throw InputError(std::string(option) + " needs a value: " + rule.value);
      }
      value = arguments[i];
    }
    take(options, rule.name, value);
    if (options.isHelp || options.isVersion) return options;
  }
  if (options.model.empty()) throw InputError("no model file was given; --help says more");
  return options;
}

std::string helpText() {
  constexpr std::size_t indent = 25;
  std::string text =
      "Usage: vak-solve MODEL [OPTION]...\n"
      "\n"
      "Solves the optimisation model in the file MODEL (MPS or LP format) and prints\n"
      "the solution. Each edit among the options is then applied to the solved model,\n"
      "in the order given, and the model is solved again from where the last solve\n"
      "ended.\n"
      "\n"
      "Options:\n";
  for (const OptionRule& rule : Rules) {
    std::string line = "  --" + std::string(rule.name);
    if (rule.value != nullptr) line += ' ' + std::string(rule.value);
    const std::string gap(indent, ' ');
    line += line.size() < indent ? gap.substr(line.size()) : '\n' + gap;
    for (const char c : std::string_view(rule.help)) {
      line += c;
      if (c == '\n') line += gap;
    }
    text += line + '\n';
  }
  return text +
         "\n"
         "Bounds may be inf or -inf. Where a variable and a constraint have the same\n"
         "name, write variable:NAME or constraint:NAME.\n"
         "\n"
         "Exit codes:\n"
         "  0  optimal, or within the asked gap     5  infeasible or unbounded\n"
         "  1  internal error                       6  limit reached, with a solution\n"
         "  2  wrong options, file or edit          7  limit reached, without a solution\n"
         "  3  infeasible                           8  interrupted\n"
         "  4  unbounded                            9  output could not be written\n"
         "They tell of the last solve.\n";
}

}  // namespace vaksolve

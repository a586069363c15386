#pragma once

// Models in files: the MPS and LP formats.
//
//   VakModel model = VakReadModel(env, "plan.mps");
//   VakNameMap names(model);
//   names.findVariable("x").setUB(4);
//   VakWriteModel(model, "plan.lp");
//
// The format is that of the file's name: ".mps" or ".lp", perhaps followed by ".gz" or ".bz2".
// Where the name does not tell, the content does.
//
//   integer variables    of both formats become VakVarKind::Integer; those with bounds 0 and 1
//                        become VakVarKind::Boolean
//   objective constant   MPS has it as the negated right-hand side of the objective row; a model's
//                        constant is what it says
//   maximise             a file that says so gives an objective that is maximised
//   free rows            are left out by the formats: an MPS file's free rows but for the first,
//                        which is the objective, are not read; in an LP file only an infinite
//                        right-hand side makes one, and none is written
//   ranges               are two rows in LP files, the second one with "_low" behind its name;
//                        rows with two bounds are not read from them
//   infinity             numbers of 1e30 and more, and in bounds the words inf and infinity
//   usual bounds         0 and infinity; in MPS files 0 and 1 for integer variables of which the
//                        bounds say nothing, and no lower bound for variables of which they only
//                        say an upper one below 0
//   MPS layout           fixed or free; of several sets of right-hand sides, ranges or bounds, the
//                        first one counts
//   refused              semi-continuous variables, special ordered sets, products, conditions;
//                        words of more than 150 bytes
//
// One thread reads or writes at a time for each environment; different environments, different
// threads.

#include <string>
#include <string_view>
#include <unordered_map>

#include "vakbase/exception.h"
#include "vakmodel/constraint.h"
#include "vakmodel/errors.h"
#include "vakmodel/model.h"
#include "vakmodel/variable.h"
#include "vaksolver/fwd.h"

/// How a file is to be read or written; by default, as its name or its content tells.
enum class VakFileFormat : unsigned char { ByName, Mps, Lp };

/// A file cannot be read or written, or is no model, as in
/// "plan.mps, line 12: unknown row CAPCITY".
class VakFileError : private VakErrorText, public VakException {
 public:
  /// Copies the texts; of long ones the end is cut. `line` is 0 for the file as a whole.
  VakFileError(const char* file, VakInt line, const char* reason);
  VakFileError(std::string_view file, VakInt line, std::string_view reason);
  VakFileError(const VakFileError& other);
  VakFileError& operator=(const VakFileError& other);
  ~VakFileError() override;

  /// The name of the file, as it was given.
  [[nodiscard]] const char* getFile() const { return _file; }
  /// The number of the line, from 1; 0 when the file as a whole is meant.
  [[nodiscard]] VakInt getLine() const { return _line; }
  /// What is wrong, without file and line.
  [[nodiscard]] const char* getReason() const { return _reason; }

 private:
  static constexpr int FileCapacity = 240;    ///< Bytes with the terminator.
  static constexpr int ReasonCapacity = 200;  ///< Bytes with the terminator.

  char _file[FileCapacity];
  char _reason[ReasonCapacity];
  VakInt _line;
};

/// A new model with the variables, constraints and objective of the file, with their names; the
/// model gets the name of the problem. An objective is made even if the file's is zero. Throws
/// VakFileError and std::bad_alloc; the environment has no object more then.
///
/// Threads: confined, since it makes objects.
/// Phases: open.
[[nodiscard]] VakModel VakReadModel(VakEnv env, const char* file,
                                    VakFileFormat format = VakFileFormat::ByName);
[[nodiscard]] VakModel VakReadModel(VakEnv env, std::string_view file,
                                    VakFileFormat format = VakFileFormat::ByName);

/// Writes the model to the file; ".gz" at the end of its name compresses it, ".bz2" does not. The
/// file is complete or, when VakFileError is thrown, as it was before. By name, only names of known
/// formats can be written.
///
/// Objects without a name, with the name of an earlier one, or with a name that the format cannot
/// hold, get one in the file that depends only on the model: the name with each wrong character as
/// an underscore, and behind it the place of the object if that name is taken.
void VakWriteModel(VakModel model, const char* file, VakFileFormat format = VakFileFormat::ByName);
void VakWriteModel(VakModel model, std::string_view file,
                   VakFileFormat format = VakFileFormat::ByName);

/// Variables and constraints of a model by name; the first one of several with a name, which are
/// counted. A plain value that does not notice changes: it is for programs that read a file and
/// then look names up. Costs a walk over all names once, then constant time for each.
///
/// Threads: read-shared; a value.
/// Phases: open; made anew when names, variables or constraints changed.
class VakNameMap {
 public:
  /// Of no model: nothing is found.
  VakNameMap() = default;
  /// Of the model's names as they are now.
  explicit VakNameMap(VakModel model);

  /// The variable of this name, or an empty handle.
  [[nodiscard]] VakNumVar findVariable(std::string_view name) const;
  [[nodiscard]] VakConstraint findConstraint(std::string_view name) const;
  /// How many variables (constraints) have this name.
  [[nodiscard]] VakInt countVariables(std::string_view name) const;
  [[nodiscard]] VakInt countConstraints(std::string_view name) const;

 private:
  struct Hash {
    using is_transparent = void;  // NOLINT(readability-identifier-naming): the standard's name
    std::size_t operator()(std::string_view name) const {
      return std::hash<std::string_view>()(name);
    }
  };
  template <class Handle>
  struct Entry {
    Handle first;
    VakInt count = 0;
  };
  template <class Handle>
  using Table = std::unordered_map<std::string, Entry<Handle>, Hash, std::equal_to<>>;

  Table<VakNumVar> _variables;
  Table<VakConstraint> _constraints;
};

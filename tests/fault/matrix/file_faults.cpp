// Files of models: written, read, and looked into by name.

#include <filesystem>
#include <fstream>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/solver_world.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/contract/extractable.h"
#include "vaksolver/files.h"

namespace {

// A folder of its own for the file of a scene, gone with it.
struct Folder {
  explicit Folder(const char* fileName) {
    std::string name = std::filesystem::temp_directory_path() / "vak_fault_matrix.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for a test");
    path = name;
    file = path / fileName;
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::filesystem::path path;
  std::string file;  // Its whole name.
};

VakScene writing(VakStage& s, const char* name) {
  auto& w = s.keep<VakSolverWorld>(s, true);
  auto& folder = s.keep<Folder>(name);
  return {.act = [&w, &folder] { VakWriteModel(w.m, folder.file.c_str()); },
          .afterFailure = [&folder]() -> std::string {
            return std::filesystem::is_empty(folder.path) ? "" : "a file is there";
          },
          .afterSuccess = [&folder]() -> std::string {
            const auto files = std::distance(std::filesystem::directory_iterator(folder.path), {});
            return files == 1 && std::filesystem::file_size(folder.file) > 0 ? "" : "the file";
          }};
}

// The live objects of an environment.
std::vector<VakExtractableI*> objectsOf(VakEnv env) {
  const VakIdManager& ids = *env.getImpl()->_idManager;
  std::vector<VakExtractableI*> objects;
  for (VakInt id = ids._size; id-- > 0;) {
    if (ids.isLive(id)) objects.push_back(static_cast<VakExtractableI*>(ids._data[id]));
  }
  return objects;
}

constexpr const char* Mps = R"(NAME          plan
OBJSENSE
    MAX
ROWS
 N  profit
 L  c
 G  d
COLUMNS
    MARKER    'MARKER'  'INTORG'
    x         profit    5   c         3
    x         d         1
    y         profit    4   c         2
    MARKER    'MARKER'  'INTEND'
    z         profit    1   c         1
    z         d         -1
RHS
    RHS       c         26  d         2
RANGES
    RNG       d         20
BOUNDS
 UP BND       x         40
 UP BND       z         7
ENDATA
)";
constexpr const char* Lp = R"(Maximize
profit: 5 x + 4 y + z
Subject To
c: 3 x + 2 y + z <= 26
d: x + 3 y - z >= 2
Bounds
0 <= x <= 40
z <= 7
Integers
x y
End
)";

VakScene reading(VakStage& s, const char* name, const char* text) {
  auto& folder = s.keep<Folder>(name);
  std::ofstream(folder.file) << text;
  return {.act =
              [&s, &folder] {
                const VakModel model = VakReadModel(s.other, folder.file.c_str());
                bool fine = model.getVariableCount() == 3 && model.getConstraintCount() == 2;
                fine = fine && model.getObjective().getTermCount() == 3;
                if (!fine) throw std::logic_error("a model");
              },
          .undo =
              [&s] {
                for (VakExtractableI* object : objectsOf(s.other)) delete object;
              },
          .afterFailure = [&s]() -> std::string {
            return objectsOf(s.other).empty() ? "" : "an object is left";
          },
          .mayKeep = "tables of the environment keep the room they got"};
}

const std::vector<VakFaultOperation> _operations = {
    {"write a model in the MPS format", "VakWriteModel",
     [](VakStage& s) { return writing(s, "model.mps"); }, VakStageKind::Foreign},
    {"write a model in the LP format", "VakWriteModel",
     [](VakStage& s) { return writing(s, "model.lp"); }, VakStageKind::Foreign},
    {"read a model in the MPS format", "VakReadModel",
     [](VakStage& s) { return reading(s, "model.mps", Mps); }, VakStageKind::Foreign},
    {"read a model in the LP format", "VakReadModel",
     [](VakStage& s) { return reading(s, "model.lp", Lp); }, VakStageKind::Foreign},
    {"read a file that is no model",
     "VakReadModel VakFileError::VakFileError VakFileError::operator= VakFileError::getFile "
     "VakFileError::getLine VakFileError::getReason",
     [](VakStage& s) {
       auto& folder = s.keep<Folder>("broken.mps");
       std::ofstream(folder.file) << "NAME broken\nROWS\n N cost\nCOLUMNS\n x y 1\nENDATA\n";
       return VakScene{.act = [&s, &folder] {
         try {
           static_cast<void>(VakReadModel(s.env, folder.file.c_str()));
         } catch (const VakFileError& error) {
           VakFileError copy("another", 0, "another");
           copy = error;
           if (copy.getFile() == folder.file && copy.getLine() == 5 && *copy.getReason() != '\0') {
             return;
           }
         }
         throw std::logic_error("an answer");
       }};
     },
     VakStageKind::Foreign},
    {"look names up",
     "VakNameMap::VakNameMap VakNameMap::findVariable VakNameMap::findConstraint "
     "VakNameMap::countVariables VakNameMap::countConstraints",
     [](VakStage& s) {
       auto& w = s.keep<VakSolverWorld>(s, false);
       return VakScene{.act = [&w] {
         const VakNameMap names(w.m);
         bool fine = names.findVariable("x").is(w.x) && names.findConstraint("d") == w.d;
         fine = fine && names.countVariables("x") == 1 && names.countConstraints("x") == 0;
         if (!fine) throw std::logic_error("a name");
       }};
     }},
};

}  // namespace

VakFaultGroup VakFileFaults() { return {"Files of models", _operations}; }

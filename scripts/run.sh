#!/usr/bin/env bash
# Sets the machine up, builds the program vak-solve and solves a model with it:
#
#   scripts/run.sh                        a bundled model, and again after an edit
#   scripts/run.sh FILE.mps [OPTION]...   a model of yours; vak-solve --help lists the options
#
# Files are named from where the script is called. The exit code is that of vak-solve; when the machine
# cannot be set up or the program cannot be built, it is 1.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
program=$root/build/run/apps/vak-solve/vak-solve

# Installs and builds. Only what a reader has to know is said: that it takes a while, and what failed.
prepare() {
  cd "$root"
  source scripts/lib.sh
  scripts/setup.sh run
  local log=build/logs/run-build.log
  mkdir -p build/logs
  [[ -x $program ]] || echo "Building vak-solve; the first time takes a few minutes"
  if ! build_preset run vak-solve >"$log" 2>&1; then
    cat "$log"
    return 1
  fi
}
# Not behind "||", where failing commands inside of it would be passed over.
(prepare) >&2

if (($# > 0)); then
  exec "$program" "$@"
fi

model=examples/models/product_mix.lp
cd "$root"
echo "\$ vak-solve $model --set plant2.ub=10"
exec "$program" "$model" --set plant2.ub=10

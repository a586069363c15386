#!/usr/bin/env bash
# Runs clang-tidy over the sources of the library and, through them, its headers. It takes the compile
# commands of the clang preset, which it configures; nothing needs to be built.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset clang >/dev/null
find vak* -name '*.cpp' -print0 |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/clang 2> >(grep -v 'warnings generated' >&2)

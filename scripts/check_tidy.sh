#!/usr/bin/env bash
# Runs clang-tidy over the sources of the library and its programs and, through them, their headers; or over the
# sources that are named. It takes the compile commands of the clang preset, which it configures; nothing needs to
# be built.
#
# usage: check_tidy.sh [SOURCE]...
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset clang >/dev/null
sources=("$@")
((${#sources[@]})) || readarray -t sources < <(find vak* apps -name '*.cpp')
printf '%s\0' "${sources[@]}" |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/clang 2> >(grep -v 'warnings generated' >&2)

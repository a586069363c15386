#!/usr/bin/env bash
# Fails if any C++ file is not laid out as .clang-format says. Changes nothing; `clang-format -i` mends.
set -euo pipefail
cd "$(dirname "$0")/.."

find . -path ./build -prune -o -path ./.git -prune -o \( -name '*.h' -o -name '*.cpp' \) -print0 |
  xargs -0 --no-run-if-empty clang-format --dry-run -Werror

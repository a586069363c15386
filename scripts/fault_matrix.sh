#!/usr/bin/env bash
# Writes docs/fault-matrix.md anew from a run of the fault matrix in the release build.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build --preset release --target vak_fault_table
table=$(mktemp)
trap 'rm -f "$table"' EXIT
build/release/tests/fault/matrix/vak_fault_table >"$table"
cat "$table" >docs/fault-matrix.md

#!/usr/bin/env bash
# Sets the machine up, builds the library and runs the program that shows what it does.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib.sh

scripts/setup.sh
build_preset release example_first_steps
exec build/release/examples/first_steps "$@"

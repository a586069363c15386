#!/usr/bin/env bash
# Sets the machine up, builds everything and runs the whole test suite twice: with the memory pool and,
# through VAK_NO_MEMORY_MANAGER, without it. The last line is CTest's count for the first of the two.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib.sh

scripts/setup.sh
heading "Build (release)"
build_preset release
heading "Test with the memory pool"
test_preset release
heading "Test without the memory pool"
test_preset release-nopool
heading "Result with the memory pool"
cat build/logs/release-count.txt

#!/usr/bin/env bash
# Makes a Debian machine ready to build, test and check the project: installs the packages that are
# missing and says nothing when there are none. Installing needs root or sudo. With the argument "run", it
# is only what building and running the program vak-solve takes; with --peers also what the benchmarks put
# beside the library.
set -euo pipefail

packages=(
  # Build.
  g++ cmake ninja-build ccache
  # The solver, which brings the readers and writers of model files.
  pkg-config coinor-libcbc-dev coinor-libcgl-dev coinor-libclp-dev coinor-libcoinutils-dev coinor-libosi-dev
  zlib1g-dev
)
[[ ${1:-} == run ]] || packages+=(
  # Test: the libraries, the second compiler and linkers, what reads the tree, the sanitizers' symbols.
  libgtest-dev libgmock-dev libbenchmark-dev libglpk-dev
  clang lld binutils libclang-rt-dev llvm python3 valgrind gdb dpkg-dev file
  # Check and document.
  clang-format clang-tidy gcovr doxygen graphviz git ca-certificates
)

if [[ ${1:-} == --peers ]]; then
  packages+=(
    libmimalloc2.0 libjemalloc2 libtcmalloc-minimal4 libboost-dev libabsl-dev libglpk-dev
    coinor-libcoinutils-dev coinor-libclp-dev gnuplot-nox
  )
fi

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "setup.sh: this is no Debian machine, so nothing is installed; needed are what Debian calls:" >&2
  echo "  ${packages[*]}" >&2
  exit 0
fi

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
  if ! command -v sudo >/dev/null; then
    echo "setup.sh: run as root, or install these packages first: ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for step in "update" "install --yes --no-install-recommends ${missing[*]}"; do
  # The words of a step are the arguments.
  # shellcheck disable=SC2086
  if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get --quiet $step >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    echo "setup.sh: apt-get $step failed" >&2
    exit 1
  fi
done

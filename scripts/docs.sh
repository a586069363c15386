#!/usr/bin/env bash
# Builds the site of the library, the guide and the reference of the public headers, into build/docs/html. Fails on
# any warning of Doxygen.
set -euo pipefail
cd "$(dirname "$0")/.."
for tool in doxygen dot python3; do
  if ! command -v "$tool" >/dev/null; then
    echo "docs.sh: $tool is not installed; scripts/setup.sh installs it" >&2
    exit 1
  fi
done

version=$(sed -n 's/^  VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
headers=$(PYTHONPATH=scripts python3 -c '
from pathlib import Path
from public_functions import headers
print(" ".join(sorted({str(header.relative_to(Path.cwd())) for header in headers(Path.cwd())})))')
# The pages of the guide in the order in which its first page lists them.
# The words of the list are the arguments.
# shellcheck disable=SC2046
guide=$(printf 'docs/guide/%s ' index.md $(sed -n 's/^| \[.*\](\([a-z_]*\.md\)).*/\1/p' docs/guide/index.md))
for page in docs/guide/*.md; do
  [[ $guide == *"$page "* ]] || { echo "docs.sh: docs/guide/index.md does not list $page" >&2; exit 1; }
done
diagrams=$(printf '%s ' docs/diagrams/*.svg)

rm -rf build/docs
mkdir -p build/docs
sed -e "s|@VERSION@|$version|" -e "s|@GUIDE@|$guide|" -e "s|@HEADERS@|$headers|" -e "s|@DIAGRAMS@|$diagrams|" docs/Doxyfile.in \
  >build/docs/Doxyfile
doxygen build/docs/Doxyfile
echo "build/docs/html/index.html"

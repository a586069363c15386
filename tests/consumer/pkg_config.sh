#!/usr/bin/env bash
# Builds and runs a program with what pkg-config says.
#
# usage: pkg_config.sh COMPILER PREFIX MODULE SOURCE FOLDER
set -euo pipefail
compiler=$1 prefix=$2 module=$3 source=$4 folder=$5

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name "$module.pc")")
export PKG_CONFIG_PATH
version=$(pkg-config --modversion "$module")
[[ $version == 2.4.0 ]] || { echo "version $version" >&2; exit 1; }
pkg-config --validate "$module"

mkdir -p "$folder"
# What pkg-config prints is words of a command line.
# shellcheck disable=SC2046
"$compiler" -std=c++20 -O2 -Wall -Wextra -Wconversion -Wpedantic -Wshadow -Werror \
  $(pkg-config --cflags "$module") "$source" -o "$folder/program" $(pkg-config --libs "$module")
"$folder/program"

#!/usr/bin/env bash
# Builds and runs a program with what pkg-config says.
#
# usage: pkg_config.sh COMPILER PREFIX MODULE VERSION SOURCE FOLDER
set -euo pipefail
compiler=$1 prefix=$2 module=$3 version=$4 source=$5 folder=$6

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name "$module.pc")")
export PKG_CONFIG_PATH
pkg-config --exact-version="$version" --print-errors "$module"
pkg-config --validate "$module"

mkdir -p "$folder"
# What pkg-config prints is words of a command line.
# shellcheck disable=SC2046
"$compiler" -std=c++20 -O2 -Wall -Wextra -Wconversion -Wpedantic -Wshadow -Werror \
  $(pkg-config --cflags "$module") "$source" -o "$folder/program" $(pkg-config --libs "$module")
"$folder/program"

#!/usr/bin/env bash
# A checkout that was moved or copied with its build folder is built where it is now.
#   moved_checkout.sh SETUP_SCRIPT
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/first/tools"
cp "$1" "$scratch/first/tools/setup"
cat >"$scratch/first/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(nothing LANGUAGES NONE)
add_custom_target(show ALL COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_SOURCE_DIR}/built)
CMAKE
cat >"$scratch/first/CMakePresets.json" <<'JSON'
{"version": 6,
 "configurePresets": [{"name": "p", "generator": "Ninja", "binaryDir": "${sourceDir}/build/p"}],
 "buildPresets": [{"name": "p", "configurePreset": "p"}]}
JSON
"$scratch/first/tools/setup" p
rm "$scratch/first/built"
"$scratch/first/tools/setup" p 2>&1 | grep -q anew && { echo "built anew where nothing was moved"; exit 1; }

cp -r "$scratch/first" "$scratch/copied"
rm "$scratch/first/built"
"$scratch/copied/tools/setup" p
mv "$scratch/copied" "$scratch/moved"
rm "$scratch/moved/built"
"$scratch/moved/tools/setup" p
[ -f "$scratch/moved/built" ] && [ ! -e "$scratch/first/built" ]

#!/usr/bin/env bash
# Installs the build to a scratch folder, builds a copy of the sample agent library against it, and plays with it.
#   installed_library.sh BUILD_FOLDER SAMPLE_FOLDER
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/installed" >/dev/null
cp -r "$2" "$scratch/library"
cmake -S "$scratch/library" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/installed" >"$scratch/log" 2>&1 &&
  cmake --build "$scratch/build" >>"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }

cat >"$scratch/config.json" <<'JSON'
{"game_server": {"simulate": {"scenario": "skirmish"}, "server": {}},
 "rule_config": {"红方": {"lookout-1": {"class": "lookout"}}, "蓝方": {"strike-1": {"class": "strike"}}}}
JSON
unset TESSRA_DATA
"$scratch/installed/bin/deduce" run --agents "$scratch/build/libmy_agents.so" --config "$scratch/config.json" --json |
  tee "$scratch/out"
grep -q '"red_name":"lookout-1"' "$scratch/out"
"$scratch/installed/bin/deduce" check-agent --agents "$scratch/build/libmy_agents.so" --class lookout

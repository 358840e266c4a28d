#!/usr/bin/env bash
# Installs the build to a scratch folder, builds a copy of the sample agent library and README's program against it, and
# plays with them.
#   installed_library.sh BUILD_FOLDER SAMPLE_FOLDER README
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

# README's code as it stands: the host loop is its first C++ block, the agent its second. Two episodes are enough.
mkdir "$scratch/program"
block() { awk -v kind="\`\`\`$1" -v wanted="$2" '/^```/ { inside = ($0 == kind) && ++seen == wanted; next } inside' "$readme"; }
readme=$3
{ block cpp 2; block cpp 1; } | sed 's/episode <= 100/episode <= 2/' >"$scratch/program/main.cpp"
block cmake 1 >"$scratch/program/CMakeLists.txt"
cat >>"$scratch/program/CMakeLists.txt" <<CMAKE
add_executable(training_loop $(dirname "$2")/training_loop.cpp)
target_link_libraries(training_loop PRIVATE tessra::sample_agents)
CMAKE
block json 1 >"$scratch/program/config.json"
cmake -S "$scratch/program" -B "$scratch/program/build" -DCMAKE_PREFIX_PATH="$scratch/installed" >"$scratch/log" 2>&1 &&
  cmake --build "$scratch/program/build" --verbose >>"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
grep -q -e ' -O[23] ' "$scratch/log" || { echo "README's program is not optimised"; exit 1; }
cd "$scratch/program"
build/training_loop 7
build/my_wargame | tee out
[ "$(wc -l <out)" -eq 2 ] || { echo "README's program prints more than scores"; exit 1; }
if grep '打包发送指令错误' run.log; then echo "README's agent gives orders that are refused"; exit 1; fi

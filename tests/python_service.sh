#!/usr/bin/env bash
# Starts the service in Python from a copy of the example, which makes the contract's code anew, and plays on it.
#   python_service.sh DEDUCE SOURCE_FOLDER
set -euo pipefail
deduce=$1
scratch=$(mktemp -d)
service=
trap 'if [ -n "$service" ]; then kill "$service" 2>/dev/null || true; fi; rm -rf "$scratch"' EXIT
fail() { echo "$1" >&2; exit 1; }

mkdir -p "$scratch/examples/python_service"
cp -r "$2/proto" "$scratch"
cp "$2"/examples/python_service/*.* "$scratch/examples/python_service"
cp "$2/tests/python_service.py" "$scratch/examples/python_service/check.py"
cd "$scratch/examples/python_service"
# Not the first python3 of the path, but the one that tools/setup installs gRPC for.
/usr/bin/python3 service.py --port 0 >"$scratch/line" 2>"$scratch/errors" &
service=$!
for _ in $(seq 100); do
  if [ -s "$scratch/line" ] || ! kill -0 "$service" 2>/dev/null; then break; fi
  sleep 0.05
done
url=$(sed -n 's/^listening on //p' "$scratch/line")
[ -n "$url" ] || fail "the service does not start: $(cat "$scratch/errors")"

# In the background, since it waits for a lease to end.
"$deduce" check-service "$url" >"$scratch/findings" 2>&1 &
checks=$!
/usr/bin/python3 check.py "${url#grpc://}"

play() { "$deduce" run --url "$url" --config config.json --seed 7 --json "$@"; }
play --record "$scratch/one" >"$scratch/result"
cat "$scratch/result"
# The patrol agent's orders that this world does not know are refused, and nothing else goes wrong.
grep -q '"time_elapsed":3600.0,"steps":60,"seed":7,.*"orders_refused":3,"calls_failed":0' "$scratch/result" ||
  fail "the episode was not played to its end"
if grep -q '"winner":"draw"' "$scratch/result"; then fail "nobody saw anybody"; fi
play --record "$scratch/two" >/dev/null
diff -r "$scratch"/{one,two}/episode-000001 || fail "the same seed gave other records"
play --record "$scratch/three" --first-episode 2 >/dev/null
if diff -rq "$scratch"/one/episode-000001 "$scratch"/three/episode-* >/dev/null; then fail "another episode gave the same records"; fi
wait "$checks" || fail "the service does not keep the contract: $(cat "$scratch/findings")"

kill "$service"
wait "$service" || fail "the service ends with status $?"
[ ! -s "$scratch/errors" ] || fail "the service complains: $(cat "$scratch/errors")"
service=

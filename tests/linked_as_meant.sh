#!/usr/bin/env bash
# Programs and libraries look for others beside themselves only, and cannot be made to call elsewhere once they run.
#   linked_as_meant.sh FILE…
set -euo pipefail
failed=0
complain() {
  echo "$1"
  failed=1
}
for file in "$@"; do
  dynamic=$(readelf -dW "$file")
  places=$(sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p' <<<"$dynamic")
  while read -r -d: place; do
    [[ $place == "\$ORIGIN"* ]] || complain "$file: '$place' in the run path is not beside the file"
  done <<<"${places:+$places:}"
  grep -q BIND_NOW <<<"$dynamic" || complain "$file: binds functions while it runs"
  readelf -lW "$file" | grep -q GNU_RELRO || complain "$file: its table of functions stays writable"
  # Only what speaks to other processes needs what that takes.
  case $(basename "$file") in
  deduce) ;;
  *) if ldd "$file" | grep -q grpc; then complain "$file: needs gRPC"; fi ;;
  esac
done
exit $failed

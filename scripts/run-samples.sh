#!/usr/bin/env bash
# Repairs the damaged sample files in samples/ and shows the results.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build
out=$(mktemp -d)
status=0
for damaged in samples/damaged*.*; do
  [ -e "$damaged" ] || continue
  name=$(basename "$damaged")
  reference=()
  extension=avi
  case "$name" in *.mp4|*.mov) reference=(--reference samples/reference.mp4) extension=mov ;; esac
  echo "== tolmi-repair $damaged ${reference[*]}"
  build/bin/tolmi-repair "$damaged" "${reference[@]}" --output "$out/${name%.*}_repaired.$extension" || status=$?
  echo
done
echo "Repaired files are in $out"
exit "$status"

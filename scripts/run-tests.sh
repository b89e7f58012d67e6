#!/usr/bin/env bash
# Builds and runs every test, then again with AddressSanitizer and
# UndefinedBehaviorSanitizer, then each fuzz target for a bounded time.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc)

scripts/build.sh build
ctest --test-dir build --output-on-failure -j"$jobs"
scripts/check-package.sh build

scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DTOLMI_SANITIZE=ON
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-asan --output-on-failure -j"$jobs"

if [ -x scripts/run-fuzzers.sh ]; then
  scripts/run-fuzzers.sh "${TOLMI_FUZZ_SECONDS:-30}"
fi

#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for the seconds
# given (default 30). A crash fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Debug -DTOLMI_FUZZ=ON -DTOLMI_TESTS=ON \
  -DTOLMI_FUZZ_SECONDS="$seconds" >/dev/null
cmake --build build-fuzz --target fuzzers -j"$(nproc)"
ctest --test-dir build-fuzz -R '^fuzz_' --output-on-failure

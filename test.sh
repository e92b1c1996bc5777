#!/usr/bin/env bash
# Builds everything and runs all tests, on a Debian machine with nothing installed or one with everything.
#
#   ./test.sh              all tests, once as a developer builds and once under the sanitizers
#   ./test.sh --fuzz 60    the same, and each fuzz target for 60 seconds
set -euo pipefail
cd "$(dirname "$0")"
. .ci/packages.sh

fuzz_seconds=0
if [ "${1:-}" = --fuzz ]; then
    fuzz_seconds=$2
fi

ensure_packages "${TEST_PACKAGES[@]}" "${PYTHON_PACKAGES[@]}" "${CAD_PACKAGES[@]}" "${SOLVER_PACKAGES[@]}" "${WEB_PACKAGES[@]}"
jobs=$(nproc)
failed=0

# What has been compiled once, here or in another folder, isn't compiled again.
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=/ CCACHE_NOHASHDIR=1

build() { # preset
    echo "== Building: $1"
    cmake --preset "$1" -G Ninja >/dev/null
    cmake --build --preset "$1" -j "$jobs" -- --quiet
}

test_build() { # preset
    echo "== Testing: $1"
    local log="build/$1/tests.log"
    if ctest --preset "$1" -j "$jobs" --quiet --output-log "$log"; then
        grep 'tests passed' "$log"
    else
        failed=1
        grep -E -A 40 '\*\*\*(Failed|Timeout|Exception|Not Run)|Subprocess aborted' "$log" | head -n 400 || true
        sed -n '/tests passed/,$p' "$log"
    fi
}

build sanitize
test_build sanitize

if [ "$fuzz_seconds" -gt 0 ]; then
    echo "== Fuzzing each target for $fuzz_seconds s"
    fuzz/run.sh "$fuzz_seconds" build/sanitize || failed=1
fi

build develop
echo "== Testing: develop"
ctest --preset develop -j "$jobs" || failed=1

build web
echo "== Testing: web"
ctest --preset web || failed=1

if [ "$failed" -ne 0 ]; then
    echo "There were failures, see above." >&2
fi
exit "$failed"

#!/usr/bin/env bash
# Runs every fuzz target that a build has for a while, as many at a time as there are cores.
#
#   fuzz/run.sh SECONDS BUILD_FOLDER
#
# New inputs gather in BUILD_FOLDER/fuzz/found/<target>; an input that breaks something is printed as base64.
set -uo pipefail
seconds=$1
build=$(cd "$2" && pwd)
here=$(cd "$(dirname "$0")" && pwd)

fuzz_one() { # target
    local name=$1 found="$build/fuzz/found/$1" log="$build/fuzz/$1.log" inputs=()
    mkdir -p "$found"
    for folder in "$here/corpus/$name" "$here/regressions/$name"; do
        [ -d "$folder" ] && inputs+=("$folder")
    done
    if "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3000 -max_len=4096 \
        -print_final_stats=1 -artifact_prefix="$build/fuzz/$name-" "$found" "${inputs[@]}" >"$log" 2>&1; then
        echo "$name: $(grep -oP 'number_of_executed_units: \K\d+' "$log") executions, nothing found"
    else
        echo "$name: FAILED"
        grep -E -A 25 'ERROR|runtime error' "$log" | cut -c 1-200 | head -40
        tail -n 12 "$log" | cut -c 1-1000
        return 1
    fi
}
export -f fuzz_one
export seconds build here

ls "$build"/fuzz/fuzz_* | xargs -n 1 basename | sed 's/^fuzz_//' | xargs -P "$(nproc)" -I {} bash -c 'fuzz_one {}'

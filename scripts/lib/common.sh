# SPDX-License-Identifier: Apache-2.0
# What the scripts share. Each sources this first; from here on the working directory is the project's.
# shellcheck shell=bash
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$root"

# The sanitizers find line numbers through binutils: clang's package brings no symbolizer of its own.
export ASAN_OPTIONS=detect_leaks=1:external_symbolizer_path=/usr/bin/addr2line

# build_preset PRESET [TARGET ...]: builds these targets, by default all. Ninja configures again by itself when
# a CMakeLists.txt has changed, but knows nothing of the presets. Tells of it on the standard error: what scripts print is
# theirs.
build_preset() {
    local preset=$1
    shift
    [[ build/$preset/build.ninja -nt CMakePresets.json ]] || cmake --preset "$preset" >&2
    cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"} >&2
}

# usage: prints the comment at the head of the script.
usage() {
    awk 'NR > 2 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "scripts/${0##*/}"
}

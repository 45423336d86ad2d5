#!/usr/bin/env bash
# tidy.sh BUILD_DIR: clang-tidy over all that the build compiles, and every header on its own.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1

status=0
grep -oP '"file": "\K[^"]+' "$build/compile_commands.json" | sort -u |
  xargs -n 3 -P "$(nproc)" clang-tidy --quiet --extra-arg=-Wno-unknown-warning-option -p "$build" 2>"$build/tidy-counts" || status=1
# What clang-tidy says on stderr beside the counts of suppressed warnings is an error of its own.
grep -v 'warnings\? \(generated\|treated as errors\)' "$build/tidy-counts" >&2 || true

include=(-I. -isystem /usr/include/android)
for folder in platform/*/include; do
  include+=("-I$folder")
done
while read -r header; do
  g++ -std=gnu++17 -fsyntax-only -Wall -Wextra -Werror -x c++ "${include[@]}" \
    -include "$header" /dev/null || {
    echo "$header does not compile alone"
    status=1
  }
done < <(git ls-files --cached --others --exclude-standard -- '*.h')
exit $status

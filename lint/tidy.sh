#!/usr/bin/env bash
# tidy.sh BUILD_DIR: clang-tidy over our sources, and every header compiled on its own.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1

# The generated tests' main files and the like are none of ours; those under tests/ are.
git ls-files --cached --others --exclude-standard -- '*.cpp' >"$build/tidy-sources"
run_tidy() { clang-tidy --quiet -p "$build" "$@" 2>/dev/null; }
export -f run_tidy
export build

status=0
python3 - "$build" >"$build/tidy-files" <<'EOF'
import json, os, sys
known = {os.path.realpath(entry["file"]) for entry in
         json.load(open(os.path.join(sys.argv[1], "compile_commands.json")))}
for name in open(os.path.join(sys.argv[1], "tidy-sources")):
    name = name.strip()
    if os.path.realpath(name) in known:
        print(name)
EOF
xargs -a "$build/tidy-files" -n 4 -P "$(nproc)" bash -c 'run_tidy "$@"' _ || status=1

include=(-I. -isystem /usr/include/android -isystem /usr/include/alsa)
for folder in platform/*/include; do
  include+=("-I$folder")
done
while read -r header; do
  g++ -std=gnu++17 -fsyntax-only -Wall -Wextra -Werror -x c++ "${include[@]}" \
    -I "$(dirname "$header")" -include "$header" /dev/null || {
    echo "$header does not compile alone"
    status=1
  }
done < <(git ls-files --cached --others --exclude-standard -- '*.h')
exit $status

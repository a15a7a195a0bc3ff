#!/bin/sh
# Formatting, who may include whom, names that are spelt out, and static analysis of the release build's sources (which
# must have been built: `./dev check` does). Prints what is wrong; exit 1 when something is. --fast leaves the static
# analysis out.
set -eu
cd "$(dirname "$0")/.."
status=0
looked="formatting, layers and names"

files=$(git ls-files '*.cpp' '*.h' 2>/dev/null || find include src libs apps tests bench docs -name '*.cpp' -o -name '*.h')
# shellcheck disable=SC2086 # one word for each file
clang-format-16 --dry-run --Werror $files || status=1

python3 scripts/check_layers.py . || status=1
python3 scripts/check_names.py . || status=1

if [ "${1:-}" != "--fast" ]; then
  python3 scripts/tidy.py build/release build/tidy || status=1
  looked="formatting, layers, names and static analysis"
fi
[ "$status" = 0 ] && echo "check: $looked are in order"
exit $status

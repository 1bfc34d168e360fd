#!/usr/bin/env bash
# The main jobs of the corvale program on the bundled examples. Usage: demo.sh [PROGRAM]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
corvale=${1:-$root/build/corvale}
case $corvale in /*) ;; *) corvale="$PWD/$corvale" ;; esac
cd "$root"
shopt -s nullglob

examples=(examples/*.xml)
if [ ${#examples[@]} -eq 0 ]; then
  echo "no example documents in examples/" >&2
  exit 1
fi
echo "== corvale check examples/*.xml"
"$corvale" check "${examples[@]}"

echo "== corvale instrument examples/sample_library.xml RLY01"
"$corvale" instrument examples/sample_library.xml RLY01

echo "== corvale library examples/sample_library.xml"
"$corvale" library examples/sample_library.xml

echo "== corvale loggers examples/sample_loggers.xml"
"$corvale" loggers examples/sample_loggers.xml

echo "== corvale loggers examples/sample_loggers.xml CV100P"
"$corvale" loggers examples/sample_loggers.xml CV100P

# The merge changes its target, so it works on a copy; the bundled examples stay as they are.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp examples/sample_library.xml "$scratch/sample_library.xml"
echo "== corvale merge examples/sample_extension.xml --target-file <copy of the sample library> --yes"
"$corvale" merge examples/sample_extension.xml --target-file "$scratch/sample_library.xml" --yes
echo "== corvale library <merged copy>"
"$corvale" library "$scratch/sample_library.xml"

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

# A scheme on the CV800 logger, built from the sample library. The library is named as the
# instruments' references name it (relative to the repository), so the demo runs from here.
scheme="$scratch/site.xml"
echo "== corvale scheme new <scheme> --loggers examples/sample_loggers.xml --logger CV800 --library examples/sample_library.xml"
"$corvale" scheme new "$scheme" --loggers examples/sample_loggers.xml --logger CV800 \
  --library examples/sample_library.xml
for code in SM300 SM300 GPS10 RLY01; do
  echo "== corvale scheme add <scheme> $code"
  "$corvale" scheme add "$scheme" "$code"
done
echo "== corvale scheme add <scheme> MDM20   (needs serial port COM1, which GPS10 holds exclusively)"
if "$corvale" scheme add "$scheme" MDM20; then
  echo "MDM20 should have been refused" >&2
  exit 1
fi
echo "== corvale scheme show <scheme>"
"$corvale" scheme show "$scheme"
echo "== corvale scheme compile <scheme>   (the program listing the scheme contributes)"
"$corvale" scheme compile "$scheme"

#!/usr/bin/env bash
# The main job of the corvale program on the bundled examples.
set -euo pipefail
corvale=${1:-build/corvale}
cd "$(dirname "$0")/.."
echo "== corvale check examples/*.xml"
"$corvale" check examples/*.xml

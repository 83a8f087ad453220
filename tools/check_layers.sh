#!/usr/bin/env bash
# Fails when a file of src/ includes a header of a layer above its own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

layers=(platform util charset conf timestamp classifier main)  # from the lowest
bad=0
for i in "${!layers[@]}"; do
  above=$(IFS='|'; echo "${layers[*]:i+1}")
  [ -n "$above" ] || continue
  if grep -rnE "^#include \"($above)/" "src/${layers[i]}" 2>/dev/null; then bad=1; fi
done
[ "$bad" = 0 ] || { echo "check_layers: the includes above go up" >&2; exit 1; }
if grep -rnE '^ *# *if' src --include='*.cpp' --include='*.h' | grep -v '^src/platform/'; then
  echo "check_layers: what differs between systems belongs to src/platform" >&2
  exit 1
fi

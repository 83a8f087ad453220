#!/usr/bin/env bash
# Fails when a file of src/ includes what its layer may not, when files include each other in a
# circle, and when a file outside src/platform asks which system it is built for.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../src"
export LC_ALL=C

# What each layer may include beside its own files.
declare -A below=(
  [platform]=''
  [util]='platform'
  [charset]='util platform'
  [conf]='util platform'
  [timestamp]='conf util platform'
  [classifier]='timestamp charset conf util platform'
  [main]='classifier timestamp charset conf util platform'
  [inspect]='classifier timestamp charset conf util platform'
)

# "FILE INCLUDED" a line, for each header of src/ that a file of src/ includes.
includes() {
  grep -rE --include='*.cpp' --include='*.h' '^#include "[a-z_]+/' . |
    sed -E 's,^\./([^:]+):#include "([^"]+)".*,\1 \2,'
}

bad=0
while read -r file included; do
  layer=${file%%/*} target=${included%%/*}
  if [ "$layer" != "$target" ] && [[ " ${below[$layer]-} " != *" $target "* ]]; then
    echo "check_layers: $layer may not include $target: $file includes $included" >&2
    bad=1
  fi
done < <(includes)

# A header and its sources, those of each system too, count as one: tsort names what is in a circle.
if ! circles=$(includes | sed -E 's,(_posix|_windows)?\.(cpp|h)( |$),\3,g' |
  awk '$1 != $2' | tsort 2>&1 >/dev/null); then
  echo "check_layers: files include each other in a circle:" >&2
  echo "$circles" | sed -n 's/^tsort: //p' >&2
  bad=1
fi

if grep -rnE '^ *# *if' . --include='*.cpp' --include='*.h' | grep -v '^./platform/'; then
  echo "check_layers: what differs between systems belongs to src/platform" >&2
  bad=1
fi
exit "$bad"

#!/usr/bin/env bash
# Fails when a layer of the library includes a header of a layer above it.
# Order, lowest first: base platform text files data documents audio analysis.
set -u
root=${1:?usage: layering.sh NYBASE_DIR}
layers=(base platform text files data documents audio analysis)
bad=0
for i in "${!layers[@]}"; do
  lower=${layers[$i]}
  [ -d "$root/$lower" ] || continue
  for j in "${!layers[@]}"; do
    (( j > i )) || continue
    upper=${layers[$j]}
    hits=$(grep -rn --include='*.h' --include='*.cpp' -E "#include[[:space:]]*[<\"]nybase/$upper/" "$root/$lower" || true)
    if [ -n "$hits" ]; then
      echo "layer '$lower' includes the higher layer '$upper':"
      echo "$hits"
      bad=1
    fi
  done
done
if [ $bad -eq 0 ]; then echo "layering: 1 passed, 0 failed"; else echo "layering: 0 passed, 1 failed"; fi
exit $bad

#!/usr/bin/env bash
# Installs what is missing, builds in release mode, makes two sample TIFF images
# and runs the command-line tool on them; then runs the C++ example.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target vimra-arith vimra_example
tool=./build/release/bin/vimra-arith
samples=build/release/samples
mkdir -p "$samples"

# Two 512x512 uint8 images: a horizontal ramp and concentric rings.
/usr/bin/python3 - "$samples" <<'PY'
import sys, numpy as np
y, x = np.mgrid[0:512, 0:512]
(x // 2).astype(np.uint8).tofile(sys.argv[1] + "/ramp.raw")
(127.5 + 127.5 * np.cos(np.hypot(x - 256, y - 256) / 8)).astype(np.uint8).tofile(sys.argv[1] + "/rings.raw")
PY
for name in ramp rings; do
  raw2tiff -w 512 -l 512 -d byte -c lzw "$samples/$name.raw" "$samples/$name.tif"
  rm "$samples/$name.raw"
done

set -x
"$tool" list
"$tool" info "$samples/rings.tif"
"$tool" add "$samples/ramp.tif" "$samples/rings.tif" -o "$samples/sum.tif" --force
"$tool" info "$samples/sum.tif"
"$tool" subtract "$samples/rings.tif" "$samples/ramp.tif" -o "$samples/difference.tif" --type float --force
set +x
echo "Outputs in $samples/ (sum.tif: uint16, difference.tif: float)"
./build/release/bin/vimra_example "$@"

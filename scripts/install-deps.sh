#!/usr/bin/env bash
# Installs the Debian packages this project needs. Idempotent: when everything
# is present it only runs dpkg-query and exits.
#   scripts/install-deps.sh            build + test dependencies
#   scripts/install-deps.sh --bench    also the peers the benchmarks compare with
#   scripts/install-deps.sh --tsan     also what scripts/build-sanitized-tbb.sh needs
#                                      (apt-get source unpacks with dpkg-dev)
#   scripts/install-deps.sh --fuzz     also clang and libFuzzer for scripts/fuzz.sh
set -euo pipefail

packages=(
  cmake ninja-build g++ ccache
  libboost-dev libboost-thread-dev libboost-filesystem-dev
  liblog4cplus-dev libtbb-dev libtiff-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libsimde-dev
  pybind11-dev python3-numpy
  python3-pytest python3-dask python3-distributed python3-zarr python3-setuptools python3-wheel
  libcli11-dev libtiff-tools golang-golang-x-image-dev
)
for group in "$@"; do
  case "$group" in
    --bench) packages+=(libopencv-dev python3-numexpr python3-opencv libvips-tools) ;;
    --tsan) packages+=(dpkg-dev) ;;
    --fuzz) packages+=(clang-14 libclang-rt-14-dev) ;;
    *) echo "install-deps: unknown option $group" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
if ((${#missing[@]} == 0)); then
  exit 0
fi
echo "install-deps: installing ${missing[*]}"
SUDO=""
if [[ $(id -u) -ne 0 ]]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

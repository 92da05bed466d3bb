#!/usr/bin/env bash
# Builds oneTBB with ThreadSanitizer instrumentation, for the `tsan` preset.
#
# The prebuilt libtbb synchronises its workers with code ThreadSanitizer cannot
# see, so a TSan run against it reports races inside TBB itself. This script
# takes Debian's source package of the installed libtbb-dev (same version, same
# Debian patches), builds libtbb with -DTBB_SANITIZE=thread and installs it into
# build/tsan-tbb, where the `tsan` preset finds it.
#
#   scripts/build-sanitized-tbb.sh          build once; later calls return at once
#   scripts/build-sanitized-tbb.sh --force  rebuild from the cached sources
#
# Needs dpkg-dev (scripts/install-deps.sh --tsan). The first call enables Debian's
# source archives (a deb-src entry next to the existing sources) and runs
# apt-get update and apt-get source: nothing but Debian's archive is downloaded.
# Build parallelism follows CMAKE_BUILD_PARALLEL_LEVEL (default 2).
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
prefix="$root/build/tsan-tbb"
cache="$root/build/_deps"
jobs="${CMAKE_BUILD_PARALLEL_LEVEL:-2}"
force=0
[[ "${1:-}" == "--force" ]] && force=1

SUDO=""
if [[ $(id -u) -ne 0 ]]; then SUDO="sudo"; fi

# The source package and version behind the installed libtbb-dev.
read -r srcpkg srcver < <(dpkg-query -W -f='${source:Package} ${source:Version}\n' libtbb-dev 2>/dev/null) || {
    echo "build-sanitized-tbb: libtbb-dev is not installed (run scripts/install-deps.sh)" >&2
    exit 1
}
cxx="$(command -v g++)"
stamp="$srcpkg $srcver TBB_SANITIZE=thread $("$cxx" -dumpfullversion)"

if ((!force)) && [[ -f "$prefix/.stamp" && "$(cat "$prefix/.stamp")" == "$stamp" ]]; then
    exit 0
fi

mkdir -p "$cache"
exec 9>"$cache/.$srcpkg.lock"
flock 9  # a second caller waits here, then finds the build done
if ((!force)) && [[ -f "$prefix/.stamp" && "$(cat "$prefix/.stamp")" == "$stamp" ]]; then
    exit 0
fi

# ---- sources ---------------------------------------------------------------------------------

srcdir_of() { find "$1" -mindepth 1 -maxdepth 1 -type d -name "$srcpkg-*" -print -quit 2>/dev/null || true; }

work="$cache/$srcpkg-$srcver"
src="$(srcdir_of "$work")"
if [[ -z "$src" ]]; then
    command -v dpkg-source >/dev/null || {
        echo "build-sanitized-tbb: dpkg-source is missing (run scripts/install-deps.sh --tsan)" >&2
        exit 1
    }
    if ! apt-cache showsrc "$srcpkg" 2>/dev/null | grep -q "^Version: $srcver\$"; then
        # Enable source archives: a separate file with the same archives as the binary entries.
        list=/etc/apt/sources.list.d/debian-src.sources
        if [[ ! -f "$list" ]]; then
            if [[ -f /etc/apt/sources.list.d/debian.sources ]]; then
                echo "build-sanitized-tbb: enabling Debian source archives in $list"
                sed -e 's/^Types:.*$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources | $SUDO tee "$list" >/dev/null
            else
                echo "build-sanitized-tbb: no /etc/apt/sources.list.d/debian.sources to take deb-src entries from;" \
                    "enable deb-src for $srcpkg by hand" >&2
                exit 1
            fi
        fi
        $SUDO apt-get update -qq
    fi
    echo "build-sanitized-tbb: fetching Debian source package $srcpkg $srcver"
    rm -rf "$work.tmp"
    mkdir -p "$work.tmp"
    (cd "$work.tmp" && apt-get source -qq "$srcpkg=$srcver")
    rm -rf "$work"
    mv "$work.tmp" "$work"
    src="$(srcdir_of "$work")"
    [[ -n "$src" ]] || {
        echo "build-sanitized-tbb: apt-get source left no $srcpkg-* directory in $work" >&2
        exit 1
    }
fi

# ---- build and install ----------------------------------------------------------------------

echo "build-sanitized-tbb: building $srcpkg $srcver with -DTBB_SANITIZE=thread into $prefix"
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
bld="$work/build-tsan"
rm -rf "$bld" "$prefix"
cmake -S "$src" -B "$bld" -G Ninja -Wno-dev \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_COMPILER="$cxx" "${launcher[@]}" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
    -DTBB_SANITIZE=thread \
    -DTBB_TEST=OFF -DTBB_EXAMPLES=OFF -DTBB_STRICT=OFF -DTBB4PY_BUILD=OFF \
    -DTBBMALLOC_BUILD=OFF -DTBBMALLOC_PROXY_BUILD=OFF \
    -DTBB_DISABLE_HWLOC_AUTOMATIC_SEARCH=ON >/dev/null
# GCC warns that TSan cannot model TBB's atomic_thread_fence calls (-Wtsan), dozens of
# times; the log keeps them, the terminal gets them only when the build fails.
if ! cmake --build "$bld" -j "$jobs" >"$bld/build.log" 2>&1; then
    tail -n 40 "$bld/build.log" >&2
    echo "build-sanitized-tbb: build failed, full log in $bld/build.log" >&2
    exit 1
fi
cmake --install "$bld" >/dev/null
echo "$stamp" >"$prefix/.stamp"
echo "build-sanitized-tbb: installed $prefix"

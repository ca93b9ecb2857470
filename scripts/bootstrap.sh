#!/bin/bash
# Brings a Debian machine from nothing to a built tree: installs the Debian packages that are
# missing, configures the build directory and builds everything. Shared by ./run-tests and
# ./simulate.
#   scripts/bootstrap.sh [--quiet]
# Environment: BUILD_DIR (default: build/ in the repository), BUILD_TYPE (default RelWithDebInfo),
# CMAKE_ARGS (extra configure arguments, split on blanks).
set -euo pipefail

quiet=0
if [[ ${1:-} == --quiet ]]; then
  quiet=1
fi

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}
log_dir=$build_dir/bootstrap-logs

say() {
  if ((!quiet)); then
    echo "$@"
  fi
}

# Runs a step; in quiet mode its output goes to a log that is shown only when the step fails.
step() {
  local name=$1
  shift
  if ((!quiet)); then
    "$@"
    return
  fi
  mkdir -p "$log_dir"
  local log=$log_dir/$name.log
  if ! "$@" >"$log" 2>&1; then
    echo "bootstrap: $name failed; its output:" >&2
    cat "$log" >&2
    return 1
  fi
}

# A quiet run still tells, on standard error, what takes time on a fresh machine: one line per
# stage that has work to do, finished with its duration. A run with nothing to do prints nothing.
stage_started=0
stage_begin() {
  stage_started=$SECONDS
  if ((quiet)); then
    printf '%s ... ' "$1" >&2
  fi
}
stage_end() {
  if ((quiet)); then
    printf 'done in %d s\n' $((SECONDS - stage_started)) >&2
  fi
}

packages=(
  build-essential cmake ninja-build g++ clang lld file
  libgtest-dev googletest nlohmann-json3-dev libcli11-dev
  gnu-efi ovmf qemu-system-x86 sbsigntool openssl
  valgrind cppcheck clang-tidy clang-format
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$'; then
    missing+=("$package")
  fi
done

install_packages() {
  local sudo=()
  if [[ $(id -u) -ne 0 ]]; then
    sudo=(sudo)
  fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo[@]}" apt-get update </dev/null
  "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}" </dev/null
}

if ((${#missing[@]})); then
  say "bootstrap: installing ${missing[*]}"
  stage_begin "installing ${#missing[@]} Debian packages"
  step apt install_packages
  stage_end
fi

# The commands build and test everything, whatever an earlier configuration of the same directory
# switched off; CMAKE_ARGS comes last and can still override.
configure=(cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}"
  -DPTD_TESTS=ON -DPTD_FIRMWARE=ON)
# A build directory configured before keeps its generator; a new one uses Ninja.
if [[ ! -f $build_dir/CMakeCache.txt ]]; then
  configure+=(-G Ninja)
fi
# shellcheck disable=SC2206 # extra arguments are meant to be split
configure+=(${CMAKE_ARGS:-})

fresh=0
if [[ ! -f $build_dir/CMakeCache.txt ]]; then
  fresh=1
  stage_begin "configuring $build_dir"
fi
say "bootstrap: configuring $build_dir"
mkdir -p "$build_dir"
step configure "${configure[@]}"
if ((fresh)); then
  stage_end
fi
# A fresh tree's build is announced before it starts; a rebuild of changed sources is reported
# once it is over, from its log. A run with nothing to build prints nothing.
if ((fresh)); then
  stage_begin "building (a first build takes a few minutes)"
fi
say "bootstrap: building"
build_started=$SECONDS
step build cmake --build "$build_dir" --parallel "$(nproc)"
if ((fresh)); then
  stage_end
elif ((quiet)) && grep -q 'Building' "$log_dir/build.log"; then
  echo "rebuilt changed sources in $((SECONDS - build_started)) s" >&2
fi

# Sourced by the scripts: where things are, how to speak, how to run a long step.
# shellcheck shell=bash
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
CACHE=${BRENVAULT_CACHE:-${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/brenvault}
cd "$ROOT"

if [ -t 1 ]; then
    BOLD=$'\e[1m' RED=$'\e[31m' GREEN=$'\e[32m' YELLOW=$'\e[33m' PLAIN=$'\e[0m'
else
    BOLD='' RED='' GREEN='' YELLOW='' PLAIN=''
fi

say() { printf '%s%s%s\n' "$BOLD" "$*" "$PLAIN"; }
good() { printf '%s%s%s\n' "$GREEN" "$*" "$PLAIN"; }
warn() { printf '%s%s%s\n' "$YELLOW" "$*" "$PLAIN" >&2; }
fail() {
    printf '%s%s%s\n' "$RED" "$*" "$PLAIN" >&2
    exit 1
}

# step LABEL COMMAND...: runs a command that may take long. Its output goes to a log, shown where it fails;
# meanwhile a terminal shows the seconds and the log's last line, anything else a line every 20 seconds.
# The command has a process group of its own, which ends with the script; it holds no lock of the script's.
step() {
    local label=$1 log start=$SECONDS shown=0 pid status=0 elapsed
    shift
    mkdir -p "$CACHE/logs"
    log=$(mktemp "$CACHE/logs/step.XXXXXX")
    set -m
    "$@" >"$log" 2>&1 </dev/null 9>&- &
    pid=$!
    set +m
    trap 'end_step "$pid" INT' INT
    trap 'end_step "$pid" TERM' TERM
    while kill -0 "$pid" 2>/dev/null; do
        elapsed=$((SECONDS - start))
        if [ -t 1 ]; then
            printf '\r\e[K%s ... %s s  %.60s' "$label" "$elapsed" "$(tail -n 1 "$log" | tr -d '\r')"
        elif [ $((elapsed - shown)) -ge 20 ]; then
            shown=$elapsed
            printf '%s ... %s s\n' "$label" "$elapsed"
        fi
        sleep 0.1
    done
    wait "$pid" || status=$?
    trap - INT TERM
    [ -t 1 ] && printf '\r\e[K'
    if [ "$status" -ne 0 ]; then
        tail -n 60 "$log" >&2
        printf '%s%s failed (status %s); the whole log: %s%s\n' "$RED" "$label" "$status" "$log" "$PLAIN" >&2
        return "$status"
    fi
    printf '%s: done in %s s\n' "$label" "$((SECONDS - start))"
    rm -f "$log"
}

# Ends the step's process group and then this process by the same signal, so that those above see it.
end_step() {
    kill -TERM -- "-$1" 2>/dev/null
    trap - INT TERM
    kill -"$2" "$BASHPID"
}

# list_files PATTERN...: the project's files, those not yet added included.
list_files() {
    local file
    git ls-files --cached --others --exclude-standard -- "$@" | while read -r file; do
        [ ! -f "$file" ] || echo "$file"
    done
}

# lock FILE: takes descriptor 9, open on the file, for this process alone; says so when it has to wait.
lock() {
    flock -n 9 && return
    echo "Waiting for another process to let go of $1"
    flock 9
}

# build PRESET TARGET...: configures where that is due, and builds.
build() {
    local preset=$1 settings stamp=build/$1/settings
    shift
    # A configured folder reconfigures itself through the build, but for the presets and the toolchain: these
    # count only in a fresh one.
    settings=$(sha256sum CMakePresets.json cmake/mingw-i686.cmake)
    if [ ! -f "build/$preset/build.ninja" ] || [ "$(cat "$stamp" 2>/dev/null)" != "$settings" ]; then
        step "Configuring $preset" cmake --fresh --preset "$preset" || return
        echo "$settings" >"$stamp"
    fi
    step "Building $preset" cmake --build --preset "$preset" --target "$@"
}

# install_tree PRESET [COMPONENT FOLDER]: a component, else the launcher, in dist/FOLDER, else in dist/PRESET, with
# nothing left there from before.
install_tree() {
    local component=${2:-Launcher} folder=dist/${3:-$1}
    rm -rf "$folder"
    cmake --install "build/$1" --component "$component" --prefix "$folder" >/dev/null
}

# built_version PRESET: the version that it was configured with.
built_version() { sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "build/$1/CMakeCache.txt"; }

# Sourced by the scripts: gets what a bare Debian 12 lacks. Nothing is done where all is there.
# shellcheck shell=bash

HOST_PACKAGES=(cmake ninja-build g++ googletest)
CHECK_PACKAGES=(clang-14 clang-format-14 clang-tidy-14 shellcheck python3 git)
WINDOWS_PACKAGES=(g++-mingw-w64-i686-win32 python3)
SHIPPING_PACKAGES=(python3-pefile git)
ICON_PACKAGES=(librsvg2-bin icoutils python3-pil)
REFERENCE_PACKAGES=(doxygen)
WINE_PACKAGES=(debootstrap bubblewrap)
FUZZ_PACKAGES=(clang-14 libclang-rt-14-dev)
PEER_PACKAGES=(libbenchmark-dev libabsl-dev libxxhash-dev libglib2.0-dev libinih-dev libsimpleini-dev zlib1g-dev
    libdeflate-dev libisal-dev pkg-config python3)

WINE_ROOT=$CACHE/wine-root
# The one that Debian's Python modules belong to, whatever else the path has.
# shellcheck disable=SC2034 # for the scripts
PYTHON=/usr/bin/python3

missing_packages() {
    local package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

# as_root COMMAND...: fails at once where that takes a password.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo -n "$@"
    fi
}

install_packages() {
    as_root apt-get update && as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
}

# need_packages PACKAGE...: installs those that are missing; one line says what to do where it cannot.
need_packages() {
    local missing
    if ! command -v dpkg-query >/dev/null; then
        warn "Missing: a Debian 12 system with the packages $*."
        return 1
    fi
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -eq 0 ] && return
    step "Installing ${missing[*]}" install_packages "${missing[@]}" || {
        warn "Missing: ${missing[*]}. Get them with: sudo apt-get install ${missing[*]}"
        return 1
    }
}

# Another system than Debian may have what the host side needs all the same.
setup_host() {
    local tool
    if command -v dpkg-query >/dev/null; then
        need_packages "${HOST_PACKAGES[@]}"
        return
    fi
    for tool in cmake ninja g++ /usr/src/googletest/CMakeLists.txt; do
        [ -f "$tool" ] || command -v "$tool" >/dev/null || {
            warn "Missing: $tool. On Debian 12 this script installs it."
            return 1
        }
    done
}

setup_check() { need_packages "${HOST_PACKAGES[@]}" "${CHECK_PACKAGES[@]}"; }
setup_reference() { need_packages "${HOST_PACKAGES[@]}" "${REFERENCE_PACKAGES[@]}"; }
setup_icon() { need_packages "${ICON_PACKAGES[@]}"; }
setup_peers() { need_packages "${HOST_PACKAGES[@]}" "${PEER_PACKAGES[@]}"; }
setup_fuzz() { need_packages "${HOST_PACKAGES[@]}" "${FUZZ_PACKAGES[@]}"; }

# A Wine of the machine's own, with its 32-bit side and a virtual screen.
has_own_wine() {
    command -v wine >/dev/null && command -v xvfb-run >/dev/null &&
        compgen -G '/usr/lib/*/wine/i386-windows/kernel32.dll' >/dev/null
}

# The link is absolute inside the root: it is looked at, not followed.
has_wine_root() { [ -L "$WINE_ROOT/usr/bin/wine" ]; }

# The first archive that the machine's own package sources name; empty where they name none.
debian_mirror() {
    {
        sed -n 's/^URIs:[[:space:]]*\([^[:space:]]*\).*/\1/p' /etc/apt/sources.list.d/*.sources
        sed -n 's/^deb[[:space:]]\(\[[^]]*\][[:space:]]\)\?\([^[:space:]]*\).*/\2/p' /etc/apt/sources.list \
            /etc/apt/sources.list.d/*.list
    } 2>/dev/null | grep '/debian/*$' | head -n 1
}

# Made beside its place and moved there when it is whole.
make_wine_root() {
    local unfinished=$WINE_ROOT.unfinished mirror
    mirror=$(debian_mirror) || true
    as_root umount -l "$unfinished/proc" 2>/dev/null # one that was broken off may have left it
    as_root rm -rf --one-file-system "$unfinished" || return
    as_root debootstrap --variant=minbase --arch=i386 --include=wine,wine32,xvfb,xauth bookworm \
        "$unfinished" ${mirror:+"$mirror"} || return
    as_root rm -rf "$unfinished/var/cache/apt" "$unfinished/var/lib/apt/lists" || return
    as_root mv "$unfinished" "$WINE_ROOT"
}

# What builds the Windows program and reads and packs it, without running it.
setup_shipping() { need_packages "${HOST_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}" "${SHIPPING_PACKAGES[@]}"; }

# The cross compiler and a 32-bit Wine: the machine's own, or one in a root folder in the cache.
setup_windows() {
    need_packages "${HOST_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}" || return
    has_own_wine && return
    need_packages "${WINE_PACKAGES[@]}" || return
    mkdir -p "$CACHE"
    (
        lock "$WINE_ROOT"
        has_wine_root || step 'Setting up 32-bit Wine (once, about 1.3 GB)' make_wine_root
    ) 9>"$CACHE/wine-root.lock" || {
        warn 'Missing: 32-bit Wine. Run this where sudo asks for no password, or install wine with its 32-bit side and xvfb.'
        return 1
    }
    bwrap --bind "$WINE_ROOT" / true || {
        warn 'Missing: the right to make namespaces, which bubblewrap needs to run Wine. Give it, or install 32-bit Wine.'
        return 1
    }
}

# Which packages of Debian and Ubuntu each kind of work needs, and how those that are missing get installed.
# Part of ./dev, which reads this file.

# This system's id and version, for example "debian 12".
system=$(. /etc/os-release && printf '%s' "$ID ${VERSION_ID:-}") 2>/dev/null || system=unknown

build_packages=(build-essential cmake ninja-build pkg-config ccache libavif-dev libaom-dev libheif-dev libjpeg-dev
    libpng-dev libgif-dev libwebp-dev liblcms2-dev libicu-dev uuid-dev libcli11-dev qt6-base-dev qt6-svg-dev qcoro-qt6-dev
    openssl python3 libsodium-dev libarchive-dev libgtest-dev libgmock-dev dbus-daemon desktop-file-utils appstream)
lint_packages=(clang clang-tidy)
package_packages=(lintian qt6-translations-l10n qt6-wayland)
shots_packages=(fonts-inter)
fuzz_packages=(clang libclang-rt-dev llvm)
# The test of the program from outside: a display, a window manager, the accessibility bus and another decoder.
desktop_test_packages=(xvfb openbox at-spi2-core python3-gi python3-xlib libheif-examples)

# libheif's AV1 and HEVC are plug-ins, except in Debian 12.
[ "$system" = "debian 12" ] ||
    build_packages+=(libheif-plugin-aomenc libheif-plugin-aomdec libheif-plugin-libde265 libheif-plugin-x265)
# So are the plug-ins for SVG of newer Qt.
case $system in "debian 12" | "ubuntu 24.04") ;; *) package_packages+=(qt6-svg-plugins) ;; esac
# Version 14 of clang-format judges, where the system has it.
case $system in "debian 12" | "ubuntu 24.04") lint_packages+=(clang-format-14) ;; esac

. packaging/dev/debian_codecs.sh

packages_log=build/packages.log

# require_packages build|lint|fuzz…: afterwards they are installed, or the script has ended with what to do.
require_packages() {
    local wanted
    mapfile -t wanted < <(packages_for "$@")
    if ! type apt-get dpkg-query >/dev/null 2>&1; then
        [ -d build ] || say "This system has no apt. Ovrel needs what these packages of Debian hold: ${wanted[*]}."
        return 0
    fi

    local missing
    mapfile -t missing < <(missing_packages "${wanted[@]}")
    [ ${#missing[@]} -gt 0 ] || return 0
    can_be_root ||
        fail "These packages are missing, and only root or sudo can install them: ${missing[*]}." \
            "Run this command once as root or as a user with sudo."
    install_packages "${missing[@]}"
}

# wish_for_packages desktop_test: installs them where that can be; whatever needs them says what it does without.
wish_for_packages() {
    type apt-get dpkg-query >/dev/null 2>&1 || return 0
    local wanted missing
    mapfile -t wanted < <(packages_for "$@")
    mapfile -t missing < <(missing_packages "${wanted[@]}")
    [ ${#missing[@]} -gt 0 ] || return 0
    if ! can_be_root || ! (install_packages "${missing[@]}"); then
        say "Going on without ${missing[*]}."
    fi
}

# Those of these kinds, one a line.
packages_for() {
    local kind
    for kind in "$@"; do
        local -n packages=${kind}_packages
        printf '%s\n' "${packages[@]}"
    done
}

# Those of the named packages that are not installed, or are too old, one a line.
missing_packages() {
    local -A installed=()
    local state package version
    while read -r state package version; do
        [ "$state" != installed ] || installed[$package]=$version
    done < <(dpkg-query --show --showformat '${db:Status-Status} ${Package} ${Version}\n' "$@" 2>/dev/null)
    for package in "$@"; do
        if [ -z "${installed[$package]:-}" ] || is_too_old_codec "$package" "${installed[$package]}"; then
            say "$package"
        fi
    done
}

install_packages() {
    mkdir -p build
    say "Installing $*. This can take a few minutes; details are in $packages_log."
    : >"$packages_log"
    ! takes_newer_codecs || add_newer_codecs
    update_package_lists
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends --no-remove \
        -o DPkg::Lock::Timeout=300 "$@" </dev/null >>"$packages_log" 2>&1 || {
        tail -n 20 "$packages_log" >&2
        fail "The packages could not be installed; the last lines of $packages_log stand above."
    }
}

# An archive that has nothing to do with Ovrel may be out of reach, so only an install that fails is a failure.
update_package_lists() {
    as_root apt-get update -o DPkg::Lock::Timeout=300 </dev/null >>"$packages_log" 2>&1 || {
        say "Some package lists could not be read anew; going on with those that are there:"
        grep '^[EW]:' "$packages_log" || true
    }
}

# Where nobody can type a password, sudo counts only if it asks for none.
can_be_root() {
    [ "$(id -u)" -eq 0 ] || { command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; }; }
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

# What a package must be before anybody gets it.
# Part of ./dev, which reads this file.

# Files, as patterns, below the portable directory.
portable_files=(bin/ovrel bin/ovrel-cli bin/ovrel-installer bin/qt.conf manifest.json portable-installation
    installed-files.txt 'lib/libavif.so.*' 'lib/libaom.so.*' 'lib/libheif.so.*' lib/libssl.so.3 lib/libcrypto.so.3
    plugins/platforms/libqxcb.so 'plugins/platforms/libqwayland*.so'
    plugins/wayland-shell-integration/libxdg-shell.so plugins/wayland-decoration-client/libbradient.so
    plugins/tls/libqopensslbackend.so plugins/iconengines/libqsvgicon.so translations/qtbase_ru.qm
    'share/applications/*.desktop' 'share/metainfo/*.metainfo.xml' 'share/icons/hicolor/scalable/apps/*.svg'
    share/man/man1/ovrel.1 share/man/man1/ovrel-cli.1 share/licenses/ovrel.spdx.json share/licenses/ovrel
    share/licenses/libcli11-dev share/licenses/qcoro-qt6-dev share/licenses/libc6-dev 'share/licenses/libstdc++-*-dev')
# Below the Debian package's root.
deb_files=(usr/bin/ovrel usr/bin/ovrel-cli usr/lib/ovrel/bin/ovrel usr/lib/ovrel/bin/ovrel-cli
    usr/lib/ovrel/bin/managed-by 'usr/lib/ovrel/lib/libavif.so.*' 'usr/lib/ovrel/lib/libaom.so.*'
    'usr/share/applications/*.desktop' 'usr/share/metainfo/*.metainfo.xml'
    'usr/share/icons/hicolor/scalable/apps/*.svg' usr/share/man/man1/ovrel.1.gz usr/share/man/man1/ovrel-cli.1.gz
    usr/share/bash-completion/completions/ovrel-cli usr/share/doc/ovrel/copyright usr/share/doc/ovrel/ovrel.spdx.json)

# Both packages, made here and once more from a copy of the sources, compiled anew.
check_packages() {
    local sums other_sums folder
    package_portable
    package_deb
    sums=$(package_sums)
    other_sums=$(package_sums_of_copy) || exit
    [ "$sums" = "$other_sums" ] ||
        fail "The same sources in another folder gave other bytes: $(printf '\n%s' "$sums" "$other_sums")"

    folder=$(mktemp -d)
    tar --extract --file "build/package/$(portable_name).tar.xz" --directory "$folder"
    dpkg-deb --extract build/package/*.deb "$folder/deb"
    require_files "$folder/$(portable_name)" "${portable_files[@]}"
    require_files "$folder/deb" "${deb_files[@]}"
    python3 tests/tools/spdx_rules.py "$folder/$(portable_name)/share/licenses/ovrel.spdx.json" ||
        fail "The archive's list of what it bundles is no SPDX."
    python3 tests/tools/spdx_rules.py "$folder/deb/usr/share/doc/ovrel/ovrel.spdx.json" ||
        fail "The package's list of what it bundles is no SPDX."
    check_portable "$folder/$(portable_name)"
    rm -r "$folder"
    say "Both packages hold what they must, and are the same bytes wherever they are built. The archive converts."
}

package_sums() { sha256sum "build/package/$(portable_name).tar.xz" build/package/*.deb; }

# The sums of packages that were made in another folder, from files with other times, with nothing compiled before. To
# be called in a shell of its own, which ends elsewhere.
package_sums_of_copy() {
    local folder sources options
    mapfile -t options < <(sed -nE 's/^((OVREL_[A-Z_]+|CMAKE_(C|CXX)_COMPILER):[A-Z]+=.*)/-D\1/p' \
        build/release/CMakeCache.txt)
    folder=$(mktemp -d)
    sources=$folder/a/deeper/folder
    mkdir -p "$sources"
    # Joined, because a shell that looks at the result goes on after a command that fails.
    {
        tar --create --exclude ./build . | tar --extract --touch --no-same-owner --directory "$sources" &&
            cd "$sources" && unset CCACHE_BASEDIR && export CCACHE_DISABLE=1 &&
            cmake --preset release "${options[@]}" && ./dev package portable && ./dev package deb
    } >"$folder/said" 2>&1 || fail "The packages cannot be made in another folder: $(tail -n 20 "$folder/said")"
    package_sums
    cd /
    rm -r "$folder"
}

# require_files ROOT PATTERN…
require_files() {
    local root=$1 pattern missing=()
    shift
    for pattern in "$@"; do
        compgen -G "$root/$pattern" >/dev/null || missing+=("$pattern")
    done
    [ ${#missing[@]} -eq 0 ] || fail "Missing in $(basename "$root"): ${missing[*]}"
}

# check_portable ROOT: runs what it unpacked to, with nothing of the caller's environment.
check_portable() {
    local root=$1 version results mode
    version=$(env --ignore-environment "$root/bin/ovrel-cli" --version)
    [[ $version == "Ovrel $(project_version)"* ]] || fail "The archive's ovrel-cli says of itself: $version"
    results=$(mktemp -d)
    # The system's writer is one of libheif's codecs.
    for mode in efficient system; do
        env --ignore-environment HOME="$results" LANG=C.UTF-8 \
            "$root/bin/ovrel-cli" --mode "$mode" --quiet -o "$results/$mode" samples/landscapes/lake.jpg
        [ -s "$results/$mode/lake.avif" ] || fail "The archive's ovrel-cli converted nothing in the mode \"$mode\"."
    done
    [[ $version == *HEIC* ]] || fail "The archive's ovrel-cli cannot read HEIC: $version"
    rm -r "$results"
    env --ignore-environment "$root/bin/ovrel" --version >/dev/null
}

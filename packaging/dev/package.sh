# Packages for users.
# Part of ./dev, which reads this file.

. packaging/dev/check_packages.sh

package() {
    case ${1:-} in
    portable) package_portable ;;
    deb) package_deb ;;
    check) check_packages ;;
    *)
        say "usage: ./dev package portable | deb | check"
        exit 2
        ;;
    esac
}

# A value as the build knows it, from its cache.
build_value() { sed -n "s/^$1:[A-Z]*=//p" build/release/CMakeCache.txt; }

# When this version was made, in seconds since 1970: the same commit gives the same bytes.
moment_of_version() {
    say "${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CMakeLists.txt)}"
}

# install_programs ROOT: what users of every kind of package get.
install_programs() {
    rm -rf "$1"
    build release --target ovrel ovrel-cli ovrel-installer ovrel-icons
    cmake --install build/release --prefix "$1" --strip >/dev/null
}

# describe_bundled ROOT FOLDER: a bill of materials for what was bundled, in FOLDER below ROOT.
describe_bundled() {
    local root=$1 folder=$1/$2
    mkdir -p "$folder"
    python3 packaging/bill_of_materials.py "$root" ovrel "$(build_value CMAKE_PROJECT_VERSION)" "$(moment_of_version)" \
        <"$root/bundled-files.txt" >"$folder/ovrel.spdx.json"
}

# packages_bundled ROOT: the packages that bundled files and code in the programs come from, one a line.
packages_bundled() { cut -d ' ' -f 2 "$1/bundled-files.txt" | LC_ALL=C sort -u; }

# One directory that runs from wherever it is unpacked, and its archive.
package_portable() {
    require_packages build package
    local name root archive owner
    name=$(portable_name)
    root=build/package/$name
    archive=build/package/$name.tar.xz
    rm -f "$archive"
    install_programs "$root"
    cmake --install build/release --prefix "$root" --strip --component portable >/dev/null
    packaging/dev/check_hardening.sh "$root"/bin/ovrel{,-cli,-installer}
    cmake -D ROOT="$PWD/$root" -D QT_PLUGINS="$(qmake6 -query QT_INSTALL_PLUGINS)" \
        -D QT_TRANSLATIONS="$(qmake6 -query QT_INSTALL_TRANSLATIONS)" -D COMPILER="$(build_value CMAKE_CXX_COMPILER)" \
        -P packaging/portable/collect.cmake
    for owner in $(packages_bundled "$root"); do
        cp "/usr/share/doc/$owner/copyright" "$root/share/licenses/$owner"
    done
    describe_bundled "$root" share/licenses
    rm "$root/bundled-files.txt"
    # An update removes what stands in this list, and nothing else.
    (cd "$root" && { find . -type f -o -type l; printf './installed-files.txt\n'; } | sed 's,^\./,,' |
        LC_ALL=C sort >../installed-files.txt && mv ../installed-files.txt .)
    tar --create --sort=name --owner=0 --group=0 --numeric-owner --mode=go=rX,u+rw --mtime="@$(moment_of_version)" \
        --format=posix --pax-option=exthdr.name=%d/PaxHeaders/%f,delete=atime,delete=ctime \
        --directory build/package "$name" | xz --threads=2 --check=crc64 -6 >"$archive"
    say "$archive: $(($(stat -c %s "$archive") / 1048576)) MiB, unpacked $(du -sm "$root" | cut -f1) MiB."
}

# A package for this Debian or Ubuntu. Its programs lie in a folder of their own, with the AVIF libraries beside them
# and a word that the package manager updates them.
package_deb() {
    require_packages build package
    local root=$PWD/build/package/deb usr programs documents program release depends
    release=1~$(. /etc/os-release && printf '%s%s' "$ID" "${VERSION_ID:-}" | tr -cd 'a-z0-9.')
    usr=$root/usr programs=$root/usr/lib/ovrel documents=$root/usr/share/doc/ovrel
    rm -rf "$root"
    install_programs "$usr"
    mkdir -p "$programs" "$documents"
    mv "$usr/bin" "$programs/bin"
    packaging/dev/check_hardening.sh "$programs"/bin/*
    mkdir "$usr/bin"
    for program in ovrel ovrel-cli; do
        ln -s "../lib/ovrel/bin/$program" "$usr/bin/$program"
    done
    say apt >"$programs/bin/managed-by"
    cmake -D ROOT="$programs" -D COMPILER="$(build_value CMAKE_CXX_COMPILER)" -P packaging/deb/collect.cmake
    strip --strip-unneeded "$programs"/lib/*
    describe_bundled "$programs" ../../share/doc/ovrel
    write_debian_documents "$documents" "$(packages_bundled "$programs")" "$release"
    depends=$(needed_packages "$programs") || exit
    rm "$programs/bundled-files.txt"
    # Where Debian's zsh looks.
    mv "$usr/share/zsh/site-functions" "$usr/share/zsh/vendor-completions"
    gzip --best --no-name "$usr"/share/man/man1/*.1
    chmod --recursive go=rX,u+rw "$root"

    rm -f build/package/*.deb
    SOURCE_DATE_EPOCH=$(moment_of_version) ROOT=$root VERSION=$(project_version) RELEASE=$release \
        HOST=$(build_value OVREL_PUBLISHER_HOST) MAINTAINER=$(maintainer) DEPENDS=$depends \
        cpack -G DEB --config packaging/deb/CPackConfig.cmake -B build/package >/dev/null
    rm -rf build/package/_CPack_Packages
    lintian --fail-on error build/package/*.deb
    say "$(echo build/package/*.deb): $(($(stat -c %s build/package/*.deb) / 1048576)) MiB."
}

maintainer() { say "The Ovrel developers <packages@$(build_value OVREL_PUBLISHER_HOST)>"; }

portable_name() { say "ovrel-$(project_version)-linux-$(uname -m)"; }

project_version() { sed -n 's/^project(Ovrel VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt; }

# needed_packages PROGRAMS: the packages that programs and bundled libraries need beside what is bundled, as Debian
# writes dependencies.
needed_packages() {
    local programs=$1 folder owner depends plugins excluded=()
    for owner in $(packages_bundled "$programs"); do
        excluded+=("-x$owner")
    done
    folder=build/package/dependencies
    mkdir -p "$folder/debian"
    : >"$folder/debian/control"
    # Its warnings are about files that no package has installed, as is the case here.
    (cd "$folder" && dpkg-shlibdeps -O --ignore-missing-info "${excluded[@]}" "$programs"/bin/ovrel* \
        "$programs"/lib/*) >"$folder/found" 2>"$folder/said" || fail "$(cat "$folder/said")"
    depends=$(sed -n 's/^shlibs:Depends=//p' "$folder/found")
    [ -n "$depends" ] || fail "dpkg-shlibdeps finds nothing that the programs need: $(cat "$folder/said")"
    plugins=$(heif_plugins)
    say "$depends${plugins:+, $plugins}"
    rm -r "$folder"
}

# libheif's codecs, which it loads by name, where they are packages of their own; separated by commas.
heif_plugins() {
    { dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' 'libheif-plugin-*' 2>/dev/null || true; } |
        sed -nE 's/^installed (libheif-plugin-(aomenc|aomdec|libde265))$/\1/p' | paste -sd, | sed 's/,/, /g'
}

# write_debian_documents FOLDER PACKAGES RELEASE: what Debian wants to know of every package.
write_debian_documents() {
    local folder=$1 owner
    {
        printf '%s\n\n' Ovrel
        cat LICENSE
        for owner in $2; do
            printf '\n\n%s\n\n' "What is of the package $owner in /usr/lib/ovrel:"
            cat "/usr/share/doc/$owner/copyright"
        done
    } >"$folder/copyright"
    gzip --best --no-name <CHANGELOG.md >"$folder/changelog.gz"
    printf '%s\n\n' "ovrel ($(project_version)-$3) unstable; urgency=medium" "  * See changelog.gz." \
        " -- $(maintainer)  $(LC_ALL=C date -u -R -d "@$(moment_of_version)")" |
        gzip --best --no-name >"$folder/changelog.Debian.gz"
}

# Packages for users.
# Part of ./dev, which reads this file.

package() {
    case ${1:-} in
    portable) package_portable ;;
    *)
        say "usage: ./dev package portable"
        exit 2
        ;;
    esac
}

# The version as the build knows it, from its cache.
build_value() { sed -n "s/^$1:[A-Z]*=//p" build/release/CMakeCache.txt; }

# One directory that runs from wherever it is unpacked, and its archive.
package_portable() {
    build release --target ovrel ovrel-cli ovrel-installer
    local name root archive
    name=ovrel-$(build_value CMAKE_PROJECT_VERSION)-linux-$(uname -m)
    root=build/package/$name
    archive=build/package/$name.tar.xz
    rm -rf "$root" "$archive"
    cmake --install build/release --prefix "$root" --strip >/dev/null
    cmake --install build/release --prefix "$root" --strip --component portable >/dev/null
    cmake -D ROOT="$PWD/$root" -D QT_PLUGINS="$(qmake6 -query QT_INSTALL_PLUGINS)" -P packaging/portable/collect.cmake
    # An update removes what stands in this list, and nothing else.
    (cd "$root" && { find . -type f -o -type l; printf './installed-files.txt\n'; } | sed 's,^\./,,' |
        LC_ALL=C sort >../installed-files.txt && mv ../installed-files.txt .)
    # The same commit gives the same bytes.
    local moment
    moment=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CMakeLists.txt)}
    tar --create --sort=name --owner=0 --group=0 --numeric-owner --mode=go=rX,u+rw --mtime="@$moment" --format=posix \
        --pax-option=exthdr.name=%d/PaxHeaders/%f,delete=atime,delete=ctime --directory build/package "$name" |
        xz --threads=0 --check=crc64 -6 >"$archive"
    say "$archive: $(($(stat -c %s "$archive") / 1048576)) MiB, unpacked $(du -sm "$root" | cut -f1) MiB."
}

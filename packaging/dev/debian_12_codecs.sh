# Newer AVIF libraries for Debian 12, whose own libavif 0.11 is too old for Ovrel and whose libaom 3.6 makes slow and
# large files. They come from newer suites of the archive that the machine already uses; priorities keep everything
# else of those suites out, the C library above all.
# Part of ./dev, which reads this file.

codecs_source=/etc/apt/sources.list.d/ovrel-codecs
codecs_preferences=/etc/apt/preferences.d/ovrel-codecs

is_debian_12() { [ "$system" = "debian 12" ]; }

# is_too_old_codec PACKAGE VERSION
# Ovrel works with an older libaom, so that one counts only while apt may have a newer one to give.
is_too_old_codec() {
    is_debian_12 || return 1
    case $1 in
    libavif-dev) dpkg --compare-versions "$2" lt 1.0 ;;
    libaom-dev)
        dpkg --compare-versions "$2" lt 3.14 &&
            { [ ! -e "$codecs_preferences" ] || dpkg --compare-versions "$(candidate "$1")" ge 3.14; }
        ;;
    *) return 1 ;;
    esac
}

# The version of a package that apt would install.
candidate() { LC_ALL=C apt-cache policy "$1" | awk '$1 == "Candidate:" { print $2 }'; }

add_debian_12_codecs() {
    local entry
    entry=$(debian_12_entry)
    if [ -z "$entry" ]; then
        update_package_lists # whose archive an entry names stands in its package list
        entry=$(debian_12_entry)
    fi
    if [ -z "$entry" ]; then
        say "None of apt's sources is Debian 12's own archive, so newer codecs cannot be taken from there."
        return 0
    fi
    local file=${entry%:*} number=${entry##*:} outdated=$codecs_source.list
    [ "${file##*.}" = sources ] || outdated=$codecs_source.sources
    [ ! -e "$outdated" ] || as_root rm "$outdated"
    # The priorities come first: without them the new source would offer the whole system a newer release.
    keep_as_root "$codecs_preferences" "$(codecs_priorities)"
    keep_as_root "$codecs_source.${file##*.}" "$(codecs_source_like "$file" "$number")"
}

# keep_as_root FILE TEXT
keep_as_root() {
    if [ "$(cat "$1" 2>/dev/null)" != "$2" ]; then
        say "Writing $1: apt gets libavif from Debian 13 and libaom from the suite after it, nothing else from there."
        as_root tee "$1" <<<"$2" >/dev/null
        as_root chmod 644 "$1"
    fi
}

# Where apt's sources name the main part of Debian 12, as FILE:LINE (one-line form) or FILE:STANZA (deb822).
# Security updates and other people's archives for Debian 12 carry another codename or origin.
debian_12_entry() {
    apt-get indextargets --format '$(ORIGIN)|$(CODENAME)|$(COMPONENT)|$(SOURCESENTRY)' 'Created-By: Packages' \
        2>/dev/null | awk -F '|' '$1 == "Debian" && $2 == "bookworm" && $3 == "main" && !found++ { print $4 }'
}

# codecs_source_like FILE NUMBER: that entry with its address and options, for the newer suites.
codecs_source_like() {
    say "# Written by Ovrel's ./dev, which also says in preferences.d what may come from here."
    case $1 in
    *.list)
        local suite
        for suite in trixie forky; do
            sed -nE "$2s/^deb(\s+\[[^]]*\])?\s+(\S+)\s.*/deb\1 \2 $suite main/p" "$1"
        done
        ;;
    *.sources)
        sed -E '/^#/d; s/^\s+$//' "$1" | awk -v number="$2" '
            BEGIN { RS = ""; FS = "\n" }
            NR == number {
                for (i = 1; i <= NF; i++) {
                    if ($i !~ /^[ \t]/) {
                        replaced = tolower($i) ~ /^(types|suites|components):/
                    }
                    if (!replaced) {
                        print $i
                    }
                }
                print "Types: deb\nSuites: trixie forky\nComponents: main"
            }'
        ;;
    esac
}

codecs_priorities() {
    cat <<'PREFERENCES'
# Written by Ovrel's ./dev: from these suites only the AVIF libraries.
Package: *
Pin: release n=trixie
Pin-Priority: -10

Package: *
Pin: release n=forky
Pin-Priority: -10

Package: libavif* libyuv* libdav1d* librav1e* libsvtav1enc* libsharpyuv*
Pin: release n=trixie
Pin-Priority: 900

Package: libaom*
Pin: release n=forky
Pin-Priority: 900
PREFERENCES
}

# Newer AVIF libraries for Debian: Debian 12's own libavif 0.11 is too old for Ovrel, and the libaom of Debian 12 and 13
# makes slow and large files. They come from newer suites of the archive that the machine already uses; priorities keep
# everything else of those suites out, the C library above all.
# Part of ./dev, which reads this file.

codecs_source=/etc/apt/sources.list.d/ovrel-codecs
codecs_preferences=/etc/apt/preferences.d/ovrel-codecs

# This Debian's name, and the newer suites from which it takes codecs.
case $system in
"debian 12") own_suite=bookworm codec_suites="trixie forky" ;;
"debian 13") own_suite=trixie codec_suites=forky ;;
*) own_suite='' codec_suites='' ;;
esac

takes_newer_codecs() { [ -n "$codec_suites" ]; }

# is_too_old_codec PACKAGE VERSION
# Ovrel works with an older libaom, so that one counts only while apt may have a newer one to give.
is_too_old_codec() {
    takes_newer_codecs || return 1
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

add_newer_codecs() {
    local entry
    entry=$(debian_entry)
    if [ -z "$entry" ]; then
        update_package_lists # whose archive an entry names stands in its package list
        entry=$(debian_entry)
    fi
    if [ -z "$entry" ]; then
        say "None of apt's sources is this Debian's own archive, so newer codecs cannot be taken from there."
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
        say "Writing $1: apt gets AVIF libraries from newer suites of Debian, nothing else from there."
        as_root tee "$1" <<<"$2" >/dev/null
        as_root chmod 644 "$1"
    fi
}

# Where apt's sources name the main part of this Debian, as FILE:LINE (one-line form) or FILE:STANZA (deb822).
# Security updates and other people's archives for it carry another codename or origin.
debian_entry() {
    apt-get indextargets --format '$(ORIGIN)|$(CODENAME)|$(COMPONENT)|$(SOURCESENTRY)' 'Created-By: Packages' \
        2>/dev/null | awk -F '|' -v suite="$own_suite" '$1 == "Debian" && $2 == suite && $3 == "main" && !found++ { print $4 }'
}

# codecs_source_like FILE NUMBER: that entry with its address and options, for the newer suites.
codecs_source_like() {
    say "# Written by Ovrel's ./dev, which also says in preferences.d what may come from here."
    case $1 in
    *.list)
        local suite
        for suite in $codec_suites; do
            sed -nE "$2s/^deb(\s+\[[^]]*\])?\s+(\S+)\s.*/deb\1 \2 $suite main/p" "$1"
        done
        ;;
    *.sources)
        sed -E '/^#/d; s/^\s+$//' "$1" | awk -v number="$2" -v suites="$codec_suites" '
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
                print "Types: deb\nSuites: " suites "\nComponents: main"
            }'
        ;;
    esac
}

codecs_priorities() {
    say "# Written by Ovrel's ./dev: from these suites only the AVIF libraries."
    local suite
    for suite in $codec_suites; do
        priority "*" "$suite" -10
    done
    [ "$own_suite" != bookworm ] ||
        priority "libavif* libyuv* libdav1d* librav1e* libsvtav1enc* libsharpyuv*" trixie 900
    priority "libaom*" forky 900
}

# priority PACKAGES SUITE NUMBER
priority() { printf 'Package: %s\nPin: release n=%s\nPin-Priority: %s\n\n' "$@"; }

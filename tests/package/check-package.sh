#!/usr/bin/env bash
# Installs a build into a scratch prefix and checks the package from
# outside: every file in its place; a program configured against the
# installed CMake package and one built through pkg-config, and moresc
# built from its sources against the installed headers, link and run; the
# installed commands run; both manual pages render without warnings and
# moresc(8) describes every subcommand.
#
#   check-package.sh BUILD-DIR SOURCE-DIR CXX EXTRA-FLAGS BINDIR LIBDIR INCLUDEDIR MANDIR
set -euo pipefail
build=$1 source=$(cd "$2" && pwd) cxx=$3 flags=$4 bindir=$5 libdir=$6 includedir=$7 mandir=$8

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() { echo "check-package: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
for file in "$bindir/Tarnwick" "$bindir/moresc" "$libdir/libMoreSC.a" "$includedir/MoreSC/MoreSC.h" \
            "$mandir/man8/Tarnwick.8" "$mandir/man8/moresc.8" "$libdir/cmake/MoreSC/MoreSCConfig.cmake" \
            "$libdir/cmake/MoreSC/MoreSCConfigVersion.cmake" "$libdir/pkgconfig/moresc.pc"; do
  [ -f "$prefix/$file" ] || fail "$file is not installed"
done

# A root holding a real store, for the programs to read.
root=$work/root
mkdir -p "$root/Library/Preferences/SystemConfiguration"
cp "$source/tests/data/stores/imac-ethernet-pac.plist" "$root/Library/Preferences/SystemConfiguration/preferences.plist"
expected="6D42B046-97E7-49F6-88CF-2A2600BFB6E1 Automatic"

# The consumer project sees only the installed prefix.
PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig cmake -S "$source/tests/package/consumer" -B "$work/consumer" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" \
  -DCMAKE_PREFIX_PATH="$prefix" -DMORESC_SOURCES="$source/moresc" >"$work/configure.log" 2>&1 ||
  { cat "$work/configure.log"; fail "the consumer project does not configure against the package"; }
cmake --build "$work/consumer" -j2 >"$work/build.log" 2>&1 ||
  { cat "$work/build.log"; fail "the consumer project does not build against the package"; }
for program in consumer_cmake consumer_pkgconfig; do
  output=$(TARNWICK_ROOT=$root "$work/consumer/$program") || fail "$program failed: $output"
  [ "$output" = "$expected" ] || fail "$program printed \"$output\", not \"$expected\""
done
for moresc in "$prefix/$bindir/moresc" "$work/consumer/moresc_from_package"; do
  output=$(TARNWICK_ROOT=$root "$moresc" current-set) || fail "$moresc current-set failed"
  [ "$output" = "${expected/ /$'\t'}" ] || fail "$moresc current-set printed \"$output\""
done
TARNWICK_ROOT=$root "$prefix/$bindir/Tarnwick" -p | grep -q "^PACEnable : 1 - " || fail "the installed Tarnwick -p"

for page in Tarnwick moresc; do
  warnings=$(MANROFFSEQ='' MANWIDTH=80 man --warnings -l "$prefix/$mandir/man8/$page.8" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "$page.8 renders with warnings: $warnings"
done
rendered=$(MANWIDTH=80 man -l "$prefix/$mandir/man8/moresc.8" 2>/dev/null)
subcommands=$("$prefix/$bindir/moresc" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
[ -n "$subcommands" ] || fail "moresc --help lists no subcommands"
for name in $subcommands; do
  grep -Eq "^ {7}$name( |$)" <<<"$rendered" || fail "moresc.8 does not describe $name"
done
echo "check-package: the installed package works"

#!/usr/bin/env bash
# package_test.sh BUILD_DIR: makes the Debian package, has lintian look at it, and runs what is in it from where it
# was unpacked. Ends with status 77 where the means are missing.
set -euo pipefail

build=$1
command -v lintian >/dev/null && command -v dpkg-shlibdeps >/dev/null || { echo "skipped: no lintian"; exit 77; }
work=$(mktemp -d /tmp/tunesift-package-XXXXXX)
trap 'rm -rf "$work"' EXIT

(cd "$build" && cpack -G DEB -B "$work") > "$work/cpack.log" || { cat "$work/cpack.log"; exit 1; }
package=$(ls "$work"/*.deb)
lintian --fail-on error "$package"

depends=$(dpkg-deb -f "$package" Depends)
for library in libavformat59 libflac12 libvorbisfile3 libqt5network5 libqt5gui5; do
    grep -q "$library" <<< "$depends" || { echo "$library is missing from Depends: $depends"; exit 1; }
done

dpkg-deb -x "$package" "$work/root"
"$work/root/usr/bin/tunesift" doctor
"$work/root/usr/bin/tunesift" analyze --json 2>/dev/null | grep -q '"status":"ok"'
for manual in "$work"/root/usr/share/man/man1/*.gz; do
    zcat "$manual" | grep -q '^\.SH NAME' || { echo "$manual is no manual"; exit 1; }
done
[ "$(ls "$work"/root/usr/share/man/man1 | wc -l)" -ge 8 ]
[ -f "$work/root/usr/share/bash-completion/completions/tunesift" ]
[ -f "$work/root/usr/share/zsh/vendor-completions/_tunesift" ]
echo "the package is sound"

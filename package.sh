#!/bin/bash
# Makes the Debian package of the program for Linux: ./package.sh
#
# Installs the packages that are missing, builds what the last commit has in a folder that is gone
# afterwards, and lets lintian look at the result. Leaves it in dist/, with its size and SHA-256 on the
# screen. dist/package.log has what the tools printed.
#
# No time in the package is later than the last entry of Debian's changelog. So once that is past, one
# commit always gives the same bits.
set -euo pipefail
cd "$(dirname "$0")"
source cmake/packages.sh
source packaging/debian.sh

packages=("${commonPackages[@]}" "${linuxPackages[@]}" "${releasePackages[@]}")
ensurePackages "${packages[@]}"

dist=$PWD/dist
log=$dist/package.log
rm -rf "$dist"
mkdir "$dist"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

makePackages() {
  mkdir "$work/sources"
  git archive HEAD | tar --extract --directory "$work/sources"
  makeDebianPackage "$work/sources" "$dist"
}

echo "== Making the Debian package (details in dist/package.log)"
# In a shell of its own: within a condition, a failed command would not end the function.
(makePackages) &>"$log" &
if ! wait $!; then
  tail -n 40 "$log" >&2
  exit 1
fi
cd "$dist"
for file in *.deb; do
  echo "$file: $(stat --format=%s "$file") bytes, SHA-256 $(sha256sum "$file" | cut -d ' ' -f 1)"
done

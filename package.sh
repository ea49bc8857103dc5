#!/bin/bash
# Makes a release of the last commit: ./package.sh
#
# Installs the packages that are missing, and leaves in dist/, with sizes and SHA-256 on the screen,
#
#   quillgate-<version>.tar.xz                  the sources, from which all the rest is made
#   quillgate_<version>_amd64.deb               the program for Linux
#   quillgate-<version>-windows-x64.zip         the program for Windows
#   quillgate-<version>-windows-x64-setup.exe   what installs it
#   quillgate-<version>-windows-tests.zip       its tests, to run on any Windows
#   quillgate-<version>.spdx.json               what these are made of
#   winget/                                     the manifests by which winget finds the setup
#   SHA256SUMS                                  the sums of all these
#
# Everything is built in a folder that is gone afterwards. build/package.log has what the tools printed.
#
# One commit always gives the same bits, whoever does this, where and when, but for signatures: with the
# file of a certificate and its key in QUILLGATE_SIGN_PKCS12 and its password in QUILLGATE_SIGN_PASSWORD,
# program and setup for Windows are signed, with a time stamp of the server
# QUILLGATE_SIGN_TIMESTAMP_URL if that is set.
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "$0")"
source cmake/packages.sh

ensurePackages "${commonPackages[@]}" "${linuxPackages[@]}" "${windowsPackages[@]}" \
  "${releasePackages[@]}"
if ! version=$(git show HEAD:CMakeLists.txt | sed -n 's/^project(quillgate VERSION \([0-9.]*\) .*/\1/p'); then
  echo 'A release is made of the last commit: it needs the git repository.' >&2
  exit 1
fi

umask 022
export LC_ALL=C.UTF-8 TZ=UTC
dist=$PWD/dist
log=$PWD/build/package.log
rm -rf "$dist"
mkdir -p "$dist" build
: >"$log"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
name=quillgate-$version
sources=$work/$name
build=$sources/build/windows
texts=$work/texts
setup=$dist/$name-windows-x64-setup.exe
# Where the release can be downloaded. There is no such place yet, and this one is nobody's.
address=https://example.org/quillgate/releases/$version

# Makes the thing $1 with the command after it.
step() {
  echo "== Making $1"
  # In a shell of its own: within a condition, a failed command would not end a function.
  ("${@:2}") &>>"$log" &
  if ! wait $!; then
    tail -n 40 "$log" >&2
    exit 1
  fi
}

makeSourceArchive() {
  git -c tar.umask=0022 archive --prefix="$name/" HEAD | xz --threads=1 -9 >"$dist/$name.tar.xz"
  tar --extract --file "$dist/$name.tar.xz" --directory "$work"
}

buildWindowsPrograms() {
  cd "$sources"
  cmake --preset windows
  cmake --build --preset windows --target quillgate quillgate_tests quillgate_ui_tests \
    quillgate_soak_tests
  signProgram "$build/quillgate.exe"
}

makeWindowsSetup() {
  makeInstaller "$build/quillgate.exe" "$texts" "$version" "$setup"
  signProgram "$setup"
}

makeBillOfMaterials() {
  makeSpdx "$dist" "$build/quillgate.exe" "$build/quillgate.map" "$version" "$address" \
    >"$work/spdx.json"
  cp "$work/spdx.json" "$dist/$name.spdx.json"
}

makeSums() {
  cd "$dist"
  find . -type f -printf '%P\n' | LC_ALL=C sort | xargs sha256sum >"$work/SHA256SUMS"
  cp "$work/SHA256SUMS" .
}

echo 'Details go to build/package.log.'
step 'the source archive' makeSourceArchive
SOURCE_DATE_EPOCH=$(dpkg-parsechangelog --file "$sources/debian/changelog" --show-field Timestamp)
export SOURCE_DATE_EPOCH
for file in debian windows installer windows_tests winget spdx; do
  # shellcheck disable=SC1090
  source "$sources/packaging/$file.sh"
done

step 'the Debian package' makeDebianPackage "$sources" "$dist"
step 'the programs for Windows' buildWindowsPrograms
step 'the texts for Windows' makeTexts "$sources" "$build/quillgate.map" "$version" "$texts"
step 'the zip for Windows' makeWindowsZip "$build/quillgate.exe" "$texts" "$dist/$name-windows-x64.zip"
step 'the setup for Windows' makeWindowsSetup
step 'the tests for Windows' makeTestsZip "$build" "$version" "$dist/$name-windows-tests.zip"
step 'the manifests for winget' makeWinget "$setup" "$address" "$version" "$dist/winget"
step 'the bill of materials' makeBillOfMaterials
step 'the sums' makeSums

cd "$dist"
for file in *.*; do
  echo "$file: $(stat --format=%s "$file") bytes, SHA-256 $(sha256sum "$file" | cut -d ' ' -f 1)"
done

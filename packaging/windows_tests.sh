# shellcheck shell=bash
# The tests for Windows as an archive that runs on any Windows. Sourced after windows.sh.

# Packs what the build folder $1 of the preset windows has, for version $2, into the zip $3. All in it is
# dated $SOURCE_DATE_EPOCH, so the same programs give the same bits.
makeTestsZip() (
  set -euo pipefail
  local build=$1 version=$2 zip=$3 tree work
  tree=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT

  # As in the build folder, so that each finds the others.
  mkdir -p "$work/tests/fakes"
  cp "$build/quillgate.exe" "$work"
  cp "$build"/tests/quillgate{,_ui,_soak}_tests.exe "$work/tests"
  cp "$build"/tests/fakes/*.dll "$work/tests/fakes"
  cp --recursive --dereference "$build/tests/data" "$work/tests"
  x86_64-w64-mingw32-strip "$work"/tests/*.exe "$work"/tests/fakes/*.dll

  cp "$tree"/packaging/windows-tests/* "$work"
  cp "$tree/LICENSE" "$work/LICENSE.txt"
  sed -n '/^ Copyright/,/^$/{s/^ \.\?//p}' /usr/share/doc/googletest/copyright >>"$work/NOTICES.txt"
  sed -i -e "s/@VERSION@/$version/" -e 's/$/\r/' "$work"/*.{cmd,txt}

  rm -f "$zip"
  zipFolder "$work" "$zip"
)

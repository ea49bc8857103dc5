# shellcheck shell=bash
# Makes the bill of materials. Sourced after windows.sh; SOURCE_DATE_EPOCH is the time of the release.

# Prints a line in the form of linkedLibraries: the name $1, what Debian's package $2 is, the licence $3.
packagedAs() {
  # shellcheck disable=SC2016
  dpkg-query --show --showformat "$1\t\${Version}\t\${Package}\t$3\n" "$2"
}

# Prints in SPDX 2.3 what version $4 is made of: the released files in the folder $1, and the program $2
# in them, whose map is $3. The release has the address $5.
makeSpdx() {
  local files libraries installer tests depends mingw
  files=$(sha256sum -- "$1"/quillgate[-_]* "$2" | sed 's|  .*/|  |')
  libraries=$(linkedLibraries "$3")
  installer=$(packagedAs NSIS nsis-common 'Zlib AND MIT AND (CPL-1.0 WITH LZMA-exception)')
  tests=$(packagedAs GoogleTest googletest BSD-3-Clause)
  depends=$(dpkg-deb --field "$1"/quillgate_*.deb Depends)
  mingw=$(mingwLicences)
  jq --null-input --from-file "${BASH_SOURCE%/*}/spdx.jq" --arg version "$4" \
    --arg created "$(date --utc --date="@$SOURCE_DATE_EPOCH" +%FT%TZ)" \
    --arg namespace "$5/spdx-$(sha256sum <<<"$files" | cut -c 1-32)" \
    --arg files "$files" --arg libraries "$libraries" --arg installer "$installer" --arg tests "$tests" \
    --arg depends "$depends" --arg mingw "$mingw"
}

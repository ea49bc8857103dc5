# shellcheck shell=bash
# Makes what is released for Windows besides the installer. Sourced; SOURCE_DATE_EPOCH is the time of the
# release.

# Prints what the linker has put into a program, from its map $1, in lines of four fields parted by
# tabs: library, version, Debian package, licence. Fails when there is something it does not know.
linkedLibraries() {
  local files file name license found package version
  # Archives that the linker took something from, and the objects that start and end every program.
  files=$(sed -n -e '/^Archive member/,/^Discarded/s/^\(\/.*\.a\)(.*/\1/p' -e 's/^LOAD \(\/.*\.o\)$/\1/p' \
    "$1" | xargs realpath | LC_ALL=C sort --unique)
  found=$(for file in $files; do
    license='GPL-3.0-or-later WITH GCC-exception-3.1'
    package=$(dpkg-query --search "$file")
    package=${package%%:*}
    case $package:${file##*/} in
      g++-mingw-w64-*:libstdc++.a) name=libstdc++ ;;
      gcc-mingw-w64-*:libgcc*.a | gcc-mingw-w64-*:crt*.o) name=libgcc ;;
      gcc-mingw-w64-*:libssp*.a) name=libssp ;;
      mingw-w64-*:libpthread.a) name=winpthreads license='MIT AND BSD-3-Clause' ;;
      mingw-w64-*) name=mingw-w64 license='ZPL-2.1 AND LicenseRef-mingw-w64' ;;
      *)
        echo "$file is part of the program, but its licence is not known." >&2
        exit 1
        ;;
    esac
    # shellcheck disable=SC2016
    version=$(dpkg-query --show --showformat '${Version}' "$package")
    printf '%s\t%s\t%s\t%s\n' "$name" "$version" "$package" "$license"
  done)
  LC_ALL=C sort --unique <<<"$found"
}

# Prints what the copyright file of the Debian package $1 says of sources whose names match the awk
# pattern $2: who has the copyright, and the licences.
copyrightOf() {
  local file=/usr/share/doc/$1/copyright
  awk -v pattern="^Files: ($2)" '
    BEGIN { RS = ""; FS = "\n" }
    NR == FNR {
      if ($1 ~ pattern) {
        chosen[FNR]
        match($0, /\nLicense: [^\n]*/)
        split(substr($0, RSTART + 10, RLENGTH - 10), names, " and ")
        for (i in names) wanted[names[i]]
      }
      next
    }
    FNR in chosen || (/^License: / && substr($1, 10) in wanted) {
      sub(/^Files:.*\nCopyright:/, "Copyright:")
      gsub(/\n \./, "\n")
      print $0 "\n"
    }' "$file" "$file"
}

# Prints the terms of what is linked from mingw-w64, winpthreads included.
mingwLicences() {
  copyrightOf mingw-w64-x86-64-dev \
    '\\*|mingw-w64-crt/[^p]|mingw-w64-libraries/winpthreads/(\\*|src|include)'
}

# Prints the title of a section and then what comes in.
section() {
  printf '\n\n%s\n%s\n\n' "$1" "${1//?/=}"
  cat
}

# Prints the notices of version $2 of the program, whose map is $1.
notices() {
  local libraries gcc=/usr/share/doc/gcc-mingw-w64-base/copyright nsis
  libraries=$(linkedLibraries "$1")
  nsis=$(dpkg-query --show --showformat '${Version}' nsis-common)
  cat <<TEXT
Quillgate PRO $2 for Windows: notices

Quillgate is under the MIT licence; LICENSE.txt has its text. Parts of these
libraries are in quillgate.exe. The versions are those of Debian's packages;
LicenseRef-mingw-w64 means the terms that are in the section on mingw-w64.

$(awk -F '\t' '{ printf "    %-12s %-28s %s\n", $1, $2, $4 }' <<<"$libraries")

The setup and what removes the program again are made with NSIS $nsis.
TEXT
  {
    sed -n '/^GCC is Copyright/,/^for more details/p' "$gcc"
    echo
    sed -n '/^GCC RUNTIME LIBRARY EXCEPTION/,/^requirements of the license of GCC/p' "$gcc"
  } | section 'libgcc, libstdc++, libssp'
  section 'GNU General Public License' </usr/share/common-licenses/GPL-3
  mingwLicences | section 'mingw-w64, winpthreads'
  copyrightOf nsis-common '\\*|Source/7zip|Contrib/System' | section 'NSIS'
}

# Writes the texts that go with version $3 of the program, whose map is $2, into the new folder $4: those
# of the source tree $1, and the notices.
makeTexts() {
  local texts=$4
  mkdir "$texts"
  sed "s/@VERSION@/$3/" "$1/packaging/windows/README.txt" >"$texts/README.txt"
  cp "$1/LICENSE" "$texts/LICENSE.txt"
  notices "$2" "$3" >"$texts/NOTICES.txt"
  sed -i 's/$/\r/' "$texts"/*.txt
}

# Packs the files of the folder $1 into the zip $2.
zipFolder() {
  find "$1" -exec touch --date="@$SOURCE_DATE_EPOCH" {} +
  find "$1" -type f -exec chmod 644 {} +
  local zip
  zip=$(realpath "$2")
  (cd "$1" && find . -type f -printf '%P\n' | LC_ALL=C sort | TZ=UTC zip -q -X -9 "$zip" -@)
}

# Packs the program $1 and the folder of its texts $2 into the zip $3.
makeWindowsZip() {
  local folder
  folder=$(mktemp -d)
  cp "$1" "$2"/* "$folder"
  zipFolder "$folder" "$3"
  rm -r "$folder"
}

# Signs the program file $1, if there is a certificate to do it with.
signProgram() {
  if [[ -z ${QUILLGATE_SIGN_PKCS12-} ]]; then return; fi
  local timeStamp=()
  if [[ -n ${QUILLGATE_SIGN_TIMESTAMP_URL-} ]]; then timeStamp=(-ts "$QUILLGATE_SIGN_TIMESTAMP_URL"); fi
  osslsigncode sign -pkcs12 "$QUILLGATE_SIGN_PKCS12" \
    -readpass <(printf %s "${QUILLGATE_SIGN_PASSWORD-}") \
    -h sha256 -n 'Quillgate PRO' "${timeStamp[@]}" -in "$1" -out "$1.signed"
  mv "$1.signed" "$1"
}

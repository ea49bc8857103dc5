# shellcheck shell=bash
# Makes the installer for Windows. Sourced.

# Makes the installer $4 of version $3 for the program $1, with README.txt, LICENSE.txt and NOTICES.txt
# from the folder $2. The same files always give the same bits.
makeInstaller() {
  local program texts output
  program=$(realpath "$1")
  texts=$(realpath "$2")
  output=$(realpath "$4")
  makensis -V2 -WX -NOCONFIG -DPROGRAM="$program" -DTEXTS="$texts" -DVERSION="$3" \
    -DOUTPUT="$output" "$(dirname "${BASH_SOURCE[0]}")/windows/installer.nsi"
}

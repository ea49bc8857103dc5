# shellcheck shell=bash
# Wine prefixes and virtual displays, for the scripts that run Windows programs. Sourced.

# Prints the first of these programs that is installed.
firstProgram() {
  local name
  for name in "$@"; do
    if command -v "$name"; then return; fi
  done
  echo "$1 is not installed." >&2
  return 1
}

# Debian's wine64 package alone puts no program on the PATH.
wine=$(firstProgram /usr/lib/wine/wine64 wine64 wine)
wineserver=$(firstProgram /usr/lib/wine/wineserver64 wineserver)

export WINEARCH=win64
# No .NET and no HTML engine to install, no menu entries in the user's home.
export WINEDLLOVERRIDES='mscoree=d;mshtml=d;winemenubuilder.exe=d'
export WINEDEBUG=${WINEDEBUG:--all}

# Runs a Windows program away from our streams: what wine starts first lives on in the background
# and would hold a pipe open that a caller reads to its end.
runDetached() { "$wine" "$@" </dev/null &>"$WINEPREFIX.log"; }

# Makes sure that the prefix $WINEPREFIX stands and has the registry settings $1 (lines of a .reg
# file). What is in the prefix stays; one that was left half-made is completed.
prepareWinePrefix() {
  local settings=$WINEPREFIX/settings.reg
  if [[ -e $settings && $(<"$settings") == "$1" ]]; then return; fi

  mkdir -p "$WINEPREFIX"
  if [[ ! -e $settings ]]; then runDetached wineboot --update; fi
  echo "$1" >"$settings.new"
  runDetached regedit /S "$settings.new"
  "$wineserver" --wait
  mv "$settings.new" "$settings"
}

# Starts a display without a screen that ends with this process, and points DISPLAY at it. $1 is
# the stem of two files: .display holds its number, .log what it complained about.
startVirtualDisplay() {
  rm -f "$1.display"
  setpriv --pdeathsig TERM Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -noreset \
    </dev/null >"$1.display" 2>"$1.log" &
  local server=$!
  until [[ -s $1.display ]]; do
    if ! kill -0 "$server" 2>/dev/null; then
      cat "$1.log" >&2
      echo 'Xvfb did not start.' >&2
      return 1
    fi
    sleep 0.05
  done
  DISPLAY=:$(<"$1.display")
  export DISPLAY
}

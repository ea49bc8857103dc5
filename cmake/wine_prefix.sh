# shellcheck shell=bash
# What the scripts that run Windows programs share: the prefix in the folder $WINEPREFIX. Sourced when
# wine is installed and the folder stands.

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
wine=("$(firstProgram /usr/lib/wine/wine64 wine64 wine)")
wineserver=$(firstProgram /usr/lib/wine/wineserver64 wineserver)

# Newer versions of Linux, as 6.18, put the heap anywhere in the GiB behind a program. There wine needs
# one page, at 0x7ffe0000: one start in 8,000 finds it taken and fails with error 1359. Without random
# addresses the heap begins right behind the program. Some containers do not allow that.
if setarch -R true 2>/dev/null; then wine=(setarch -R "${wine[@]}"); fi

export WINEARCH=win64
# No .NET and no HTML engine to install, no menu entries in the user's home.
export WINEDLLOVERRIDES='mscoree=d;mshtml=d;winemenubuilder.exe=d'
export WINEDEBUG=${WINEDEBUG:--all}

# Of Debian's fonts, Open Sans comes closest to Segoe UI in form, width and line height. A crash is
# written down: nobody may be there to see a box about it.
commonSettings='Windows Registry Editor Version 5.00

[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]
"Segoe UI"="Open Sans"

[HKEY_CURRENT_USER\Software\Wine\WineDbg]
"ShowCrashDialog"=dword:00000000
'

# Who draws the frames of windows and moves them: a window manager or wine. Without a window manager,
# wine would wait two seconds for one whenever a window is hidden.
# shellcheck disable=SC2034
managedWindows='
[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Managed"="Y"
'
# shellcheck disable=SC2034
unmanagedWindows='
[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Managed"="N"
'

# The font of the signs on the buttons of title bars. Debian's wine does not look where it lies.
buttonSigns=/usr/share/wine/fonts/marlett.ttf

# Runs a Windows program away from our streams: what wine starts first lives on in the background
# and would hold a pipe open that a caller reads to its end.
runDetached() {
  local log=$WINEPREFIX/wine.log
  if ! "${wine[@]}" "$@" </dev/null &>"$log"; then
    cat "$log" >&2
    echo "wine could not run $*." >&2
    return 1
  fi
}

# Ends whatever runs in the prefix.
endSession() { "$wineserver" --kill || true; }  # it fails when nothing runs

# Makes the prefix, unless it stands, and applies the common registry settings and those in $1,
# unless they are in force. A prefix that was left half-made is completed.
prepareWinePrefix() {
  local settings=$commonSettings$1 applied=$WINEPREFIX/settings.reg
  if [[ -e $applied ]] && cmp -s "$applied" - <<<"$settings"; then return; fi

  if [[ ! -e $applied ]]; then runDetached wineboot --update; fi
  cp "$buttonSigns" "$WINEPREFIX/drive_c/windows/Fonts"
  cat >"$applied.new" <<<"$settings"
  runDetached regedit /S "$applied.new"
  "$wineserver" --wait
  mv "$applied.new" "$applied"
}

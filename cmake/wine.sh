#!/bin/bash
# Runs a Windows program the way a test needs it: `cmake/wine.sh program.exe arguments...`.
#
# Each run has a session of its own: a virtual display and a fresh wineserver, both gone afterwards
# together with every process the program has left behind. The prefix, build/wine-test, is made by
# the first run; runs take turns. Output and exit code are the program's, except that a crash of any
# process of the session is shown and never ends with 0.
set -euo pipefail

build=$(realpath "$(dirname "$0")/..")/build
mkdir -p "$build"
export WINEPREFIX=$build/wine-test
# shellcheck source=wine_prefix.sh
source "$(dirname "$0")/wine_prefix.sh"

# A crash report replaces the debugger that would wait on the display for somebody. Without a window
# manager, every window that wine wants one to manage waits two seconds when it is hidden.
settings='Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\AeDebug]
"Auto"="1"
"Debugger"="C:\\windows\\system32\\cmd.exe /c \"C:\\windows\\system32\\winedbg.exe --auto %ld %ld >>C:\\crashes.txt 2>&1\""

[HKEY_CURRENT_USER\Software\Wine\WineDbg]
"ShowCrashDialog"=dword:00000000

[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Managed"="N"'

# $WINEPREFIX is ours alone from here on.
runInSession() {
  "$wineserver" --kill || true  # of a run that was ended by force
  trap '"$wineserver" --kill' EXIT
  trap 'exit 130' INT TERM HUP

  local crashes=$WINEPREFIX/drive_c/crashes.txt
  startVirtualDisplay "$WINEPREFIX.xvfb"
  prepareWinePrefix "$settings"
  runDetached wineboot
  rm -f "$crashes"

  local code=0
  "$wine" "$@" </dev/null &
  wait $! || code=$?

  if [[ -e $crashes ]]; then
    sed '/^Modules:/,/^System information:/d' "$crashes" >&2
    echo "A process of $1 crashed; it ended with $code." >&2
    return $((code == 0 ? 1 : code))
  fi
  return "$code"
}

exec 9>"$WINEPREFIX.lock"
flock 9
runInSession "$@" 9>&-  # nothing in the session holds the lock

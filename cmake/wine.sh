#!/bin/bash
# Runs a Windows program the way a test needs it: `cmake/wine.sh program.exe arguments...`.
#
# Each run has a session of its own: a virtual display and a fresh wineserver, both gone afterwards
# together with every process the program has left behind. The prefix, build/wine-test, is made by
# the first run; runs take turns. Output and exit code are the program's, except that a crash of any
# process of the session is shown and never ends with 0.
set -euo pipefail

WINEPREFIX=$(realpath "$(dirname "$0")/..")/build/wine-test
export WINEPREFIX
mkdir -p "$WINEPREFIX"
source "$(dirname "$0")/virtual_display.sh"
source "$(dirname "$0")/wine_prefix.sh"

# The debugger writes what it finds about a crash into a file.
crashes=$WINEPREFIX/drive_c/crashes.txt
crashSettings='
[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\AeDebug]
"Auto"="1"
"Debugger"="C:\\windows\\system32\\cmd.exe /c \"C:\\windows\\system32\\winedbg.exe --auto %ld %ld >>C:\\crashes.txt 2>&1\""
'

runInSession() {
  endSession  # of a run that was ended by force
  trap endSession EXIT
  trap 'exit 130' INT TERM HUP

  startVirtualDisplay "$WINEPREFIX"
  prepareWinePrefix "$crashSettings$unmanagedWindows"
  runDetached wineboot
  rm -f "$crashes"

  local code=0
  "${wine[@]}" "$@" </dev/null &
  wait $! || code=$?

  if [[ -e $crashes ]]; then
    sed '/^Modules:/,/^System information:/d' "$crashes" >&2
    echo "A process of $1 crashed; it ended with $code." >&2
    return $((code == 0 ? 1 : code))
  fi
  return "$code"
}

exec 9>"$WINEPREFIX/lock"
flock 9
runInSession "$@" 9>&-  # nothing in the session holds the lock

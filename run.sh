#!/bin/bash
# Builds Quillgate and starts it: ./run.sh
#
# Installs the packages that are missing, builds the program and runs it under wine, in the prefix
# build/wine. Returns once the main window is up; the program goes on by itself. Where there is no
# display, it gets a virtual one that ends with it.
set -euo pipefail
cd "$(dirname "$0")"
source cmake/packages.sh

title='Quillgate PRO v1.1'
maxStartSeconds=60
screenshot=$PWD/build/screenshot.png
# The prefix also holds what is known about the run whose supervisor has its lock.
export WINEPREFIX=$PWD/build/wine
pidFile=$WINEPREFIX/pid
displayFile=$WINEPREFIX/display
outputLog=$WINEPREFIX/output.log

step() { echo "== $*"; }

# Runs a command with its output in a file, which is shown when it fails.
quietly() {
  local log=$1
  shift
  if ! "$@" &>"$log"; then
    cat "$log" >&2
    return 1
  fi
}

build() {
  if [[ ! -e build/windows/build.ninja ]]; then cmake --preset windows; fi &&
    cmake --build --preset windows --target quillgate
}

# Prints the program's data folder, once it has made it.
dataFolder() { compgen -G "$WINEPREFIX/drive_c/users/*/AppData/Local/Quillgate" | head -n 1 || true; }

# Runs the program to its end, on a virtual display if $1 is "virtual".
supervise() {
  if [[ $1 == virtual ]]; then startVirtualDisplay; fi
  "$wine" build/windows/quillgate.exe &
  echo $! >"$pidFile"
  local code=0
  wait $! || code=$?
  echo "The program ended with $code."
  rm "$pidFile"
  endSession
}

# Waits until the supervisor has the program going and its main window is up; stores the id of the
# window in $window.
waitForWindow() {
  local supervisor=$1 deadline=$((SECONDS + maxStartSeconds))
  while kill -0 "$supervisor" 2>/dev/null && ((SECONDS < deadline)); do
    if [[ -s $pidFile ]]; then
      if [[ -e $displayFile ]]; then
        DISPLAY=:$(<"$displayFile")
        export DISPLAY
      fi
      if window=$(xdotool search --all --onlyvisible --pid "$(<"$pidFile")" --name "^$title\$" \
        2>/dev/null); then return; fi
    fi
    sleep 0.1
  done
  return 1
}

# Takes a picture of the window once it has been painted: when two in a row are the same.
takeScreenshot() {
  local before after=none
  for _ in {1..20}; do
    before=$after
    import -silent -window "$window" "$screenshot"
    after=$(cksum <"$screenshot")
    if [[ $after == "$before" ]]; then return; fi
    sleep 0.2
  done
}

# Says where the running program can be read, seen and ended.
report() {
  local data display
  data=$(dataFolder)
  echo "  rules: $data/config.xml"
  echo "  log:   $data/MonitorServer.log"
  if [[ -e $displayFile ]]; then
    display=:$(<"$displayFile")
    echo "  picture: $screenshot"
    echo "There is no screen here, so the window is on the virtual display $display. To use it, install"
    echo "x11vnc, run x11vnc -localhost -display $display, and connect a VNC viewer."
  fi
  echo "To end the program, close its window or run: kill $(<"$pidFile")"
}

reportFailure() {
  local log
  log=$(dataFolder)/MonitorServer.log
  echo "The main window did not come up within $maxStartSeconds seconds. What the program printed:"
  cat "$outputLog"
  if [[ -e $log ]]; then
    echo "The end of its log, $log:"
    iconv -f UTF-16LE -t UTF-8 "$log" | tail -n 20
  fi
} >&2

mkdir -p "$WINEPREFIX"
exec 9>"$WINEPREFIX/lock"
if ! flock --nonblock 9; then
  if [[ -s $pidFile ]]; then
    echo "$title is running already."
    report
    exit
  fi
  # One that is being started, or that has just ended.
  if ! flock --timeout 3 9; then
    echo 'Another ./run.sh is at work in this folder.' >&2
    exit 1
  fi
fi
rm -f "$pidFile" "$displayFile"

ensurePackages "${programPackages[@]}"
step 'Building the program (details in build/build.log)'
quietly build/build.log build

source cmake/wine_prefix.sh
if timeout 5 xdotool getdisplaygeometry &>/dev/null; then
  display=real windows=$managedWindows
else
  display=virtual windows=$unmanagedWindows
fi
step "Preparing wine in build/wine"
endSession  # of a supervisor that was ended by force
prepareWinePrefix "$windows"

step "Starting the program on a $display display"
trap 'endSession; exit 130' INT TERM
(supervise "$display" 9>&-) </dev/null &>"$outputLog" &
if ! waitForWindow $!; then
  reportFailure
  endSession
  exit 1
fi
if [[ $display == virtual ]]; then takeScreenshot; fi
echo "$title is running."
report

#!/bin/bash
# Builds Quillgate and starts it: ./run.sh [windows]
#
# Installs the packages that are missing, builds the program for Linux and runs it; with "windows", the
# one for Windows, which runs under wine. Returns once the main window is up; the program goes on by
# itself. Where there is no display, it gets a virtual one that ends with it.
set -euo pipefail
cd "$(dirname "$0")"
source cmake/packages.sh
source cmake/virtual_display.sh

title='Quillgate PRO v1.1'
maxStartSeconds=60
# The folder $state holds what is known about the run whose supervisor has its lock, and the wine
# prefix.
case $* in
  '')
    preset=linux
    packages=("${linuxPackages[@]}")
    state=$PWD/build/run
    ;;
  windows)
    preset=windows
    packages=("${windowsPackages[@]}")
    state=$PWD/build/wine
    export WINEPREFIX=$state
    ;;
  *)
    echo 'usage: ./run.sh [windows]' >&2
    exit 2
    ;;
esac
pidFile=$state/pid
displayFile=$state/display
dataFile=$state/data
outputLog=$state/output.log
screenshot=$state/screenshot.png

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
  if [[ ! -e build/$preset/build.ninja ]]; then cmake --preset "$preset"; fi &&
    cmake --build --preset "$preset" --target quillgate
}

# Finds out where windows can be shown: on a display of X11, on one of Wayland, or on a virtual one.
findScreen() {
  if timeout 5 xdotool getdisplaygeometry &>/dev/null; then
    screen=x11
  elif [[ $preset == linux && -S ${XDG_RUNTIME_DIR-}/${WAYLAND_DISPLAY-} ]]; then
    screen=wayland
  else
    screen=virtual
  fi
}

prepareLinux() {
  local folder
  for folder in "${XDG_DATA_HOME-}" "${HOME:+$HOME/.local/share}" "$PWD"; do
    if [[ $folder == /* ]]; then break; fi
  done
  echo "${folder%/}/Quillgate" >"$dataFile"

  program=(build/linux/quillgate)
  export QT_QPA_PLATFORM=xcb
  if [[ $screen == wayland ]]; then QT_QPA_PLATFORM=wayland; fi
}

prepareWindows() {
  local windows=$managedWindows
  if [[ $screen == virtual ]]; then windows=$unmanagedWindows; fi
  step 'Preparing wine in build/wine'
  endSession  # of a supervisor that was ended by force
  prepareWinePrefix "$windows"
  program=("${wine[@]}" build/windows/quillgate.exe)
}

# Prints the program's data folder; under wine, once it has made it.
dataFolder() {
  if [[ $preset == linux ]]; then
    cat "$dataFile"
  else
    compgen -G "$WINEPREFIX/drive_c/users/*/AppData/Local/Quillgate" | head -n 1 || true
  fi
}

# Runs the program to its end. What it has started ends with it.
supervise() {
  if [[ $screen == virtual ]]; then
    startVirtualDisplay "$state"
    # Wine frames windows itself.
    if [[ $preset == linux ]]; then startWindowManager "$state"; fi
  fi
  setpriv --pdeathsig TERM "${program[@]}" &
  echo $! >"$pidFile"
  local code=0
  wait $! || code=$?
  echo "The program ended with $code."
  rm "$pidFile"
  if [[ $preset == windows ]]; then endSession; fi
}

endRun() {
  kill "$supervisor" 2>/dev/null || true
  if [[ $preset == windows ]]; then endSession; fi
}

# Finds the main window and stores its id in $window.
findWindow() {
  # Nobody may look for windows on Wayland. Who writes to the log has reached the display.
  if [[ $screen == wayland ]]; then
    [[ $(dataFolder)/MonitorServer.log -nt $pidFile ]]
    return
  fi
  if [[ -e $displayFile ]]; then
    DISPLAY=:$(<"$displayFile")
    export DISPLAY
  fi
  window=$(xdotool search --all --onlyvisible --pid "$(<"$pidFile")" --name "^$title\$" 2>/dev/null)
}

# Waits until the supervisor has the program going and its main window is up.
waitForWindow() {
  local deadline=$((SECONDS + maxStartSeconds))
  while kill -0 "$supervisor" 2>/dev/null && ((SECONDS < deadline)); do
    if [[ -s $pidFile ]] && findWindow; then return; fi
    sleep 0.1
  done
  return 1
}

# Takes a picture of the window once it has been painted: when two in a row are the same.
takeScreenshot() {
  local before after=none
  for _ in {1..20}; do
    before=$after
    import -silent -frame -window "$window" "$screenshot"
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
  echo "The main window did not come up. What the program printed:"
  cat "$outputLog"
  if [[ -e $log ]]; then
    echo "The end of its log, $log:"
    iconv -f UTF-16LE -t UTF-8 "$log" | tail -n 20
  fi
} >&2

mkdir -p "$state"
exec 9>"$state/lock"
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

ensurePackages "${commonPackages[@]}" "${packages[@]}"
step "Building the program (details in ${state#"$PWD/"}/build.log)"
quietly "$state/build.log" build

findScreen
if [[ $preset == linux ]]; then
  prepareLinux
else
  source cmake/wine_prefix.sh
  prepareWindows
fi

step "Starting the program ($screen display)"
supervisor=
trap 'endRun; exit 130' INT TERM
(supervise 9>&-) </dev/null &>"$outputLog" &
supervisor=$!
if ! waitForWindow; then
  reportFailure
  endRun
  exit 1
fi
if [[ $screen == virtual ]]; then takeScreenshot; fi
echo "$title is running."
report

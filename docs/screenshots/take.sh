#!/bin/bash
# Takes the screenshots in linux or windows beside this script anew: docs/screenshots/take.sh [windows]
#
# Builds the program, starts it on a virtual display with a data folder of its own, uses it with mouse
# and keyboard, and sends traffic through two rules. Needs what ./test.sh installs, python3, curl,
# and the ports 8080, 8000, 8053 and 5300 on this machine.
set -euo pipefail
cd "$(dirname "$0")/../.."
source cmake/virtual_display.sh

case $* in
  '') system=linux ;;
  windows) system=windows ;;
  *)
    echo 'usage: docs/screenshots/take.sh [windows]' >&2
    exit 2
    ;;
esac
pictures=docs/screenshots/$system
work=$PWD/build/screenshots/$system
mkdir -p "$work"

cmake --preset "$system" >/dev/null
cmake --build --preset "$system" --target quillgate >/dev/null

# Waits for the window with this title and stores its id in $window.
findWindow() {
  local deadline=$((SECONDS + 20))
  until window=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null); do
    ((SECONDS < deadline)) || { echo "No window $1 came." >&2; return 1; }
    sleep 0.1
  done
}

# Presses the mouse at a point of the client area of the window $window.
clickAt() {
  xdotool mousemove --window "$window" $(($1 + frameLeft)) $(($2 + frameTop)) click 1
  sleep 0.3
}

# Chooses the entry behind the selected one in the drop-down list at this point.
chooseNext() {
  clickAt "$1" "$2"
  xdotool key Down Return
  sleep 0.3
}

# Closes the window $window and goes on with the main window.
closeWindow() {
  if [[ $system == linux ]]; then
    xdotool key alt+F4
    sleep 0.3
  else
    local width
    width=$(xdotool getwindowgeometry "$window" | sed -n 's/.*Geometry: \([0-9]*\)x.*/\1/p')
    clickAt $((width - frameLeft - 14)) $((13 - frameTop))
  fi
  window=$main
}

# Takes a picture of the window $window when it has stopped changing.
picture() {
  local before after=none
  xdotool mousemove 1270 1010
  for _ in {1..20}; do
    before=$after
    import -silent -frame -window "$window" -strip PNG8:"$pictures/$1.png"
    after=$(cksum <"$pictures/$1.png")
    if [[ $after == "$before" ]]; then return; fi
    sleep 0.3
  done
}

# Runs what the rules forward to: a web page, and datagrams that come back in upper case.
startTargets() {
  mkdir -p "$work/page"
  echo 'Hello from behind the forwarded port.' >"$work/page/index.html"
  python3 -m http.server 8000 --bind 127.0.0.1 --directory "$work/page" &>/dev/null &
  started+=($!)
  python3 -c '
import socket
target = socket.socket(type=socket.SOCK_DGRAM)
target.bind(("127.0.0.1", 5300))
while True:
    data, sender = target.recvfrom(65535)
    target.sendto(data.upper(), sender)' &
  started+=($!)
}

sendTraffic() {
  curl --silent --output /dev/null --retry 5 --retry-connrefused http://127.0.0.1:8080/
  python3 -c '
import socket
client = socket.socket(type=socket.SOCK_DGRAM)
client.settimeout(5)
for text in ("which way to the harbour?", "\x00\x01\x02 and bytes"):
    client.sendto(text.encode(), ("127.0.0.1", 8053))
    client.recvfrom(65535)'
}

# Starts the program, which keeps its folder in $data, with three rules.
startProgram() {
  rm -rf "$data/Quillgate"
  mkdir -p "$data/Quillgate"
  cat >"$data/Quillgate/config.xml" <<'XML'
<config><rules>
<rule id="1"><enabled>1</enabled><proto>tcp</proto><localPort>8080</localPort><targetIp>127.0.0.1</targetIp><targetPort>8000</targetPort></rule>
<rule id="2"><enabled>1</enabled><proto>udp</proto><localPort>8053</localPort><targetIp>127.0.0.1</targetIp><targetPort>5300</targetPort></rule>
<rule id="3"><enabled>0</enabled><proto>tcp</proto><localPort>2222</localPort><targetIp>server.example</targetIp><targetPort>22</targetPort></rule>
</rules></config>
XML
  "$@" </dev/null &>"$work/output.log" &
  started+=($!)
}

# Where the client area lies in a window as the display knows it.
frameLeft=0
frameTop=0

startLinuxProgram() {
  startWindowManager "$work"
  # The folder is in the pictures.
  data=/tmp/quillgate-screenshots
  XDG_DATA_HOME=$data QT_QPA_PLATFORM=xcb startProgram build/linux/quillgate
}

startWindowsProgram() {
  export WINEPREFIX=$work
  source cmake/wine_prefix.sh
  trap 'endSession; endAll' EXIT
  endSession
  prepareWinePrefix "$unmanagedWindows"
  # Wine draws frames itself.
  frameLeft=4
  frameTop=23
  data=$(echo "$WINEPREFIX"/drive_c/users/*/AppData/Local)
  startProgram "${wine[@]}" build/windows/quillgate.exe
}

endAll() {
  kill "${started[@]}" 2>/dev/null || true
  if [[ $system == linux ]]; then rm -rf "$data"; fi
}

started=()
data=
trap endAll EXIT
startVirtualDisplay "$work"
startTargets
case $system in
  linux) startLinuxProgram ;;
  windows) startWindowsProgram ;;
esac

findWindow 'Quillgate PRO v1.1'
main=$window
picture main-window

clickAt 265 22
findWindow Config
picture rule-editor
closeWindow

clickAt 415 22
findWindow Monitor
chooseNext 195 22
sendTraffic
picture monitor-ascii
chooseNext 645 22
picture monitor-hex
closeWindow

clickAt 540 22
findWindow Log
sendTraffic
picture log
closeWindow

clickAt 625 22
picture status-panel

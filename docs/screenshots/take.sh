#!/bin/bash
# Takes the screenshots in this folder anew: docs/screenshots/take.sh
#
# Builds the program, starts it on a virtual display with a data folder of its own, uses it with mouse
# and keyboard, and sends traffic through two rules. Needs what ./test.sh installs, python3, curl,
# and the ports 8080, 8000, 8053 and 5300 on this machine.
set -euo pipefail
cd "$(dirname "$0")/../.."

pictures=docs/screenshots
export WINEPREFIX=$PWD/build/wine-screenshots
mkdir -p "$WINEPREFIX"
source cmake/wine_prefix.sh

cmake --preset windows >/dev/null
cmake --build --preset windows --target quillgate >/dev/null

# Waits for the window with this title and stores its id in $window.
findWindow() {
  local deadline=$((SECONDS + 20))
  until window=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null); do
    ((SECONDS < deadline)) || { echo "No window $1 came." >&2; return 1; }
    sleep 0.1
  done
}

# Presses the mouse at a point of the window $window.
clickAt() {
  xdotool mousemove --window "$window" "$1" "$2" click 1
  sleep 0.3
}

# Chooses the entry behind the selected one in the drop-down list at a point of the window $window.
chooseNext() {
  clickAt "$1" "$2"
  xdotool key Down Return
  sleep 0.3
}

# Presses the close box of the window $window and goes on with the main window.
closeWindow() {
  local width
  width=$(xdotool getwindowgeometry "$window" | sed -n 's/.*Geometry: \([0-9]*\)x.*/\1/p')
  clickAt $((width - 14)) 13
  window=$main
}

# Takes a picture of the window $window when it has stopped changing.
picture() {
  local before after=none
  xdotool mousemove 1270 1010
  for _ in {1..20}; do
    before=$after
    import -silent -window "$window" -strip "$pictures/$1.png"
    after=$(cksum <"$pictures/$1.png")
    if [[ $after == "$before" ]]; then return; fi
    sleep 0.3
  done
}

# Runs what the rules forward to: a web page, and datagrams that come back in upper case.
startTargets() {
  mkdir -p "$WINEPREFIX/page"
  echo 'Hello from behind the forwarded port.' >"$WINEPREFIX/page/index.html"
  python3 -m http.server 8000 --bind 127.0.0.1 --directory "$WINEPREFIX/page" &>/dev/null &
  targets=($!)
  python3 -c '
import socket
target = socket.socket(type=socket.SOCK_DGRAM)
target.bind(("127.0.0.1", 5300))
while True:
    data, sender = target.recvfrom(65535)
    target.sendto(data.upper(), sender)' &
  targets+=($!)
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

writeRules() {
  local data
  data=$(echo "$WINEPREFIX"/drive_c/users/*/AppData/Local)
  rm -rf "$data/Quillgate"
  mkdir -p "$data/Quillgate"
  cat >"$data/Quillgate/config.xml" <<'XML'
<config><rules>
<rule id="1"><enabled>1</enabled><proto>tcp</proto><localPort>8080</localPort><targetIp>127.0.0.1</targetIp><targetPort>8000</targetPort></rule>
<rule id="2"><enabled>1</enabled><proto>udp</proto><localPort>8053</localPort><targetIp>127.0.0.1</targetIp><targetPort>5300</targetPort></rule>
<rule id="3"><enabled>0</enabled><proto>tcp</proto><localPort>2222</localPort><targetIp>server.example</targetIp><targetPort>22</targetPort></rule>
</rules></config>
XML
}

targets=()
trap 'endSession; kill "${targets[@]}" 2>/dev/null || true' EXIT
endSession
startVirtualDisplay
prepareWinePrefix "$unmanagedWindows"
writeRules
startTargets
"$wine" build/windows/quillgate.exe </dev/null &>"$WINEPREFIX/output.log" &

# The buttons' places are those in the main window with its caption and its frame.
findWindow 'Quillgate PRO v1.1'
main=$window
picture main-window

clickAt 270 50
findWindow Config
picture rule-editor
closeWindow

clickAt 420 50
findWindow Monitor
chooseNext 200 45
sendTraffic
picture monitor-ascii
chooseNext 650 45
picture monitor-hex
closeWindow

clickAt 545 50
findWindow Log
sendTraffic
picture log
closeWindow

clickAt 630 50
picture status-panel

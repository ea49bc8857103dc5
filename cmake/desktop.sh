#!/bin/bash
# Runs a native program that needs a desktop the way a test needs it: `cmake/desktop.sh program
# arguments...`.
#
# Each run has a session of its own: a virtual display with a window manager, and a message bus with
# the services for screen readers. All of it ends with the program. Output and exit code are the
# program's.
set -euo pipefail

if [[ ${1-} != --in-session ]]; then
  # The services that the bus starts have their sockets there, too.
  XDG_RUNTIME_DIR=$(mktemp -d)
  export XDG_RUNTIME_DIR
  trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT
  dbus-run-session -- "$0" --in-session "$@"
  exit
fi
shift

trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
trap 'exit 130' INT TERM HUP
source "$(dirname "$0")/virtual_display.sh"

startVirtualDisplay "$XDG_RUNTIME_DIR" 2560x1600  # room for windows at twice their size
unset WAYLAND_DISPLAY
export LC_ALL=C.UTF-8
startWindowManager "$XDG_RUNTIME_DIR"

code=0
"$@" </dev/null &
wait $! || code=$?
exit "$code"

# shellcheck shell=bash
# A display for programs with windows where there is no screen. Sourced.

# Starts a virtual display that ends with this process, and points DISPLAY at it. Its number is in
# the file `display` of the folder $1, what it says in `xvfb.log`. $2 is its size in pixels.
startVirtualDisplay() {
  local display=$1/display log=$1/xvfb.log size=${2-1280x1024}
  rm -f "$display"
  setpriv --pdeathsig TERM Xvfb -displayfd 1 -screen 0 "${size}x24" -nolisten tcp -noreset \
    </dev/null >"$display" 2>"$log" &
  local server=$!
  until [[ -s $display ]]; do
    if ! kill -0 "$server" 2>/dev/null; then
      cat "$log" >&2
      echo 'The virtual display did not start.' >&2
      return 1
    fi
    sleep 0.05
  done
  DISPLAY=:$(<"$display")
  export DISPLAY
}

# Starts a window manager on $DISPLAY that ends with it: windows get frames, can be moved and closed,
# and take the keyboard. Its log is `openbox.log` in the folder $1.
startWindowManager() {
  local log=$1/openbox.log
  openbox --sm-disable </dev/null &>"$log" &
  local manager=$!
  until xdotool get_num_desktops &>/dev/null; do
    if ! kill -0 "$manager" 2>/dev/null; then
      cat "$log" >&2
      echo 'The window manager did not start.' >&2
      return 1
    fi
    sleep 0.05
  done
}

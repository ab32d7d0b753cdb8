# What a script stands on that drives the program from outside: helper programs that end with it, by
# their id, a screen and a sound server of its own. Sourced, with set -euo pipefail.
# shellcheck shell=bash

declare -a started=()  # the ids of helper programs, in the order of their start

# begin LOG COMMAND...: a helper program that runs until the end; what it says goes into LOG.
begin() {
  local log=$1
  shift
  "$@" >"$log" 2>&1 &
  started+=($!)
}

# Ends them, the last one first.
end_started() {
  local i
  for ((i = ${#started[@]} - 1; i >= 0; i--)); do
    kill "${started[i]}" 2>/dev/null || true
    wait "${started[i]}" 2>/dev/null || true
  done
  started=()
}

# end_with_this_script COMMAND: runs it once, however the script ends.
end_with_this_script() {
  # shellcheck disable=SC2064 # the command as it is now
  trap "$1" EXIT
  trap 'exit 143' TERM
  trap 'exit 130' INT
  trap 'exit 129' HUP
}

# Waits for a condition, 20 s at most.
await() {
  local i
  for ((i = 0; i < 400; i++)); do
    "$@" >/dev/null 2>&1 && return 0
    sleep 0.05
  done
  echo "$(basename "$0"): gave up waiting for: $*" >&2
  return 1
}

# begin_screen DIRECTORY: one of 1920 x 1080 under a number that nobody has, as $DISPLAY. Its files
# are in the directory.
begin_screen() {
  : >"$1/display"
  begin "$1/xvfb.log" bash -c 'exec Xvfb -displayfd 3 -screen 0 1920x1080x24 -noreset -nolisten tcp \
    3>"$0"' "$1/display"
  await test -s "$1/display"
  DISPLAY=:$(cat "$1/display")
  # Whatever session this was started in.
  unset WAYLAND_DISPLAY
  export DISPLAY XDG_SESSION_TYPE=x11
}

# begin_sound DIRECTORY: a sound server without devices but those that the commands on standard input
# make, as $PULSE_SERVER. Its files are in the directory.
begin_sound() {
  local socket=$1/pulse.socket
  {
    echo "load-module module-native-protocol-unix auth-anonymous=1 socket=$socket"
    cat
  } >"$1/pulse.pa"
  # A key of the user's own sound server, where there is one, is nothing to this one.
  export PULSE_SERVER=unix:$socket PULSE_COOKIE=$1/pulse.cookie
  begin "$1/pulse.log" env -u PULSE_SERVER HOME="$1" pulseaudio -n -F "$1/pulse.pa" --daemonize=no \
    --exit-idle-time=-1 --use-pid-file=no --log-target=stderr
  await test -S "$socket"
}

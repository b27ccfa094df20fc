# SPDX-License-Identifier: Apache-2.0
# What every script here begins with: a display, a session bus and a home of its own for the program
# under test, and verbs to wait for what it does. All of it is gone when the script ends.
set -euo pipefail
if [ -z "${KESTOVA_SAMPLE_DESKTOP:-}" ]; then
  KESTOVA_SAMPLE_DESKTOP=1 exec dbus-run-session -- "$0" "$@"
fi

folder=$(mktemp -d)
started=()

end_desktop() {
  local process
  for process in "${started[@]}"; do
    kill "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  rm -rf "$folder"
}
trap end_desktop EXIT

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# wait_for COMMAND…: until it succeeds, for at most a minute.
wait_for() {
  local deadline=$((SECONDS + 60))
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$deadline" ] || fail "waited in vain for: $*"
    sleep 0.05
  done
}

# begin COMMAND…: in the background; it is ended with the script at the latest.
begin() {
  "$@" &
  started+=($!)
}

# window_of PROCESS [TITLE]: its window on the screen, whose title matches.
window_of() { xdotool search --all --onlyvisible --pid "$1" --name "${2:-.}" | tail -n 1 | grep .; }

# press PROCESS KEY…: into its window.
press() {
  local window
  window=$(window_of "$1")
  shift
  xdotool windowfocus --sync "$window" key --clearmodifiers "$@"
}

# has_ended PROCESS
has_ended() { ! kill -0 "$1" 2>/dev/null; }

begin Xvfb -displayfd 3 -screen 0 1000x750x24 -nolisten tcp -noreset 3>"$folder/display" 2>/dev/null
wait_for test -s "$folder/display"
export DISPLAY=":$(<"$folder/display")"
export HOME="$folder/home" XDG_CONFIG_HOME="$folder/config" XDG_RUNTIME_DIR="$folder/run"
export QT_QPA_PLATFORM=xcb GDK_BACKEND=x11 GSK_RENDERER=cairo GTK_A11Y=none LC_ALL=C.UTF-8
# Fonts and themes are kept until the end by the toolkits, which is no leak of the program's.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0"
unset WAYLAND_DISPLAY
mkdir -m 700 "$HOME" "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR"

#!/bin/sh
# Runs a program on a virtual 1280x1024 screen managed by openbox, as a user's desktop
# would show it: windows get a frame and a title bar, and are placed by a window manager.
# The program's exit code is this script's.
set -eu
exec xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp" sh -c '
  openbox --sm-disable >/dev/null 2>&1 &
  wm=$!
  # The window manager is ready once it has claimed the screen.
  tries=0
  until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id"; do
    tries=$((tries + 1))
    [ $tries -gt 300 ] && { echo "openbox did not start" >&2; kill $wm; exit 1; }
    sleep 0.1
  done
  status=0
  "$@" || status=$?
  kill $wm 2>/dev/null || true
  exit $status
' desktop "$@"

# By which road the desktop and windows come into the scene, and what is missing for it. Sourced by
# ./run. Starts nothing: what is installed tells.
# shellcheck shell=bash

# As the program tells it.
is_wayland() {
  [ -n "${WAYLAND_DISPLAY:-}" ] || [ "${XDG_SESSION_TYPE:-}" = wayland ]
}

# Where programs leave what others are to know of them, a directory a line.
data_directories() {
  tr : '\n' <<<"${XDG_DATA_HOME:-$HOME/.local/share}:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}"
}

has_portal() {
  local directory
  while read -r directory; do
    [ ! -e "$directory/dbus-1/services/org.freedesktop.portal.Desktop.service" ] || return 0
  done < <(data_directories)
  return 1
}

# The portal itself only asks: each desktop brings the part that shares its screen, and says so.
shares_screens() {
  local directory
  while read -r directory; do
    ! grep -qs '^Interfaces=.*org\.freedesktop\.impl\.portal\.ScreenCast\b' \
      "$directory"/xdg-desktop-portal/portals/*.portal || return 0
  done < <(data_directories)
  return 1
}

# What brings that part for the desktop in use.
portal_package() {
  case :${XDG_CURRENT_DESKTOP:-}: in
    *:GNOME:*) echo xdg-desktop-portal-gnome ;;
    *:KDE:*) echo xdg-desktop-portal-kde ;;
    *:sway:* | *:wlroots:*) echo xdg-desktop-portal-wlr ;;
    *) echo "what it needs for your desktop (such as xdg-desktop-portal-gnome, -kde or -wlr)" ;;
  esac
}

say_road() {
  local without="run: Wayland, without the desktop and windows:"
  if ! is_wayland; then
    echo "run: X11: the desktop and windows are captured from the display $DISPLAY"
  elif ! has_portal; then
    echo "$without install xdg-desktop-portal and $(portal_package)" >&2
  elif ! shares_screens; then
    echo "$without nothing here shares the screen with xdg-desktop-portal;" \
      "install $(portal_package)" >&2
  else
    echo "run: Wayland: the desktop and windows are captured through xdg-desktop-portal, which asks you"
  fi
}

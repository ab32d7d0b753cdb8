# The road of an operator, played by itself on a virtual screen with a sound server of its own:
# log in, choose an activity, compose, broadcast, stop. Sourced by ./run, which gives $root, $state,
# $seconds and its helpers (start_service, ...), those of stand.sh among them.
#
# Whatever it makes or writes is in $tour, a service with an empty database included: no account and
# no activity of the user's is touched, and nothing is published to where theirs point.
# shellcheck shell=bash

readonly login_title='^登录$' window_title='^orvane$' activity_title='^选择活动$'
readonly text_title='^添加文本$' picture_title='^打开图片文件$' media_title='^打开视频文件$'

# Where things are in the main window, whose size is fixed, and in its dialogs.
readonly add_layer=(1198 660) choose_activity=(150 680) go_live=(910 671)
readonly first_card=(120 140) activity_ok=(550 502)
readonly bare=(700 60)  # nothing there: a click takes the selection back
readonly text_colour=(69 225) text_ok=(310 280)
# The top left corner of the preview, 960 x 540 for a scene of 1920 x 1080.
readonly preview=(12 88)

prepare_tour() {
  tour=$state/tour
  rm -rf "$tour"
  mkdir -p "$tour/recording"
  chmod 700 "$tour"
  data=$tour
  runtime=$(mktemp -d)
  # What Qt, SDL and the sound server keep of their own stays with the tour.
  export XDG_RUNTIME_DIR=$runtime XDG_CONFIG_HOME=$runtime/config XDG_CACHE_HOME=$runtime/cache
  unset XAUTHORITY SDL_AUDIODRIVER SDL_VIDEODRIVER
  service_options=(--record "$tour/recording")
}

# The picture and the film that the tour adds.
make_material() {
  convert -size 960x540 radial-gradient:'#3a6073-#16222a' -resize 1920x1080 "$tour/picture.png"
  local colours=c0=0xf7971e:c1=0xc33764:c2=0x1d2671:c3=0x43c6ac:n=4
  local length=$((seconds + 30))
  ffmpeg -v error -nostdin -y \
    -f lavfi -i "gradients=s=640x360:r=25:$colours:speed=0.02:seed=9:d=$length" \
    -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=$length" \
    -vf "drawtext=fontfile=wryh.ttf:text='%{pts\\:hms}':fontsize=44:fontcolor=white:x=24:y=h-68" \
    -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac -ac 2 "$tour/film.mp4"
}

start_virtual_screen() {
  begin_screen "$runtime"
  begin "$runtime/openbox.log" openbox --sm-disable
  # The dialogs have round corners and shadows, which are black without a compositor.
  begin "$runtime/picom.log" picom --backend xrender --config /dev/null
}

start_virtual_sound() {
  begin_sound "$runtime" <<END
load-module module-null-sink sink_name=speakers
set-default-sink speakers
END
}

# The operator's hands.

# xdotool gives up where a window goes while it looks through them, so each move is tried again.

shows() {
  xdotool search --onlyvisible --name "$1"
}

gone() {
  local found
  found=$(xdotool search --onlyvisible --name "$1" 2>&1) || true
  [ -z "$found" ]
}

activate_now() {
  xdotool search --onlyvisible --name "$1" windowactivate --sync
}

activate() {
  await activate_now "$1"
}

point_at() {
  xdotool search --onlyvisible --name "$1" mousemove --window %1 "$2" "$3"
}

# click TITLE X Y: a click into the window of that title, once it is there.
click() {
  activate "$1" && await point_at "$@" && sleep 0.1 && xdotool click 1
}

keys() {
  xdotool key --delay 150 "$@"
}

# drag X Y TO_X TO_Y, on the preview.
drag() {
  point_at_preview "$1" "$2" && sleep 0.1 && xdotool mousedown 1 || return 1
  local step steps=8
  for ((step = 1; step <= steps; step++)); do
    point_at_preview $(($1 + ($3 - $1) * step / steps)) $(($2 + ($4 - $2) * step / steps)) &&
      sleep 0.05 || return 1
  done
  xdotool mouseup 1 sleep 0.2
}

point_at_preview() {
  await point_at "$window_title" $((preview[0] + $1)) $((preview[1] + $2))
}

click_preview() {
  click "$window_title" $((preview[0] + $1)) $((preview[1] + $2)) && sleep 0.2
}

pictures=()

# A picture of the screen, named after the step.
keep() {
  local file
  file=$tour/$(printf '%02d' $((${#pictures[@]} + 1)))-$1.png
  sleep 0.6
  import -window root "$file"
  pictures+=("$file")
}

# The steps. Each is left with an error as soon as one of its hands' moves fails.

log_in() {
  activate "$login_title" && keep login && activate "$login_title" && keys Return &&
    await gone "$login_title" && await shows "$window_title" && keep window
}

# add_from_menu ENTRY: an entry of the menu of texts (1), pictures (2) and films (3).
add_from_menu() {
  click "$window_title" "${add_layer[@]}" && sleep 0.3 || return 1
  [ "$1" != 1 ] || keep menu
  local i
  for ((i = 0; i < $1; i++)); do
    keys Down
  done
  keys Return
}

# add_file ENTRY TITLE FILE NAME: the dialog opens where the program was started.
add_file() {
  add_from_menu "$1" && activate "$2" && xdotool type --delay 30 "$3" && keep "$4" &&
    keys Return && await gone "$2"
}

add_text() {
  add_from_menu 1 && activate "$text_title" && xdotool type --delay 30 "$1" || return 1
  click "$text_title" "${text_colour[@]}" && sleep 0.5 && keys Return && sleep 0.3 || return 1
  keep text && click "$text_title" "${text_ok[@]}" && await gone "$text_title"
}

choose_an_activity() {
  click "$window_title" "${choose_activity[@]}" && activate "$activity_title" && sleep 0.5 &&
    click "$activity_title" "${first_card[@]}" && keep activities &&
    click "$activity_title" "${activity_ok[@]}" && await gone "$activity_title"
}

# The film grows and moves to the middle, the text goes below it.
compose() {
  click_preview 160 120 && drag 160 120 285 175 && drag 443 233 683 368 &&
    click "$window_title" "${bare[@]}" && click_preview 100 25 && drag 100 25 240 455 &&
    keep composed && click "$window_title" "${bare[@]}"
}

says() {
  grep -q "\"event\":\"$1\"" "$tour/service.log"
}

broadcast() {
  click "$window_title" "${go_live[@]}" && await says publish || return 1
  sleep $((seconds / 2)) && keep live && sleep $((seconds - seconds / 2)) || return 1
  # The button moves with what stands beside it, but the keyboard is still on it.
  activate "$window_title" && keys space && await says broadcast-ended && await says publish-done
}

walk() {
  log_in &&
    add_file 2 "$picture_title" picture.png picture &&
    add_file 3 "$media_title" film.mp4 film &&
    add_text "Orvane, live" &&
    compose &&
    choose_an_activity && broadcast && keep stopped
}

play_tour() {
  make_material
  start_virtual_screen
  start_virtual_sound
  "$root/build/release/src/shell/orvane" >"$tour/program.log" 2>&1 &
  program=$!
  local status=0
  if ! walk; then
    status=1
    keep where-it-stopped || true
    echo "run: the tour stopped half-way; what was seen and said is in $tour" >&2
  fi
  kill -TERM "$program" 2>/dev/null || true
  wait "$program" || status=1
  program=
  report_tour || status=1
  return $status
}

report_tour() {
  echo "No display here: played the road on a virtual screen."
  [ ! -s rtmp.txt ] || echo "While it was live it could be watched at $(cat rtmp.txt)"
  printf 'Screenshot: %s\n' ${pictures[@]+"${pictures[@]}"}
  local recording
  recording=$(find recording -name '*.flv' -size +0 -print -quit)
  [ -n "$recording" ] || {
    echo "run: there is no recording" >&2
    return 1
  }
  ffprobe -hide_banner "$tour/$recording" 2>&1
}

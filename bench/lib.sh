# shellcheck shell=bash disable=SC2034
# Shared by the scripts here: a screen, a sound server, an RTMP server and what is filmed, all of
# their own, all ended by id. Sourced, with set -euo pipefail.
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
bin=$root/build/release/bench
samples=${XDG_CACHE_HOME:-$HOME/.cache}/orvane/bench  # made once
film=$samples/fractal.mp4
film_seconds=600
zoom_seconds=12         # after so long the film begins anew
clock_at=0,0            # where the clock strip stands in the scene
beep_hz=3000
preview_at=960,540,960,540  # the preview's place and size
flash_ms=2013           # no multiple of a picture's 40 ms: the beeps fall on all phases

. "$root/tools/stand.sh"

stop_all() {
  trap - EXIT
  end_started
  [ -z "${work:-}" ] || rm -rf "$work"
}

# A helper program whose output goes into a file of its name.
run_beside() {
  local name=$1
  shift
  begin "$work/$name.log" "$@"
}

build() {
  "$root/tools/install-packages" bench
  [ -f "$root/build/release/build.ninja" ] || cmake --preset release -S "$root" >/dev/null
  cmake --build "$root/build/release" --target live_road stage neighbour cost encoder_alone \
    subscriber judge \
    >"$work/build.log" || { cat "$work/build.log" >&2; exit 1; }
}

# Pictures, sound and films that scenes use, made on the first run.
make_samples() {
  mkdir -p "$samples"
  local i
  for i in 1 2 3 4; do
    [ -s "$samples/plasma$i.png" ] ||
      convert -size 480x350 "plasma:" -seed "$i" -depth 8 "PNG24:$samples/plasma$i.png"
  done
  [ -s "$film" ] || make_film
}

# A zoom into a fractal, with detail and motion everywhere, 3 Mbit/s and different at each of its
# 25 pictures a second. One dive takes half a minute to make; the film repeats it, under one sound.
make_film() {
  local zoom=$samples/zoom.$$.mp4 whole=$samples/whole.$$.mp4
  ffmpeg -v error -y -f lavfi -i "mandelbrot=size=1280x720:rate=25:maxiter=600:start_scale=0.3:\
end_scale=0.0003:end_pts=$((zoom_seconds * 25))" -t "$zoom_seconds" -c:v libx264 -preset veryfast \
    -b:v 3M -maxrate 4M -bufsize 6M -pix_fmt yuv420p "$zoom"
  ffmpeg -v error -y -stream_loop $((film_seconds / zoom_seconds - 1)) -i "$zoom" \
    -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=$film_seconds" \
    -filter_complex "[1:a]pan=stereo|c0=c0|c1=c0[a]" -map 0:v -map "[a]" -c:v copy -c:a aac "$whole"
  mv "$whole" "$film"
  rm -f "$zoom"
}

start_screen() {
  begin_screen "$work"
  screen_id=${started[-1]}
  export QT_QPA_PLATFORM=xcb
  # Every preview stands at the same place, whole and on top: what is filmed is the same with each.
  local x y size title
  IFS=, read -r x y size <<<"$preview_at"
  {
    echo '<openbox_config xmlns="http://openbox.org/3.4/rc"><applications>'
    for title in live_road preview 'gst-launch*'; do
      echo "<application title=\"$title\"><decor>no</decor><layer>above</layer>" \
        "<position force=\"yes\"><x>$x</x><y>$y</y></position></application>"
    done
    echo '</applications></openbox_config>'
  } >"$work/openbox.xml"
  run_beside openbox openbox --sm-disable --config-file "$work/openbox.xml"
  await bash -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q window'
}

start_sound() {
  mkdir -p "$work/pulse"
  export XDG_RUNTIME_DIR=$work/pulse SDL_AUDIODRIVER=pulseaudio
  begin_sound "$work/pulse" <<END
load-module module-null-sink sink_name=speakers rate=48000
load-module module-null-sink sink_name=voice rate=48000
set-default-sink speakers
load-module module-remap-source master=voice.monitor source_name=microphone source_properties="device.description='Microphone'"
set-default-source microphone
END
  await pactl info
}

start_rtmp() {
  local port
  port=$(for ((p = 19350; p < 19999; p++)); do
    (exec 3<>"/dev/tcp/127.0.0.1/$p") 2>/dev/null || { echo "$p"; break; }
  done)
  mkdir -p "$work/recordings" "$work/nginx"
  chmod 777 "$work/recordings"
  cat >"$work/nginx/nginx.conf" <<END
load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;
daemon off;
master_process off;
pid $work/nginx/pid;
error_log $work/nginx/error.log;
events { worker_connections 64; }
rtmp {
  server {
    listen 127.0.0.1:$port;
    chunk_size 4096;
    application live {
      live on;
      drop_idle_publisher 5s;
      record all;
      record_path $work/recordings;
      record_unique on;
    }
  }
}
END
  run_beside nginx nginx -p "$work/nginx" -c "$work/nginx/nginx.conf"
  await bash -c "exec 3<>/dev/tcp/127.0.0.1/$port"
  address=rtmp://127.0.0.1:$port/live/stream
}

# The newest recording, once the server has closed it.
recording() {
  sleep 1
  find "$work/recordings" -name '*.flv' -printf '%T@ %p\n' | sort -n | tail -1 | cut -d' ' -f2-
}

# What is filmed: a clock strip on top of the screen, and below it a window that plays.
start_stage() {
  run_beside stage "$bin/stage" --window 1280x720+0+40 --title playing --fps 25 --play
  run_beside strip "$bin/stage" --window 1216x32+0+0 --title strip --fps 50 --clock "$@"
  run_beside small "$bin/stage" --window 640x360+1280+40 --title small --fps 25 --play
  await bash -c "xprop -name strip WM_STATE | grep -q Normal"
  await bash -c "xprop -name small WM_STATE | grep -q Normal"
}

# The layers of a scene as arguments of live_road, into the array "layers".
use_scene() {
  layers=(--layer desktop --layer "pic:$samples/plasma1.png@1400,420,480,350"
    --layer "text:Live from the studio@80,940" --layer "file:$film@1240,60,640,360")
  case $1 in
    S4) ;;
    S10)
      layers+=(--layer "file:$film@20,780,480,270"
        --layer "window:small@640,700,640,360"
        --layer "pic:$samples/plasma2.png@40,60" --layer "pic:$samples/plasma3.png@540,80,300,220"
        --layer "pic:$samples/plasma4.png@700,420,320,240" --layer "text:二号文字@1300,980")
      ;;
    *)
      echo "no scene $1: S4 or S10" >&2
      return 2
      ;;
  esac
}

# Everything above, in a working directory with the font that texts are drawn with.
start_all() {
  work=$(mktemp -d)
  end_with_this_script stop_all
  build
  make_samples
  start_screen
  start_sound
  ln -s /usr/share/fonts/truetype/wqy/wqy-microhei.ttc "$work/wryh.ttf"
  cd "$work"
}

# A neighbour that takes what it can get, until it is told to leave: arithmetic or memory, COUNT.
neighbour_comes() {
  "$bin/neighbour" "$@" >"$work/neighbour.log" 2>&1 &
  neighbour=$!
  started+=("$neighbour")
  await grep -q began_ms "$work/neighbour.log"
}

neighbour_leaves() {
  kill "$neighbour"
  wait "$neighbour" || true
}

# The value of KEY= in a file.
value_of() {
  sed -nE "s/.*\b$1=([-0-9.]+).*/\1/p" "$2" | tail -1
}

median() {
  sort -n | awk '{ v[NR] = $1 } END { if (NR) print v[int((NR + 1) / 2)] }'
}

#!/usr/bin/env bash
# The two message boxes, on a real (virtual) screen: setup.exe missing (333)
# and a setup.exe already running (60). For each: the box appears with its
# exact caption and text, a screenshot is saved, a key press closes it and the
# run completes with exit code 0.
# Usage: message_boxes.sh BIN_DIR ARTIFACT_DIR
set -uo pipefail
bin="$1"
artifacts="$2"
root=$(cd "$(dirname "$0")/../.." && pwd)
source "$root/scripts/lib/setup.sh"
source "$root/scripts/lib/stage.sh"

for tool in Xvfb xdotool import; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed (scripts/test installs it)"; exit 77; }
done
[ -f /usr/share/fonts/truetype/wqy/wqy-microhei.ttc ] || { echo "SKIP: fonts-wqy-microhei missing"; exit 77; }

display=""
for n in $(seq 90 120); do
  if [ ! -e "/tmp/.X$n-lock" ]; then display=":$n"; break; fi
done
[ -n "$display" ] || { echo "SKIP: no free X display"; exit 77; }
Xvfb "$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1
kill -0 "$xvfb" 2>/dev/null || { echo "SKIP: Xvfb could not start"; exit 77; }

# A prefix of its own: the shared test prefix was booted without a display.
outer_prefix="${WINEPREFIX:-}"
prefix=$(mktemp -d /tmp/oru-msgbox-prefix.XXXXXX)
cleanup() {
  [ -n "${sleeper:-}" ] && kill "$sleeper" 2>/dev/null
  WINEPREFIX="$prefix" wineserver -k >/dev/null 2>&1
  rm -rf "$prefix"
  kill "$xvfb" 2>/dev/null
  export WINEPREFIX="$outer_prefix"
}
trap cleanup EXIT
export DISPLAY="$display"
start_wine_prefix "$prefix" || exit 1
cd "$prefix/drive_c"
wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v SimSun /t REG_SZ /d 'WenQuanYi Micro Hei' /f >/dev/null 2>&1
mkdir -p "$artifacts"
failures=0

# expect_box NAME CAPTION SETUP_MODE EXPECTED_LOG_LINE
expect_box() {
  local name="$1" caption="$2" mode="$3" line="$4"
  stage_installation "$bin" "$bin/no-setup-here"
  local installer="$ORU_APP_UNIX/$ORU_PV/Installer"
  sleeper=""
  if [ "$mode" = running ]; then
    mkdir -p "$installer"
    cp "$bin/setup_stub.exe" "$installer/setup.exe"
    local other; other=$(mktemp -d "$prefix/drive_c/other.XXXXXX")
    cp "$bin/helper_proc.exe" "$other/setup.exe"
    wine "$other/setup.exe" sleep 60000 >/dev/null 2>&1 &
    sleeper=$!
    sleep 2
  fi
  (cd "$ORU_APP_UNIX/uninstall" && wine ./oru_uninstall.exe >/dev/null 2>&1) &
  local run=$!
  local window=""
  for _ in $(seq 1 60); do
    window=$(xdotool search --name "^$caption\$" 2>/dev/null | head -n 1)
    [ -n "$window" ] && break
    sleep 0.5
  done
  if [ -z "$window" ]; then
    echo "FAIL [$name]: no window captioned '$caption' appeared"
    failures=$((failures + 1)); kill "$run" 2>/dev/null; return
  fi
  sleep 1
  import -window root "$artifacts/message_box_$name.png"
  echo "[$name] window '$(xdotool getwindowname "$window")' shown; screenshot $artifacts/message_box_$name.png"
  xdotool windowactivate --sync "$window" >/dev/null 2>&1
  xdotool key --window "$window" Return
  local code=""
  for _ in $(seq 1 60); do
    if ! kill -0 "$run" 2>/dev/null; then wait "$run"; code=$?; break; fi
    sleep 0.5
  done
  [ -n "$code" ] || { echo "FAIL [$name]: the run did not finish after the box was closed"; failures=$((failures + 1)); kill "$run"; return; }
  [ "$code" -eq 0 ] || { echo "FAIL [$name]: exit code $code"; failures=$((failures + 1)); }
  local log="$ORU_APP_UNIX/uninstall/oru_uninstall.log"
  if grep -q "$line" "$log" 2>/dev/null && grep -q "Exiting uninstaller" "$log"; then
    echo "[$name] run completed, exit code $code, log holds '$line'"
  else
    echo "FAIL [$name]: log at $log lacks '$line'"; failures=$((failures + 1))
  fi
  [ -n "$sleeper" ] && kill "$sleeper" 2>/dev/null
  wine taskkill /f /im setup.exe >/dev/null 2>&1 || true
}

expect_box setup_missing "错误" missing "没有找到 setup.exe 文件"
expect_box setup_running "提示" running "setup.exe 被其他进程占用"

echo "$((2 - failures)) passed, $failures failed"
[ "$failures" -eq 0 ]

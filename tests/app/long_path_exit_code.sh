#!/bin/sh
# The uninstaller started from a path of MAX_PATH characters or more cannot
# know its own directory: it must exit with 1 before opening any log. Wine
# only starts such a program from the Unix side, hence a shell test.
set -eu
exe="$1"
# Inside the test prefix, started from there: it reaches no host path.
drive_c="$WINEPREFIX/drive_c"
work=$(mktemp -d "$drive_c/long-path.XXXXXX")
trap 'rm -rf "$work"' EXIT
deep="$work"
# Long as Windows sees it: C:\ stands for $drive_c/.
while [ $((${#deep} - ${#drive_c} + 2)) -lt 300 ]; do deep="$deep/directory_level"; done
mkdir -p "$deep"
cp "$exe" "$deep/oru_uninstall.exe"
log=$(ls -d "$drive_c"/users/*/Temp 2>/dev/null | head -n 1)/OruSetupLogs/oru_uninstall.log
rm -f "$log"
set +e
(cd "$drive_c" && wine "$deep/oru_uninstall.exe" --silent-oru)
code=$?
set -e
echo "exit code: $code"
[ "$code" -eq 1 ] || { echo "expected exit code 1"; exit 1; }
[ ! -e "$log" ] || { echo "a log was written: $log"; exit 1; }
echo "no log written"

# Shared set-up for the project's scripts: Debian packages, and a throwaway
# Wine prefix whose services are started with their descriptors redirected
# (otherwise ctest waits ~3 s per test for Wine's pipes to close).

ORU_BASE_PACKAGES=(cmake make g++-mingw-w64-x86-64-posix mingw-w64-tools wine64 googletest)

ensure_packages() {
  local missing=()
  for pkg in "$@"; do
    dpkg -s "$pkg" >/dev/null 2>&1 || missing+=("$pkg")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing missing packages: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
}

# start_wine_prefix DIR: a fresh prefix at DIR, reporting Windows 10, whose
# shell folders are its own (see sandbox_shell_folders).
start_wine_prefix() {
  export WINEPREFIX="$1"
  export WINEDEBUG="${WINEDEBUG:--all}"
  export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
  mkdir -p "$WINEPREFIX"
  wineserver -p >/dev/null 2>&1 </dev/null &
  wine wineboot -i >/dev/null 2>&1 </dev/null
  # On a loaded machine the first boot has been seen to leave a prefix
  # without its system files ("could not load kernel32.dll"): boot again.
  local attempt
  for attempt in 1 2 3; do
    [ -f "$WINEPREFIX/drive_c/windows/system32/kernel32.dll" ] && break
    sleep 1
    wine wineboot -u >/dev/null 2>&1 </dev/null
  done
  wine winecfg -v win10 >/dev/null 2>&1 </dev/null
  sandbox_shell_folders
}

# Wine links a new prefix's Desktop, Documents, Downloads, Music, Pictures,
# Videos and Templates to the host's home. An uninstaller run gone wrong could
# then delete the host user's files: each link becomes a real, empty folder, so
# the damage stays inside the throwaway prefix. Fails when a link is left.
sandbox_shell_folders() {
  local users="$WINEPREFIX/drive_c/users" link
  while IFS= read -r link; do
    rm -f "$link" && mkdir -p "$link"
  done < <(find "$users" -type l 2>/dev/null)
  if [ -n "$(find "$users" -type l 2>/dev/null)" ]; then
    echo "Wine prefix $WINEPREFIX still links outside itself:" >&2
    find "$users" -type l >&2
    return 1
  fi
}

stop_wine_prefix() {
  [ -n "${WINEPREFIX:-}" ] || return 0
  wineserver -k >/dev/null 2>&1 || true
  rm -rf "$WINEPREFIX"
}

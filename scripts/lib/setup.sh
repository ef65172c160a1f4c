# Shared set-up for the project's scripts: Debian packages, and a throwaway
# Wine prefix whose services are started with their descriptors redirected
# (otherwise ctest waits ~3 s per test for Wine's pipes to close).

ORU_BASE_PACKAGES=(cmake make g++-mingw-w64-x86-64-posix mingw-w64-tools wine64 googletest)
# What the whole suite needs beside: the message boxes shown under Xvfb.
ORU_SUITE_PACKAGES=(xvfb xdotool imagemagick fonts-wqy-microhei)

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

# start_wine_prefix DIR: a fresh prefix at DIR, reporting Windows 10, that
# reaches nothing of the host (see seal_wine_prefix). From here on every
# `wine` and `winepath` of the calling script starts in the prefix's drive_c.
start_wine_prefix() {
  export WINEPREFIX="$1"
  export WINEDEBUG="${WINEDEBUG:--all}"
  export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
  # Wine gives a new prefix Z: only when it makes dosdevices itself; a Z:
  # removed later stays a drive of the running mount manager until the server
  # stops. So dosdevices exists from the start, holding C: alone.
  mkdir -p "$WINEPREFIX/drive_c" "$WINEPREFIX/dosdevices"
  ln -sfn ../drive_c "$WINEPREFIX/dosdevices/c:"
  wineserver -p >/dev/null 2>&1 </dev/null &
  # Its status says little on a loaded machine: the system files, checked
  # below, say whether the prefix is there.
  wine wineboot -i >/dev/null 2>&1 </dev/null || true
  # On a loaded machine the first boot has been seen to leave a prefix
  # without its system files ("could not load kernel32.dll"): boot again.
  local attempt
  for attempt in 1 2 3; do
    [ -f "$WINEPREFIX/drive_c/windows/system32/kernel32.dll" ] && break
    sleep 1
    wine wineboot -u >/dev/null 2>&1 </dev/null
  done
  wine winecfg -v win10 >/dev/null 2>&1 </dev/null || wine winecfg -v win10 >/dev/null 2>&1 </dev/null ||
    echo "start_wine_prefix: winecfg failed twice; the prefix may not report Windows 10" >&2
  seal_wine_prefix
}

# A Windows program started from a shell inherits the shell's directory, and
# without a drive for it Wine still hands it over (as `unix\...`): relative
# names then reach the host. Every Wine program a script starts runs in the
# prefix instead; where its own folder is already there, it stays.
wine() {
  case "$PWD/" in
    "$WINEPREFIX"/drive_c/*) command wine "$@" ;;
    *) (cd "$WINEPREFIX/drive_c" && command wine "$@") ;;
  esac
}
winepath() { (cd "$WINEPREFIX/drive_c" && command winepath "$@"); }

# Z: would map the host's /, and Wine's rd /s on a long path has emptied
# cmd's working directory instead of the tree. The boot adds links such as
# COM1 to a serial port (again whenever the server starts anew): the prefix
# keeps its C: drive alone, and its shell folders become its own. Fails when
# anything still leads out.
seal_wine_prefix() {
  find "$WINEPREFIX/dosdevices" -mindepth 1 -maxdepth 1 ! -name c: -type l -delete
  sandbox_shell_folders
  check_wine_prefix_sealed
}

# Wine links a new prefix's Desktop, Documents, Downloads, Music, Pictures,
# Videos and Templates to the host's home. An uninstaller run gone wrong could
# then delete the host user's files: each link becomes a real, empty folder, so
# the damage stays inside the throwaway prefix.
sandbox_shell_folders() {
  local link
  while IFS= read -r link; do
    rm -f "$link" && mkdir -p "$link"
  done < <(find "$WINEPREFIX/drive_c/users" -type l 2>/dev/null)
}

# check_wine_prefix_sealed: fails, naming what it found, unless dosdevices
# holds c: alone, pointing at the prefix's own drive_c, and no link under
# drive_c leads outside the prefix. The test suite runs it too.
check_wine_prefix_sealed() {
  local prefix devices entry link status=0
  prefix=$(realpath "$WINEPREFIX")
  devices="$prefix/dosdevices"
  [ "$(realpath -m "$devices/c:")" = "$prefix/drive_c" ] || {
    echo "Wine prefix $prefix: C: is not its own drive_c" >&2
    status=1
  }
  while IFS= read -r entry; do
    echo "Wine prefix $prefix reaches the host through dosdevices/${entry##*/} -> $(readlink "$entry")" >&2
    status=1
  done < <(find "$devices" -mindepth 1 -maxdepth 1 ! -name c:)
  # Tests make and remove links inside the prefix meanwhile: one gone is fine.
  while IFS= read -r link; do
    case "$(realpath -m "$link" 2>/dev/null || echo "$prefix")/" in
      "$prefix"/*) ;;
      *)
        echo "Wine prefix $prefix links outside itself: $link -> $(readlink "$link")" >&2
        status=1
        ;;
    esac
  done < <(find "$prefix/drive_c" -type l 2>/dev/null)
  return $status
}

stop_wine_prefix() {
  [ -n "${WINEPREFIX:-}" ] || return 0
  wineserver -k >/dev/null 2>&1 || true
  rm -rf "$WINEPREFIX"
}

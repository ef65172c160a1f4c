# Stages a simulated per-user installation of the product in the current
# Wine prefix ($WINEPREFIX), the way its installer leaves it:
#   %LOCALAPPDATA%\Oru.stravo\Application\<pv>\Installer\setup.exe   (stand-in)
#   %LOCALAPPDATA%\Oru.stravo\Application\<pv>\*.dll                 (stand-ins, when built)
#   %LOCALAPPDATA%\Oru.stravo\Application\uninstall\oru_uninstall.exe
# and the registry keys the uninstaller reads and deletes. Sentinel files
# beside and above the installation show that nothing else is touched.

ORU_PV="1.4.2.7"

# Unix path of the prefix user's LocalAppData.
local_appdata_unix() {
  local home
  home=$(ls -d "$WINEPREFIX"/drive_c/users/*/ | grep -v '/Public/' | head -n 1)
  echo "${home%/}/AppData/Local"
}

# stage_installation BIN_DIR [setup_exe]
# BIN_DIR holds oru_uninstall.exe and, from the test build, the stand-ins.
stage_installation() {
  local bin="$1" setup="${2:-$1/setup_stub.exe}"
  local base app user
  base=$(local_appdata_unix)
  app="$base/Oru.stravo/Application"
  user=$(basename "$(dirname "$(dirname "$base")")")
  rm -rf "$base/Oru.stravo"
  mkdir -p "$app/$ORU_PV/Installer" "$app/uninstall"
  cp "$bin/oru_uninstall.exe" "$app/uninstall/"
  [ -f "$setup" ] && cp "$setup" "$app/$ORU_PV/Installer/setup.exe"
  for dll in tavrin_sdk dorvid; do
    [ -f "$bin/$dll.dll" ] && cp "$bin/$dll.dll" "$app/$ORU_PV/"
  done
  for dll in crellix_logger vantor client_extension; do
    printf 'companion library stand-in\n' >"$app/$ORU_PV/$dll.dll"
  done
  # Wine has no timeout.exe: the self-deleting script would not wait for the
  # uninstaller to exit, as it does on Windows.
  local timeout="$WINEPREFIX/drive_c/windows/system32/timeout.exe"
  [ -f "$timeout" ] || { [ -f "$bin/timeout_stub.exe" ] && cp "$bin/timeout_stub.exe" "$timeout"; }
  printf 'user data that is not the product\n' >"$base/Oru.stravo/sentinel_beside.txt"
  printf 'not the product\n' >"$base/sentinel_above.txt"

  ORU_APP_WIN="C:\\users\\$user\\AppData\\Local\\Oru.stravo\\Application"
  ORU_APP_UNIX="$app"
  # Inside the prefix: a host path has no drive there.
  local reg
  reg=$(mktemp --suffix=.reg "$WINEPREFIX/drive_c/stage.XXXXXX")
  stage_registry_file "$reg"
  wine regedit /S "$(winepath -w "$reg")" >/dev/null 2>&1
  rm -f "$reg"
}

# stage_registry_file FILE: writes the staged registry keys (ORU_APP_WIN set
# by stage_installation) as a file regedit imports.
stage_registry_file() {
  local install_reg="${ORU_APP_WIN//\\/\\\\}"
  cat >"$1" <<REG
REGEDIT4

[HKEY_CURRENT_USER\\Software\\Oru.stravo]
"OruInstallPath"="$install_reg"
"pv"="$ORU_PV"
"OruInstallLogPath"=-

[HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Oru.stravo]
"UninstallString"="\\"$install_reg\\\\uninstall\\\\oru_uninstall.exe\\""
"DisplayName"="Oru.stravo"

[HKEY_CURRENT_USER\\Software\\Classes\\orustravo]
"URL Protocol"=""

[HKEY_CURRENT_USER\\Software\\Kelvane\\oru.stravo]
"channel"="default"

[HKEY_CURRENT_USER\\Software\\Kelvane\\other.product]
"keep"="this key is not the product's"
REG
}

# Prints the product's registry keys as they are now.
show_registry() {
  local key
  for key in 'HKCU\Software\Oru.stravo' \
             'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Oru.stravo' \
             'HKCU\Software\Classes\orustravo' \
             'HKCU\Software\Kelvane\oru.stravo' \
             'HKCU\Software\Kelvane\other.product'; do
    if wine reg query "$key" >/tmp/oru-reg.$$ 2>/dev/null; then
      echo "  present: $key"
      grep -E 'REG_' /tmp/oru-reg.$$ | sed 's/^/      /'
    else
      echo "  gone:    $key"
    fi
  done
  rm -f /tmp/oru-reg.$$
}

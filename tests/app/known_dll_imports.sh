#!/bin/sh
# The uninstaller imports at load time only libraries that are known DLLs,
# which Windows maps from the system directory whatever lies beside the
# program. Any other library is found by the search order, which starts in
# the uninstaller's own folder: it has to be bound at run time from the system
# directory instead (as version.dll is). Usage: known_dll_imports.sh OBJDUMP EXE
set -eu
objdump="$1" exe="$2"
# Known DLLs of Windows 10 and later (HKLM\...\Session Manager\KnownDLLs), lower case.
known="advapi32 clbcatq combase comdlg32 coml2 difxapi gdi32 gdiplus imagehlp imm32 kernel32 msctf msvcrt normaliz
nsi ole32 oleaut32 psapi rpcrt4 sechost setupapi shcore shell32 shlwapi user32 wldap32 ws2_32"
imports=$("$objdump" -p "$exe" | sed -n 's/^[[:space:]]*DLL Name: //p' | tr 'A-Z' 'a-z' | sed 's/\.dll$//')
[ -n "$imports" ] || { echo "no imports read from $exe"; exit 1; }
status=0
for dll in $imports; do
  if echo " $(echo $known) " | grep -q " $dll "; then
    echo "known DLL: $dll"
  else
    echo "NOT a known DLL, imported at load time: $dll.dll"
    status=1
  fi
done
exit $status

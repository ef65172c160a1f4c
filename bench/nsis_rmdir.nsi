; The NSIS peer of scripts/bench. Run silently, this installer only writes its
; uninstaller beside itself; that uninstaller, started with _?=<tree>, runs in
; place with $INSTDIR = the tree and removes it with RMDir /r.
Unicode true
Target amd64-unicode
Name "rmdir bench"
OutFile "writer.exe"
RequestExecutionLevel user
SilentInstall silent
InstallDir "$EXEDIR"
Section
  WriteUninstaller "$EXEDIR\uninst.exe"
SectionEnd
Section "Uninstall"
  RMDir /r "$INSTDIR"
SectionEnd

"""The faults scripts/mutate applies, one at a time: each a small change a
real developer could make, and the tests that must notice it. "find" must
occur exactly once in "file". A fault that only Windows can show carries
"windows_only" with the reason; its survival under Wine is expected."""

MUTATIONS = [
    # What the self-deleting run removes itself, and how it names things.
    dict(name="remains-left-to-the-script", file="src/app/uninstaller_main.cpp",
         find="(void)DeleteRemainsExcept(canonicalInstall, inUse);", replace="",
         tests="Containment.DeepTrees"),
    dict(name="no-extended-paths", file="src/common/path_rules.cpp",
         find="if ((!drive && !unc) || path.find(L'/')", replace="if (true || path.find(L'/')",
         tests="PathRules|Containment.DeepTrees"),
    dict(name="listing-by-plain-path", file="src/common/directory_entries.cpp",
         find="::FindFirstFileW((ExtendedLengthPath(directory) + L\"\\\\*\")",
         replace="::FindFirstFileW((directory + L\"\\\\*\")", tests="Containment.DeepTrees"),
    dict(name="read-only-never-lifted", file="src/common/entry_removal.cpp",
         find="  if (remove(extended.c_str())) return true;\n  const DWORD retryError",
         replace="  if (false) return true;\n  const DWORD retryError", tests="DeleteDirectoryTree"),
    dict(name="the-running-executable-not-kept", file="src/remove/remains_removal.cpp",
         find="if (std::any_of(keep.begin(), keep.end(), kept)) {", replace="if (false) {",
         tests="Containment.DeepTrees|EndToEnd.FailedBrowser"),
    # Programs it starts.
    dict(name="programs-found-by-search", file="src/sys/child_process.cpp",
         find="if (!::CreateProcessW(program.c_str(), writable.data()",
         replace="if (!::CreateProcessW(nullptr, writable.data()", tests="Containment.PlantedPrograms"),
    dict(name="children-inherit-the-working-directory", file="src/sys/child_process.cpp",
         find="nullptr, workingDirectory.c_str(),", replace="nullptr, nullptr,",
         tests="RunChildProcess"),
    dict(name="cmd-handed-percent", file="src/sys/child_process.cpp",
         find="EqualsIgnoreCase(FileNamePart(program), L\"cmd.exe\") &&",
         replace="EqualsIgnoreCase(FileNamePart(program), L\"cmd.exe\") && false &&",
         tests="ChildCommandRefusal|Containment.SelfDelete"),
    dict(name="apostrophes-not-doubled", file="src/remove/multi_process.cpp",
         find="if (c == L'\\'') literal += c;", replace="", tests="DeletionCommands"),
    dict(name="powershell-with-wildcards", file="src/remove/multi_process.cpp",
         find="Remove-Item -LiteralPath ", replace="Remove-Item -Path ", tests="DeletionCommands"),
    dict(name="script-back-to-temp", file="src/remove/self_delete_script.cpp",
         find="L\"cd /d \\\"%%~2\\\"\\n\",", replace="L\"cd /d %%TEMP%%\\n\",",
         tests="SelfDeleteScript"),
    # One form for every comparison.
    dict(name="short-names-not-spelt-out", file="src/sys/path_forms.cpp",
         find="normal.size() < MAX_PATH ? longForm(normal) : longForm(extended)",
         replace="longForm(extended)", tests="Containment.ShortOrRecased"),
    dict(name="log-kept-only-when-sure", file="src/app/uninstaller_main.cpp",
         find="return own.empty() || gone.empty() || IsSameOrInside(own, gone);",
         replace="return IsSameOrInside(NormalizePath(ownDirectory), NormalizePath(doomedDirectory));",
         tests="Containment.ShortOrRecased"),
    # Places it stands in.
    dict(name="sweep-through-a-linked-parent", file="src/workspace/stale_sweep.cpp",
         find="const std::wstring link = FindLinkFrom(known, parent);",
         replace="const std::wstring link;", tests="Containment.LinksAreNeverEntered"),
    dict(name="workspace-in-a-linked-temp", file="src/workspace/temp_directory_manager.cpp",
         find="  if (IsLink(temp)) {", replace="  if (false) {", tests="Containment.LinksAreNeverEntered",
         why="the sweep's own check refuses the linked %TEMP% too, and the workspace there holds only our copies"),
]

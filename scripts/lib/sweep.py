"""Fails every Win32 call of a run in turn, the way Windows fails it, and
checks what must hold whatever fails. Called by scripts/sweep inside a Wine
prefix (WINEPREFIX set), with a folder holding the uninstaller built with the
fault injector (as oru_uninstall.exe) and the stand-ins.

For each scenario: one run records every covered call (function, occurrence,
path); then one run per recorded call - or, with --sample, per function -
with that call failing. Each run must:
  - end within its time limit, without a crash;
  - leave every sentinel outside the installation byte for byte as it was;
  - leave its log where OruInstallLogPath names it, with the run's last line;
  - exit 0, or 1 only where the executable's path or the workspace could not
    be had (the log says so, or there is no log at all);
and the self-deleting script, when it started, must have finished.
Prints one table: scenario, calls failed, runs, violations, then each
violation with the call, the error and what broke."""
import os
import shutil
import subprocess
import sys
import time

LIB = os.path.dirname(os.path.abspath(__file__))
PREFIX = os.environ["WINEPREFIX"]

# The errors Windows really gives for each function, the likeliest first.
ERRORS = {
    "CreateFileW": [5, 32, 3, 112], "DeleteFileW": [5, 32, 2], "MoveFileW": [5, 32, 3, 112],
    "MoveFileExW": [5, 32, 2], "CopyFileW": [5, 32, 112], "RemoveDirectoryW": [5, 32, 145],
    "CreateDirectoryW": [5, 3, 112], "FindFirstFileW": [5, 3], "FindNextFileW": [64, 5],
    "GetFileAttributesW": [5, 32], "SetFileAttributesW": [5, 32], "GetTempPathW": [0],
    "GetTempFileNameW": [5, 112], "GetDiskFreeSpaceExW": [5, 3], "WriteFile": [112, 5],
    "ReadFile": [5, 32], "FlushFileBuffers": [112], "SetFilePointerEx": [5],
    "GetLongPathNameW": [5, 2], "GetFinalPathNameByHandleW": [5], "SetCurrentDirectoryW": [5, 3],
    "GetSystemDirectoryW": [0], "CreateProcessW": [2, 5, 740], "WaitForSingleObject": [6],
    "GetExitCodeProcess": [6], "TerminateProcess": [5], "OpenProcess": [5, 87],
    "CreateToolhelp32Snapshot": [5], "Process32FirstW": [18], "Process32NextW": [5],
    "LoadLibraryExW": [126, 193], "LoadLibraryW": [126, 193], "GetProcAddress": [127],
    "FreeLibrary": [5], "GetModuleFileNameW": [122], "CreateMutexW": [5],
    "RegOpenKeyExW": [5, 2], "RegQueryValueExW": [5, 2], "RegCreateKeyExW": [5],
    "RegSetValueExW": [5], "RegDeleteTreeW": [5, 2], "SHCreateDirectoryExW": [5, 3],
    "SHGetFolderPathW": [5], "SHGetKnownFolderPath": [5], "PathFileExistsW": [2], "_wfopen": [13],
}
# Only the executable's own path or the workspace may end a run with 1.
EXIT_ONE_LINE = "Failed to initialize temp directory manager"

SCENARIOS = {
    "success": {"ORU_SETUP_STUB_EXIT_CODE": "19", "ORU_SETUP_STUB_REGISTRATION": "remove",
                "ORU_SETUP_STUB_REMOVE_FILES": "1"},
    "failed browser uninstall": {"ORU_SETUP_STUB_EXIT_CODE": "20", "ORU_SETUP_STUB_REGISTRATION": "remove",
                                 "ORU_SETUP_STUB_REMOVE_FILES": "1", "ORU_SETUP_STUB_KEEP_SELF": "1"},
    # A standard user may not schedule deletions for the reboot, and setup.exe
    # is held open by another process: every fallback is taken and fails.
    "standard user, setup.exe locked": {"ORU_FAULT": "MoveFileExW:5:*:setup.exe"},
    # The application runs, and the user asked for it to be closed.
    "running application, --force": {"ORU_SETUP_STUB_EXIT_CODE": "19", "ORU_SETUP_STUB_REGISTRATION": "remove",
                                     "ORU_SETUP_STUB_REMOVE_FILES": "1"},
}
ARGS = {"running application, --force": "--silent-oru --force"}


def companion(scenario, app):
    """What runs beside the uninstaller (a wine command line), or nothing."""
    if scenario.startswith("standard user"):
        return f'"$BIN\\helper_proc.exe" hold "$(winepath -w "{app}/1.4.2.7/Installer/setup.exe")" oru_sweep'
    if scenario.startswith("running application"):
        return '"$BIN\\oru.stravo.exe" sleep 60000'
    return ""
TIME_LIMIT = 90
# The line each failure must leave, wherever the failing call is made: the
# function, the error (None: any), a text the call's path holds, and the line
# ({path}, its file {name} and {error} filled in; the first row that fits
# counts). A workspace's path names the process that made it, so a line is
# held against the file's name where the path would differ from run to run.
# Lines written after the log is closed reach the debugger channel only.
CLAUSES = [
    ("RegOpenKeyExW", None, "", "Failed to open registry key: {path}"),
    ("RegQueryValueExW", 2, "", "Registry value not found: {path}"),
    ("RegQueryValueExW", 5, "", "Failed to query registry value: {path}"),
    ("RegDeleteTreeW", 2, "", "Registry key not found: {path}"),
    ("RegDeleteTreeW", 5, "", "Failed to delete registry key: {path}, error code: 5"),
    ("RegCreateKeyExW", 5, "", "HKEY_CURRENT_USER\\{path}拒绝访问（权限不足）"),
    ("RegSetValueExW", 5, "", "\\{path}拒绝访问（权限不足）"),
    ("CreateToolhelp32Snapshot", None, "", "Failed to create process snapshot."),
    ("OpenProcess", None, "", "Failed to open process for termination: oru.stravo.exe"),
    ("TerminateProcess", None, "", "Failed to terminate process: oru.stravo.exe"),
    ("GetDiskFreeSpaceExW", None, "", "GetDiskFreeSpaceEx() 失败，错误码: {error}"),
    ("CreateProcessW", None, "\\Installer\\setup.exe", "Failed to create uninstall process, error code: {error}"),
    ("LoadLibraryExW", None, "\\dorvid.dll", "初始化 DorvidSDK 失败！返回码: 4"),
    ("LoadLibraryExW", None, "\\tavrin\\", "\\{name}, 错误码: {error}"),
    ("CreateMutexW", 5, "", "Another uninstaller is running; this one leaves everything to it"),
    ("CreateDirectoryW", None, "\\tavrin\\tavrin", "\\tavrin\\tavrin, error: {error}"),
    ("CreateDirectoryW", None, "\\OruSetup_", "    CreateDirectory() 失败，错误码: {error}"),
    ("GetProcAddress", None, "RtlGetVersion", "Failed to get RtlGetVersion function"),
    ("GetProcAddress", None, "TV_InitSDK", "获取 Tavrin SDK 函数指针失败!"),
]
# The run's last lines: a write that fails loses its own line, never both.
LOG_ENDINGS = ("Exiting uninstaller, temp directory will be cleaned up...", "开始清理临时目\ufffd?..")
# Without a log file every line still reaches the debugger channel: one of
# these ends a run there.
DEBUGGER_ENDINGS = ("Exiting uninstaller, temp directory will be cleaned up...",
                    "Another uninstaller is running; this one leaves everything to it")


def sh(script, **env):
    """Runs bash with the project's Wine helpers and the staging loaded."""
    full = f'source "{LIB}/setup.sh"; source "{LIB}/stage.sh"; {script}'
    return subprocess.run(["bash", "-c", full], env={**os.environ, **env}, capture_output=True, text=True)


def user_dir():
    users = os.path.join(PREFIX, "drive_c", "users")
    return os.path.join(users, next(u for u in sorted(os.listdir(users)) if u != "Public"))


def unix(windows_path):
    return os.path.join(PREFIX, "drive_c", *windows_path[3:].split("\\"))


SENTINELS = {"Temp/oru_sweep_sentinel.txt": "in %TEMP%\n", "oru_sweep_sentinel.txt": "in the profile\n",
             "AppData/Local/Oru.stravo/User Data/keep.txt": "the browser profile\n"}


def stage(bin_dir):
    sh('stage_installation "$BIN"', BIN=bin_dir)
    for relative, text in SENTINELS.items():
        path = os.path.join(user_dir(), relative)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as f:
            f.write(text)


def sentinels_changed():
    base = os.path.join(user_dir(), "AppData", "Local")
    expected = dict({os.path.join(user_dir(), r): t for r, t in SENTINELS.items()},
                    **{os.path.join(base, "Oru.stravo", "sentinel_beside.txt"): "user data that is not the product\n",
                       os.path.join(base, "sentinel_above.txt"): "not the product\n"})
    changed = []
    for path, text in expected.items():
        try:
            with open(path) as f:
                same = f.read() == text
        except OSError:
            same = False
        if not same:
            changed.append(os.path.relpath(path, user_dir()))
    return changed


def plain(text):
    """Letters and digits alone: the debugger channel turns what is not ASCII
    into "?", or into its nearest ASCII look-alike."""
    return "".join(c for c in text if c.isascii() and c.isalnum())


def missing_clause(fault, path, log, debugger):
    """The line the Part names for this failure, when neither the log nor the
    debugger channel holds it."""
    function, error = fault.split(":")[0], int(fault.split(":")[1])
    for name, wanted, holds, line in CLAUSES:
        if name == function and wanted in (None, error) and holds.lower() in path.lower():
            text = line.format(path=path, name=path.rsplit("\\", 1)[-1], error=error)
            missing = text not in log and plain(text) not in plain(debugger.replace("\\\\", "\\"))
            return text if missing else ""
    return ""


def run_once(bin_dir, scenario, fault="", record="", path=""):
    """Stages, runs, checks; returns the list of what broke (empty: all held)."""
    stage(bin_dir)
    app = os.path.join(user_dir(), "AppData", "Local", "Oru.stravo", "Application")
    # The debugger channel carries what the run says where it has no log. A
    # fault of the run's own on a function the scenario fails takes its place.
    env = dict(SCENARIOS[scenario], ORU_FAULT_RECORD=record, ORU_FAULT_SLEEP_DIVISOR="10",
               WINEDEBUG="-all,warn+seh,warn+debugstr")
    if fault:
        base = [f for f in env.get("ORU_FAULT", "").split(";") if f and f.split(":")[0] != fault.split(":")[0]]
        env["ORU_FAULT"] = ";".join(base + [fault])
    holder = None
    if companion(scenario, app):
        holder = subprocess.Popen(["bash", "-c", f'source "{LIB}/setup.sh"; cd "$WINEPREFIX/drive_c" && '
                                   f'exec wine {companion(scenario, app)}'],
                                  env={**os.environ, "BIN": "C:\\sweep_bin"}, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
        time.sleep(1)
    started = time.monotonic()
    args = ARGS.get(scenario, "--silent-oru")
    result = sh(f'cd "{app}/uninstall" && timeout {TIME_LIMIT} wine ./oru_uninstall.exe {args}; echo "exit=$?"', **env)
    if holder:
        holder.kill()
        holder.wait()
    broke = []
    if time.monotonic() - started > TIME_LIMIT:
        broke.append("over its time limit")
    code = int(result.stdout.strip().rsplit("exit=", 1)[-1] or 255)
    log_win = sh("wine reg query 'HKCU\\Software\\Oru.stravo' /v OruInstallLogPath 2>/dev/null").stdout
    log_win = log_win.split("REG_SZ", 1)[1].strip() if "REG_SZ" in log_win else ""
    log = ""
    if log_win:
        try:
            with open(unix(log_win), encoding="utf-8", errors="replace") as f:
                log = f.read()
        except OSError:
            broke.append(f"no log where OruInstallLogPath names it ({log_win})")
    if "自毁脚本已启动" in log:
        for _ in range(300):
            if not os.path.exists(os.path.join(app, "_deldir.bat")):
                break
            time.sleep(0.1)
        else:
            broke.append("the self-deleting script never finished")
    if code == 1:
        if log and EXIT_ONE_LINE not in log:
            broke.append("exit code 1 without the workspace failure")
    elif code != 0:
        broke.append(f"exit code {code} (a crash, or the plan refused)")
    elif not log_win and (not fault or not any(line in result.stderr for line in DEBUGGER_ENDINGS)):
        # Only a failure may leave the run without its registry pointer.
        broke.append("exit 0 without OruInstallLogPath" + (", nor its end on the debugger channel" if fault else ""))
    elif log_win and not any(line in log for line in LOG_ENDINGS):
        broke.append("the log lacks the run's last lines")
    if fault and missing_clause(fault, path, log, result.stderr):
        broke.append(f"no line \"{missing_clause(fault, path, log, result.stderr)}\"")
    broke += [f"sentinel changed: {s}" for s in sentinels_changed()]
    return broke


def main(args):
    bin_dir, sample = args[0], "--sample" in args
    # The process that holds a file open runs from inside the prefix.
    os.makedirs(os.path.join(PREFIX, "drive_c", "sweep_bin"), exist_ok=True)
    for name in ("helper_proc.exe", "oru.stravo.exe"):
        shutil.copy(os.path.join(bin_dir, "helper_proc.exe"), os.path.join(PREFIX, "drive_c", "sweep_bin", name))
    record_win = "C:\\sweep_calls.txt"
    rows, findings = [], []
    only = args[args.index("--only") + 1].split(",") if "--only" in args else [""]
    for scenario in [name for name in SCENARIOS if any(part in name for part in only)]:
        record = unix(record_win)
        if os.path.exists(record):
            os.remove(record)
        broke = run_once(bin_dir, scenario, record=record_win)
        if broke:
            findings.append((scenario, "(no fault)", "-", broke))
        with open(record, encoding="utf-8", errors="replace") as f:
            calls = [line.rstrip("\n").split("\t") for line in f if line.count("\t") >= 2]
        # A record that misses the run's first registry read records nothing worth replaying.
        if ["RegOpenKeyExW", "1", "SOFTWARE\\Oru.stravo"] not in calls:
            findings.append((scenario, "(record)", "-", ["the record lacks the run's first registry read"]))
        plans, seen = [], set()
        for function, occurrence, path in calls:
            errors = ERRORS.get(function)
            if not errors or (sample and function in seen):
                continue
            seen.add(function)
            plans += [(function, e, occurrence, path) for e in (errors[:1] if sample else errors)]
        violations = 0
        for number, (function, error, occurrence, path) in enumerate(plans, 1):
            if sys.stderr.isatty() or number % 100 == 0:
                print(f"  {scenario}: run {number}/{len(plans)}", file=sys.stderr, flush=True)
            broke = run_once(bin_dir, scenario, fault=f"{function}:{error}:{occurrence}", path=path)
            if broke:
                violations += 1
                findings.append((scenario, f"{function} #{occurrence}", error, broke))
                print(f"  {scenario}: {function} #{occurrence} error {error}: {'; '.join(broke)}", flush=True)
        rows.append((scenario, len({(f, o) for f, _, o, _ in plans}), len(plans), violations))
    print(f"{'scenario':<26} {'calls failed':>12} {'runs':>6} {'violations':>10}")
    for scenario, calls, runs, violations in rows:
        print(f"{scenario:<26} {calls:>12} {runs:>6} {violations:>10}")
    for scenario, call, error, broke in findings:
        print(f"  {scenario}: {call}, error {error}: {'; '.join(broke)}")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

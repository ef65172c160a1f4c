"""Fails every Win32 call of a run in turn, the way Windows fails it, and
checks what must hold whatever fails. Called by scripts/sweep with a folder
holding the uninstaller built with the fault injector (as oru_uninstall.exe)
and the stand-ins, and one started Wine prefix per worker (--prefixes A,B,..).

For each scenario: one run records every covered call (function, occurrence,
path); then one run per recorded call - or, with --sample, per function -
with that call failing. Each run must:
  - end within its time limit, without a crash;
  - leave every sentinel outside the installation byte for byte as it was;
  - leave its log where OruInstallLogPath names it, with the run's last line;
  - exit 0, or 1 only where the executable's path or the workspace could not
    be had (the log says so, or there is no log at all);
and every program it started (the self-deleting script above all) must end
within SETTLE_LIMIT seconds after it. Every run starts from the same staged state: the installation, the
sentinels, %TEMP%, %LOCALAPPDATA% and the product's registry keys as they were
staged. The runs of a scenario are shared out among the workers. Prints one
table: scenario, calls failed, runs, violations, then each violation with the
call, the error and what broke."""
import os
import queue
import shutil
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

LIB = os.path.dirname(os.path.abspath(__file__))

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
    # is held open by another process: every fallback is taken and fails. The
    # installation holds what a failed browser uninstall leaves, so the
    # clean-up takes it on.
    "standard user, setup.exe locked": {"ORU_FAULT": "MoveFileExW:5:*:setup.exe"},
    # The application runs, and the user asked for it to be closed.
    "running application, --force": {"ORU_SETUP_STUB_EXIT_CODE": "19", "ORU_SETUP_STUB_REGISTRATION": "remove",
                                     "ORU_SETUP_STUB_REMOVE_FILES": "1"},
}
ARGS = {"running application, --force": "--silent-oru --force"}
LEFTOVERS_ONLY = {"standard user, setup.exe locked"}


# What runs beside the uninstaller (a program of C:\\sweep_bin and its
# arguments), and the line of the run's log that shows it was there: a
# scenario whose companion came too late would pass for the plain success.
COMPANIONS = {
    "standard user, setup.exe locked": (["helper_proc.exe", "hold", "{app}\\1.4.2.7\\Installer\\setup.exe", "-"],
                                        "Failed to create uninstall process, error code: 32"),
    "running application, --force": (["oru.stravo.exe", "sleep", "60000"],
                                     "Successfully killed process: oru.stravo.exe"),
}
TIME_LIMIT = 90
# The line each failure must leave, wherever the failing call is made: the
# function, the error (None: any), a text the call's path holds, and the line
# ({path}, its file {name} and {error} filled in; the first row that fits
# counts), and optionally a line showing the call was made for something else
# (the row does not hold then). A workspace's path names the process that made
# it, so a line is held against the file's name where the path would differ
# from run to run.
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
    ("TerminateProcess", None, "", "Failed to terminate process: oru.stravo.exe",
     "Child process timed out, terminating it"),
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


# Sentinels outside the product, relative to the user's folder, with their
# text; stage.sh plants the last two.
SENTINELS = {"Temp/oru_sweep_sentinel.txt": "in %TEMP%\n", "oru_sweep_sentinel.txt": "in the profile\n",
             "AppData/Local/Oru.stravo/User Data/keep.txt": "the browser profile\n",
             "AppData/Local/Oru.stravo/sentinel_beside.txt": "user data that is not the product\n",
             "AppData/Local/sentinel_above.txt": "not the product\n"}
STAGED_REGISTRY = "C:\\sweep_stage.reg"
# Every run records its calls here: a fault is known to have happened.
RECORD = "C:\\sweep_calls.txt"
# What Wine runs in every prefix, whatever runs in it.
WINE_SERVICES = (b"wineserver", b"\\services.exe", b"\\winedevice.exe", b"\\svchost.exe", b"\\plugplay.exe",
                 b"\\explorer.exe", b"\\rpcss.exe")
# How long the programs a run started may go on after it: the self-deleting
# script waits 2 s, shortened tenfold, then removes what it removes.
SETTLE_LIMIT = 30
# Scheduled deletions pile up in the prefix from run to run; each run starts
# without them.
NO_PENDING_DELETIONS = ('\n[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Session Manager]\n'
                        '"PendingFileRenameOperations"=-\n')


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        shutil.rmtree(path, ignore_errors=True)
    elif os.path.lexists(path):
        os.remove(path)


class Prefix:
    """One worker's Wine prefix (started by scripts/sweep), staged once and
    brought back to that staged state before every run."""

    def __init__(self, path, bin_dir):
        self.path, self.env = path, dict(os.environ, WINEPREFIX=path)
        users = os.path.join(path, "drive_c", "users")
        self.user = os.path.join(users, next(u for u in sorted(os.listdir(users)) if u != "Public"))
        self.product = os.path.join(self.user, "AppData", "Local", "Oru.stravo")
        self.app = os.path.join(self.product, "Application")
        # The companions run from inside the prefix.
        os.makedirs(self.unix("C:\\sweep_bin"), exist_ok=True)
        for name in ("helper_proc.exe", "oru.stravo.exe"):
            shutil.copy(os.path.join(bin_dir, "helper_proc.exe"), os.path.join(self.unix("C:\\sweep_bin"), name))
        staging = (f'source "{LIB}/setup.sh"; source "{LIB}/stage.sh"; stage_installation "$BIN" && '
                   f'stage_registry_file "{self.unix(STAGED_REGISTRY)}"')
        subprocess.run(["bash", "-c", staging], env=dict(self.env, BIN=bin_dir), check=True, capture_output=True)
        with open(self.unix(STAGED_REGISTRY), "a") as f:
            f.write(NO_PENDING_DELETIONS)
        self.template = os.path.join(path, "sweep_template")
        shutil.copytree(self.product, self.template, symlinks=True)
        self.write_sentinels()
        # What a run adds beside the product (workspaces, logs, places of
        # its own) goes before the next one.
        self.kept = {folder: set(os.listdir(folder)) for folder in
                     (self.user, os.path.join(self.user, "Temp"), os.path.join(self.user, "AppData", "Local"))}

    def processes(self):
        """The command line of every process of this prefix, by process id."""
        found = {}
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{pid}/environ", "rb") as environ, open(f"/proc/{pid}/cmdline", "rb") as cmdline:
                    if f"\0WINEPREFIX={self.path}\0".encode() in b"\0" + environ.read() and pid != str(os.getpid()):
                        found[pid] = cmdline.read().replace(b"\0", b" ").strip()
            except (OSError, ValueError):
                pass
        return found

    def run_over(self, seconds):
        """Waits until every program a run started has ended: what is still
        running after `seconds` is ended and named."""
        for _ in range(int(seconds / 0.02)):
            running = [line for line in self.processes().values()
                       if not any(service in line for service in WINE_SERVICES)]
            if not running:
                return []
            time.sleep(0.02)
        for pid, line in self.processes().items():
            if not any(service in line for service in WINE_SERVICES):
                try:
                    os.kill(int(pid), 9)
                except OSError:
                    pass
        return [line.decode(errors="replace") for line in running]

    def unix(self, windows_path):
        return os.path.join(self.path, "drive_c", *windows_path[3:].split("\\"))

    def wine(self, *args, **env):
        return subprocess.run(["wine", *args], cwd=os.path.join(self.path, "drive_c"), env=dict(self.env, **env),
                              capture_output=True, text=True, errors="replace")

    def write_sentinels(self):
        for relative, text in SENTINELS.items():
            path = os.path.join(self.user, relative)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w") as f:
                f.write(text)

    def sentinels_changed(self):
        changed = []
        for relative, text in SENTINELS.items():
            try:
                with open(os.path.join(self.user, relative)) as f:
                    same = f.read() == text
            except OSError:
                same = False
            if not same:
                changed.append(relative)
        return changed

    def restore(self, leftovers_only=False):
        for folder, kept in self.kept.items():
            for name in set(os.listdir(folder)) - kept:
                remove(os.path.join(folder, name))
        remove(self.product)
        shutil.copytree(self.template, self.product, symlinks=True)
        version = os.path.join(self.app, "1.4.2.7")
        for name in os.listdir(version) if leftovers_only else []:
            if name != "Installer":
                remove(os.path.join(version, name))
        self.write_sentinels()
        self.wine("C:\\windows\\regedit.exe", "/S", STAGED_REGISTRY)

    def holds_open(self, unix_path):
        """Whether a process of this prefix holds the file open (its Wine
        server opens every file a program of the prefix opens)."""
        for pid in self.processes():
            try:
                if any(os.readlink(f"/proc/{pid}/fd/{fd}") == unix_path for fd in os.listdir(f"/proc/{pid}/fd")):
                    return True
            except OSError:
                pass
        return False

    def start_companion(self, scenario):
        """Starts what runs beside the uninstaller and waits until it is
        there: the process (None when nothing runs beside) and what went
        wrong (empty: nothing)."""
        if scenario not in COMPANIONS:
            return None, ""
        program, *args = COMPANIONS[scenario][0]
        windows_app = "C:\\" + os.path.relpath(self.app, os.path.join(self.path, "drive_c")).replace("/", "\\")
        args = [a.format(app=windows_app) for a in args]
        held = self.unix(args[1]) if args[0] == "hold" else None
        # Wine on a loaded machine sometimes does not start a program at all
        # (status 1 at once): the companion is started again, twice at most.
        for _ in range(3):
            companion = subprocess.Popen(["wine", "C:\\sweep_bin\\" + program, *args],
                                         cwd=os.path.join(self.path, "drive_c"), env=self.env,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            for _ in range(500):
                if self.holds_open(held) if held else program.encode() in self.cmdline(companion.pid):
                    return companion, ""
                if companion.poll() is not None:
                    break
                time.sleep(0.02)
            if companion.poll() is None:
                break
        return companion, f"{program} {' '.join(args)} was not there within 10 s (exit code {companion.poll()})"

    @staticmethod
    def cmdline(pid):
        try:
            with open(f"/proc/{pid}/cmdline", "rb") as f:
                return f.read()
        except OSError:
            return b""


def plain(text):
    """Letters and digits alone: the debugger channel turns what is not ASCII
    into "?", or into its nearest ASCII look-alike."""
    return "".join(c for c in text if c.isascii() and c.isalnum())


def missing_clause(fault, path, log, debugger):
    """The line this failure must leave, when neither the log nor the
    debugger channel holds it."""
    function, error = fault.split(":")[0], int(fault.split(":")[1])
    for name, wanted, holds, line, *unless in CLAUSES:
        if unless and unless[0] in log:
            continue
        if name == function and wanted in (None, error) and holds.lower() in path.lower():
            text = line.format(path=path, name=path.rsplit("\\", 1)[-1], error=error)
            missing = text not in log and plain(text) not in plain(debugger.replace("\\\\", "\\"))
            return text if missing else ""
    return ""


def run_once(prefix, scenario, fault="", path=""):
    """Restores the staged state, runs, checks; returns the list of what
    broke (empty: all held) and the calls the run made. Wine on a loaded
    machine has been seen not to start a program at all (status 1, nothing
    done, not even the injector's record): such a run is made again, twice
    at most."""
    for attempt in range(3):
        broke, calls = attempt_run(prefix, scenario, fault, path)
        if calls or attempt == 2:
            return broke, calls
        print(f"  {scenario}: {fault or 'no fault'}: {'; '.join(broke)}; once more", file=sys.stderr, flush=True)


def attempt_run(prefix, scenario, fault, path):
    prefix.restore(scenario in LEFTOVERS_ONLY)
    record = prefix.unix(RECORD)
    remove(record)
    # The debugger channel carries what the run says where it has no log. A
    # fault of the run's own on a function the scenario fails takes its place.
    env = dict(SCENARIOS[scenario], ORU_FAULT_RECORD=RECORD, ORU_FAULT_SLEEP_DIVISOR="10",
               WINEDEBUG="-all,warn+seh,warn+debugstr")
    if fault:
        base = [f for f in env.get("ORU_FAULT", "").split(";") if f and f.split(":")[0] != fault.split(":")[0]]
        env["ORU_FAULT"] = ";".join(base + [fault])
    companion, late = prefix.start_companion(scenario)
    broke, code = [late] if late else [], None
    # The debugger channel goes to a file: a pipe would keep the run waiting
    # for the self-deleting script, which inherits it.
    with open(os.path.join(prefix.path, "sweep_debugger.txt"), "w+", errors="replace") as debugger_file:
        try:
            code = subprocess.run(["wine", "./oru_uninstall.exe", *ARGS.get(scenario, "--silent-oru").split()],
                                  cwd=os.path.join(prefix.app, "uninstall"), env=dict(prefix.env, **env),
                                  stdout=subprocess.DEVNULL, stderr=debugger_file, timeout=TIME_LIMIT).returncode
        except subprocess.TimeoutExpired:
            broke.append("over its time limit")
        if companion:
            companion.kill()
            companion.wait()
        # The self-deleting script takes the log beside the uninstaller with
        # it a moment later: every log there is read before anything else.
        logs = {}
        for folder, _, files in os.walk(prefix.app):
            for name in files:
                if name.endswith(".log"):
                    try:
                        with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as f:
                            logs[os.path.join(folder, name)] = f.read()
                    except OSError:
                        pass
        query = prefix.wine("C:\\windows\\system32\\reg.exe", "query", "HKCU\\Software\\Oru.stravo", "/v", "OruInstallLogPath").stdout
        log_win = query.split("REG_SZ", 1)[1].strip() if "REG_SZ" in query else ""
        log = ""
        if prefix.unix(log_win) in logs:
            log = logs[prefix.unix(log_win)]
        elif log_win:
            try:
                with open(prefix.unix(log_win), encoding="utf-8", errors="replace") as f:
                    log = f.read()
            except OSError:
                broke.append(f"no log where OruInstallLogPath names it ({log_win})")
        # The self-deleting script, and anything else the run started, ends
        # before the sentinels are read.
        left = prefix.run_over(SETTLE_LIMIT)
        if left:
            broke.append(f"still running {SETTLE_LIMIT} s after the run: {', '.join(left)}")
        debugger_file.seek(0)
        debugger = debugger_file.read()
    if code == 1:
        if log and EXIT_ONE_LINE not in log:
            broke.append("exit code 1 without the workspace failure")
    elif code not in (0, None):
        broke.append(f"exit code {code} (a crash, or the plan refused)")
    elif code == 0 and not log_win and (not fault or not any(line in debugger for line in DEBUGGER_ENDINGS)):
        # Only a failure may leave the run without its registry pointer.
        broke.append("exit 0 without OruInstallLogPath" + (", nor its end on the debugger channel" if fault else ""))
    elif log_win and not any(line in log for line in LOG_ENDINGS):
        broke.append("the log lacks the run's last lines")
    try:
        with open(record, encoding="utf-8", errors="replace") as f:
            calls = [line.rstrip("\n").split("\t") for line in f if line.count("\t") >= 2]
    except OSError:
        calls = []
        first = debugger.strip().splitlines()[:1]
        broke.append(f"the uninstaller never started (exit code {code}, no record of its calls{': ' if first else ''}"
                     f"{first[0][:200] if first else ''})")
    # A call the run did not make this time (a child that timed out only in
    # the recorded run) failed nothing: there is no line to ask for.
    reached = fault and fault.split(":")[0::2] in [call[:2] for call in calls]
    if reached and missing_clause(fault, path, log, debugger):
        broke.append(f"no line \"{missing_clause(fault, path, log, debugger)}\"")
    if not fault and scenario in COMPANIONS and COMPANIONS[scenario][1] not in log:
        broke.append(f"the companion was not there in time (no line \"{COMPANIONS[scenario][1]}\")")
    broke += [f"sentinel changed: {s}" for s in prefix.sentinels_changed()]
    return broke, calls


def record_calls(prefix, scenario):
    """The scenario's run with nothing failing: what broke, and its calls."""
    broke, calls = run_once(prefix, scenario)
    # A record that misses the run's first registry read records nothing worth replaying.
    if ["RegOpenKeyExW", "1", "SOFTWARE\\Oru.stravo"] not in calls:
        broke.append("the record lacks the run's first registry read")
    return broke, calls


def main(args):
    bin_dir, sample = args[0], "--sample" in args
    only = args[args.index("--only") + 1].split(",") if "--only" in args else [""]
    scenarios = [name for name in SCENARIOS if any(part in name for part in only)]
    started = time.monotonic()
    with ThreadPoolExecutor(len(args[args.index("--prefixes") + 1].split(","))) as pool:
        idle = queue.Queue()
        for prefix in pool.map(lambda path: Prefix(path, bin_dir), args[args.index("--prefixes") + 1].split(",")):
            idle.put(prefix)

        def on_a_prefix(function, *arguments, **options):
            prefix = idle.get()
            try:
                return function(prefix, *arguments, **options)
            finally:
                idle.put(prefix)

        findings, plans = [], {}
        for scenario, (broke, calls) in zip(scenarios, pool.map(lambda s: on_a_prefix(record_calls, s), scenarios)):
            if broke:
                findings.append((scenario, "(no fault)", "-", broke))
            plans[scenario], seen = [], set()
            for function, occurrence, path in calls:
                errors = ERRORS.get(function)
                if not errors or (sample and function in seen):
                    continue
                seen.add(function)
                plans[scenario] += [(function, e, occurrence, path) for e in (errors[:1] if sample else errors)]
        total, done, lock = sum(len(p) for p in plans.values()), [0], threading.Lock()

        def one_run(scenario, function, error, occurrence, path):
            try:
                broke, calls = on_a_prefix(run_once, scenario, fault=f"{function}:{error}:{occurrence}", path=path)
            except Exception as failure:  # one run the sweep could not make costs that run alone
                broke, calls = [f"the sweep failed: {failure!r}"], []
            # Wine under load has ended a run once in thousands in a way the
            # same plan never repeats (exit code 127). A run that broke is made
            # again: broken twice it is a violation; held the second time it is
            # unsteady, listed with what broke, and fails nothing.
            unsteady = []
            if broke:
                try:
                    again, calls_again = on_a_prefix(run_once, scenario, fault=f"{function}:{error}:{occurrence}",
                                                     path=path)
                except Exception as failure:
                    again, calls_again = [f"the sweep failed: {failure!r}"], []
                if not again:
                    unsteady, broke, calls = broke, [], calls_again
            reached = [function, occurrence] in [call[:2] for call in calls]
            with lock:
                done[0] += 1
                if broke or unsteady:
                    print(f"  {scenario}: {function} #{occurrence} error {error}: {'; '.join(broke or unsteady)}"
                          f"{'' if broke else ' (held when made again)'}", flush=True)
                if sys.stderr.isatty() or done[0] % 100 == 0:
                    print(f"  run {done[0]}/{total}, {(time.monotonic() - started) / 60:.1f} min",
                          file=sys.stderr, flush=True)
            return scenario, f"{function} #{occurrence}", error, broke, reached, unsteady

        results = list(pool.map(lambda plan: one_run(*plan), [(s, *p) for s in scenarios for p in plans[s]]))
    findings += [r[:4] for r in results if r[3]]
    minutes = (time.monotonic() - started) / 60
    # Unreached: runs in which the call to fail was not made at all (a
    # child that timed out only while the calls were recorded).
    print(f"{'scenario':<32} {'calls failed':>12} {'runs':>6} {'violations':>10} {'unreached':>9} {'unsteady':>8}")
    for scenario in scenarios:
        violations = sum(1 for r in results if r[0] == scenario and r[3])
        unreached = sum(1 for r in results if r[0] == scenario and not r[4])
        unsteady = sum(1 for r in results if r[0] == scenario and r[5])
        print(f"{scenario:<32} {len({(f, o) for f, _, o, _ in plans[scenario]}):>12} "
              f"{len(plans[scenario]):>6} {violations:>10} {unreached:>9} {unsteady:>8}")
    load = " ".join(f"{x:.2f}" for x in os.getloadavg())
    print(f"{total} runs in {minutes:.1f} min on {idle.qsize()} Wine prefixes side by side, "
          f"{minutes * 60 * idle.qsize() / max(total, 1):.2f} s a run in each; load average {load}")
    for scenario, call, error, broke in findings:
        print(f"  {scenario}: {call}, error {error}: {'; '.join(broke)}")
    for scenario, call, error, _, _, first in (r for r in results if r[5]):
        print(f"  unsteady, {scenario}: {call}, error {error}: {'; '.join(first)}; held when made again")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

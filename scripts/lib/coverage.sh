# Coverage of the product's code by the test suite (scripts/coverage): where
# the counts go while the programs run under Wine, how they come back, and
# the report.

# Below these a file is listed as weak.
ORU_COVERAGE_MIN_LINES=95
ORU_COVERAGE_MIN_BRANCHES=85

# redirect_gcov_counts BUILD: the programs run in a prefix without a drive for
# the host, so the host path compiled into them (BUILD/...gcda) leads nowhere.
# libgcov writes the counts under C:\gcov instead, with the path below BUILD
# kept; every process started from here on, the uninstaller's children too,
# inherits this. libgcov merges counts of parallel processes under a lock.
redirect_gcov_counts() {
  local parts
  IFS=/ read -ra parts <<<"${1#/}"
  export GCOV_PREFIX='C:\gcov'
  export GCOV_PREFIX_STRIP=${#parts[@]}
}

# collect_gcov_counts BUILD: puts the counts beside the objects' notes
# (.gcno), where gcov looks for them. A process ended by TerminateProcess
# writes none: that is expected, not lost. Fails when a count has no notes
# beside it: the mapping of paths went wrong, and every figure would be 0.
collect_gcov_counts() {
  local build="$1" counts="$WINEPREFIX/drive_c/gcov" count=0 notes orphan status=0
  [ -d "$counts" ] && count=$(find "$counts" -name '*.gcda' | wc -l)
  if [ "$count" -eq 0 ]; then
    echo "No counts were written under C:\\gcov: is the build instrumented?" >&2
    return 1
  fi
  cp -r "$counts/." "$build/"
  notes=$(find "$build" -name '*.gcno' | wc -l)
  echo "Counts of $count of the $notes instrumented objects collected from the prefix"
  while IFS= read -r orphan; do
    [ -f "${orphan%.gcda}.gcno" ] && continue
    echo "Counts without notes: ${orphan#"$build"/}" >&2
    status=1
  done < <(find "$build" -name '*.gcda')
  return $status
}

# report_coverage ROOT BUILD: line and branch coverage of every file of
# ROOT/src, per folder of src/ and in total, weakest first; then the files
# below the bar. Branches that only an exception would take, and those the
# compiler adds where no source decides anything, are left out: they would
# bury the decisions the code makes. Also writes BUILD/report/index.html.
report_coverage() {
  local root="$1" build="$2" csv
  csv="$build/coverage.csv"
  mkdir -p "$build/report"
  (cd "$root" && gcovr --root "$root" --filter 'src/' --object-directory "$build" \
    --gcov-executable x86_64-w64-mingw32-gcov --exclude-throw-branches --exclude-unreachable-branches \
    -j "$(nproc)" --csv "$csv" --html-details "$build/report/index.html" "$build")
  python3 "$root/scripts/lib/coverage_table.py" "$csv" "$ORU_COVERAGE_MIN_LINES" "$ORU_COVERAGE_MIN_BRANCHES"
}

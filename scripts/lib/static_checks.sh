# Formatting and static analysis of everything we write, run with the tests:
# a finding fails the run like a failing test.

# run_static_checks ROOT
run_static_checks() {
  local root="$1" status=0
  local files
  mapfile -t files < <(cd "$root" && git ls-files -- 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'bench/*.h')
  echo "clang-format: ${#files[@]} files"
  (cd "$root" && clang-format --dry-run -Werror "${files[@]}") || status=1
  # Headers are checked through the sources that include them: alone, every
  # member looks unused. A loop that fills a vector reads as well as the
  # algorithm cppcheck would suggest, so that suggestion is not asked for.
  echo "cppcheck: warning, style, performance, portability"
  (cd "$root" && cppcheck --enable=warning,style,performance,portability --std=c++20 --language=c++ --quiet --inline-suppr \
      --library=googletest --library=windows -D_WIN32 -DUNICODE -D_UNICODE -I src -I tests \
      --suppress=missingIncludeSystem --suppress=useStlAlgorithm --error-exitcode=1 -j "$(nproc)" $(printf '%s\n' "${files[@]}" | grep '\.cpp$')) \
    || status=1
  return $status
}

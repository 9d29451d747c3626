#!/usr/bin/env bash
# Mutation testing: puts each one-line fault of a list into a copy of the sources, rebuilds, runs the
# native test programs until one fails (the fault is killed) or all pass (it survived), and prints
# the kill rate per folder. The working tree is never written to: the faults go into a copy under
# build/mutate/, which keeps its own build so that each fault only recompiles its own file.
#
#   bench/mutate.sh [LIST]          LIST defaults to bench/mutations.txt
#
# A list line is FILE<TAB>TEXT<TAB>REPLACEMENT: in FILE the one line containing TEXT (a plain
# string, not a pattern) gets its first TEXT replaced by REPLACEMENT, which may be empty. Lines
# starting with "#" and empty lines are skipped. A TEXT found on no line or on several is reported
# as stale and counts for nothing, so that the list can be kept in step with the code.
# A fault that does not compile counts for nothing either. JOBS sets the build's parallelism;
# MUTATE_TIMEOUT the seconds a test program may run (a fault that makes it hang is killed).
# PROGRAMS (say "test_server_helpers test_server") runs only those test programs, for a quicker
# look at one folder's faults; a fault that only another program would catch then counts as
# surviving.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
list=$(realpath "${1:-$root/bench/mutations.txt}")
work=$root/build/mutate
tree=$work/tree
build=$work/build
jobs=${JOBS:-2}
limit=${MUTATE_TIMEOUT:-120}

# The copy: files whose content differs from the working tree are copied anew (with a fresh time,
# so that the build sees them); identical files keep theirs and stay built.
refresh_copy() {
  local stage=$work/stage
  rm -rf "$stage"
  mkdir -p "$stage" "$tree"
  tar -C "$root" --exclude=./build --exclude=./node_modules --exclude=./.git --exclude=./data -cf - . |
    tar -C "$stage" -xf -
  (cd "$stage" && find . -type f -print0) | while IFS= read -r -d '' f; do
    if ! cmp -s "$stage/$f" "$tree/$f"; then
      mkdir -p "$(dirname "$tree/$f")"
      cp "$stage/$f" "$tree/$f"
    fi
  done
  rm -rf "$stage"
}

# The program of a tests/native folder: test_<folder>, except the server's helpers (test_server is
# the program that runs the server itself).
program_of() {
  if [ "$1" = server ]; then echo test_server_helpers; else echo "test_$1"; fi
}

# The test programs, the ones for the faulty file's folder first: they are the likeliest to fail.
programs_for() {
  local file=$1 first=()
  case $file in
    src/platform/native/*) first=(test_http) ;;
    src/*) first=("test_$(cut -d/ -f2 <<<"$file")") ;;
    server/*) first=(test_server_helpers test_server) ;;
    cli/*) first=(test_server) ;;
  esac
  local name
  for name in "${first[@]}"; do
    if [ "$name" = test_server ] || [ -d "$root/tests/native/${name#test_}" ] ||
      [ "$name" = test_server_helpers ]; then echo "$name"; fi
  done
  for dir in "$root"/tests/native/*/; do
    name=$(program_of "$(basename "$dir")")
    [[ " ${first[*]} " != *" $name "* ]] && echo "$name"
  done
  [[ " ${first[*]} " != *" test_server "* ]] && echo test_server
  return 0
}

# The folder a file's figure belongs to: src/<area>, src/platform/<side>, or the top folder.
folder_of() {
  case $1 in
    src/platform/*) cut -d/ -f1-3 <<<"$1" ;;
    src/*) cut -d/ -f1-2 <<<"$1" ;;
    *) cut -d/ -f1 <<<"$1" ;;
  esac
}

# Runs the programs in order; prints the first that fails, "survived" when none does, or
# "uncompilable" when a program does not build.
run_programs() {
  local program
  for program in "$@"; do
    if ! cmake --build "$build" -j "$jobs" --target "$program" >"$work/build.log" 2>&1; then
      echo uncompilable
      return
    fi
    # The subshell's own report of a crash ("Segmentation fault") goes to the log as well.
    if ! (cd "$build/tests" && timeout "$limit" "./$program"; exit $?) >"$work/test.log" 2>&1; then
      echo "$program"
      return
    fi
  done
  echo survived
}

refresh_copy
cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
# Only the programs PROGRAMS names, when it names any.
only() {
  local name
  while read -r name; do
    if [ -z "${PROGRAMS:-}" ] || [[ " $PROGRAMS " == *" $name "* ]]; then echo "$name"; fi
  done
}

mapfile -t everything < <(programs_for none | only)
echo "Building the copy and checking that its tests pass as they stand..."
if [ "$(run_programs "${everything[@]}")" != survived ]; then
  echo "mutate: the tests fail without any fault put in (see $work/test.log); fix them first" >&2
  exit 1
fi

current=""
restore() { if [ -n "$current" ]; then cp "$work/original" "$tree/$current"; current=""; fi; }
trap restore EXIT
trap 'restore; exit 130' INT TERM

declare -A killed total
stale=0 invalid=0 n=0
survivors=()
while IFS=$'\t' read -r -u 3 file text replacement || [ -n "$file" ]; do
  [[ -z $file || $file == \#* ]] && continue
  n=$((n + 1))
  target=$tree/$file
  matches=0
  [ -f "$target" ] && matches=$(grep -cF -- "$text" "$target" || true)
  if [ "$matches" != 1 ]; then
    echo "  #$n stale ($matches lines): $file: $text"
    stale=$((stale + 1))
    continue
  fi
  cp "$target" "$work/original"
  current=$file
  TEXT=$text REPLACEMENT=$replacement awk '
    !done && (i = index($0, ENVIRON["TEXT"])) {
      $0 = substr($0, 1, i - 1) ENVIRON["REPLACEMENT"] substr($0, i + length(ENVIRON["TEXT"]))
      done = 1
    }
    { print }' "$work/original" >"$target"
  mapfile -t order < <(programs_for "$file" | only)
  outcome=$(run_programs "${order[@]}" </dev/null)
  restore
  folder=$(folder_of "$file")
  case $outcome in
    uncompilable)
      echo "  #$n does not compile: $file: $text -> $replacement"
      invalid=$((invalid + 1))
      continue
      ;;
    survived)
      echo "  #$n SURVIVED        $file: $text -> $replacement"
      survivors+=("$file: $text -> $replacement")
      ;;
    *)
      echo "  #$n killed by $outcome: $file"
      killed[$folder]=$((${killed[$folder]:-0} + 1))
      ;;
  esac
  total[$folder]=$((${total[$folder]:-0} + 1))
done 3<"$list"

echo
printf '%-24s %7s %7s %6s\n' folder faults killed rate
all=0 allKilled=0 rest=0 restKilled=0
for folder in $(printf '%s\n' "${!total[@]}" | sort); do
  t=${total[$folder]} k=${killed[$folder]:-0}
  printf '%-24s %7d %7d %5d%%\n' "$folder" "$t" "$k" $((100 * k / t))
  all=$((all + t)) allKilled=$((allKilled + k))
  if [ "$folder" != server ]; then rest=$((rest + t)) restKilled=$((restKilled + k)); fi
done
if ((all)); then
  printf '%-24s %7d %7d %5d%%\n' "all" "$all" "$allKilled" $((100 * allKilled / all))
  if ((rest)); then printf '%-24s %7d %7d %5d%%\n' "all but server/" "$rest" "$restKilled" $((100 * restKilled / rest)); fi
fi
echo "($stale stale, $invalid not compiling; not counted)"

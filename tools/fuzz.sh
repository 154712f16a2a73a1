#!/usr/bin/env bash
# Usage: tools/fuzz.sh TARGET[,TARGET...] SECONDS [LIBFUZZER OPTIONS...]
# Builds fuzzers and lets each of them run for that time, as many at once as there are processors:
# presets, options, command, module, library, pictures, video. They begin with the inputs of tests/fuzz/corpus and
# with what earlier runs found worth keeping in build/asan/fuzz/corpus. Where a fault is found, its input
# is in build/asan/fuzz/found: mend the fault and add the input to tests/fuzz/corpus, which every build replays.
# Skipped where the compiler and the fuzzers' runtime cannot be installed.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -lt 2 ]; then
  echo "error: fuzz.sh: expected fuzzers and a time (tools/fuzz.sh presets,module 60)" >&2
  exit 2
fi
if ! tools/setup_asan.sh; then
  echo "SKIPPED (fuzz): the compiler or the runtime of the fuzzers cannot be installed"
  exit 0
fi
IFS=, read -ra fuzzers <<<"$1"
seconds=$2
shift 2

tools/build.sh asan --target "${fuzzers[@]/#/fuzz_}"

fuzz() {
  local fuzzer=$1 seconds=$2
  shift 2
  local folder=build/asan/fuzz log=build/asan/fuzz/$fuzzer.log options=()
  # Inputs of a module are long before they do anything.
  [ "$fuzzer" != module ] || options=(-len_control=0 -max_len=1400)
  mkdir -p "$folder/corpus/$fuzzer" "$folder/found"
  # Mask 3: what the tested code prints is dropped, and not what the fuzzer and the sanitizers report.
  if "build/asan/tests/fuzz_$fuzzer" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=3000 \
    -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$PWD/$folder/found/$fuzzer-" \
    "${options[@]}" "$@" "$PWD/$folder/corpus/$fuzzer" "$PWD/tests/fuzz/corpus/$fuzzer" \
    >"$log" 2>&1; then
    echo "Fuzzing ($fuzzer): $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs, no fault"
  else
    tail -n 60 "$log" >&2
    echo "error: fuzz: $fuzzer found a fault, see $log (mend it and add its input to" \
      "tests/fuzz/corpus/$fuzzer)" >&2
    return 1
  fi
}
export -f fuzz
printf '%s\n' "${fuzzers[@]}" |
  xargs -P "$(nproc)" -I {} bash -euo pipefail -c 'fuzz "$@"' fuzz {} "$seconds" "$@"

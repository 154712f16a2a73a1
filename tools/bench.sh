#!/usr/bin/env bash
# Usage: tools/bench.sh [--json FILE] [--filter TEXT] [--target NAME] [--quick]
#                       [--processor-time]
# Installs what is missing, builds and runs the benchmark. Prints the machine's load before and after,
# because figures from a busy machine are uncertain.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/tools/setup.sh"
"$root/tools/build.sh" release --target lomix_bench
uptime
"$root/build/release/bin/lomix_bench" "$@"
uptime

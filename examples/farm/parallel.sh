#!/usr/bin/env bash
# Usage: LOMIX_HOSTS=4/host1,4/host2 examples/farm/parallel.sh SHARES INPUT OUTPUT [OPTIONS OF lomix render...]
# Renders the shares of a job with GNU parallel, on this machine or, over ssh, on others that see the same
# folder under the same name. "4/host1" runs four shares at a time on host1. A share that fails is tried
# three times. A second call renders only the frames that are not there yet.
set -euo pipefail

shares=$1
shift
hosts=(--jobs 2)
[ -z "${LOMIX_HOSTS:-}" ] || hosts=(--sshlogin "$LOMIX_HOSTS" --workdir "$PWD")
# The words are quoted for the shell that parallel starts, here or over ssh.
words=$(printf '%q ' "$@")
seq "$shares" | parallel "${hosts[@]}" --retries 3 \
  "lomix render $words --share {}/$shares --skip-existing --report lomix.####.json --quiet"

#!/usr/bin/env bash
# Usage: tools/check_farm.sh [LOMIX]
# Runs the example for Slurm on a Slurm of its own: an array of 8 tasks renders a sequence; one task is
# requeued while it runs, the process of another is killed and its task requeued. The sequence has to be whole
# and equal to that of one run. Then an array renders segments of a film, which is joined and compared.
# Installs Slurm where it is missing, or says that the check is skipped. LOMIX: the command, by default
# that of the build "dev". Everything runs on 127.0.0.1, in a temporary folder, as the calling user.
set -euo pipefail
cd "$(dirname "$0")/.."

source=$PWD
lomix=$(realpath "${1:-build/dev/bin/lomix}")
[ -x "$lomix" ] || { echo "error: '$lomix': there is no such command (build it first)" >&2; exit 1; }
if ! tools/setup.sh slurmctld slurmd slurm-client munge ffmpeg; then
  echo "skipped: Slurm cannot be installed here"
  exit 0
fi

folder=$(mktemp -d "${TMPDIR:-/tmp}/lomix-farm.XXXXXX")
daemons=()
finish() {
  # Jobs outlive the daemons.
  if [ "${#daemons[@]}" -gt 1 ]; then
    scancel --user="$(id -un)" 2>/dev/null || true
    for _ in {1..50}; do
      [ -n "$(squeue --noheader 2>/dev/null)" ] || break
      sleep 0.2
    done
  fi
  # In the reverse order of their start. Only what was started here.
  for ((i = ${#daemons[@]} - 1; i >= 0; --i)); do kill "${daemons[i]}" 2>/dev/null || true; done
  for daemon in "${daemons[@]}"; do wait "$daemon" 2>/dev/null || true; done
  rm -rf "$folder"
}
trap finish EXIT
fail() {
  echo "error: $1" >&2
  tail -n 20 "$folder"/*.log "$folder"/job/*.log >&2 || true
  exit 1
}

# until_true SECONDS WHAT COMMAND...
until_true() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || fail "$what takes too long"
    sleep 0.2
  done
}
freePort() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

mkdir "$folder"/{state,spool,job,bin}
chmod 755 "$folder"
dd if=/dev/urandom of="$folder/munge.key" bs=1024 count=1 status=none
chmod 600 "$folder/munge.key"
munged --foreground --force --socket="$folder/munge.socket" --key-file="$folder/munge.key" \
  --pid-file="$folder/munge.pid" --seed-file="$folder/munge.seed" --log-file="$folder/munge.log" \
  >"$folder/munged.log" 2>&1 &
daemons+=($!)
until_true 20 "munged" test -S "$folder/munge.socket"

user=$(id -un)
cat >"$folder/slurm.conf" <<END
ClusterName=lomix
SlurmctldHost=$(hostname)(127.0.0.1)
SlurmctldPort=$(freePort)
SlurmdPort=$(freePort)
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge.socket
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerType=sched/builtin
MpiDefault=none
ReturnToService=2
KillWait=5
SlurmdParameters=config_overrides
NodeName=$(hostname) NodeAddr=127.0.0.1 CPUs=4 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
END
export SLURM_CONF=$folder/slurm.conf
slurmctld -D -c -f "$SLURM_CONF" >"$folder/controller.log" 2>&1 &
daemons+=($!)
slurmd -D -c -f "$SLURM_CONF" -N "$(hostname)" >"$folder/node.log" 2>&1 &
daemons+=($!)
isIdle() { [ "$(sinfo --noheader --format %T)" = idle ]; }
until_true 40 "Slurm's start" isIdle

ln -s "$lomix" "$folder/bin/lomix"
export PATH=$folder/bin:$PATH
cd "$folder/job"
isOver() { [ -z "$(squeue --noheader --jobs "$1")" ]; }
hasFrame() { compgen -G "$1" >/dev/null; }
start() { sbatch --parsable "$@"; }

echo "Rendering a sequence in an array of 8 tasks, two of them killed..."
look=(--preset weak-aerial --set "Scan Distortion=20")
lomix testcard card.png --size 1280x720
frames=${FRAMES:-200}
lomix render card.png 'good.####.png' --frames "1-$frames" "${look[@]}" --quiet
job=$(start "$source/examples/farm/slurm.sh" card.png 'out.####.png' --frames "1-$frames" "${look[@]}")
# Once they have written a frame, but not all of them.
until_true 60 "the first frame" hasFrame 'out.0002.png'
scontrol requeue "${job}_2"
until_true 60 "the third share" hasFrame 'out.0003.png'
process=$(pgrep --newest --uid "$(id -u)" --full -- "--share 3/8") || fail "the third task is not running"
[ "$(readlink "/proc/$process/cwd")" = "$folder/job" ] || fail "the third task is over already (use more FRAMES)"
kill -KILL "$process"
isFailed() { scontrol show job "${job}_3" | grep 'JobState=FAILED' >/dev/null; }
until_true 60 "the end of the killed task" isFailed
scontrol requeue "${job}_3"
# Slurm waits before it starts a task again.
for task in 2 3; do scontrol update "JobId=${job}_$task" StartTime=now || true; done
until_true 600 "the array" isOver "$job"
for task in 2 3; do
  scontrol show job "${job}_$task" | grep 'Restarts=1' >/dev/null || fail "task $task was not started again"
done
lomix report "lomix-$job".*.json || fail "the reports say that frames are missing"
for file in good.*.png; do
  cmp "$file" "out${file#good}" || fail "a frame differs from that of one run"
done
found=(out.*)
[ "${#found[@]}" -eq "$frames" ] || fail "there are other frames than these $frames"

echo "Rendering a film in segments, and joining it..."
ffmpeg -v error -f lavfi -i testsrc2=s=640x360:r=25:d=8 -f lavfi -i sine=d=8 -shortest film.mp4
lomix render film.mp4 good.mkv "${look[@]}" --quiet
job=$(start "$source/examples/farm/slurm.sh" film.mp4 'part.####.mkv' "${look[@]}")
last=$(start --dependency=afterok:"$job" --output=join.log \
  --wrap "lomix join 'part.####.mkv' aired.mkv --source film.mp4")
until_true 600 "the film" isOver "$last"
[ -e aired.mkv ] || fail "the film was not joined"
for kind in v a; do
  ffmpeg -v error -copyts -i good.mkv -map "$kind" -f framemd5 good.txt -y
  ffmpeg -v error -copyts -i aired.mkv -map "$kind" -f framemd5 aired.txt -y
  cmp good.txt aired.txt || fail "the film differs from that of one run"
done
echo "The sequence and the film are those of one run."

#!/usr/bin/env bash
# Usage: sbatch examples/farm/slurm.sh INPUT OUTPUT [OPTIONS OF lomix render...]
# Renders one share of a job in each task of a Slurm array. To run some tasks again, say how many shares the
# job has, since Slurm counts only the tasks of the new array:
#   sbatch --array=3,5 --export=ALL,LOMIX_SHARES=8 examples/farm/slurm.sh INPUT OUTPUT [OPTIONS...]
#SBATCH --job-name=lomix
#SBATCH --array=1-8
#SBATCH --requeue
#SBATCH --open-mode=append
#SBATCH --output=lomix-%A.%a.log
set -euo pipefail

shares=${LOMIX_SHARES:-$SLURM_ARRAY_TASK_COUNT}
# exec: a signal of Slurm's reaches lomix, which finishes the frames that it has begun.
exec lomix render "$@" --share "$SLURM_ARRAY_TASK_ID/$shares" --skip-existing \
  --threads "${SLURM_CPUS_ON_NODE:-1}" --report "lomix-$SLURM_ARRAY_JOB_ID.####.json" --quiet

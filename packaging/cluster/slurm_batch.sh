#!/bin/bash
# A batch as an array job of Slurm: each task fills the rows of one shard, all into one folder that the nodes share.
#
#   sbatch --array=1-8 slurm_batch.sh FORM DATA FOLDER [OPTION...]
#
# FORM and DATA are as for "zforms batch", and so are further options. The reports go to FOLDER.reports; when the array has
# ended, join them:
#
#   zforms batch --merge-reports FOLDER.reports/*.json --out FOLDER --report report.json
#
# A task that is killed or fails for a temporary reason (status 75) is queued again and continues where it stopped. A
# task with bad rows or wrong options (statuses 3 and 2) is not tried again.
#SBATCH --job-name=zforms
#SBATCH --requeue
#SBATCH --open-mode=append
#SBATCH --signal=B:TERM@60

most_restarts=5
form=$1 data=$2 folder=$3
shift 3
mkdir -p "$folder.reports"

# Slurm sends SIGTERM to the script. The script passes it to zforms, which finishes the rows that it has begun.
trap 'kill -TERM "$child"' TERM
"${ZFORMS:-zforms}" batch "$form" --data "$data" --out "$folder" --resume \
  --shard "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_COUNT" --jobs "${SLURM_CPUS_PER_TASK:-1}" \
  --report "$folder.reports/$SLURM_ARRAY_TASK_ID.json" "$@" &
child=$!
wait "$child"
status=$?
# A signal ends "wait" early.
while kill -0 "$child" 2>/dev/null; do
  wait "$child"
  status=$?
done

if [ "$status" -eq 75 ] || [ "$status" -ge 128 ]; then
  [ "${SLURM_RESTART_COUNT:-0}" -ge "$most_restarts" ] || scontrol requeue "$SLURM_JOB_ID"
fi
exit "$status"

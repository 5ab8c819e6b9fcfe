#!/bin/bash
# A batch by GNU parallel: N shards, as many at a time as there are cores, or on the machines of --sshlogin.
#
#   SHARDS=8 parallel_batch.sh FORM DATA FOLDER [OPTION of zforms batch...]
#   SHARDS=64 PARALLEL="--sshloginfile machines --workdir ." parallel_batch.sh FORM DATA FOLDER
#
# A shard that fails for a temporary reason (status 75) or is killed is run again, at most five times in all. A
# shard with bad rows or wrong options is not run again. The exit status is that of "zforms batch --merge-reports".
form=$1 data=$2 folder=$3
shift 3
shards=${SHARDS:-$(nproc)}
mkdir -p "$folder.reports"

# shellcheck disable=SC2016 # parallel's own shell expands this
shard='for i in 1 2 3 4 5; do
  "$ZFORMS" batch "$1" --data "$2" --out "$3" --resume --jobs 1 --shard "$4/$5" --report "$3.reports/$4.json" "${@:6}"
  status=$?
  [ $status -eq 75 ] || [ $status -ge 128 ] || break
done'
export ZFORMS=${ZFORMS:-zforms}
seq "$shards" | parallel --env ZFORMS --quote bash -c "$shard" - "$form" "$data" "$folder" {} "$shards" "$@"

reports=()
for ((i = 1; i <= shards; i++)); do
  [ -e "$folder.reports/$i.json" ] && reports+=("$folder.reports/$i.json")
done
"$ZFORMS" batch --merge-reports "${reports[@]}" --out "$folder" --report "$folder.reports/all.json"

#!/usr/bin/env bash
# cluster_test.sh slurm|parallel BIN_DIR DOCS: runs the recipe of docs/large-libraries.md, as it is written there,
# over a small library, and holds what comes out against a plain run. Slurm is started as a cluster of one node,
# all of it in a temporary folder. Ends with status 77 where the means are missing.
set -euo pipefail

kind=$1 bin=$2 docs=$3
skip() { echo "skipped: $*"; exit 77; }

work=$(mktemp -d /tmp/tunesift-cluster-XXXXXX)
daemons=()
cleanup() {
    for daemon in "${daemons[@]}"; do kill "$daemon" 2>/dev/null || true; done
    for daemon in "${daemons[@]}"; do wait "$daemon" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT
export PATH=$bin:$PATH

# The library: one second of sound under many names, and something that is none.
mkdir "$work/Music"
command -v ffmpeg >/dev/null || skip "no ffmpeg"
ffmpeg -v error -f lavfi -i 'sine=frequency=440:duration=1' "$work/Music/0.wav"
for i in $(seq 1 23); do cp "$work/Music/0.wav" "$work/Music/$i.wav"; done
echo 'no music' > "$work/Music/bad.wav"

# The lines of the document that belong to the recipe: an indented block that begins with the given line.
recipe() {
    awk -v begin="    $1" 'index($0, begin) == 1 { on = 1 } on && !/^    / { exit } on { print substr($0, 5) }' "$docs" |
        sed "s#/shared/Music#$work/Music#g"
}

cd "$work"
case $kind in
parallel)
    command -v parallel >/dev/null || skip "no GNU parallel"
    recipe 'parallel tunesift' > run.sh
    grep -q '^parallel' run.sh
    # A track fails, so each step may end with 1.
    sed -i 's/$/ || [ $? -le 4 ]/' run.sh
    PARALLEL_HOME=$work/home sh -e run.sh
    ;;
slurm)
    command -v slurmctld >/dev/null && command -v slurmd >/dev/null || skip "no Slurm"
    [ "$(id -u)" -eq 0 ] || skip "needs root"
    host=$(hostname -s)
    port=$((20000 + $$ % 10000))
    mkdir state spool
    cat > slurm.conf <<CONF
ClusterName=one
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$port
SlurmdPort=$((port + 1))
SlurmUser=root
AuthType=auth/none
CredType=cred/none
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
MpiDefault=none
ReturnToService=2
SlurmdParameters=config_overrides
NodeName=$host NodeAddr=127.0.0.1 CPUs=4 State=UNKNOWN
PartitionName=main Nodes=ALL Default=YES State=UP
CONF
    export SLURM_CONF=$work/slurm.conf
    slurmctld -D -c -f slurm.conf >/dev/null 2>&1 & daemons+=($!)
    slurmd -D -f slurm.conf >/dev/null 2>&1 & daemons+=($!)
    recipe '#!/bin/sh' > job.sh
    grep -q '^#SBATCH --array=1-4' job.sh
    for _ in $(seq 1 60); do
        sinfo -h -o '%t' 2>/dev/null | grep -q idle && break
        sleep 0.5
    done
    if ! sinfo -h -o '%t' | grep -q idle; then
        tail -20 slurmctld.log slurmd.log
        exit 1
    fi
    # One of the tasks meets the bad track and ends with 1, so does the job.
    timeout 300 sbatch --wait -o 'task.%a.out' job.sh || true
    cat task.*.out
    ls rows.*.ndjson
    tunesift merge -o library.ndjson rows.*.ndjson
    ;;
*)
    echo "cluster_test.sh: what is $kind?" >&2
    exit 2
    ;;
esac

[ "$(ls rows.*.ndjson | wc -l)" -eq 4 ]
[ "$(wc -l < library.ndjson)" -eq 25 ]
tunesift analyze -o plain.ndjson "$work/Music" 2>/dev/null || [ $? -eq 1 ]
timeless() { sed -E 's/"(wall|cpu)Seconds":[^,}]*,?//g; s/"shard":[^,]*,//' "$1" | sort; }
diff <(timeless plain.ndjson) <(timeless library.ndjson)
echo "the rows of $kind are those of a plain run"

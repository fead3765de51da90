#!/bin/sh
# Update the custom block: update_custblk.sh -i IMAGE
# Keeps a note of what it was given in run/update/log. A status in run/update/custblk.status makes it fail with that.
cd -P "${0%/*}/.." || exit 1
status=$PWD/run/update/custblk.status
log=$PWD/run/update/log
if [ "$1" != -i ] || [ $# -ne 2 ]; then
    echo "usage: update_custblk.sh -i IMAGE" >&2
    exit 2
fi
[ -r "$2" ] || { echo "update_custblk.sh: cannot read $2" >&2; exit 1; }
echo "custblk $2" >>"$log"
if [ -e "$status" ]; then
    read -r code <"$status"
    echo "update_custblk.sh: told to fail with $code" >&2
    exit "$code"
fi

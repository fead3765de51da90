#!/bin/sh
# Update the kernel: update_kernel.sh -i IMAGE
# Keeps a note of what it was given in run/update/log. A status in run/update/kernel.status makes it fail with that.
cd -P "${0%/*}/.." || exit 1
status=$PWD/run/update/kernel.status
log=$PWD/run/update/log
if [ "$1" != -i ] || [ $# -ne 2 ]; then
    echo "usage: update_kernel.sh -i IMAGE" >&2
    exit 2
fi
[ -r "$2" ] || { echo "update_kernel.sh: cannot read $2" >&2; exit 1; }
echo "kernel $2" >>"$log"
if [ -e "$status" ]; then
    read -r code <"$status"
    echo "update_kernel.sh: told to fail with $code" >&2
    exit "$code"
fi

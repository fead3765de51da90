#!/bin/sh
# Update the boot loader: update_bootloader.sh -i IMAGE
# Keeps a note of what it was given in run/update/log. A status in run/update/bootloader.status makes it fail with that.
cd -P "${0%/*}/.." || exit 1
status=$PWD/run/update/bootloader.status
log=$PWD/run/update/log
if [ "$1" != -i ] || [ $# -ne 2 ]; then
    echo "usage: update_bootloader.sh -i IMAGE" >&2
    exit 2
fi
[ -r "$2" ] || { echo "update_bootloader.sh: cannot read $2" >&2; exit 1; }
echo "bootloader $2" >>"$log"
if [ -e "$status" ]; then
    read -r code <"$status"
    echo "update_bootloader.sh: told to fail with $code" >&2
    exit "$code"
fi

#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
#
# enter-tree.sh TREE [--bind SOURCE TARGET]... [--] [COMMAND...]
#
# Runs the command as root in a tree of a Debian release, with the folders SOURCE at TARGET. The caller has made
# namespaces of mounts and processes of its own. What the command changes, but for those folders, is thrown away.
# Without a command this finds out whether a tree can be entered.
set -euo pipefail

root=/run/root

lay_over() {
  mount -t tmpfs -o mode=0755 wicket-release /run
  mkdir /run/{upper,work} "$root"
  mount -t overlay -o "lowerdir=$1,upperdir=/run/upper,workdir=/run/work" wicket-release "$root"
  mkdir -p "$root"/{proc,dev,run,tmp,.outside}
  mount -t proc proc "$root/proc"
  mount -t tmpfs -o mode=0755 wicket-release "$root/run"
  mount -t tmpfs -o mode=1777 wicket-release "$root/tmp"
}

# Those that reach nothing of the machine, and terminals of its own.
add_devices() {
  local device number=0
  mount -t tmpfs -o mode=0755 wicket-release "$root/dev"
  for device in null zero full random urandom tty; do
    touch "$root/dev/$device"
    mount --bind "/dev/$device" "$root/dev/$device"
  done
  mkdir "$root"/dev/{pts,shm}
  mount -t devpts -o newinstance,mode=0620,ptmxmode=0666 devpts "$root/dev/pts"
  mount -t tmpfs -o mode=1777 wicket-release "$root/dev/shm"
  ln -s pts/ptmx "$root/dev/ptmx"
  ln -s /proc/self/fd "$root/dev/fd"
  for device in stdin stdout stderr; do
    ln -s "/proc/self/fd/$((number++))" "$root/dev/$device"
  done
}

# In a chroot nobody may make user namespaces, and the tests do.
leave_machine() {
  cd "$root"
  pivot_root . .outside
  cd /
  hash -r
  umount --lazy /.outside
  rmdir /.outside
}

lay_over "$(realpath "$1")"
shift
add_devices
while [[ ${1-} == --bind ]]; do
  mkdir -p "$root$3"
  mount --bind "$2" "$root$3"
  shift 3
done
[[ ${1-} != -- ]] || shift
leave_machine
# This shell stays: as the first process it is there for those whose parents have gone.
(($# == 0)) || "$@" || exit

#!/bin/bash
# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
#
# The stage of scripts/demo, which sources this: a machine of its own on which the helper waits for its first client.
#   open_stage [--in-place]   builds, and returns once the stage stands; what it is made of ends with the program
#   as_user COMMAND...        runs the command as an unprivileged user, in his folder $work/home
# and all of sandbox.sh.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
service=net.orvane.Wicket.TlvPrivilegedHelper
socket=/run/$service
scripts=/var/orvane
user=nobody
# The folder of the built programs and of the user's files.
work=
# The group that connects, and the folder of the installed companion.
group=
group_is_ours=
programs=
# The first process in the namespaces.
namespaces=
# The helper's process: until somebody connects it is systemd-socket-activate, which listens in its place.
activation=
# shellcheck source=scripts/lib/sandbox.sh
source "$root/scripts/lib/sandbox.sh"

open_stage() {
  ((EUID == 0)) || die "only root can show this: sudo scripts/demo"
  trap 'exit 130' INT TERM
  case "${1-}" in
    --in-place)
      prepare refuse_used_machine
      use_machines_folders
      ;;
    --inside)
      work=${2-}
      [[ $work ]] || die "--inside is for the demonstration itself"
      use_private_folders
      ;;
    *)
      prepare check_namespaces
      play_in_namespaces
      exit
      ;;
  esac
  install_companion
  sandbox_start "$work/$service.policy" || die "the message bus or polkit did not start"
  start_activation
}

die() {
  printf 'demo: %s\n' "$*" >&2
  exit 1
}

as_user() {
  (cd "$work/home" && exec setpriv --reuid="$user" --regid=nogroup --clear-groups \
    env -i PATH="$programs:/usr/bin:/bin" LC_ALL=C.UTF-8 "$@")
}

# --- before --------------------------------------------------------------------------------------------------

# prepare CHECK: what can be known before anything is installed and built, that, and a folder.
prepare() {
  ! grep -q '^NoNewPrivs:[[:space:]]*1' /proc/self/status ||
    die "set-group programs have no effect here (no_new_privs), and the companion is one"
  "$1"
  build
  # The programs are copied, so that the demonstration can hide any folder of the machine.
  work=$(mktemp -d /tmp/wicket-demo-XXXXXX) || die "no temporary folder"
  trap 'rm -rf "$work"' EXIT
  chmod 0755 "$work"
  cp "$root/build/dev/bin/wicket" "$root/build/dev/bin/$service" \
    "$root/build/dev/packaging/$service".{policy,socket} "$work/" || die "the build left something out"
  # What the user calls his own.
  install --directory --owner="$user" --group=nogroup "$work/home"
}

build() {
  "$root/scripts/setup" --quick-only || die "what is missing could not be installed"
  echo "Building (about a minute the first time)..."
  local said
  said=$(cd "$root" && cmake --preset dev 2>&1 && cmake --build --preset dev --target helper_main wicket_command 2>&1) ||
    die "the build failed:"$'\n'"$said"
}

# By what use_private_folders does first.
check_namespaces() {
  local reason
  reason=$(unshare --mount --propagation private --pid --fork --mount-proc mount -t tmpfs wicket-demo /run 2>&1) ||
    die "namespaces with mounts of one's own are refused here ($reason);" \
      "on a machine, or in a container, that you will throw away use: scripts/demo --in-place"
}

refuse_used_machine() {
  local path
  # Not below /tmp, which many containers and Debian 13 mount without set-group bits.
  programs=/usr/local/lib/wicket-demo
  for path in /run/dbus/system_bus_socket "$socket" "$scripts" "$programs"; do
    [[ ! -e $path ]] || die "$path exists: this machine is in use, and --in-place is for throw-away machines"
  done
}

# --- places --------------------------------------------------------------------------------------------------

# The demonstration once more, in namespaces. The end of their first process is the end of all of them and of their
# mounts.
play_in_namespaces() {
  trap '[[ -z $namespaces ]] || kill -KILL "$namespaces"; wait; rm -rf "$work"' EXIT
  setpriv --pdeathsig KILL unshare --mount --propagation private --pid --fork --kill-child --mount-proc \
    "$root/scripts/demo" --inside "$work" </dev/null &
  namespaces=$!
  local status
  wait "$namespaces"
  status=$?
  namespaces=
  return "$status"
}

# Nothing outside the new file systems can be written to by accident, not even by root's removal command.
use_private_folders() {
  read_group
  local folder
  for folder in /run /var; do
    mount -t tmpfs -o mode=755 wicket-demo "$folder" || die "no file system could be mounted on $folder"
  done
  # Where polkit looks for the message bus.
  ln -s /run /var/run
  # Where the sandbox mounts its own.
  mkdir -p /etc/polkit-1 /usr/share/polkit-1/actions
  for folder in /etc /usr; do
    if ! mount --bind "$folder" "$folder" || ! mount -o remount,bind,ro "$folder"; then
      die "$folder could not be protected"
    fi
  done
  # For those who look from in here.
  if ! getent group "$group" >/dev/null; then
    { cat /etc/group && echo "$group:x:871:"; } >/run/group
    mount --bind /run/group /etc/group || die "the group $group could not be added"
  fi
  programs=/run/bin
  trap strike EXIT
}

read_group() { group=$(sed -n 's/^SocketGroup=//p' "$work/$service.socket"); }

# What sandbox.sh mounts elsewhere goes into the machine's own folders, and is taken away after.
use_machines_folders() {
  read_group
  sandbox_refuse_the_hosts_folders() { :; }
  sandbox_mount() {
    mkdir -p /run/dbus "$SANDBOX_FOLDER" /etc/polkit-1/rules.d /usr/share/polkit-1/actions
  }
  trap 'strike; clean_machine' EXIT
  if ! getent group "$group" >/dev/null; then
    groupadd --system "$group" || die "the group $group could not be added"
    group_is_ours=yes
  fi
}

clean_machine() {
  [[ ! $group_is_ours ]] || groupdel "$group"
  rm -rf "$work" "$programs" "$SANDBOX_FOLDER" "$scripts" "$socket" /run/dbus/system_bus_socket \
    /etc/polkit-1/rules.d/00-sandbox.rules "/usr/share/polkit-1/actions/$service.policy"
}

# --- the helper ----------------------------------------------------------------------------------------------

# As the package does it: a program of the group, which the helper tells by the group from everybody else's.
install_companion() {
  mkdir -p "$programs"
  install --owner=root --group="$group" --mode=2755 "$work/wicket" "$programs/wicket" ||
    die "the companion could not be installed"
}

start_activation() {
  setpriv --pdeathsig TERM systemd-socket-activate --listen="$socket" "$work/$service" \
    </dev/null >"$work/helper.log" 2>&1 &
  activation=$!
  # It says so once it does; the socket's file is there before that.
  sandbox_wait "$activation" "$work/helper.log" grep --quiet '^Listening on' "$work/helper.log" ||
    die "nobody listens at $socket"
  # The companion's group is the one that may connect.
  if ! chgrp "$group" "$socket" || ! chmod 0660 "$socket"; then
    die "$socket could not be given to the companion"
  fi
}

strike() {
  if [[ $activation ]]; then
    kill "$activation" 2>/dev/null
    wait "$activation" 2>/dev/null
  fi
  sandbox_stop
}

#!/bin/bash
# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
#
# A message bus and a polkit of one's own: the real daemons, with private configuration. The caller has made
# a private mount namespace (unshare --mount) and in it has mounted a file system on /run whose name begins
# with "wicket" (mount -t tmpfs wicket-demo /run): without this sign nothing is touched.
#
# Sourced, it offers
#   sandbox_start POLICY...   both daemons, with these policy files and no others
#   sandbox_answer ANSWER     what polkit decides for the actions of these policies: yes, no, auth_admin,
#                             auth_self, or default (what the policy itself says, which it is at first)
#   sandbox_stop              the end of both
# Run as a program with policy files as arguments it starts both, prints "ready", and stops them when its
# standard input ends.

SANDBOX_FOLDER=/run/wicket-sandbox
SANDBOX_BUS=
SANDBOX_POLKIT=

sandbox_start() {
  sandbox_refuse_the_hosts_folders && sandbox_mount && sandbox_write_policies "$@" && sandbox_start_bus &&
    sandbox_start_polkit
}

sandbox_answer() {
  printf '%s\n' "$1" >"$SANDBOX_FOLDER/answer.new" && chmod 0644 "$SANDBOX_FOLDER/answer.new" &&
    mv "$SANDBOX_FOLDER/answer.new" "$SANDBOX_FOLDER/answer"
}

sandbox_stop() {
  local pid
  for pid in $SANDBOX_POLKIT $SANDBOX_BUS; do
    kill "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null
  done
  SANDBOX_POLKIT=
  SANDBOX_BUS=
}

sandbox_refuse_the_hosts_folders() {
  if ! grep -q '^wicket[^ ]* /run ' /proc/self/mounts; then
    echo "sandbox: /run is the host's; use a private mount namespace and: mount -t tmpfs wicket-sandbox /run" >&2
    return 1
  fi
}

sandbox_mount() {
  mkdir -p /run/dbus "$SANDBOX_FOLDER" /etc/polkit-1 /usr/share/polkit-1/actions &&
    mount -t tmpfs -o mode=755 wicket-sandbox /etc/polkit-1 &&
    mount -t tmpfs -o mode=755 wicket-sandbox /usr/share/polkit-1/actions &&
    mkdir -p /etc/polkit-1/rules.d
}

sandbox_write_policies() {
  cp "$@" /usr/share/polkit-1/actions/ && chmod 0644 /usr/share/polkit-1/actions/* && sandbox_answer default || return 1
  # The rule asks at each decision, so that an answer can change without polkit reading its rules again.
  cat >/etc/polkit-1/rules.d/00-sandbox.rules <<RULES
polkit.addAdminRule(function(action, subject) { return ["unix-user:0"]; });
polkit.addRule(function(action, subject) {
  if (action.id.indexOf("net.orvane.Wicket.") != 0) return polkit.Result.NOT_HANDLED;
  var answer = polkit.spawn(["/bin/cat", "$SANDBOX_FOLDER/answer"]).trim();
  return answer == "default" ? polkit.Result.NOT_HANDLED : answer;
});
RULES
}

sandbox_start_bus() {
  cat >"$SANDBOX_FOLDER/bus.conf" <<'CONFIGURATION'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
CONFIGURATION
  rm -f /run/dbus/system_bus_socket
  : >"$SANDBOX_FOLDER/bus.address"
  # It prints its address once it listens. The socket's file is there before that, and whoever connects then is refused.
  setpriv --pdeathsig TERM dbus-daemon --config-file="$SANDBOX_FOLDER/bus.conf" --nofork --nopidfile --print-address \
    </dev/null >"$SANDBOX_FOLDER/bus.address" 2>"$SANDBOX_FOLDER/bus.log" &
  SANDBOX_BUS=$!
  sandbox_wait "$SANDBOX_BUS" "$SANDBOX_FOLDER/bus.log" test -s "$SANDBOX_FOLDER/bus.address"
}

sandbox_start_polkit() {
  setpriv --pdeathsig TERM /usr/lib/polkit-1/polkitd --no-debug </dev/null >"$SANDBOX_FOLDER/polkit.log" 2>&1 &
  SANDBOX_POLKIT=$!
  sandbox_wait "$SANDBOX_POLKIT" "$SANDBOX_FOLDER/polkit.log" sandbox_polkit_answers
}

sandbox_polkit_answers() {
  busctl --system get-property org.freedesktop.PolicyKit1 /org/freedesktop/PolicyKit1/Authority \
    org.freedesktop.PolicyKit1.Authority BackendVersion >/dev/null 2>&1
}

# sandbox_wait PID LOG COMMAND...: until the command succeeds; not longer than two minutes, which the busiest
# machine does not need, nor than the process lives.
sandbox_wait() {
  local pid=$1 log=$2 deadline=$((SECONDS + 120))
  shift 2
  until "$@"; do
    if ! kill -0 "$pid" 2>/dev/null || [ "$SECONDS" -ge "$deadline" ]; then
      cat "$log" >&2
      echo "sandbox: $* did not succeed" >&2
      return 1
    fi
    sleep 0.01
  done
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
  trap sandbox_stop EXIT
  sandbox_start "$@" || exit 1
  echo ready
  cat >/dev/null
fi

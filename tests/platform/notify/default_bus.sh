#!/usr/bin/env bash
# A process with an empty environment must find the system bus at its default socket. A private
# bus takes that socket in a mount namespace of our own, which needs root (77 = skipped).
# Usage: default_bus.sh PROBE
set -euo pipefail
if [[ -z ${BRISKO_IN_MOUNT_NS:-} ]]; then
  unshare --mount true 2>/dev/null || exit 77
  BRISKO_IN_MOUNT_NS=1 exec unshare --mount bash "$0" "$@"
fi
probe=$1
name=com.brisko.test.default-bus
out=/run/observer.out
mount -t tmpfs tmpfs /run || exit 77
mkdir -p /run/dbus
sed '/<user>/d' /usr/share/dbus-1/system.conf > /run/dbus/system.conf # we are root already
dbus-daemon --config-file=/run/dbus/system.conf --address=unix:path=/run/dbus/system_bus_socket \
  --nofork --nopidfile --nosyslog 2>/dev/null &
bus=$!
observer=
trap 'kill $bus $observer 2>/dev/null || true' EXIT
for _ in $(seq 50); do [[ -S /run/dbus/system_bus_socket ]] && break; sleep 0.1; done

env -i "$probe" observe "$name" > "$out" &
observer=$!
for _ in $(seq 50); do grep -q ready "$out" && break; sleep 0.1; done
env -i "$probe" post "$name" || { echo "post with an empty environment failed"; exit 1; }
wait $observer || { echo "observer with an empty environment got nothing"; exit 1; }
grep -qx "received $name" "$out"

#!/usr/bin/env bash
# Run inside a mount namespace of its own: a private bus at the default system socket, and two
# processes with an empty environment that must find it there. Usage: default_bus_test.sh PROBE
set -euo pipefail
probe=$1
name=com.brisko.test.default-bus
mount -t tmpfs tmpfs /run/dbus 2>/dev/null || exit 77

conf=/run/dbus/system.conf
sed -e '/<user>/d' -e '/<pidfile>/d' -e '/<syslog\/>/d' \
    -e 's|<listen>[^<]*</listen>|<listen>unix:path=/run/dbus/system_bus_socket</listen>|' \
    /usr/share/dbus-1/system.conf > "$conf"
dbus-daemon --config-file="$conf" --nofork --nopidfile 2>/dev/null &
bus=$!
trap 'kill $bus 2>/dev/null; kill $observer 2>/dev/null || true' EXIT
for _ in $(seq 50); do [[ -S /run/dbus/system_bus_socket ]] && break; sleep 0.1; done

out=/run/dbus/observer.out
env -i "$probe" observe "$name" 1 5000 > "$out" &
observer=$!
for _ in $(seq 50); do grep -q ready "$out" && break; sleep 0.1; done
grep -q ready "$out" || { echo "observer with an empty environment never got ready"; exit 1; }
env -i "$probe" post "$name" || { echo "post with an empty environment failed"; exit 1; }
wait $observer || { echo "observer with an empty environment got nothing"; exit 1; }
grep -qx "received $name" "$out"

# Sourced by scripts/test and scripts/run: a private system bus and a virtual display,
# torn down when the calling script exits.

brisko_env_dir=$(mktemp -d /tmp/brisko-env.XXXXXX)
brisko_env_pids=()

brisko_env_teardown() {
  local pid
  for pid in "${brisko_env_pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${brisko_env_pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$brisko_env_dir"
}
trap brisko_env_teardown EXIT

# The stock system policy without the parts that need the real system's user and files.
brisko_start_private_bus() {
  local conf="$brisko_env_dir/system.conf" sock="$brisko_env_dir/system_bus_socket"
  sed -e '/<user>/d' -e '/<pidfile>/d' -e '/<syslog\/>/d' \
      -e "s|<listen>[^<]*</listen>|<listen>unix:path=$sock</listen>|" \
      /usr/share/dbus-1/system.conf > "$conf"
  dbus-daemon --config-file="$conf" --nofork --nopidfile 2>"$brisko_env_dir/bus.log" &
  brisko_env_pids+=($!)
  export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$sock"
  export BRISKO_TEST_BUS_CONFIG="$conf"
  for _ in $(seq 50); do [[ -S $sock ]] && return 0; sleep 0.1; done
  echo "private system bus did not start" >&2; return 1
}

brisko_start_display() {
  local n
  for n in $(seq 90 120); do
    [[ -e /tmp/.X11-unix/X$n || -e /tmp/.X$n-lock ]] && continue
    Xvfb ":$n" -screen 0 1170x2532x24 -nolisten tcp -ac +extension MIT-SHM >/dev/null 2>&1 &
    brisko_env_pids+=($!)
    export DISPLAY=":$n"
    for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && return 0; sleep 0.1; done
    echo "Xvfb did not start on :$n" >&2; return 1
  done
}

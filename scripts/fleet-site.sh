# Sourced by demo.sh --fleet and bench.sh --fleet: a whole site on this
# machine without privileges. A mosquitto broker with its own config in the
# work folder, on a free loopback port; N demo robots on free ports; one
# fleet bridge for them all. stop_fleet_site ends what it started.
FLEET_PIDS=()

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

await_line() {  # FILE TEXT: up to 10 s
  for _ in $(seq 100); do
    grep -q "$2" "$1" 2>/dev/null && return 0
    sleep 0.1
  done
  echo "no '$2' in $1:" >&2
  cat "$1" >&2
  return 1
}

# start_fleet_site TOOLS_DIR WORK_DIR N: sets BROKER_PORT and BRIDGE_PID.
start_fleet_site() {
  local tools=$1 work=$2 n=$3
  BROKER_PORT=$(free_port)
  printf 'listener %s 127.0.0.1\nallow_anonymous true\npersistence false\n' "$BROKER_PORT" >"$work/mosquitto.conf"
  mosquitto -c "$work/mosquitto.conf" >"$work/mosquitto.log" 2>&1 &
  FLEET_PIDS+=($!)
  local robots=() i port
  for i in $(seq "$n"); do
    port=$(free_port)
    "$tools/robocomm-demo-host" --port "$port" --serial "DEMO-$i" --run-dir "$work/robot-$i" >"$work/robot-$i.out" 2>&1 &
    FLEET_PIDS+=($!)
    robots+=(--robot "DEMO-$i=127.0.0.1:$port")
  done
  for i in $(seq "$n"); do await_line "$work/robot-$i.out" "demo host: serving"; done
  "$tools/robocomm-fleet" --broker "127.0.0.1:$BROKER_PORT" "${robots[@]}" >"$work/fleet.log" 2>&1 &
  BRIDGE_PID=$!
  FLEET_PIDS+=("$BRIDGE_PID")
  await_line "$work/fleet.log" "robot(s) on broker"
}

stop_fleet_site() {
  local pid
  # The bridge first, so that it says OFFLINE while the broker is there.
  for pid in $(printf '%s\n' "${FLEET_PIDS[@]}" | tac); do
    kill -TERM "$pid" 2>/dev/null || continue
    for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    kill -KILL "$pid" 2>/dev/null || true
  done
  FLEET_PIDS=()
}

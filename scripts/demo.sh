#!/usr/bin/env bash
# The demo: builds the library and its two tools (scripts/test.sh builds
# the rest), starts the simulated robot (robocomm-demo-host) and drives it
# through a short session with the operator client.
#   scripts/demo.sh
#   scripts/demo.sh --console   the robot in the web console instead, until Ctrl-C
#                               (on $ROBOCOMM_CONSOLE_LISTEN, default 127.0.0.1:8080)
#   scripts/demo.sh --fleet [N] N demo robots (3 by default) on a mosquitto broker
#                               through the fleet bridge, as VDA 5050 vehicles, and the
#                               console's fleet page on that broker, until Ctrl-C
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

if [ "${1:-}" = "--fleet" ]; then
  source "$ROOT/scripts/fleet-site.sh"
  robots=${2:-3}
  BUILD_TARGETS="robocomm-fleet robocomm-demo-host robocomm-console" build_into "$ROOT/build"
  work=$(mktemp -d /tmp/robocomm-fleet-demo-XXXXXX)
  trap stop_fleet_site EXIT
  start_fleet_site "$ROOT/build/tools" "$work" "$robots"
  "$ROOT/build/tools/robocomm-console" --fleet "127.0.0.1:$BROKER_PORT" \
    --listen "${ROBOCOMM_CONSOLE_LISTEN:-127.0.0.1:8080}" >"$work/console.log" 2>&1 &
  FLEET_PIDS+=($!)
  await_line "$work/console.log" "open this address"
  cat <<TEXT

$robots demo robots (DEMO-1 ... DEMO-$robots) run through robocomm-fleet on a mosquitto broker
at 127.0.0.1:$BROKER_PORT. Watch the traffic:
  mosquitto_sub -h 127.0.0.1 -p $BROKER_PORT -v -t 'uagv/#'
Send DEMO-1 an order of two nodes:
  mosquitto_pub -h 127.0.0.1 -p $BROKER_PORT -t uagv/v2/robocomm/DEMO-1/order -m '{"headerId":1,"timestamp":"2026-01-01T00:00:00.000Z","version":"2.1.0","manufacturer":"robocomm","serialNumber":"DEMO-1","orderId":"demo","orderUpdateId":0,"nodes":[{"nodeId":"a","sequenceId":0,"released":true,"actions":[],"nodePosition":{"x":1.6,"y":1.6,"mapId":"map"}},{"nodeId":"b","sequenceId":2,"released":true,"actions":[],"nodePosition":{"x":2.5,"y":2.0,"mapId":"map"}}],"edges":[{"edgeId":"ab","sequenceId":1,"released":true,"startNodeId":"a","endNodeId":"b","actions":[]}]}'
The bridge's log: $work/fleet.log; the robots' output: $work/robot-N.out. Ctrl-C stops them all.

The console's fleet page (select a robot in the table, then pause it or click the map to send it there):
$(grep -o 'http://[^ ]*' "$work/console.log")
TEXT
  wait "$BRIDGE_PID" || true
  exit 0
fi

operator=robocomm-client
[ "${1:-}" = "--console" ] && operator=robocomm-console
BUILD_TARGETS="$operator robocomm-demo-host" build_into "$ROOT/build"
tools="$ROOT/build/tools"
work=$(mktemp -d /tmp/robocomm-demo-XXXXXX)

"$tools/robocomm-demo-host" --run-dir "$work/robot" >"$work/robot.out" 2>&1 &
host=$!
stop_host() {
  kill -TERM "$host" 2>/dev/null || return 0
  for _ in $(seq 50); do kill -0 "$host" 2>/dev/null || break; sleep 0.1; done
  kill -KILL "$host" 2>/dev/null || true
}
trap stop_host EXIT

for _ in $(seq 100); do
  grep -q "demo host: serving" "$work/robot.out" && break
  kill -0 "$host" 2>/dev/null || break
  sleep 0.1
done
if ! grep -q "demo host: serving" "$work/robot.out"; then
  cat "$work/robot.out" >&2
  exit 1
fi

if [ "$operator" = robocomm-console ]; then
  printf '\nThe simulated robot runs (its log: %s/robot/robocomm.log). Ctrl-C stops both.\n' "$work"
  # The console prints the address to open, with its token, on a line of its own.
  "$tools/robocomm-console" --listen "${ROBOCOMM_CONSOLE_LISTEN:-127.0.0.1:8080}" || true
  exit 0
fi

step() {
  local title=$1
  shift
  printf '\n== %s\n$ robocomm-client %s\n' "$title" "$*"
  "$tools/robocomm-client" "$@"
}

step "Which software does the robot run?" get software-version
step "Its status" get robot-status
step "Its battery" get battery-status-v2
step "Where is it?" get position
step "Send it to a target" set target-position 1.5 2.0 0.3
sleep 0.5
step "On its way" get all-moving-info
step "The map, saved as an image" --save "$work/map.pgm" get map-data
step "The same answer for scripts: one JSON object per line" --json get position
step "Press its emergency stop" set emergency-stop
step "Watch its error pushes, acknowledging them" --acknowledge watch 2
step "Recover" set recovery
head -c 150000 /dev/urandom >"$work/firmware.bin"
step "A firmware update (the bar shows the bytes sent and the robot's reports)" ota "$work/firmware.bin"
step "The log bundle" log "$work/robot-logs.tar.gz"
tar -tzvf "$work/robot-logs.tar.gz"
step "Set its clock (the demo host only logs the time)" set time-data 2024 5 1 12 0 0

stop_host
printf '\n== What the robot said\n'
cat "$work/robot.out"
printf '\nFiles of this run are in %s (the library log: %s/robot/robocomm.log)\n' "$work" "$work"

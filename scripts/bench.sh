#!/usr/bin/env bash
# The library's cost beside the dependency work it cannot avoid, as a table.
#   scripts/bench.sh                 medians of timed repetitions, randomly interleaved
#   scripts/bench.sh --instructions  instruction counts under callgrind (immune to load)
#   scripts/bench.sh --smoke         every benchmark for a few iterations (CI)
#   scripts/bench.sh --memory        the host's peak resident memory while it sends a 100 MiB log bundle
#   scripts/bench.sh --round-trip [HOST]
#                                    command round trips, p50 to worst, against the demo host
#                                    (HOST: its program, default build/tools/robocomm-demo-host).
#                                    It serves port 10001: where other programs use that port, run it
#                                    in a network namespace of its own (unshare -n, loopback up).
#   scripts/bench.sh --fleet [N]     N demo robots (50 by default) through one fleet bridge and one
#                                    broker: the bridge's CPU and memory, messages/s, position age
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

mode=${1:-time}
if [ "$mode" = "--fleet" ]; then
  source "$ROOT/scripts/fleet-site.sh"
  robots=${2:-50}
  BUILD_TARGETS="robocomm-fleet robocomm-demo-host" build_into "$ROOT/build"
  work=$(mktemp -d /tmp/robocomm-fleet-bench-XXXXXX)
  trap 'stop_fleet_site; rm -rf "$work"' EXIT
  start_fleet_site "$ROOT/build/tools" "$work" "$robots"
  sleep 5  # every robot's link up and polled
  python3 "$ROOT/bench/fleet_bench.py" "$BRIDGE_PID" "$BROKER_PORT" "$robots" "${FLEET_BENCH_SECONDS:-20}"
  exit 0
fi
build_into "$ROOT/build"
bench="$ROOT/build/bench/robocomm_bench"
out=$(mktemp -d /tmp/robocomm-bench-XXXXXX)
trap 'rm -rf "$out"' EXIT

case "$mode" in
  --memory)
    "$ROOT/build/bench/robocomm_log_bundle_memory"
    exit
    ;;
  --round-trip)
    host=${2:-$ROOT/build/tools/robocomm-demo-host}
    "$host" --run-dir "$out" >"$out/host.log" 2>&1 &
    host_pid=$!
    trap 'kill $host_pid 2>/dev/null; wait $host_pid 2>/dev/null; rm -rf "$out"' EXIT
    "$ROOT/build/bench/robocomm_round_trip" --count "${ROUND_TRIPS:-200}"
    exit
    ;;
  time)
    "$bench" --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true --benchmark_min_time=0.2 \
      --benchmark_format=json --benchmark_out="$out/runs.json" >/dev/null
    ;;
  --smoke)
    "$bench" --benchmark_min_time=0.000001 --benchmark_format=json --benchmark_out="$out/runs.json" >/dev/null
    "$ROOT/build/bench/robocomm_log_bundle_memory" --mib 1 >/dev/null
    ;;
  --instructions)
    valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out/callgrind.out" \
      "$bench" --benchmark_min_time=0.01 >/dev/null 2>"$out/valgrind.log" || {
      cat "$out/valgrind.log" >&2
      exit 1
    }
    ;;
  *)
    echo "usage: $0 [--instructions | --smoke | --memory | --round-trip [HOST] | --fleet [N]]" >&2
    exit 2
    ;;
esac
python3 "$ROOT/bench/table.py" "$mode" "$out"

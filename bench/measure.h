// What every side-by-side benchmark shares: the measured loop, heap and
// allocation counts, and a console the library's log lines cannot flood.
//
// Each operation is registered twice, as "<row>/robocomm" and "<row>/anchor"
// (the dependency work it cannot avoid, on the same inputs); scripts/bench.sh
// pairs them. Under callgrind (scripts/bench.sh --instructions) instructions
// are collected only inside the measured calls, and each benchmark run ends
// with a dump labelled "bench <name> <iterations> <allocations> <peak bytes>".
#pragma once

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <cstddef>

namespace bench {

// Every operator new and delete of the process, the library's and the
// dependencies' included (OpenSSL's own malloc is not seen).
struct HeapCounts {
    size_t allocations;
    size_t liveBytes;
    size_t peakBytes;
};
HeapCounts heapCounts();
// Starts a new peak at the bytes live now.
void restartPeak();

// Registers `body` under `name` ("<row>/robocomm", "<row>/anchor" or a name
// of its own), which also labels its instruction dumps.
void add(const char* name, void (*body)(benchmark::State&));

// Reports allocations per call and the peak of heap bytes above what was
// live before the first call, then leaves the dump for the instruction mode.
void report(benchmark::State& state, const HeapCounts& before);

// Runs `op` once untimed (one-time set-up belongs to no call), then once per
// iteration.
template <typename Op>
void measure(benchmark::State& state, Op&& op) {
    op();
    const HeapCounts before = heapCounts();
    restartPeak();
    CALLGRIND_TOGGLE_COLLECT;
    for (auto _ : state) op();
    CALLGRIND_TOGGLE_COLLECT;
    report(state, before);
}

// The same, with `betweenCalls` run outside the measurement after each call.
template <typename Op, typename Between>
void measure(benchmark::State& state, Op&& op, Between&& betweenCalls) {
    op();
    betweenCalls();
    const HeapCounts before = heapCounts();
    restartPeak();
    for (auto _ : state) {
        CALLGRIND_TOGGLE_COLLECT;
        op();
        CALLGRIND_TOGGLE_COLLECT;
        state.PauseTiming();
        betweenCalls();
        state.ResumeTiming();
    }
    report(state, before);
}

// Standard output and error go to /dev/null while it lives, so that the
// per-packet log lines are still written but do not bury the report.
class SilencedConsole {
public:
    SilencedConsole();
    ~SilencedConsole();
    SilencedConsole(const SilencedConsole&) = delete;
    SilencedConsole& operator=(const SilencedConsole&) = delete;

private:
    int savedOut_;
    int savedErr_;
};

}  // namespace bench

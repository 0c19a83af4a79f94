#include "measure.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <new>

namespace bench {
namespace {

const char* currentName = "";

std::atomic<size_t> allocations{0};
std::atomic<size_t> liveBytes{0};
std::atomic<size_t> peakBytes{0};

void* allocate(size_t size) {
    void* p = std::malloc(size == 0 ? 1 : size);
    if (p == nullptr) throw std::bad_alloc();
    allocations.fetch_add(1, std::memory_order_relaxed);
    const size_t live = liveBytes.fetch_add(malloc_usable_size(p), std::memory_order_relaxed) + malloc_usable_size(p);
    size_t peak = peakBytes.load(std::memory_order_relaxed);
    while (live > peak && !peakBytes.compare_exchange_weak(peak, live, std::memory_order_relaxed)) {
    }
    return p;
}

void release(void* p) {
    if (p == nullptr) return;
    liveBytes.fetch_sub(malloc_usable_size(p), std::memory_order_relaxed);
    std::free(p);
}

}  // namespace

void add(const char* name, void (*body)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, [name, body](benchmark::State& state) {
        currentName = name;
        body(state);
    });
}

HeapCounts heapCounts() { return {allocations.load(), liveBytes.load(), peakBytes.load()}; }

void restartPeak() { peakBytes.store(liveBytes.load()); }

void report(benchmark::State& state, const HeapCounts& before) {
    const HeapCounts after = heapCounts();
    const size_t calls = after.allocations - before.allocations;
    const size_t peakExtra = after.peakBytes - before.liveBytes;
    state.counters["allocs"] = static_cast<double>(calls) / static_cast<double>(state.iterations());
    state.counters["peak_heap"] = static_cast<double>(peakExtra);
    if (RUNNING_ON_VALGRIND) {
        const std::string label = "bench " + std::string(currentName) + " " + std::to_string(state.iterations()) + " " +
                                  std::to_string(calls) + " " + std::to_string(peakExtra);
        CALLGRIND_DUMP_STATS_AT(label.c_str());
    }
}

SilencedConsole::SilencedConsole() {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    savedOut_ = dup(STDOUT_FILENO);
    savedErr_ = dup(STDERR_FILENO);
    const int sink = open("/dev/null", O_WRONLY);
    dup2(sink, STDOUT_FILENO);
    dup2(sink, STDERR_FILENO);
    close(sink);
}

SilencedConsole::~SilencedConsole() {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    dup2(savedOut_, STDOUT_FILENO);
    dup2(savedErr_, STDERR_FILENO);
    close(savedOut_);
    close(savedErr_);
}

}  // namespace bench

void* operator new(size_t size) { return bench::allocate(size); }
void* operator new[](size_t size) { return bench::allocate(size); }
void operator delete(void* p) noexcept { bench::release(p); }
void operator delete[](void* p) noexcept { bench::release(p); }
void operator delete(void* p, size_t) noexcept { bench::release(p); }
void operator delete[](void* p, size_t) noexcept { bench::release(p); }

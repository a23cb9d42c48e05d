// Measures the library beside a peer in one run, in small batches that alternate: what else the machine does hits both
// alike, and the median leaves out the batches that it hit hard.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <string>
#include <sys/vfs.h>
#include <vector>

namespace SideBySide {

inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

inline double nowNs(clockid_t clock) {
  timespec reading = {};
  clock_gettime(clock, &reading);
  return static_cast<double>(reading.tv_sec) * 1e9 + static_cast<double>(reading.tv_nsec);
}

template <class Work>
double timeBy(clockid_t clock, int calls, Work&& work) {
  const double began = nowNs(clock);
  for (int call = 0; call < calls; ++call) {
    work();
  }
  return nowNs(clock) - began;
}

// Nanoseconds of the processor that so many calls of this thread take, in the program and in the kernel.
template <class Work>
double timeOf(int calls, Work&& work) {
  return timeBy(CLOCK_THREAD_CPUTIME_ID, calls, work);
}

// Nanoseconds that pass meanwhile, for work that other processes do.
template <class Work>
double wallTimeOf(int calls, Work&& work) {
  return timeBy(CLOCK_MONOTONIC, calls, work);
}

// compareTimes: `ours` and `peer` each run one batch of `calls` and return its nanoseconds; whoever was first is second
// in the next round.
//
//   Gives    counters "ours_ns" and "peer_ns", the medians for one call, and "ratio", the median of the rounds' ratios
template <class Ours, class Peer>
void compareTimes(benchmark::State& state, int calls, Ours&& ours, Peer&& peer) {
  std::vector<double> oursTimes;
  std::vector<double> peerTimes;
  std::vector<double> ratios;
  bool bOursFirst = false;
  for (auto _ : state) {
    bOursFirst = !bOursFirst;
    const double first = bOursFirst ? ours() : peer();
    const double second = bOursFirst ? peer() : ours();
    oursTimes.push_back((bOursFirst ? first : second) / calls);
    peerTimes.push_back((bOursFirst ? second : first) / calls);
    ratios.push_back(oursTimes.back() / peerTimes.back());
    state.SetIterationTime((first + second) / 1e9);
  }
  state.counters["ours_ns"] = median(oursTimes);
  state.counters["peer_ns"] = median(peerTimes);
  state.counters["ratio"] = median(ratios);
}

// The same for work that needs nothing between its batches.
template <class Ours, class Peer>
void compare(benchmark::State& state, int calls, Ours&& ours, Peer&& peer) {
  compareTimes(
      state, calls, [&] { return timeOf(calls, ours); }, [&] { return timeOf(calls, peer); });
}

// "tmpfs" or "disk": the temporary folder of a machine may be either.
inline std::string mediumOf(const std::string& path) {
  constexpr long tmpfsMagic = 0x01021994;
  struct statfs medium = {};
  return statfs(path.c_str(), &medium) == 0 && medium.f_type == tmpfsMagic ? "tmpfs" : "disk";
}

} // namespace SideBySide

// Measures the library beside a peer in one run, in small batches that alternate: what else the machine does hits both
// alike, and the median leaves out the batches that were interrupted.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <string>
#include <sys/vfs.h>
#include <vector>

namespace SideBySide {

inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Nanoseconds of so many calls.
template <class Work>
double timeOf(int calls, Work&& work) {
  const auto began = std::chrono::steady_clock::now();
  for (int call = 0; call < calls; ++call) {
    work();
  }
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - began).count();
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

#pragma once

// What the benchmarks measure with: the time a thread used, the memory in use, and the parser's own time as a bound.

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tessra::bench {

/// Seconds of processor time this thread has used: work of other programs on the machine does not count.
double thread_seconds();

/// Bytes handed out by the allocator and not given back.
std::size_t live_bytes();

/// The process's peak memory since `reset_peak`, in bytes; 0 where the system does not tell.
std::size_t peak_bytes();
void reset_peak();

/// The bound: seconds the DOM parser takes for each of these texts, with warm buffers; the best of `rounds`, which walk
/// all texts.
std::vector<double> parser_seconds(std::span<const std::string> texts, int rounds);

/// Seconds of one piece of work.
template <class Work>
double timed(Work&& work) {
  const double start = thread_seconds();
  work();
  return thread_seconds() - start;
}

}  // namespace tessra::bench

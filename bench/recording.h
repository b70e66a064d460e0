#ifndef KA_BENCH_RECORDING_H
#define KA_BENCH_RECORDING_H

#include <string>
#include <vector>

#include "bench_station.h"

namespace bench {

/// Starts the server under strace, sends it `messages` twice, and writes down which system calls
/// and shell commands it makes for each of them the second time.
///
/// What belongs to the connection itself is left out, since the floor program makes those calls by
/// itself, and so is what only serves the server's memory and signals. Any other call that the
/// floor cannot repeat throws. The floor has a store and a play directory of its own, so that both
/// find what they left.
/// \param rows of which speech files lie in the store
/// \return the path of a script for the floor program
std::string RecordMessages(const BenchStation& station, unsigned port,
                           const std::vector<std::string>& messages, std::size_t rows);

}  // namespace bench

#endif

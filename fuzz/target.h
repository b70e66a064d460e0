#ifndef KA_FUZZ_TARGET_H
#define KA_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

/// The entry of every fuzz target: runs one input. Returns 0; what is wrong ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif

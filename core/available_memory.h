// How much memory is left.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kavro {

// Bytes that the process can still have without disturbing anybody: what the machine has left, or
// what the control groups around the process leave to it (those of a container or of a batch job),
// whichever is less. Empty where the system does not tell. `root` is the folder that holds the
// system's /proc and /sys.
std::optional<std::uint64_t> available_memory(const std::string& root = "");

}  // namespace kavro

// The accuracy of the elementary functions that the keywords use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Writes a table. Returns false if the error of a function exceeds its limit.
bool report_elementary(std::uint64_t seed, std::size_t draws, std::size_t threads,
                       std::string& report);

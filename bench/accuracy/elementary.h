// Accuracy of the elementary functions below the keywords.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Writes a table. False: a function is further off than it is held to.
bool report_elementary(std::uint64_t seed, std::size_t draws, std::size_t threads,
                       std::string& report);

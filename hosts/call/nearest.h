// Suggestions for an unknown name.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace host {

// Returns "; did you mean PRICE or PRICEMAT?" with the names that are most like the word, whatever
// its case. Empty when no name is like it.
std::string did_you_mean(std::string_view word, std::span<const std::string> names);

}  // namespace host

// Suggestions for a name that is not known.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace host {

// "; did you mean PRICE or PRICEMAT?": the names nearest to the word, of any case. Empty where no
// name is near.
std::string did_you_mean(std::string_view word, std::span<const std::string> names);

}  // namespace host

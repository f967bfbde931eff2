// A keyword's reference page, in Markdown that is also easy to read on a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalog/catalog.h"

namespace catalog {

// The text, broken at blanks into lines, with a line end. Lines after the first are indented.
std::string wrapped(std::string_view text, std::string_view indent = "", std::size_t columns = 96);

// The words of a text, which are separated by blanks.
std::vector<std::string_view> words_in(std::string_view text);

// The phrase with a capital letter and a full stop.
std::string sentence(std::string_view phrase);

// "PRICE(settlement, maturity, ... [, basis])"; a list is written "amount ...".
std::string signature_of(const Keyword& keyword);

// The name of the keyword's function in Python: "price". A word of the language gets an underscore.
std::string python_name_of(std::string_view word);

// The example of the keyword as a session of Python, as a block of code.
std::string python_example_of(const Keyword& keyword);

std::string page_of(const Keyword& keyword);

// Every keyword with its title, grouped by task.
std::string list_by_task();

}  // namespace catalog

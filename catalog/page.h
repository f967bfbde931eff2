// A keyword's reference page, in Markdown that is also easy to read on a terminal.
#pragma once

#include <string>

#include "catalog/catalog.h"

namespace catalog {

// "PRICE(settlement, maturity, ... [, basis])"; a list is written "amount ...".
std::string signature_of(const Keyword& keyword);

std::string page_of(const Keyword& keyword);

// Every keyword with its title, grouped by task.
std::string list_by_task();

}  // namespace catalog

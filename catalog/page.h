// A keyword's reference page: Markdown that reads well on a terminal, too.
#pragma once

#include <string>

#include "catalog/catalog.h"

namespace catalog {

// "PRICE(settlement, maturity, ... [, basis])"; a list is written "amount ...".
std::string signature_of(const Keyword& keyword);

std::string page_of(const Keyword& keyword);

// Every keyword with its title, by task.
std::string list_by_task();

}  // namespace catalog

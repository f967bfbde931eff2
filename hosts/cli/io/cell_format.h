// How the cells of a column are written: forms of dates and numbers other than the default ones.
#pragma once

#include <string>
#include <string_view>

#include "hosts/call/value.h"

namespace cli {

using namespace host;  // values and checked calls

// The separators of numbers such as 1.234,56. With them, a currency sign is skipped, a percent sign
// divides by 100, and parentheses make a number negative.
struct NumberFormat {
  char group = '\0';  // none
  char decimal = '.';
};

struct CellFormat {
  // A pattern of strptime, such as %d/%m/%Y; "excel": the days of a spreadsheet; empty: YYYY-MM-DD.
  std::string dates;
  bool accepts_iso = true;  // besides the pattern
  bool has_numbers = false;
  NumberFormat numbers{};
  bool writes_numbers = false;  // in NDJSON, without the separators

  bool is_default = true;
};

inline constexpr std::string_view kExcelDates = "excel";

// Whether dates in this form are numbers, as those of excel and %Y%m%d are. Throws
// std::invalid_argument when a date written with the pattern cannot be read back.
bool writes_dates_as_numbers(const std::string& pattern);

// Reads the format from an example: 1,234.56 or 1.234,56 or 1234,56. Throws std::invalid_argument.
NumberFormat number_format_of(std::string_view example);

// The value of a cell. A cell that the format does not fit is a text.
Value formatted_value(std::string_view cell, const CellFormat& format);
inline Value value_of_cell(std::string_view cell, const CellFormat& format) {
  return format.is_default ? host::value_of_cell(cell) : formatted_value(cell, format);
}

}  // namespace cli

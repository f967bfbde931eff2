// The header line of a table.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosts/cli/io/record_parser.h"

namespace cli {

struct Header {
  std::vector<std::string> names;
  std::uint64_t lines = 0;  // of the input, up to the end of the header
};

// Reads the first record that is not empty. NDJSON has no header: the members of its first object
// are the names, and the object is read again. Throws std::runtime_error.
Header read_header(const InputFile& input, BlockReader& reader, const Shape& shape);

}  // namespace cli

#include "hosts/cli/table/header.h"

#include <stdexcept>

#include "hosts/call/value.h"

namespace cli {

Header read_header(const InputFile& input, BlockReader& reader, char delimiter) {
  Header header;
  Block block;
  while (header.names.empty() && reader.next_record(block)) {
    if (block.text.starts_with("\xFF\xFE") || block.text.starts_with("\xFE\xFF")) {
      throw std::runtime_error(input.name() +
                               " is UTF-16: convert it to UTF-8 with iconv -f UTF-16 -t UTF-8");
    }
    if (block.text.starts_with("\x1F\x8B")) {
      throw std::runtime_error(input.name() + " is a gzip file: decompress it with zcat");
    }
    CsvParser parser(block.text, delimiter);
    while (parser.next()) {
      const Record& record = parser.record();
      if (record.is_open) {
        throw std::runtime_error(input.name() + ": a quote in the header line is not closed");
      }
      header.names.clear();
      for (const std::string_view cell : record.cells) {
        header.names.emplace_back(host::trim(cell));
      }
    }
    header.lines += parser.lines();
  }
  if (header.names.empty()) {
    throw std::runtime_error(input.name() + " is empty: the first line must have the column names");
  }
  return header;
}

}  // namespace cli

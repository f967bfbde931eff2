#include "hosts/cli/table/header.h"

#include <fmt/format.h>

#include <array>
#include <stdexcept>

#include "hosts/call/value.h"

namespace cli {
namespace {

struct FileType {
  std::string_view start;
  std::string_view remedy;  // after the name of the file
};

using namespace std::string_view_literals;
constexpr std::array kFileTypes = {
    FileType{"\xFF\xFE"sv, "is UTF-16: convert it to UTF-8 with iconv -f UTF-16 -t UTF-8"},
    FileType{"\xFE\xFF"sv, "is UTF-16: convert it to UTF-8 with iconv -f UTF-16 -t UTF-8"},
    FileType{"\x1F\x8B"sv, "is a gzip file: decompress it with zcat"},
    FileType{"\xFD\x37zXZ\0"sv, "is an xz file: decompress it with xzcat"},
    FileType{"BZh"sv, "is a bzip2 file: decompress it with bzcat"},
    FileType{"\x28\xB5\x2F\xFD"sv, "is a zstd file: decompress it with zstdcat"},
    FileType{"PAR1"sv, "is a Parquet file: convert it to CSV first"},
    FileType{"PK\x03\x04"sv,
             "is a zip file or a spreadsheet (.xlsx, .ods): unpack it, or save the sheet as CSV"},
};

void demand_text(const InputFile& input, std::string_view text) {
  for (const FileType& type : kFileTypes) {
    if (!text.starts_with(type.start)) continue;
    throw std::runtime_error(fmt::format("{} {}", input.name(), type.remedy));
  }
}

Header read_members(const InputFile& input, BlockReader& reader) {
  Header header;
  Block block;
  while (reader.next_record(block)) {
    demand_text(input, block.text);
    const std::string_view line =
        host::trim(std::string_view(block.text).substr(0, block.text.find_last_not_of("\r\n") + 1));
    if (line.empty()) {
      ++header.lines;
      continue;
    }
    try {
      header.names = member_names(line);
    } catch (const std::invalid_argument& error) {
      throw std::runtime_error(
          fmt::format("{}:{}: {}", input.name(), header.lines + 1, error.what()));
    }
    reader.put_back(block);
    return header;
  }
  return header;
}

}  // namespace

Header read_header(const InputFile& input, BlockReader& reader, const Shape& shape) {
  if (shape.format == InputFormat::kNdjson) return read_members(input, reader);
  Header header;
  Block block;
  while (header.names.empty() && reader.next_record(block)) {
    demand_text(input, block.text);
    RecordParser parser(block.text, shape);
    while (parser.next()) {
      const Record& record = parser.record();
      if (!record.error.empty()) {
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

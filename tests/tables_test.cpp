// The parts of the command that process tables: CSV, blocks of records, threads and files.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "hosts/cli/io/output.h"
#include "hosts/cli/io/records.h"
#include "hosts/cli/table/ordered_pipeline.h"

namespace {

namespace fs = std::filesystem;
using Cells = std::vector<std::string>;

struct Read {
  std::uint64_t line;
  Cells cells;
  friend bool operator==(const Read&, const Read&) = default;
};

void PrintTo(const Read& read, std::ostream* out) {
  *out << read.line << ':';
  for (const std::string& cell : read.cells) *out << " <" << cell << '>';
}

std::vector<Read> records_of(std::string_view text, std::uint64_t* lines = nullptr) {
  std::vector<Read> all;
  cli::CsvParser parser(text, ',');
  while (parser.next()) {
    all.push_back({parser.record().line, {}});
    for (const auto cell : parser.record().cells) all.back().cells.emplace_back(cell);
  }
  if (lines != nullptr) *lines = parser.lines();
  return all;
}

std::string contents(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

class Folder : public ::testing::Test {
 protected:
  Folder() : path(fs::temp_directory_path() / ("tables." + std::to_string(::getpid()))) {
    fs::create_directory(path);
  }
  ~Folder() override { fs::remove_all(path); }
  fs::path path;
};

TEST(Csv, ParserReturnsTheCellsOfEachRecord) {
  const struct {
    std::string_view text;
    std::vector<Read> records;
  } rows[] = {
      {"a,b\n1,2\n", {{0, {"a", "b"}}, {1, {"1", "2"}}}},
      {"a,b", {{0, {"a", "b"}}}},
      {"a,\n,b\n,\n", {{0, {"a", ""}}, {1, {"", "b"}}, {2, {"", ""}}}},
      {"\n\na\r\n\r\nb\rc", {{2, {"a"}}, {4, {"b"}}, {5, {"c"}}}},
      {"\"a,b\",\"c\nd\"\ne", {{0, {"a,b", "c\nd"}}, {2, {"e"}}}},
      {"\"say \"\"hi\"\"\",\"\"\n\"\"\"\"", {{0, {"say \"hi\"", ""}}, {1, {"\""}}}},
      {"5\" disk,a\"\"b\n", {{0, {"5\" disk", "a\"\"b"}}}},  // these quotes do not open a cell
      {"\"a,b\" c,d\"\n\"a\"b\"", {{0, {"\"a,b\" c", "d\""}}, {1, {"\"a\"b\""}}}},  // nor do these
      {"1,\"a\n2,\"b\"\n", {{0, {"1", "a"}}, {1, {"2", "b"}}}},  // a quote that is not closed
      {" \"a\" , b\n", {{0, {" \"a\" ", " b"}}}},
      {"\"a\nb,c\n", {{0, {"a"}}, {1, {"b", "c"}}}},
      {"", {}},
  };
  for (const auto& [text, records] : rows) EXPECT_EQ(records_of(text), records) << text;
  // Separators on both sides of each boundary of 64 characters.
  for (std::size_t size = 50; size < 80; ++size) {
    const std::string cell(size, 'x');
    EXPECT_EQ(records_of(cell + ",\"" + cell + "\"," + cell + "\n" + cell),
              (std::vector<Read>{{0, {cell, cell, cell}}, {1, {cell}}}));
  }
}

TEST_F(Folder, BlocksContainTheRecordsOfTheWholeText) {
  std::mt19937 random(3);
  const std::string_view alphabet = "ab\"\"\",,\n\r\n";
  for (int round = 0; round < 300; ++round) {
    std::string text = "head,er\n";
    for (int i = 0; i < 400; ++i) text += alphabet[random() % alphabet.size()];
    if (round % 2 == 0) text += ",\"x\ny\"";  // the last line may have no line end
    const fs::path pipe = path / std::to_string(round);
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::jthread writer([&text, &random, &pipe] {
      const int out = ::open(pipe.c_str(), O_WRONLY);
      ::fcntl(out, F_SETFL, O_DIRECT);  // each read returns the data of one write
      for (std::size_t at = 0; at < text.size();) {
        const std::size_t size = std::min<std::size_t>(1 + random() % 90, text.size() - at);
        if (::write(out, text.data() + at, size) < 0) break;
        at += size;
      }
      ::close(out);
    });
    cli::InputFile input(pipe);
    cli::BlockReader reader(input, cli::Framing::kCsv, ',');
    std::vector<Read> all;
    cli::Block block;
    std::uint64_t line = 0;
    std::uint64_t end = 0;
    for (bool first = true; first ? reader.next_record(block) : reader.next(block); first = false) {
      std::uint64_t lines = 0;
      for (Read read : records_of(block.text, &lines)) {
        read.line += line;
        all.push_back(std::move(read));
      }
      line += lines;
      EXPECT_EQ(block.end, end += block.text.size());
    }
    const std::vector<Read> whole = records_of(text);
    ASSERT_EQ(all.size(), whole.size());
    for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], whole[i]) << i;
  }
}

TEST(InOrder, WritesInTheOrderOfReadsAndStopsAtTheFirstError) {
  struct Item {
    int number;
  };
  for (const int bad : {-1, 0, 57, 99}) {
    std::vector<Item> items(8);
    std::atomic<int> next = 0;
    std::vector<int> written;
    const auto run = [&](int read_fails, int work_fails, int write_fails) {
      next = 0;
      written.clear();
      cli::ordered_pipeline(
          items,
          [&](Item& item) {
            item.number = next++;
            if (item.number == read_fails) throw std::runtime_error("read");
            return item.number < 100;
          },
          [&](const Item& item) {
            if (item.number % 3 == 0) std::this_thread::yield();
            if (item.number == work_fails) throw std::runtime_error("work");
          },
          [&](const Item& item) {
            if (item.number == write_fails) throw std::runtime_error("write");
            written.push_back(item.number);
          },
          [] {});
    };
    const auto expect_first = [&](int count) {
      ASSERT_EQ(written.size(), static_cast<std::size_t>(count));
      for (int i = 0; i < count; ++i) EXPECT_EQ(written[static_cast<std::size_t>(i)], i);
    };
    if (bad < 0) {
      run(-1, -1, -1);
      expect_first(100);
      continue;
    }
    EXPECT_THROW(run(bad, -1, -1), std::runtime_error);
    expect_first(bad);
    EXPECT_THROW(run(-1, bad, -1), std::runtime_error);
    expect_first(bad);
    EXPECT_THROW(run(-1, -1, bad), std::runtime_error);
    expect_first(bad);
  }
}

TEST_F(Folder, OutputFileIsCompleteOrUnchanged) {
  const fs::path file = path / "table.csv";
  const fs::path link = path / "link.csv";
  std::ofstream(file) << "old";
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(file, link);
  {
    cli::OutputFile output(link);
    output.write("new");
  }
  EXPECT_EQ(contents(file), "old");
  {
    cli::OutputFile output(link);
    output.write("new");
    EXPECT_EQ(contents(file), "old");
    output.commit();
  }
  EXPECT_EQ(contents(file), "new");
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(std::distance(fs::directory_iterator(path), {}), 2);

  const fs::path pipe = path / "pipe";  // like a device, it is written in place
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  cli::OutputFile(pipe).commit();
  EXPECT_TRUE(fs::is_fifo(pipe));
  ::close(reader);
}

}  // namespace

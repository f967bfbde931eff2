// The foreign kernel's side of a call. The byte-string services throw if their parameters are
// wrong. Only the low 32 bits of the values that they return are defined; the high bits are random.
#include "tests/harness.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace harness {
namespace {

using Blocks = std::vector<std::vector<char>>;  // the values and characters of a call
Word services[65], environment[11];
thread_local Word seed;  // set at the start of each call, so that equal calls get equal random bits

Word random_word() {
  seed += 0x9E3779B97F4A7C15;
  return (seed ^ seed >> 29) * 0xBF58476D1CE4E5B9;
}

void demand(bool holds, const char* what) { holds ? void() : throw std::runtime_error(what); }
Word low_word(Word value) { return random_word() << 32 | (value & 0xFFFFFFFF); }
Word stripped(std::string_view text) { return text.find_last_not_of(' ') + 1; }

Word upper_case(Word* self, char* text, Word n, Word zero) {
  demand(self == services && n < 256 && zero == 0, "misuse of service 54");
  for (char& c : std::span(text, n)) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return random_word();
}
Word compare(Word* self, const char* text, Word n, const char* keyword, Word size, Word two) {
  demand(self == services && n < 256 && size - 6 < 3 && two == 2, "misuse of service 56");
  return low_word(std::string_view(text, stripped({text, n})) != std::string_view(keyword, size));
}
Word erase(Word* self, char* text, Word n, const char* set, Word one, Word zero) {
  demand(self == services && n < 256 && one == 1 && *set == ' ' && !zero, "misuse of service 59");
  return low_word(static_cast<Word>(std::remove(text, text + n, ' ') - text));
}
Word copy(Word* self, const char* from, Word n, char* to, Word room, Word* out, Word one) {
  demand(self == services && n >> 31 == 0 && room == 16 && out && one == 1, "misuse of service 63");
  std::fill(std::copy(from, from + std::min(n, room), to), to + room, ' ');
  return *out = random_word();
}
Word strip(Word* self, const char* text, Word n, Word zero) {
  demand(self == services && n >> 31 == 0 && zero == 0, "misuse of service 64");
  return low_word(stripped({text, n}));
}
[[maybe_unused]] const Word installed[] = {
    services[54] = word(&upper_case), services[56] = word(&compare),
    services[59] = word(&erase),      services[63] = word(&copy),
    services[64] = word(&strip),      environment[10] = word(services)};

Word lay_out(const Argument& argument, std::size_t size, Blocks& blocks) {
  const auto block = [&](const void* from, std::size_t bytes) {
    const auto* const first = static_cast<const char*>(from);
    return word(blocks.emplace_back(first, first + bytes).data());
  };
  if (argument.null) return 0;
  if ((argument.type & 0xFB) != 2 && argument.text.empty()) return block(&argument.number, 8);
  const auto stated = static_cast<Word>(std::llround(argument.number)),
             length = argument.text.size();
  std::string text;
  for (const char32_t c : argument.text) text.append(reinterpret_cast<const char*>(&c), size);
  const Word characters = stated ? 0 : length == 0 ? 8 : block(text.data(), text.size());
  const Word value[] = {random_word(), low_word(stated ? stated : length), characters};
  return block(value, 24);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Outcome& got) {
  out << "status " << got.status << ", bits 0x" << std::hex << got.bits << std::dec << " = ";
  return out << std::bit_cast<double>(got.bits) << ", marked " << got.marked;
}

void* entry(const char* name) {
  static void* const module = dlopen(VXFNC_MODULE, RTLD_NOW | RTLD_LOCAL);
  void* const found = module == nullptr ? nullptr : dlsym(module, name);
  return found ? found : throw std::runtime_error(std::string("no module, or it lacks ") + name);
}

Outcome call(Width width, const Argument& keyword, std::span<const Argument> arguments,
             std::int32_t count, bool with_result) {
  const bool wide = width == Width::wide;
  Blocks blocks;
  seed = static_cast<Word>(count);
  Words record(5 + 2 * (arguments.size() + 1)), result(1, kUntouched);
  for (Word& each : record) each = random_word();
  record[4] = low_word(static_cast<Word>(count));
  for (std::size_t at = 5; at < record.size(); at += 2) {
    const Argument& argument = at == 5 ? keyword : arguments[at / 2 - 3];
    record[at] = (record[at] & ~Word{0x1FB}) | (argument.type & 0xFB);
    record[at + 1] = lay_out(argument, wide ? 4 : 1, blocks);
  }
  const std::pair sent(record, blocks);
  void* const dispatcher = entry(wide ? "fncfin" : "fncfinS");
  const auto status = reinterpret_cast<std::int64_t (*)(Word*, Word*, Word*)>(dispatcher)(
      record.data(), with_result ? result.data() : nullptr, wide ? nullptr : environment);
  int marked = -1;
  for (std::size_t at = 5; at < record.size(); at += 2) {
    if (record[at] & 0x100) marked = marked == -1 ? static_cast<int>(at / 2 - 2) : -2;
    record[at] &= ~Word{0x100};
  }
  demand(std::pair(record, blocks) == sent, "the module changed more than marks and the result");
  return {status, result[0], marked};
}

Outcome call(Width width, std::string_view keyword, std::span<const Argument> arguments) {
  return call(width, text(keyword), arguments, static_cast<std::int32_t>(arguments.size() + 1));
}

}  // namespace harness

// The catalogue as data, for bindings in other languages: the last part of vxkernel.h.
#include <algorithm>
#include <charconv>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "kernel/vxkernel.h"

namespace {

using catalog::ArgumentKind, catalog::Presence, catalog::ResultKind;

static_assert(static_cast<int>(ArgumentKind::kWhole) == VXK_WHOLE);
static_assert(static_cast<int>(ArgumentKind::kDate) == VXK_DATE);
static_assert(static_cast<int>(ArgumentKind::kDateTime) == VXK_DATE_TIME);
static_assert(static_cast<int>(ArgumentKind::kBasis) == VXK_BASIS);
static_assert(static_cast<int>(ArgumentKind::kFrequency) == VXK_FREQUENCY);
static_assert(static_cast<int>(Presence::kOptional) == VXK_OPTIONAL);
static_assert(static_cast<int>(Presence::kRepeated) == VXK_LIST);
static_assert(static_cast<int>(Presence::kAnyNumber) == VXK_LIST_OR_NONE);
static_assert(static_cast<int>(ResultKind::kRate) == VXK_RATE);
static_assert(static_cast<int>(ResultKind::kDays) == VXK_DAYS);
static_assert(static_cast<int>(ResultKind::kCount) == VXK_COUNT);
static_assert(static_cast<int>(ResultKind::kYears) == VXK_YEARS);
static_assert(static_cast<int>(ResultKind::kDate) == VXK_DATE_RESULT);

// The texts are string literals, which end with a zero.
const char* text(std::string_view literal) noexcept {
  return literal.data() == nullptr ? "" : literal.data();
}

// The ranges of all arguments, by keyword and argument.
const std::vector<std::vector<std::string>>& ranges() {
  static const auto* const all = [] {
    auto* const made = new std::vector<std::vector<std::string>>;
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      auto& own = made->emplace_back();
      for (const catalog::Argument& argument : keyword.arguments()) {
        own.push_back(range_of(argument));
      }
    }
    return made;
  }();
  return *all;
}

// The causes of failure of all keywords, joined.
const std::vector<std::string>& causes() {
  static const auto* const all = [] {
    auto* const made = new std::vector<std::string>;
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      std::string& own = made->emplace_back();
      for (const catalog::Cause& cause : keyword.description.causes) {
        own.append(own.empty() ? "" : "; or ").append(cause.text);
      }
    }
    return made;
  }();
  return *all;
}

// The number at the start of a default: "0; a missing value also means 0". The default of a basis
// starts with its name.
double default_of(const catalog::Argument& argument) noexcept {
  if (argument.presence != Presence::kOptional) return std::numeric_limits<double>::quiet_NaN();
  if (argument.kind == ArgumentKind::kBasis) return 0.0;
  double value = std::numeric_limits<double>::quiet_NaN();
  std::from_chars(argument.fallback.begin(), argument.fallback.end(), value);
  return value;
}

template <class Record>
int fill(Record* to, Record from) noexcept {
  from.size = to->size;
  const auto* const bytes = reinterpret_cast<const char*>(&from);
  std::copy_n(bytes, std::min<std::size_t>(to->size, sizeof from), reinterpret_cast<char*>(to));
  return 1;
}

}  // namespace

int32_t vxk_keyword_count(void) { return static_cast<int32_t>(catalog::keywords().size()); }

int vxk_keyword(int32_t index, vxk_keyword_info* info) {
  if (index < 0 || index >= vxk_keyword_count()) return 0;
  const catalog::Keyword& keyword = catalog::keywords()[static_cast<std::size_t>(index)];
  const catalog::Description& words = keyword.description;
  const std::size_t most = keyword.max_args();
  const char* fails = "";
  try {
    fails = causes()[static_cast<std::size_t>(index)].c_str();
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return fill(info, {.size = 0,
                     .result_kind = static_cast<int32_t>(keyword.result),
                     .arguments = static_cast<int32_t>(keyword.arguments().size()),
                     .min_arguments = static_cast<int32_t>(keyword.min_args()),
                     .max_arguments = most == catalog::kNoBound ? -1 : static_cast<int32_t>(most),
                     .reserved = 0,
                     .name = text(keyword.word),
                     .task = text(catalog::task_titles()[static_cast<std::size_t>(keyword.task)]),
                     .title = text(words.title),
                     .summary = text(words.summary),
                     .result = text(words.result),
                     .formula = text(words.formula),
                     .example = text(words.example),
                     .example_result = text(words.value),
                     .fails = fails,
                     .related = text(words.related)});
}

int vxk_argument(int32_t index, int32_t argument, vxk_argument_info* info) {
  if (index < 0 || index >= vxk_keyword_count() || argument < 1) return 0;
  const auto keyword = static_cast<std::size_t>(index);
  const auto position = static_cast<std::size_t>(argument) - 1;
  const auto arguments = catalog::keywords()[keyword].arguments();
  if (position >= arguments.size()) return 0;
  const catalog::Argument& known = arguments[position];
  const char* range = "";
  try {
    range = ranges()[keyword][position].c_str();
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return fill(info, {.size = 0,
                     .kind = static_cast<int32_t>(known.kind),
                     .presence = static_cast<int32_t>(known.presence),
                     .reserved = 0,
                     .name = text(known.name),
                     .meaning = text(known.meaning),
                     .range = range,
                     .default_text = text(known.fallback),
                     .default_value = default_of(known)});
}

int32_t vxk_find_keyword(const char* name, size_t length) {
  const catalog::Keyword* const keyword = catalog::find({name, length});
  if (keyword == nullptr) return -1;
  return static_cast<int32_t>(keyword - catalog::keywords().data());
}

int32_t vxk_basis(const char* text, size_t length) {
  return catalog::basis_of({text, length}).value_or(-1);
}

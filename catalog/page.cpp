#include "catalog/page.h"

namespace catalog {
namespace {

std::string item(const Argument& argument) {
  std::string text = "- `" + std::string(argument.name) + (argument.is_list() ? " ..." : "") +
                     "`: " + std::string(argument.meaning) + "; " + range_of(argument);
  if (argument.presence == Presence::kAnyNumber) text += "; the list may be empty";
  if (argument.presence == Presence::kOptional) {
    text.append("; default: ").append(argument.fallback);
  }
  return wrapped(text, "  ");
}

// The lines as a block of code.
std::string block(std::string_view lines) {
  std::string text;
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    text.append("    ").append(lines.substr(0, end)).append("\n");
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  return text;
}

// The first sentence of a summary, and the rest of it as a paragraph of its own.
std::string paragraphs(std::string_view summary) {
  const std::size_t end = summary.find(". ");
  if (end == summary.npos) return wrapped(summary);
  return wrapped(summary.substr(0, end + 1)) + '\n' + wrapped(summary.substr(end + 2));
}

// The call of the example. A result with decimals is rounded to as many as the page shows.
std::string example_of(const Description& text, std::string_view word) {
  const std::size_t point = text.value.find('.');
  std::string call = "$ finance ";
  if (point != text.value.npos) {
    call += "--digits " + std::to_string(text.value.size() - point - 1) + ' ';
  }
  return call.append(word).append(" ").append(text.example).append("\n").append(text.value);
}

bool has(const Keyword& keyword, std::string_view argument) {
  return std::ranges::find(keyword.arguments(), argument, &Argument::name) !=
         keyword.arguments().end();
}

bool is_one_of(const Keyword& keyword, std::string_view words) {
  return std::ranges::count(words_in(words), keyword.word) > 0;
}

// A section of docs/conventions.md, and the keywords to which it applies.
struct Surprise {
  std::string_view section;
  bool (*applies)(const Keyword& keyword);
};

constexpr Surprise kSurprises[] = {
    {"Signs",
     [](const Keyword& each) {
       return each.task == Task::kLoans || each.task == Task::kCashFlows;
     }},
    {"Blank basis",
     [](const Keyword& each) {
       return has(each, "basis") && !is_one_of(each, "COUPNCD COUPNUM COUPPCD");
     }},
    {"End of month",
     [](const Keyword& each) {
       return has(each, "frequency") && !has(each, "issue") && !has(each, "last_interest");
     }},
    {"The 31st",
     [](const Keyword& each) {
       return has(each, "basis") &&
              !is_one_of(each, "COUPDAYS COUPNCD COUPNUM COUPPCD ODDFPRICE ODDFYIELD");
     }},
    {"Years under ACTUAL",
     [](const Keyword& each) {
       return has(each, "basis") && !has(each, "frequency") && each.task != Task::kDepreciation &&
              each.word != "RECEIVED";
     }},
    {"Prices near the end of a coupon period",
     [](const Keyword& each) {
       return is_one_of(each, "PRICE YIELD DURATION MDURATION COUPDAYBS COUPDAYS COUPDAYSNC");
     }},
    {"Coupons counted on 28 February",
     [](const Keyword& each) { return is_one_of(each, "COUPNUM PRICE YIELD DURATION MDURATION"); }},
    {"One period before maturity",
     [](const Keyword& each) { return is_one_of(each, "ODDLPRICE ODDLYIELD"); }},
    {"Equal dates",
     [](const Keyword& each) { return has(each, "maturity") || each.word == "AMORLINC"; }},
    {"A rate of 0",
     [](const Keyword& each) {
       return each.task == Task::kBonds || each.task == Task::kOddPeriods ||
              is_one_of(each, "FV PV PMT IPMT PPMT CUMIPMT CUMPRINC ISPMT NPER NPV MIRR XNPV");
     }},
    {"Rates near -100 %", [](const Keyword& each) { return each.description.searches; }},
    {"XIRR with a later flow first", [](const Keyword& each) { return each.word == "XIRR"; }},
    {"RATE for savings plans", [](const Keyword& each) { return each.word == "RATE"; }},
    {"Depreciation", [](const Keyword& each) { return is_one_of(each, "AMORDEGRC DB VDB"); }},
    {"Coupon dates after the year 4000",
     [](const Keyword& each) { return each.result == ResultKind::kDate; }},
    {"Rounding",
     [](const Keyword& each) {
       return each.description.searches || is_one_of(each, "AMORDEGRC DB DOLLARDE");
     }},
    {"Minus zero", [](const Keyword& each) { return each.word == "ISPMT"; }},
};

std::string surprises_of(const Keyword& keyword) {
  std::string list;
  for (const Surprise& surprise : kSurprises) {
    if (surprise.applies(keyword)) list.append("- ").append(surprise.section).append("\n");
  }
  if (list.empty()) return list;
  return "\n## What may surprise\n\nThese sections of docs/conventions.md apply:\n\n" + list;
}

// A word of an example, as Python writes it: dates and the names of bases are texts.
std::string literal_of(std::string_view word, const Argument& argument) {
  const bool is_name = word.find_first_not_of("+-.0123456789eE") != word.npos;
  return argument.is_date() || is_name ? "'" + std::string(word) + "'" : std::string(word);
}

}  // namespace

std::string wrapped(std::string_view text, std::string_view indent, std::size_t columns) {
  std::string lines;
  for (std::size_t room = columns; text.size() > room; room = columns - indent.size()) {
    const std::size_t blank = text.rfind(' ', room);
    if (blank == text.npos) break;
    lines.append(text.substr(0, blank)).append("\n").append(indent);
    text.remove_prefix(blank + 1);
  }
  return lines.append(text).append("\n");
}

std::vector<std::string_view> words_in(std::string_view text) {
  std::vector<std::string_view> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    words.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

std::string sentence(std::string_view phrase) {
  std::string text(phrase);
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 32);
  return text + '.';
}

std::string signature_of(const Keyword& keyword) {
  std::string text;
  std::string closing;
  for (const Argument& argument : keyword.arguments()) {
    const bool may_be_absent =
        argument.presence == Presence::kOptional || argument.presence == Presence::kAnyNumber;
    const std::string_view comma = text.empty() ? "" : ", ";
    if (may_be_absent) {
      text.append(text.empty() ? "[" : " [");
      closing += ']';
    }
    text.append(comma).append(argument.name).append(argument.is_list() ? " ..." : "");
  }
  return std::string(keyword.word) + '(' + text + closing + ')';
}

std::string python_name_of(std::string_view word) {
  std::string name;
  for (const char c : word) name += static_cast<char>(c - 'A' + 'a');  // words are capitals
  return name == "yield" ? name + '_' : name;
}

std::string python_example_of(const Keyword& keyword) {
  const std::vector<std::string_view> words = words_in(keyword.description.example);
  std::string arguments;
  const Argument* previous = nullptr;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const Argument* const argument = keyword.argument_at(i + 1, words.size());
    const bool is_in_list = previous != nullptr && previous->is_list();
    if (is_in_list && argument != previous) arguments += ']';
    if (!arguments.empty()) arguments += ", ";
    if (argument->is_list() && argument != previous) arguments += '[';
    arguments += literal_of(words[i], *argument);
    previous = argument;
  }
  if (previous != nullptr && previous->is_list()) arguments += ']';
  std::string session = ">>> import vxfnc\n>>> result = vxfnc.";
  session.append(python_name_of(keyword.word)).append("(").append(arguments).append(")\n");
  session +=
      keyword.result == ResultKind::kDate ? ">>> print(result)\n" : ">>> print(f'{result:.10g}')\n";
  return block(session.append(keyword.description.value));
}

std::string page_of(const Keyword& keyword) {
  const Description& text = keyword.description;
  const std::string word(keyword.word);
  std::string page = "# " + word + ": " + std::string(text.title) + "\n\n" +
                     block(signature_of(keyword)) + '\n' + paragraphs(text.summary) +
                     "\n## Arguments\n\n";
  for (const Argument& argument : keyword.arguments()) page += item(argument);
  page += "\n## Result\n\n" + wrapped(sentence(text.result));
  if (!text.causes.empty()) page += "\nThe calculation fails with an error if:\n\n";
  for (const Cause& cause : text.causes) {
    page += wrapped("- " + std::string(cause.text), "  ");
  }
  page += "\n## Formula\n\n" + block(text.formula) + "\n## Examples\n\n" +
          block(example_of(text, word)) + "\nIn Python:\n\n" + python_example_of(keyword) +
          surprises_of(keyword) + "\n## See also\n\n";
  for (const std::string_view related : words_in(text.related)) {
    page +=
        "- " + std::string(related) + ": " + std::string(find(related)->description.title) + '\n';
  }
  return page;
}

std::string list_by_task() {
  std::string list;
  for (std::size_t task = 0; task < task_titles().size(); ++task) {
    list.append(list.empty() ? "" : "\n").append(task_titles()[task]).append("\n");
    for (const Keyword* const keyword : keywords_of(static_cast<Task>(task))) {
      std::string word(keyword->word);
      word.resize(12, ' ');
      list.append("  ").append(word).append(keyword->description.title).append("\n");
    }
  }
  return list;
}

}  // namespace catalog

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

std::string listed(std::string_view words) {
  std::string text;
  for (const char c : words) text += c == ' ' ? std::string(", ") : std::string(1, c);
  return text;
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
  page += "\n## Formula\n\n" + block(text.formula) + "\n## Example\n\n" +
          block(example_of(text, word)) + "\nSee also: " + listed(text.related) + ".\n";
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

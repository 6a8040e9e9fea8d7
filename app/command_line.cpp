#include "app/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace app {
namespace {

// The usage wraps before this column, as a terminal of 90 columns or more shows it.
constexpr std::size_t kUsageWidth = 90;

}  // namespace

bool parseInt(const std::string& text, long long& value) {
  if (text.empty() || text.size() > 18) return false;
  std::size_t i = text[0] == '-' ? 1 : 0;
  if (i == text.size()) return false;
  long long v = 0;
  for (; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    v = v * 10 + (text[i] - '0');
  }
  value = text[0] == '-' ? -v : v;
  return true;
}

CommandLine::CommandLine(std::string command)
    : m_command(std::move(command)), m_app(std::make_unique<CLI::App>()) {
  // Help is a subcommand of its own; an option named --help here is a usage error as any other.
  m_app->set_help_flag();
  m_app->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

CommandLine::~CommandLine() = default;

CLI::Option* CommandLine::flag(const std::string& name, bool& target) {
  return m_app->add_flag(name, target);
}

CLI::Option* CommandLine::value(const std::string& name, const std::string& valueName, Take take) {
  return m_app
      ->add_option_function<std::string>(name,
                                         [name, take = std::move(take)](const std::string& text) {
                                           if (!take(text)) throw CLI::ValidationError(name, text);
                                         })
      ->type_name(valueName);
}

CLI::Option* CommandLine::text(const std::string& name, const std::string& valueName,
                               std::string& target) {
  return value(name, valueName, [&target](const std::string& v) { return target = v, true; });
}

CLI::Option* CommandLine::number(const std::string& name, const std::string& valueName,
                                 long long& target, long long min, long long max) {
  return value(name, valueName, [&target, min, max](const std::string& v) {
    long long n = 0;
    if (!parseInt(v, n) || n < min || n > max) return false;
    target = n;
    return true;
  });
}

CLI::Option* CommandLine::positionals(const std::string& shown, std::vector<std::string>& values,
                                      int count) {
  CLI::Option* option =
      m_app->add_option("positional" + std::to_string(m_positionals.size()), values);
  // Every positional is kept, so that the row's count below sees a surplus.
  option->required()->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  if (count < 0) {
    option->expected(1, CLI::detail::expected_max_vector_size);
  } else {
    option->expected(count);
  }
  m_positionals.push_back(option);
  m_shown.push_back(shown);
  m_values.push_back(&values);
  m_counts.push_back(count);
  return option;
}

CLI::Option* CommandLine::optionalPositional(const std::string& shown,
                                             std::vector<std::string>& values) {
  CLI::Option* option = positionals(shown, values, 1);
  option->required(false);
  option->expected(0, CLI::detail::expected_max_vector_size);
  m_counts.back() = -2;
  return option;
}

void CommandLine::oneOf(const std::vector<CLI::Option*>& options, bool required) {
  for (CLI::Option* a : options) {
    for (CLI::Option* b : options) {
      if (a != b) a->excludes(b);
    }
  }
  m_groups.push_back({options, required});
}

void CommandLine::within(CLI::Option* outer, CLI::Option* inner) {
  inner->needs(outer);
  m_within.emplace_back(outer, inner);
}

void CommandLine::leftovers() { m_app->allow_extras(); }

std::vector<std::string> CommandLine::remaining() const {
  // CLI11 leaves the "--" that ends the options among them; it is no argument of the user's.
  std::vector<std::string> left = m_app->remaining();
  std::erase(left, "--");
  return left;
}

bool CommandLine::parse(const Args& args) {
  // CLI11 takes the arguments last first.
  std::vector<std::string> reversed(args.rbegin(), args.rend());
  try {
    m_app->parse(reversed);
  } catch (const CLI::ParseError&) {
    return false;
  }
  // CLI11 takes fewer positionals than a row expects; the row's count is the rule.
  for (std::size_t i = 0; i < m_values.size(); ++i) {
    const std::size_t given = m_values[i]->size();
    const int count = m_counts[i];
    const bool fits = count == -1   ? given >= 1
                      : count == -2 ? true
                                    : given == static_cast<std::size_t>(count);
    if (!fits) return false;
  }
  for (const Group& group : m_groups) {
    if (!group.required) continue;
    if (std::none_of(group.options.begin(), group.options.end(),
                     [](const CLI::Option* o) { return o->count() > 0; })) {
      return false;
    }
  }
  return true;
}

const CommandLine::Group* CommandLine::groupOf(const CLI::Option* option) const {
  for (const Group& group : m_groups) {
    if (std::find(group.options.begin(), group.options.end(), option) != group.options.end()) {
      return &group;
    }
  }
  return nullptr;
}

// One option as the usage writes it, with the options that go only with it inside its brackets.
std::string CommandLine::element(const CLI::Option* option) const {
  const auto at = std::find(m_positionals.begin(), m_positionals.end(), option);
  if (at != m_positionals.end()) {
    const std::string& shown = m_shown[static_cast<std::size_t>(at - m_positionals.begin())];
    return option->get_required() ? shown : "[" + shown + "]";
  }
  std::string text = option->get_name();
  if (!option->get_type_name().empty()) text += " " + option->get_type_name();
  for (const auto& [outer, inner] : m_within) {
    if (outer == option) text += " [" + element(inner) + "]";
  }
  return text;
}

std::string CommandLine::synopsis(std::size_t indent) const {
  std::vector<std::string> words{m_command};
  std::vector<const Group*> shownGroups;
  for (const CLI::Option* option : m_app->get_options()) {
    const bool inner = std::any_of(m_within.begin(), m_within.end(),
                                   [&](const auto& pair) { return pair.second == option; });
    // An option of no group is left out of the usage.
    if (inner || option->get_group().empty()) continue;
    const Group* group = groupOf(option);
    const bool positional =
        std::find(m_positionals.begin(), m_positionals.end(), option) != m_positionals.end();
    if (!group) {
      const bool bare = positional || option->get_required();
      words.push_back(bare ? element(option) : "[" + element(option) + "]");
      continue;
    }
    if (std::find(shownGroups.begin(), shownGroups.end(), group) != shownGroups.end()) continue;
    shownGroups.push_back(group);
    std::string text;
    for (const CLI::Option* member : group->options) {
      text += (text.empty() ? "" : " | ") + element(member);
    }
    words.push_back(group->required ? "(" + text + ")" : "[" + text + "]");
  }
  const std::size_t hang = indent + m_command.size() + 1;
  std::string out;
  std::size_t column = indent;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0 && column + 1 + words[i].size() > kUsageWidth) {
      out += "\n" + std::string(hang, ' ');
      column = hang;
    } else if (i > 0) {
      out += ' ';
      ++column;
    }
    out += words[i];
    column += words[i].size();
  }
  return out;
}

std::string CommandLine::usage() const {
  std::string out = "usage: " + synopsis(7) + "\n";
  for (const std::string& line : m_notes) out += "       " + line + "\n";
  return out;
}

}  // namespace app

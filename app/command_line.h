#pragma once

// One subcommand's options as a table of CLI11 rows: each row names an option, the word its value
// shows in the usage, and what it does with the value. The same rows parse the arguments and
// write the usage text, so the two cannot disagree.

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace app {

using Args = std::vector<std::string>;

class CommandLine {
 public:
  // Takes a value's text; false refuses it as a usage error.
  using Take = std::function<bool(const std::string&)>;

  // `command`: the program and subcommand as the usage names them ("hgvtool search").
  explicit CommandLine(std::string command);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // The rows, in the order the usage shows them. A repeated option keeps its last value.
  CLI::Option* flag(const std::string& name, bool& target);
  CLI::Option* value(const std::string& name, const std::string& valueName, Take take);
  CLI::Option* text(const std::string& name, const std::string& valueName, std::string& target);
  // A whole decimal number from `min` to `max`.
  CLI::Option* number(const std::string& name, const std::string& valueName, long long& target,
                      long long min, long long max);
  // The arguments that are not options: exactly `count` of them, or with `count` -1 one or more.
  // `shown` is how the usage writes them ("CLIP", "CLIP N").
  CLI::Option* positionals(const std::string& shown, std::vector<std::string>& values, int count);
  // Optional, and shown as one ("[CLIP]"): the caller judges a surplus itself.
  CLI::Option* optionalPositional(const std::string& shown, std::vector<std::string>& values);
  // Options of which one and only one must be given, or at most one when `required` is false:
  // the usage shows them as (A | B) or [A | B].
  void oneOf(const std::vector<CLI::Option*>& options, bool required);
  // `inner` only with `outer`: the usage shows it inside outer's brackets.
  void within(CLI::Option* outer, CLI::Option* inner);
  // A line under the usage.
  void note(std::string line) { m_notes.push_back(std::move(line)); }

  // Parses `args` (without the program and subcommand); false on any usage error.
  bool parse(const Args& args);
  // The arguments a parse left over, when leftovers() allowed them.
  std::vector<std::string> remaining() const;
  // Leaves unknown options and surplus arguments for remaining() instead of refusing them.
  void leftovers();

  // "hgvtool search CLIP [--from N] ...", wrapped under its first argument.
  std::string synopsis(std::size_t indent) const;
  // "usage: " and the synopsis, then the notes, each line ending in a newline.
  std::string usage() const;

 private:
  struct Group {
    std::vector<CLI::Option*> options;
    bool required = false;
  };
  std::string element(const CLI::Option* option) const;
  const Group* groupOf(const CLI::Option* option) const;

  std::string m_command;
  std::unique_ptr<CLI::App> m_app;
  std::vector<Group> m_groups;
  std::vector<std::pair<CLI::Option*, CLI::Option*>> m_within;  // outer, inner
  std::vector<std::string> m_shown;                             // of each positional row
  std::vector<CLI::Option*> m_positionals;
  std::vector<std::vector<std::string>*> m_values;  // of each positional row
  std::vector<int> m_counts;                        // of each: -1 one or more, -2 any
  std::vector<std::string> m_notes;
};

// Parses a whole decimal number; false if `text` is not one or does not fit.
bool parseInt(const std::string& text, long long& value);

}  // namespace app

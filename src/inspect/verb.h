// The command line of one verb. Only verb.cpp and command_line.cpp include the header of the library
// that parses: it costs a compiler more time than all other code of a verb.
//
//   Verb verb(app, "plan", "What would change");
//   const auto options = std::make_shared<Options>();
//   verb.addWord("FILE", options->file, "A log file", Verb::Presence::Required);
//   verb.onUse([options] { printPlan(*options); });
//
// Values are set while the command line is parsed and must live as long as `app`.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace sourcetype {

class Verb {
 public:
  enum class Presence { Optional, Required };
  // The smallest and the largest number that an option accepts.
  struct Range {
    std::size_t min;
    std::size_t max;
  };

  Verb(CLI::App& app, const char* name, const char* description);

  // A verb below this one, such as "list" of "learned". At most one of them is used in a run.
  Verb addPart(const char* name, const char* description);

  void addWord(const char* name, std::string& value, const char* help, Presence presence);
  // All words that are left.
  void addWords(const char* name, std::vector<std::string>& values, const char* help,
                Presence presence);
  void addFlag(const char* name, bool& value, const char* help);
  // `placeholder` stands for the value in the help text.
  void addOption(const char* name, std::string& value, const char* placeholder, const char* help,
                 Presence presence = Presence::Optional);
  // An option that may be repeated; each takes one value.
  void addRepeated(const char* name, std::vector<std::string>& values, const char* placeholder,
                   const char* help);
  void addNumber(const char* name, std::size_t& value, Range range, const char* placeholder,
                 const char* help);

  // What the verb does. Not called when one of its parts is used.
  void onUse(std::function<void()> action);

 private:
  CLI::App* app_;
};

}  // namespace sourcetype

#include "inspect/verb.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace sourcetype {
namespace {

void require(CLI::Option& option, Verb::Presence presence) {
  option.required(presence == Verb::Presence::Required);
}

}  // namespace

Verb::Verb(CLI::App& app, const char* name, const char* description)
    : app_(app.add_subcommand(name, description)) {}

Verb Verb::addPart(const char* name, const char* description) {
  Verb part(*app_, name, description);
  app_->require_subcommand(0, 1);
  part.app_->fallthrough();
  return part;
}

void Verb::addWord(const char* name, std::string& value, const char* help, Presence presence) {
  require(*app_->add_option(name, value, help), presence);
}

void Verb::addWords(const char* name, std::vector<std::string>& values, const char* help,
                    Presence presence) {
  require(*app_->add_option(name, values, help), presence);
}

void Verb::addFlag(const char* name, bool& value, const char* help) {
  app_->add_flag(name, value, help);
}

void Verb::addOption(const char* name, std::string& value, const char* placeholder,
                     const char* help, Presence presence) {
  require(*app_->add_option(name, value, help)->option_text(placeholder), presence);
}

void Verb::addRepeated(const char* name, std::vector<std::string>& values, const char* placeholder,
                       const char* help) {
  app_->add_option(name, values, help)->option_text(placeholder)->allow_extra_args(false);
}

void Verb::addNumber(const char* name, std::size_t& value, Range range, const char* placeholder,
                     const char* help) {
  app_->add_option(name, value, help)
      ->check(CLI::NonNegativeNumber)  // -1 would be read as the largest number
      ->check(CLI::Range(range.min, range.max))
      ->option_text(placeholder);
}

void Verb::onUse(std::function<void()> action) {
  app_->callback([app = app_, act = std::move(action)] {
    if (app->get_subcommands().empty()) act();
  });
}

}  // namespace sourcetype

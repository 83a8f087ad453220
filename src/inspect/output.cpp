#include "inspect/output.h"

#include <fmt/core.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "platform/environment.h"
#include "platform/terminal.h"
#include "util/print.h"
#include "util/text.h"

namespace sourcetype {
namespace {

bool wantsColor(const Output::Options& options) {
  if (options.json || options.color == Color::Never) return false;
  if (options.color == Color::Always) return true;
  return isTerminal(StandardStream::Output) && !environmentPath("NO_COLOR") &&
         enableEscapeSequences();
}

std::string_view escapeOf(Style style) {
  switch (style) {
    case Style::Heading:
      return "\x1B[1m";
    case Style::Good:
      return "\x1B[32m";
    case Style::Bad:
      return "\x1B[31m";
    case Style::Dim:
      return "\x1B[2m";
    case Style::Mark:
      return "\x1B[7m";
  }
  return {};
}

}  // namespace

Output::Output(const Options& options) : options_(options), usesColor_(wantsColor(options)) {}

void Output::print(std::string_view text) {
  printText("{}", text);
}

void Output::printJson(const Json& object) {
  printText("{}\n", object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Output::complain(std::string_view text) {
  // Nothing can be told if standard error cannot be written to.
  std::cerr << fmt::format("sourcetype-inspect: {}\n", harmless(text));
}

std::string Output::paint(Style style, std::string_view text) const {
  constexpr std::string_view kReset = "\x1B[0m";
  if (!usesColor_ || text.empty()) return std::string(text);
  return std::string(escapeOf(style)).append(text).append(kReset);
}

std::string harmless(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t control = controlLength(text);
    for (const char byte : text.substr(0, control)) {
      result += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
    }
    if (control == 0) result += text.front();
    text.remove_prefix(std::max<std::size_t>(control, 1));
  }
  return result;
}

std::string counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

Json textOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

}  // namespace sourcetype

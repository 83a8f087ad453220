// What sourcetype-inspect prints: results on standard output, as text or as JSON, and problems on
// standard error.
//
//   Output out({.json = false, .color = Color::Auto, .quiet = false});
//   out.print(out.paint(Style::Heading, harmless(fileName)) + "\n");
//   out.printJson({{"file", fileName}, {"stage", "rule"}});
#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace sourcetype {

using Json = nlohmann::ordered_json;

enum class Color { Auto, Always, Never };

enum class Style { Heading, Good, Bad, Dim, Mark };

class Output {
 public:
  struct Options {
    bool json = false;
    Color color = Color::Auto;
    bool quiet = false;
  };

  // Color::Auto means colours if standard output is a terminal and the environment does not set
  // NO_COLOR. JSON has none.
  explicit Output(const Options& options);

  bool isJson() const { return options_.json; }
  bool isQuiet() const { return options_.quiet; }

  // Writes to standard output. Throws std::system_error if that fails.
  static void print(std::string_view text);

  // Writes an object as one line of UTF-8. U+FFFD replaces bytes of strings that are not UTF-8.
  static void printJson(const Json& object);

  // Writes "sourcetype-inspect: " and `text`, made harmless, to standard error.
  static void complain(std::string_view text);

  // `text` in a style, or `text` alone without colours.
  std::string paint(Style style, std::string_view text) const;

 private:
  Options options_;
  bool usesColor_;
};

// `text` for a terminal: "\xHH" replaces each byte of control characters, so that a name or a line
// of a log cannot move the cursor, change colours or begin a new line.
std::string harmless(std::string_view text);

// "1 file" or "3 files" for the noun "file".
std::string counted(std::size_t count, std::string_view noun);

// A text as JSON: null if it is empty.
Json textOrNull(const std::string& text);

}  // namespace sourcetype

// One .conf file to be edited in place, comments and all.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "conf/logical_lines.h"

namespace sourcetype {

// How the first line ends, also when it is cut off behind its carriage return: "\n" or "\r\n".
std::string_view lineEndOf(std::string_view bytes);

// A file's stanzas in byte order, its comments, and its text with the changes made to it. As
// against a lookup, the first value of a key counts; a second one is logged and dropped.
class IniFile {
 public:
  struct Setting {
    std::string value;
    std::string comments;             // comment and blank lines just before it, as they stand
    std::vector<std::size_t> pieces;  // where it stands in the text as read, each time it occurs
  };
  struct Stanza {
    std::map<std::string, Setting, std::less<>> settings;
    std::string comments;       // just before its (first) header
    std::size_t lastPiece = 0;  // its last header or setting in the text
  };
  using Stanzas = std::map<std::string, Stanza, std::less<>>;

  // A file that readConfFile() cannot have is logged and gives an empty object, with `error` set.
  static IniFile read(const std::filesystem::path& path, std::error_code& error);

  // `path` is for messages.
  static IniFile parse(std::string_view bytes, const std::filesystem::path& path,
                       Report report = Report::Yes);

  const Stanzas& stanzas() const { return stanzas_; }
  // Comment and blank lines before anything else, and after everything else.
  const std::string& leadingBlock() const { return leadingBlock_; }
  const std::string& trailingBlock() const { return trailingBlock_; }
  // Physical lines read.
  std::size_t lineCount() const { return lineCount_; }

  // Adds an empty stanza at the end, unless it is there.
  void addStanza(std::string_view stanza);

  // Sets a key wherever it occurs in the stanza, or adds it after the stanza's last setting.
  void set(std::string_view stanza, std::string_view key, std::string_view value);

  // The file with its changes: lines that no change touched are what they were, where they were.
  std::string toText() const;

 private:
  void appendLine(std::string_view text);

  Stanzas stanzas_;
  std::string leadingBlock_;
  std::string trailingBlock_;
  std::size_t lineCount_ = 0;
  std::vector<std::string> pieces_;  // the text, a logical line each
  // Settings that the file did not have, by the piece they follow and by key.
  std::map<std::size_t, std::map<std::string, std::string>> added_;
  std::string_view lineEnd_ = "\n";  // as in the file's first line
};

}  // namespace sourcetype

// One .conf file, parsed for an edit that keeps its comments and the order of its lines.
//
//   IniFile file = IniFile::parse(bytes, path);
//   file.set("syslog", "CHARSET", "UTF-8");
//   replaceFile(path, file.toText());
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "conf/logical_lines.h"

namespace sourcetype {

// The line end of the first line: "\r\n" or "\n". If the text ends after the carriage return of its
// first line, "\r\n".
std::string_view lineEndOf(std::string_view bytes);

// The stanzas of a file in byte order, its comments, and its text with the changes made to it. If a
// stanza has several values of a key, the first one counts here (in a lookup, the last one); the
// others are logged.
class IniFile {
 public:
  struct Setting {
    std::string value;
    std::string comments;             // the comment and blank lines just before it, unchanged
    std::vector<std::size_t> pieces;  // indexes in pieces_, one for each occurrence
  };
  struct Stanza {
    std::map<std::string, Setting, std::less<>> settings;
    std::string comments;       // the comment and blank lines just before its first header
    std::size_t lastPiece = 0;  // index in pieces_ of its last header or setting
  };
  using Stanzas = std::map<std::string, Stanza, std::less<>>;

  // When readConfFile() fails, logs and sets `error` and returns an empty object.
  static IniFile read(const std::filesystem::path& path, std::error_code& error);

  // `path` is for messages.
  static IniFile parse(std::string_view bytes, const std::filesystem::path& path,
                       Report report = Report::Yes);

  const Stanzas& stanzas() const { return stanzas_; }
  // The comment and blank lines before the first header or setting, and after the last one.
  const std::string& leadingBlock() const { return leadingBlock_; }
  const std::string& trailingBlock() const { return trailingBlock_; }
  // The number of physical lines.
  std::size_t lineCount() const { return lineCount_; }

  // Adds an empty stanza at the end, unless the file has the stanza.
  void addStanza(std::string_view stanza);

  // Sets each occurrence of the key in the stanza. If there is none, adds the setting after the
  // last setting of the stanza. Adds the stanza if the file does not have it.
  void set(std::string_view stanza, std::string_view key, std::string_view value);

  // The text with the changes. All other lines keep their content and order.
  std::string toText() const;

 private:
  void appendLine(std::string_view text);

  Stanzas stanzas_;
  std::string leadingBlock_;
  std::string trailingBlock_;
  std::size_t lineCount_ = 0;
  std::vector<std::string> pieces_;  // the logical lines of the text
  // The settings that were added, by the index of the piece before them and by key.
  std::map<std::size_t, std::map<std::string, std::string>> added_;
  std::string_view lineEnd_ = "\n";  // of the first line of the file
};

}  // namespace sourcetype

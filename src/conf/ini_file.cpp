#include "conf/ini_file.h"

#include <tuple>
#include <utility>

#include "conf/conf_file.h"
#include "conf/stanza_kinds.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

// The same line in a form that does not end in a backslash. For the last line of a file: a
// backslash would make the next line that is written its continuation.
std::string withoutContinuation(const LogicalLine& line) {
  if (line.kind == LineKind::Header) return renderHeader(line.name);
  auto raw = line.raw;
  while (raw.ends_with('\n') || raw.ends_with('\r')) raw.remove_suffix(1);
  return std::string(raw) + ' ';
}

// Adds a line end to the last line of `text` if it has none. If the line ends in a carriage return,
// only the line feed is missing.
void endLastLine(std::string& text, std::string_view lineEnd) {
  if (text.ends_with('\n')) return;
  text += text.ends_with('\r') ? "\n" : lineEnd;
}

}  // namespace

std::string_view lineEndOf(std::string_view bytes) {
  return bytes.substr(0, bytes.find('\n')).ends_with('\r') ? "\r\n" : "\n";
}

IniFile IniFile::read(const std::filesystem::path& path, std::error_code& error) {
  const FileBytes bytes = readConfFile(path);
  error = bytes.error;
  if (isEncodingError(error)) {
    logError(kIniFileLog, "Cannot use %s: %m", pathToText(path), error);
  } else if (error) {
    logError(kIniFileLog, "Cannot open ini file for parsing: %m", error);
  }
  return parse(bytes.view(), path);
}

IniFile IniFile::parse(std::string_view bytes, const std::filesystem::path& path, Report report) {
  IniFile file;
  file.lineEnd_ = lineEndOf(bytes);
  TextKeeper keeper;
  LogicalLineReader reader(bytes, path, keeper, report);
  auto current = file.stanzas_.end();
  std::string pendingComments;
  const auto enterStanza = [&](std::string_view name) {
    bool isNew = false;
    std::tie(current, isNew) = file.stanzas_.try_emplace(std::string(name));
    if (isNew) current->second.comments = std::exchange(pendingComments, {});
  };
  for (LogicalLine line; reader.next(line);) {
    const auto piece = file.pieces_.size();
    file.pieces_.push_back(line.unfinished ? withoutContinuation(line) : std::string(line.raw));
    if (line.kind == LineKind::Blank || line.kind == LineKind::Comment) {
      pendingComments += line.raw;
      continue;
    }
    if (line.kind == LineKind::Malformed) continue;
    if (file.stanzas_.empty()) file.leadingBlock_ = std::exchange(pendingComments, {});
    if (line.kind == LineKind::Header || current == file.stanzas_.end()) {
      enterStanza(line.kind == LineKind::Header ? line.name : kDefaultStanza);
    }
    auto& [name, stanza] = *current;
    stanza.lastPiece = piece;
    if (line.kind != LineKind::Setting) continue;
    const auto [setting, isNew] = stanza.settings.try_emplace(std::string(line.name));
    setting->second.pieces.push_back(piece);
    if (isNew) {
      setting->second.value = line.value;
      setting->second.comments = std::exchange(pendingComments, {});
    } else {
      reader.report("Key used more than once in the same stanza",
                    name + ": " + std::string(line.text));
    }
  }
  file.trailingBlock_ = std::move(pendingComments);
  file.lineCount_ = reader.lineCount();
  return file;
}

void IniFile::appendLine(std::string_view text) {
  if (!pieces_.empty()) endLastLine(pieces_.back(), lineEnd_);
  pieces_.push_back(std::string(text).append(lineEnd_));
}

void IniFile::addStanza(std::string_view stanza) {
  if (stanzas_.contains(stanza)) return;
  if (!pieces_.empty()) appendLine("");
  appendLine(renderHeader(stanza));
  stanzas_[std::string(stanza)].lastPiece = pieces_.size() - 1;
}

void IniFile::set(std::string_view stanza, std::string_view key, std::string_view value) {
  addStanza(stanza);
  Stanza& target = stanzas_.find(stanza)->second;
  const auto line = renderSetting(key, value).append(lineEnd_);
  Setting& setting = target.settings[std::string(key)];
  setting.value = value;
  for (const auto piece : setting.pieces) pieces_[piece] = line;
  if (setting.pieces.empty()) added_[target.lastPiece][std::string(key)] = line;
}

std::string IniFile::toText() const {
  std::string text;
  for (std::size_t piece = 0; piece < pieces_.size(); ++piece) {
    text += pieces_[piece];
    const auto added = added_.find(piece);
    if (added == added_.end()) continue;
    endLastLine(text, lineEnd_);
    for (const auto& [key, line] : added->second) text += line;
  }
  return text;
}

}  // namespace sourcetype

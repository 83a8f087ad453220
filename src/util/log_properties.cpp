#include "util/log_properties.h"

#include <algorithm>
#include <string_view>

#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

// Bytes. A hundred times what ships; a larger file was named by mistake.
constexpr std::size_t kMaxFileSize = std::size_t{256} << 10;

enum class WhenMissing { Fail, Skip };

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

std::string_view withoutPrefix(std::string_view key) {
  for (const std::string_view prefix : {"log4cpp.", "log4j."}) {
    if (key.starts_with(prefix)) return key.substr(prefix.size());
  }
  return key;
}

std::string_view withoutComment(std::string_view value) {
  for (auto hash = value.find('#'); hash != std::string_view::npos;
       hash = value.find('#', hash + 1)) {
    if (hash == 0 || value[hash - 1] == ' ' || value[hash - 1] == '\t')
      return value.substr(0, hash);
  }
  return value;
}

// The caller knows the directory.
std::string name(const std::filesystem::path& path) {
  return pathToText(path.filename());
}

std::string readText(const std::filesystem::path& path, WhenMissing whenMissing) {
  if (fileKind(path) == FileKind::Other) {
    throw LogConfigurationError(name(path) + ": not a regular file");
  }
  InputFile file(path);
  std::string text(kMaxFileSize + 1, '\0');
  text.resize(file.read(text));
  if (whenMissing == WhenMissing::Skip && isMissingFile(file.error())) return {};
  if (file.error()) throw LogConfigurationError(name(path) + ": " + file.error().message());
  if (text.size() > kMaxFileSize) {
    throw LogConfigurationError(name(path) + ": too large for a configuration");
  }
  if (text.find('\0') != std::string::npos) {
    throw LogConfigurationError(name(path) + ": not a text file");
  }
  return text;
}

void addSettings(LogProperties& settings, const std::filesystem::path& path,
                 WhenMissing whenMissing) {
  const std::string text = readText(path, whenMissing);
  std::string_view rest = text;
  if (constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
      rest.starts_with(kByteOrderMark)) {
    rest.remove_prefix(kByteOrderMark.size());
  }
  for (int number = 1; !rest.empty(); ++number) {
    const auto end = rest.find('\n');
    const auto line = trimmed(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.empty() || line.starts_with('#')) continue;
    const auto equals = line.find('=');
    const auto key = withoutPrefix(trimmed(line.substr(0, equals)));
    if (equals == std::string_view::npos || key.empty()) {
      throw LogConfigurationError(name(path) + ": line " + std::to_string(number) +
                                  " is not of the form key = value");
    }
    const auto value = trimmed(withoutComment(line.substr(equals + 1)));
    settings.insert_or_assign(std::string(key), std::string(value));
  }
}

std::string substituted(std::string_view key, std::string_view value,
                        const std::map<std::string, std::string>& variables) {
  std::string result;
  for (auto open = value.find("${"); open != std::string_view::npos; open = value.find("${")) {
    result += value.substr(0, open);
    value.remove_prefix(open);
    const auto close = std::min(value.find('}'), value.size());
    const auto variable = variables.find(std::string(value.substr(2, close - 2)));
    if (close == value.size() || variable == variables.end()) {
      throw LogConfigurationError(std::string(key) + ": unknown variable " +
                                  std::string(value.substr(0, close + 1)));
    }
    result += variable->second;
    value.remove_prefix(close + 1);
  }
  return result.append(value);
}

}  // namespace

LogProperties readLogProperties(const std::filesystem::path& file,
                                const std::map<std::string, std::string>& variables) {
  auto local = file;
  local.replace_filename(file.stem() += "-local");
  local += file.extension();

  LogProperties settings;
  addSettings(settings, file, WhenMissing::Fail);
  addSettings(settings, local, WhenMissing::Skip);
  for (auto& [key, value] : settings) value = substituted(key, value, variables);
  return settings;
}

}  // namespace sourcetype

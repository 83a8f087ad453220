#include "util/log_properties.h"

#include <algorithm>
#include <utility>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/format.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// Bytes, a hundred times the file that ships. A larger file was named by mistake.
constexpr std::size_t kMaxFileSize = std::size_t{256} << 10;

constexpr std::string_view kBlanks = " \t\r";

enum class WhenMissing { Fail, Skip };

std::string_view withoutPrefix(std::string_view key) {
  for (const std::string_view prefix : {"log4cpp.", "log4j."}) {
    if (key.starts_with(prefix)) return key.substr(prefix.size());
  }
  return key;
}

std::string_view withoutComment(std::string_view value) {
  for (auto hash = value.find('#'); hash != std::string_view::npos;
       hash = value.find('#', hash + 1)) {
    if (hash == 0 || isBlank(value[hash - 1])) return value.substr(0, hash);
  }
  return value;
}

std::string readText(const std::filesystem::path& path, WhenMissing whenMissing,
                     LogComplaints& complaints) {
  const auto refuse = [&](std::string_view reason) {
    complaints.add(path, reason);
    return std::string();
  };
  if (fileKind(path) == FileKind::Other) return refuse("not a regular file");
  InputFile file(path);
  std::string text(kMaxFileSize + 1, '\0');
  text.resize(file.read(text));
  if (whenMissing == WhenMissing::Skip && isMissingFile(file.error())) return {};
  if (file.error()) return refuse(file.error().message());
  if (text.size() > kMaxFileSize) return refuse("too large for a configuration");
  if (text.find('\0') != std::string::npos) return refuse("not a text file");
  return text;
}

void addSettings(LogProperties& settings, const std::filesystem::path& path,
                 WhenMissing whenMissing, LogComplaints& complaints) {
  const std::string text = readText(path, whenMissing, complaints);
  std::string_view rest = text;
  if (constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
      rest.starts_with(kByteOrderMark)) {
    rest.remove_prefix(kByteOrderMark.size());
  }
  for (int number = 1; !rest.empty(); ++number) {
    const auto end = rest.find('\n');
    const auto line = trim(rest.substr(0, end), kBlanks);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.empty() || line.starts_with('#')) continue;
    const auto equals = line.find('=');
    const auto key = withoutPrefix(trim(line.substr(0, equals), kBlanks));
    if (equals == std::string_view::npos || key.empty()) {
      complaints.add(path, "line " + std::to_string(number) + " is not of the form key = value");
      continue;
    }
    const auto value = trim(withoutComment(line.substr(equals + 1)), kBlanks);
    settings.insert_or_assign(std::string(key),
                              LogSetting{.value = std::string(value), .file = path});
  }
}

struct Substitution {
  std::string text{};
  std::string unknownVariable{};  // empty when all are known
};
Substitution substituted(std::string_view value,
                         const std::map<std::string, std::string>& variables) {
  std::string result;
  for (auto open = value.find("${"); open != std::string_view::npos; open = value.find("${")) {
    result += value.substr(0, open);
    value.remove_prefix(open);
    const auto close = std::min(value.find('}'), value.size());
    const auto variable = variables.find(std::string(value.substr(2, close - 2)));
    if (close == value.size() || variable == variables.end()) {
      return {.unknownVariable = std::string(value.substr(0, close + 1))};
    }
    result += variable->second;
    value.remove_prefix(close + 1);
  }
  return {.text = result.append(value)};
}

}  // namespace

void LogComplaints::add(const std::filesystem::path& file, std::string_view reason) {
  text_ += formatText("%s: %s.\n", MultiLineText{pathToText(file)}, reason);
}

LogProperties readLogProperties(const std::filesystem::path& file,
                                const std::map<std::string, std::string>& variables,
                                LogComplaints& complaints) {
  auto local = file;
  local.replace_filename(file.stem() += "-local");
  local += file.extension();

  LogProperties settings;
  addSettings(settings, file, WhenMissing::Fail, complaints);
  addSettings(settings, local, WhenMissing::Skip, complaints);
  for (auto entry = settings.begin(); entry != settings.end();) {
    auto& [key, setting] = *entry;
    auto [text, unknownVariable] = substituted(setting.value, variables);
    if (unknownVariable.empty()) {
      setting.value = std::move(text);
      ++entry;
    } else {
      complaints.add(setting.file, formatText("%s: unknown variable %s", key, unknownVariable));
      entry = settings.erase(entry);
    }
  }
  return settings;
}

}  // namespace sourcetype

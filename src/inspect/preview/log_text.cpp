#include "inspect/preview/log_text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <span>
#include <system_error>

#include "charset/charset_registry.h"
#include "classifier/binary_test.h"
#include "classifier/sample.h"
#include "classifier/type_request.h"
#include "inspect/session.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMaxBytes = kDefaultMaxLines * kBytesPerLine;

// Reads until the input ends or one byte more than the limit is there, which shows that the log is
// longer. `read` fills a buffer and returns the number of bytes, 0 at the end.
template <class Read>
LogBytes readToLimit(const Read& read) {
  std::array<char, 65536> buffer;
  LogBytes log;
  while (log.bytes.size() <= kMaxBytes) {
    const std::size_t count = read(buffer);
    if (count == 0) break;
    log.bytes.append(buffer.data(), count);
  }
  log.isWhole = log.bytes.size() <= kMaxBytes;
  log.bytes.resize(std::min(log.bytes.size(), kMaxBytes));
  return log;
}

std::string toUtf8(const LogBytes& log, const PropertiesMap& settings, std::string_view name,
                   LogText& result) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  const auto charset = chooseCharset(settings, log.bytes, name).charset;
  const auto converter = findConverter(charset);
  if (!converter) return log.bytes;
  std::string text;
  converter->convert(log.bytes, text);
  if (log.isWhole) converter->finish(text);
  result.isBinary = isBinary(converter->invalidCount(), log.bytes.size());
  if (text.starts_with(kMark)) text.erase(0, kMark.size());
  return text;
}

// Calls `visit` with each line that is not empty and its number. The last line of a log that was
// not read to its end may be incomplete, so it is left out, unless it is the only one.
template <class Visit>
void forEachLine(std::string_view text, bool isWhole, const Visit& visit) {
  const char counted = text.find('\n') == std::string_view::npos ? '\r' : '\n';
  std::size_t number = 1;
  bool hasLines = false;
  while (!text.empty()) {
    const auto end = text.find_first_of("\r\n");
    const bool isCut = end == std::string_view::npos && !isWhole && hasLines;
    if (end != 0 && !isCut) {
      visit(number, text.substr(0, end));
      hasLines = true;
    }
    if (end == std::string_view::npos) return;
    if (text[end] == counted) ++number;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

LogBytes readLogFile(const std::filesystem::path& path) {
  if (fileKind(path) == FileKind::Other) {
    throw InspectError(pathToText(path) + " is not a regular file");
  }
  InputFile file(path);
  const auto requireNoError = [&] {
    if (file.error()) throw InspectError(pathToText(path) + ": " + file.error().message());
  };
  requireNoError();
  auto log = readToLimit([&](std::span<char> buffer) { return file.read(buffer); });
  requireNoError();
  return log;
}

LogBytes readStandardInput() {
  auto log = readToLimit(
      [](std::span<char> buffer) { return std::fread(buffer.data(), 1, buffer.size(), stdin); });
  if (std::ferror(stdin) != 0) {
    throw InspectError("standard input: " + std::generic_category().message(errno));
  }
  return log;
}

LogText makeLogText(const LogBytes& log, const PropertiesMap& settings, std::string_view name) {
  LogText result;
  result.isWhole = log.isWhole;
  const std::string text = toUtf8(log, settings, name, result);
  forEachLine(text, log.isWhole, [&](std::size_t number, std::string_view line) {
    if (result.lines.size() < kDefaultMaxLines) {
      result.lines.push_back({.number = number, .text = std::string(line)});
    } else {
      ++result.unreadLines;
    }
  });
  return result;
}

std::size_t cutLongLines(std::vector<LogLine>& lines, std::size_t maxBytes) {
  std::size_t count = 0;
  for (auto& [number, text] : lines) {
    if (text.size() <= maxBytes) continue;
    ++count;
    std::size_t end = maxBytes;
    while (end > 0 && isUtf8Continuation(byteAt(text, end))) --end;
    text.resize(end);
  }
  return count;
}

}  // namespace sourcetype

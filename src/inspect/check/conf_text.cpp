#include "inspect/check/conf_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "conf/conf_file.h"
#include "conf/logical_lines.h"
#include "conf/stanza_kinds.h"
#include "util/text.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

std::size_t lineOf(std::string_view bytes, std::size_t offset) {
  return 1 + static_cast<std::size_t>(std::ranges::count(bytes.substr(0, offset), '\n'));
}

// The offset of a carriage return that does not end a line.
std::size_t findLoneCarriageReturn(std::string_view bytes) {
  auto found = bytes.find('\r');
  while (found != std::string_view::npos && (found + 1 == bytes.size() || bytes[found + 1] == '\n'))
    found = bytes.find('\r', found + 1);
  return found;
}

// The indices of `items`, ordered by `keyOf` and then by their position.
template <class Items, class KeyOf>
std::vector<std::size_t> orderedIndices(const Items& items, const KeyOf& keyOf) {
  std::vector<std::size_t> indices(items.size());
  std::iota(indices.begin(), indices.end(), std::size_t{0});
  std::ranges::stable_sort(indices, {}, [&](std::size_t i) { return keyOf(items[i]); });
  return indices;
}

}  // namespace

ConfText::ConfText(std::filesystem::path path, FileBytes bytes, Findings& findings)
    : path_(std::move(path)), bytes_(std::move(bytes)) {
  if (const auto error = findEncodingError(bytes_.view())) {
    findings.error(at(1), error.message() + "; nothing of it is used");
    return;
  }
  checkBytes(findings);
  readLines(findings);
  checkHeaders(findings);
  checkDuplicates(findings);
}

void ConfText::checkBytes(Findings& findings) const {
  const auto bytes = bytes_.view();
  if (bytes.starts_with(kByteOrderMark)) {
    findings.warn(at(1),
                  "the file begins with a byte-order mark, which other programs may not skip");
  }
  if (const auto valid = validUtf8Length(bytes); valid < bytes.size()) {
    findings.warn(at(lineOf(bytes, valid)),
                  "the line has bytes that are no text in UTF-8; later lines may have some, too");
  }
  if (const auto lone = findLoneCarriageReturn(bytes); lone != std::string_view::npos) {
    findings.warn(at(lineOf(bytes, lone)),
                  "a carriage return without a line feed does not end a line");
  }
}

void ConfText::readLines(Findings& findings) {
  LogicalLineReader reader(bytes_.view(), path_, keeper_, Report::No);
  std::string_view stanza = kDefaultStanza;
  std::size_t before = 0;
  for (LogicalLine line; reader.next(line); before = reader.lineCount()) {
    const std::size_t number = before + 1;
    if (line.kind == LineKind::Header) {
      stanza = line.name;
      headers_.push_back({.stanza = stanza, .line = number});
      if (line.text.find(']') == std::string_view::npos) {
        findings.error(at(number),
                       fmt::format("the header has no closing bracket; the stanza is named {}",
                                   quoted(stanza)));
      }
    } else if (line.kind == LineKind::Setting) {
      settings_.push_back(
          {.stanza = stanza, .key = line.name, .value = line.value, .line = number});
      if (line.name.empty()) findings.error(at(number), "the setting has no key");
    } else if (line.kind == LineKind::Malformed) {
      findings.error(at(number), "the line is no comment, header or KEY = VALUE, and is skipped");
    }
    if (line.unfinished) {
      findings.warn(at(number), "the file ends in a backslash, which continues no line");
    }
  }
}

void ConfText::checkHeaders(Findings& findings) const {
  for (const auto& [stanza, line] : headers_) {
    if (stanza.starts_with('[')) {
      findings.warn(at(line), fmt::format("the stanza [{}] has no effect: its name begins with a "
                                          "second bracket, as one that a power failure cut off",
                                          stanza));
    } else if (trimBlanks(stanza) != stanza) {
      findings.warn(at(line), fmt::format("the blanks around {} are part of the stanza's name",
                                          quoted(stanza)));
    } else if (stanza != kDefaultStanza && equalsIgnoringCase(stanza, kDefaultStanza)) {
      findings.warn(at(line), fmt::format("[{}] is not [default]: upper and lower case differ in "
                                          "names",
                                          stanza));
    }
  }
}

void ConfText::checkDuplicates(Findings& findings) const {
  const auto headers = orderedIndices(headers_, [](const Header& h) { return h.stanza; });
  for (std::size_t i = 1, first = 0; i < headers.size(); ++i) {
    const auto& header = headers_[headers[i]];
    if (header.stanza != headers_[headers[first]].stanza) first = i;
    if (first == i) continue;
    findings.warn(at(header.line),
                  fmt::format("the stanza [{}] begins again: line {} has its first header",
                              header.stanza, headers_[headers[first]].line));
  }
  const auto keyOf = [](const Setting& setting) { return std::pair(setting.stanza, setting.key); };
  const auto settings = orderedIndices(settings_, keyOf);
  for (std::size_t i = 1; i < settings.size(); ++i) {
    const auto& earlier = settings_[settings[i - 1]];
    const auto& later = settings_[settings[i]];
    if (keyOf(earlier) != keyOf(later)) continue;
    findings.warn(at(earlier.line), fmt::format("{} of [{}] has no effect: line {} sets it again",
                                                earlier.key, earlier.stanza, later.line));
  }
}

}  // namespace sourcetype

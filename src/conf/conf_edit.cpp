#include "conf/conf_edit.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "conf/logical_lines.h"
#include "platform/file_system.h"

namespace sourcetype {
namespace {

bool sameSettings(const ConfFile::Stanza& a, const ConfFile::Stanza& b) {
  return std::ranges::equal(a.settings, b.settings, [](const auto& x, const auto& y) {
    return x.key() == y.key() && x.value() == y.value();
  });
}

bool isExactEdit(const ConfFile& before, const ConfFile& after, std::string_view stanza,
                 const PropertiesMap& changes) {
  if (findEncodingError(after.bytes())) return false;
  PropertiesMap expected = changes;
  if (before.find(stanza) != nullptr) {
    for (const auto& old : before.find(stanza)->settings) {
      expected.insertIfAbsent(old.key(), old.value(), {});
    }
  }
  const auto* edited = after.find(stanza);
  if (edited == nullptr || settingsOf(*edited) != expected) return false;

  const auto isOther = [&](const auto& other) { return other.name != stanza; };
  std::vector<ConfFile::Stanza> othersBefore;
  std::vector<ConfFile::Stanza> othersAfter;
  std::ranges::copy_if(before.stanzas(), std::back_inserter(othersBefore), isOther);
  std::ranges::copy_if(after.stanzas(), std::back_inserter(othersAfter), isOther);
  return std::ranges::equal(othersBefore, othersAfter, [](const auto& a, const auto& b) {
    return a.name == b.name && sameSettings(a, b);
  });
}

}  // namespace

ConfFile parseText(const std::filesystem::path& path, std::string_view text) {
  FileBytes copy{.bytes = std::make_unique_for_overwrite<char[]>(text.size()),  // NOLINT
                 .size = text.size(),
                 .error = {}};
  std::ranges::copy(text, copy.bytes.get());
  return {path, std::move(copy), Report::No};
}

ConfFile makeStanza(const std::filesystem::path& path, std::string_view stanza,
                    const PropertiesMap& settings, std::string_view lineEnd) {
  std::string text = renderHeader(stanza).append(lineEnd);
  for (const auto& [key, entry] : settings.entries()) {
    text.append(renderSetting(key, entry.value)).append(lineEnd);
  }
  ConfFile made = parseText(path, text);
  requireExactEdit(parseText(path, {}), made, stanza, settings);
  return made;
}

PropertiesMap settingsOf(const ConfFile::Stanza& stanza) {
  PropertiesMap settings;
  for (const auto& setting : stanza.settings) settings.set(setting.key(), setting.value());
  return settings;
}

void requireExactEdit(const ConfFile& before, const ConfFile& after, std::string_view stanza,
                      const PropertiesMap& changes) {
  if (isExactEdit(before, after, stanza, changes)) return;
  throw std::runtime_error("a key or value would not read back the same");
}

RemainingStanzas removeStanzas(std::string_view text, const StanzaNames& names) {
  RemainingStanzas remaining;
  bool isKept = true;
  std::string
      comments;  // since the last setting of a stanza that is removed, from the first one on
  TextKeeper keeper;
  LogicalLineReader reader(text, {}, keeper, Report::No);
  for (LogicalLine line; reader.next(line);) {
    if (line.kind == LineKind::Header) {
      remaining.text += std::exchange(comments, {});
      const auto found = names.find(std::string(line.name));
      isKept = found == names.end();
      if (!isKept) remaining.removed.insert(*found);
    }
    if (isKept) {
      remaining.text += line.raw;
    } else if (line.kind == LineKind::Setting || line.kind == LineKind::Malformed) {
      comments.clear();
    } else if (line.kind == LineKind::Comment || !comments.empty()) {
      comments += line.raw;
    }
  }
  remaining.text += comments;
  return remaining;
}

}  // namespace sourcetype

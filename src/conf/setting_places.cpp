#include "conf/setting_places.h"

#include "conf/logical_lines.h"
#include "conf/stanza_kinds.h"
#include "util/text_keeper.h"

namespace sourcetype {

std::vector<SettingPlace> findSettings(std::string_view text, const std::filesystem::path& path,
                                       std::string_view stanza, std::string_view key) {
  std::vector<SettingPlace> found;
  TextKeeper keeper;
  LogicalLineReader reader(text, path, keeper, Report::No);
  bool isInStanza = stanza == kDefaultStanza;  // settings before the first header
  std::size_t before = 0;
  for (LogicalLine line; reader.next(line); before = reader.lineCount()) {
    if (line.kind == LineKind::Header) isInStanza = line.name == stanza;
    if (line.kind != LineKind::Setting || !isInStanza || line.name != key) continue;
    found.push_back({.file = path, .line = before + 1, .value = std::string(line.value)});
  }
  return found;
}

}  // namespace sourcetype

// The readers of .conf files, and what an edit writes. Input: a file, then a stanza, a key and a
// value to set in it.
#include <algorithm>
#include <map>

#include "conf/conf_file.h"
#include "conf/ini_file.h"
#include "support.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

constexpr const char* kName = "fuzz.conf";

using Settings = std::map<std::string, std::string>;
using Stanzas = std::map<std::string, Settings>;

Stanzas lookUp(std::string_view text) {
  const ConfFile file(kName, fileBytes(text), Report::No);
  Stanzas stanzas;
  for (const auto& stanza : file.stanzas()) {
    auto& settings = stanzas[std::string(stanza.name)];
    for (const auto& setting : stanza.settings) {
      settings.emplace(setting.key(), setting.value());
      require(stanza.find(setting.key())->value() == setting.value(), "a key finds its value");
    }
    require(settings.size() == stanza.settings.size(), "a key stands once in its stanza");
    require(file.find(stanza.name)->name == stanza.name, "a name finds its stanza");
  }
  require(stanzas.size() == file.stanzas().size(), "a stanza stands once in its file");
  return stanzas;
}

void readLines(std::string_view text) {
  TextKeeper keeper;
  LogicalLineReader reader(text, kName, keeper);
  std::string together;
  std::size_t unfinished = 0;
  for (LogicalLine line; reader.next(line);) {
    together += line.raw;
    unfinished += line.unfinished ? 1 : 0;
    if (line.kind != LineKind::Setting) continue;
    require(trimBlanks(line.name) == line.name, "a key is trimmed");
    require(trimBlanks(line.value) == line.value, "a value is trimmed");
    require(line.value.data() >= line.name.data() + line.name.size(), "a value follows its key");
  }
  require(together == text, "every byte stands in a line");
  const auto lineFeeds = static_cast<std::size_t>(std::ranges::count(text, '\n'));
  const bool isLastOpen = !text.empty() && !text.ends_with('\n');
  require(reader.lineCount() == lineFeeds + (isLastOpen ? 1 : 0), "physical lines are counted");
  require(unfinished <= 1, "only the last line can be unfinished");
}

std::string edited(std::string_view text, std::string_view stanza, std::string_view key,
                   std::string_view value) {
  IniFile file = IniFile::parse(text, kName, Report::No);
  file.set(stanza, key, value);
  return file.toText();
}

}  // namespace

std::vector<std::string> seeds() {
  return {joined({repositoryFile("etc/apps/bundled-web/default/props.conf").substr(0, 700),
                  "access", "KEY", "value"}),
          joined({"; comment\n[a]\nk=1\nk = 2\n[b]\nx=y\\\nz\n[a]\nl=3", "a", "k", "new\nlines\\"}),
          joined({"k\\==v\n[n]]\n[open\nq\\", "[x]=", "a=b;", "\r"}),
          joined({"\xEF\xBB\xBF[a]\r\nk = v\r\n\r\n# end", "a", "k2", "v"}),
          joined({"", "s", "", "v"}),
          joined({"[a]\\\nb]\nno equals\nx=\\\n\\\n", "a\nb", "#key", "[v]"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto text = parts.next();
  const auto stanza = parts.next();
  const auto key = trimBlanks(parts.next());
  const auto value = trimBlanks(parts.next());

  readLines(text);
  const Stanzas before = lookUp(text);
  const IniFile file = IniFile::parse(text, kName, Report::No);
  require(std::ranges::equal(
              before, file.stanzas(), {}, [](const auto& entry) { return entry.first; },
              [](const auto& entry) { return entry.first; }),
          "both readers see the same stanzas");
  require(lookUp(file.toText()) == before, "what is written unchanged reads back the same");

  const std::string written = edited(text, stanza, key, value);
  Stanzas expected = before;
  expected[std::string(stanza)][std::string(key)] = value;
  require(lookUp(written) == expected, "an edit changes one setting and nothing else");
  require(edited(written, stanza, key, value) == written, "a second write changes no byte");
}

}  // namespace sourcetype::fuzzing

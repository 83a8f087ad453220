// Writes of the store, on disk. Input: props.conf of the local layer, of an app, of the defaults;
// then a stanza, and keys and values in turn.
#include <algorithm>

#include "conf/conf_store.h"
#include "support.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

using Everything = std::map<std::string, PropertiesMap>;

Everything everythingIn(ConfStore& store, Conf& conf) {
  Everything all;
  store.visitStanzas(conf, [&](std::string_view name, auto settings) {
    auto& stanza = all[std::string(name)];
    for (const auto& setting : settings) stanza.set(setting.key(), setting.value());
  });
  return all;
}

Everything everythingOnDisk() {
  ConfStore store(tree().root());
  return everythingIn(store, store.getProps());
}

// Whether the settings have a form that reads back the same.
bool isWritable(const PropertiesMap& settings) {
  for (const auto& [key, entry] : settings.entries()) {
    if (trimBlanks(key) != key || trimBlanks(entry.value) != entry.value) return false;
  }
  return true;
}

// Such a line goes on in what is appended; that keeps a torn write from becoming part of the next.
bool endsUnfinished(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  if (text.ends_with('\r')) text.remove_suffix(1);
  return text.ends_with('\\');
}

template <class Write>
void checkWrite(std::string_view stanza, const PropertiesMap& settings, const Write& write) {
  const auto before = everythingOnDisk();
  ConfStore store(tree().root());
  Conf& props = store.getProps();
  require(write(store, props) == isWritable(settings), "a write fails where it must");

  auto expected = before;
  if (isWritable(settings)) {
    auto& changed = expected[std::string(stanza)];
    for (const auto& [key, entry] : settings.entries()) changed.set(key, entry.value);
  }
  const auto seen = everythingIn(store, props);
  require(seen == everythingOnDisk(), "the next lookup sees what is on the disk");
  require(seen == expected, "a write changes what it says and nothing else");
}

}  // namespace

std::vector<std::string> seeds() {
  return {joined({"[a]\nk=1\n", "[a]\nk=2\nl=3\n", "[default]\nd=4\n", "a", "k", "5", "d", "4"}),
          joined({"", "", "", "new", "key", "two\nlines", "back\\", "slash\\"}),
          // What a reader would take for a comment, a header or the end of a key or line.
          joined({"", "", "", "s", "\r#x", "v", "\r[y", "w\r", "a\r=b", "\r", "[d", "\n\n", "e\nf",
                  ";\r", "g", "[default]\r\nk=1", "\\", "="}),
          joined({"[a]\nk=\\\n", "x\\", "[a", "a]=b", "#", "[", " k", "v "})};
}

void run(std::string_view input) {
  // A layer in UTF-16 is not written to, nor are values that would make it one, which takes four
  // NULs.
  if (findEncodingError(input) || std::ranges::count(input, '\0') > 3) return;
  Parts parts(input);
  tree().clear();
  tree().write("system/local/props.conf", parts.next());
  tree().write("apps/a/local/props.conf", parts.next());
  tree().write("system/default/props.conf", parts.next());
  const std::string stanza(parts.next());
  const auto words = parts.all();
  PropertiesMap settings;
  for (std::size_t i = 0; i + 1 < words.size(); i += 2) settings.set(words[i], words[i + 1]);

  checkWrite(stanza, settings, [&](ConfStore& store, Conf& props) {
    return store.writeStanza(props, stanza, settings, true);
  });
  if (isWritable(settings)) {
    const auto bytes = tree().read("system/local/props.conf");
    ConfStore store(tree().root());
    store.writeStanza(store.getProps(), stanza, settings, false);
    store.writeStanza(store.getProps(), stanza, settings, true);
    require(tree().read("system/local/props.conf") == bytes, "a second write changes no byte");
  }

  const auto learnedFile = input.substr(0, input.find(Parts::kEnd));
  if (endsUnfinished(learnedFile)) return;
  tree().clear();
  tree().write("apps/learned/local/props.conf", learnedFile);
  checkWrite(stanza, settings, [&](ConfStore& learned, Conf& props) {
    return learned.writeLearnedStanza(props, stanza, settings);
  });
}

}  // namespace sourcetype::fuzzing

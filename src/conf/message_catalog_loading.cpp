#include <mutex>

#include "conf/conf_store.h"
#include "conf/message_catalog.h"
#include "conf/properties_map.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kCatalogLog("MessageCatalog");

}  // namespace

void loadMessages(MessageCatalog& catalog, ConfStore& store) {
  auto& literals = store.getConf("literals");
  for (const auto& stanza : store.stanzaNames(literals, "")) {
    PropertiesMap settings;
    store.getExactStanza(literals, settings, stanza);
    for (const auto& [key, entry] : settings.entries()) catalog.add(stanza, key, entry.value);
  }
  if (catalog.empty()) {
    logWarn(kCatalogLog,
            "There are no message texts: %s is missing, empty or unreadable, and messages show "
            "their codes instead.",
            pathToText(store.root() / "apps" / "bundled-base" / "default" / "literals.conf"));
  }
}

MessageCatalog& messageCatalog(ConfStore& store) {
  static std::once_flag loaded;
  std::call_once(loaded, [&store] { loadMessages(messageCatalog(), store); });
  return messageCatalog();
}

}  // namespace sourcetype
